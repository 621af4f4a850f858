// The board families the library knows, by their system type number. The
// token names the family in description file names.
#include <string>

#include "qor_transport_layer.h"

std::string BoardTypeToken(int64_t systemType, int64_t systemSubtype) {
    struct Entry {
        int64_t type;
        const char* token;
    };
    static constexpr Entry kBoards[] = {
        {1000, "sim"},     {13, "gige"},   {14, "usb3"},   {15, "clink"},   {16, "clinkhs"},
        {17, "clinkfull"}, {20, "cxp"},    {21, "cxp12"},  {22, "cxpquad"}, {24, "analog"},
        {25, "analoghd"},  {30, "sdi"},    {31, "hdmi"},   {33, "dvi"},     {40, "lvds"},
        {41, "lvdsduo"},   {45, "gige10"}, {46, "gige25"}, {50, "cof"},     {55, "smart"},
        {60, "embedded"},  {64, "hostpc"}, {70, "fpga"},   {72, "fpgacl"},  {78, "legacy"},
        {1001, "cameras"},
    };
    // One type number covers two generations of a board: the sub-type tells.
    if (systemType == 36) return systemSubtype == 0 ? "coax" : "coaxhs";
    for (const Entry& e : kBoards)
        if (e.type == systemType) return e.token;
    return {};
}
