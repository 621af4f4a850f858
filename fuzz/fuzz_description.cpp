// Fuzz target: a description's bytes, plain XML, through the loader into a
// node map that is read whole.
#include <string>

#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        GenApi::CNodeMapFactory factory(GenApi::ContentType_Xml, data, size, GenApi::CacheUsage_Ignore);
        std::unique_ptr<GenApi::INodeMap> map(factory.CreateNodeMap());
        quillon::fuzz::ReadEveryNode(*map);
    } catch (const GenICam::GenericException&) {
    }
    return 0;
}
