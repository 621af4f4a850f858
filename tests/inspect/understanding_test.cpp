// Why a feature can't be edited, over the simulated camera and vendor
// descriptions, and every slice of a selector.

#include <memory>

#include "inspect/access_explanation.h"
#include "inspect/selector_slices.h"
#include "inspect_support.h"

using namespace quillon::inspect;

namespace {

std::string Value(GenApi::INode* node) {
    return std::string(GenApi::CValuePtr(node)->ToString());
}

} // namespace

TEST(AccessExplanation, NamesTheInnermostCauseWithTheValuesThatDecideIt) {
    struct Case {
        const char* file; // empty: the simulated camera
        std::vector<std::pair<const char*, const char*>> writes;
        const char* feature;
        std::vector<std::string> lines;
    };
    // clang-format off
    const std::vector<Case> cases = {
        {"", {{"TLParamsLocked", "1"}}, "Width", {
            "Width is read-only now: TLParamsLocked = 1, DeviceStatusAcquisitionActive = 0 and "
            "DeviceStatusStartPending = 0 make ImageFormatLocked (formula `(TLPL <> 0) || "
            "(ACQ <> 0) || (PEND <> 0)`) 1, which locks it (pIsLocked)",
            "  ImageFormatLocked = 1: formula `(TLPL <> 0) || (ACQ <> 0) || (PEND <> 0)` with "
            "TLPL = TLParamsLockedReg = 1, ACQ = DeviceStatusAcquisitionActive = 0, PEND = "
            "DeviceStatusStartPending = 0",
            "  Width: value from WidthReg (RW); pIsLocked ImageFormatLocked = 1 -> RO",
            "Register: WidthReg at 0x10010, 4 bytes, AccessMode RW, port Device",
            "Changes when written: PayloadSize, OffsetX\n",
            "Read anew after: UserSetLoad, DeviceReset (pInvalidator)"}},
        {"", {}, "Width", {"Width is readable and writable now", "Polling: none"}},
        {"", {}, "UserSetSave", {
            "UserSetSave is not available now: UserSetSelector = Default makes "
            "UserSetSaveAvailable (formula `SEL <> 0`) 0 (pIsAvailable)"}},
        {"", {}, "DeviceVendorName", {
            "DeviceVendorName is read-only now: its register is read-only (AccessMode RO)"}},
        {"", {}, "DeviceTemperature", {
            "DeviceTemperature is read-only now: DeviceTemperatureRaw is read-only (AccessMode RO)",
            "Polling: every 1000 ms"}},
        {"", {{"GainSelector", "DigitalAll"}}, "Gain", {
            "Register: GainReg at 0x10098 (0x10090 + GainSelector (2) x 4), 4 bytes",
            "Selected by: GainSelector = DigitalAll"}},
        {"", {{"FileSelector", "DeviceLog"}}, "FileOpenMode", {
            "Entries not available now:",
            "  Write: FileSelector = DeviceLog makes FileIsWritable (formula `SEL <> 3`) 0 "
            "(pIsAvailable of Write)",
            "  ReadWrite: FileSelector = DeviceLog makes FileIsWritable"}},
        {"", {}, "UserSetLoad", {
            "Changes when written: nothing else",
            "Read anew when written (pInvalidator): DeviceLinkThroughputLimitMode, Width, "}},
        {"JAI_Pulnix_TMC-1405GE.xml", {{"TLParamsLocked", "1"}}, "Width", {
            "Width is read-only now: WidthReg is locked while TLParamsLocked = 1 (pIsLocked)",
            "  WidthReg: register at 0xD300, 4 bytes, AccessMode RW, port Device, WriteThrough; "
            "pIsLocked TLParamsLocked = 1 -> RO"}},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.file) + " " + c.feature);
        quillon_inspect_test::Camera camera;
        std::unique_ptr<quillon_inspect_test::VendorDevice> vendor;
        if (*c.file)
            vendor = std::make_unique<quillon_inspect_test::VendorDevice>(
                std::string(QUILLON_CORPUS_DIR "/") + c.file);
        GenApi::INodeMap* map = vendor ? vendor->map._Ptr() : camera.camera.nodeMap();
        for (const auto& [name, value] : c.writes)
            GenApi::CValuePtr(map->GetNode(name))->FromString(value);
        const std::string text = ExplanationText(ExplainAccess(map->GetNode(c.feature)));
        for (const std::string& line : c.lines)
            EXPECT_NE(("\n" + text).find("\n" + line), std::string::npos) << line << "\n" << text;
    }
}

TEST(SelectorSlices, ReadsEveryEntryOfBothLevelsAndSetsTheSelectorsBack) {
    quillon_inspect_test::Camera c;
    GenApi::CEnumerationPtr(c.node("FileSelector"))->FromString("LUTFile");
    GenApi::CEnumerationPtr(c.node("FileOperationSelector"))->FromString("Read");
    const std::vector<SliceTable> tables = ReadSlices(c.node("FileSelector"));

    // The outer table: the features only FileSelector selects, a row per
    // file; then a table of the nested selector under each file.
    ASSERT_EQ(tables.size(), 5u);
    EXPECT_EQ(tables[0].features, (std::vector<std::string>{"FileOpenMode", "FileSize"}));
    EXPECT_EQ(tables[0].rows.at(2), (std::vector<std::string>{"LUTFile", "Read", "256"}));
    EXPECT_EQ(tables[0].rows.size() + tables[4].rows.size(), 4u + 5u);
    EXPECT_EQ(tables[4].caption + " " + tables[4].selector,
              "FileSelector = DeviceLog FileOperationSelector");
    EXPECT_EQ(tables[4].rows[3].at(0) + " " + tables[4].rows[3].at(1), "Write command");
    EXPECT_EQ(Value(c.node("FileSelector")), "LUTFile");
    EXPECT_EQ(Value(c.node("FileOperationSelector")), "Read");
}
