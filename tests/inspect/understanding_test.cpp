// Why a feature can't be edited, and every slice of a selector, over real
// node maps: the simulated camera, vendor descriptions over zero-filled
// memory, and a small inline description where reads and switches fail.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "GenApi/Pointer.h"
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
        {"", {}, "DeviceScanType", {
            "DeviceScanType is read-only now: its description imposes RO (ImposedAccessMode)"}},
        {"", {}, "PayloadSize", {
            "PayloadSize is read-only now: it is computed by the formula "
            "`W * H * ((PF >> 16) & 0xFF) / 8`"}},
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
        {"JAI_Pulnix_TMC-1405GE.xml", {}, "UserScanAreaSET", {
            "UserScanAreaSET is not available now: ScanMode = FullScanMode makes "
            "UserScanAreaSETAvailExpr (formula `VAR_SCANMODE = 1`) 0 (pIsAvailable)"}},
        {"FLIR_A35_thermal.xml", {}, "UserSetLoadStatus", {
            "UserSetLoadStatus is not implemented now: IPEngineUserSetsStatusReportingReg = 0 "
            "makes UserSetLoadStatusImplExpr (formula `VAR_IPENGINEUSERSETSSTATUSREPORTING`) 0 "
            "(pIsImplemented)",
            "  UserSetLoadStatus: pIsImplemented UserSetLoadStatusImplExpr = 0 -> NI"}},
        {"FLIR_A35_thermal.xml", {}, "SensorVideoStandard", {
            "  PAL50HZ: SensorFrameRate = Slow makes SensorVideoStandardPAL50HZAvailExpr "
            "(formula `VAR_SENSORFRAMERATE = 4`) 0 (pIsAvailable of PAL50HZ)"}},
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

    // The outer table: the features only FileSelector selects, a row per file.
    ASSERT_EQ(tables.size(), 5u);
    EXPECT_EQ(tables[0].caption, "");
    EXPECT_EQ(tables[0].features, (std::vector<std::string>{"FileOpenMode", "FileSize"}));
    ASSERT_EQ(tables[0].rows.size(), 4u);
    EXPECT_EQ(tables[0].rows[2], (std::vector<std::string>{"LUTFile", "Read", "256"}));
    // A table of the nested selector under each file.
    const char* files[] = {"UserSet1", "UserSet2", "LUTFile", "DeviceLog"};
    for (size_t i = 1; i < tables.size(); ++i) {
        EXPECT_EQ(tables[i].caption, std::string("FileSelector = ") + files[i - 1]);
        EXPECT_EQ(tables[i].selector, "FileOperationSelector");
        ASSERT_EQ(tables[i].rows.size(), 5u);
        EXPECT_EQ(tables[i].rows[3][0], "Write");
        EXPECT_EQ(tables[i].rows[3][1], "command");
    }
    EXPECT_EQ(Value(c.node("FileSelector")), "LUTFile");
    EXPECT_EQ(Value(c.node("FileOperationSelector")), "Read");

    // An integer selector nested in an enumeration: a row per value.
    const std::vector<SliceTable> lut = ReadSlices(c.node("LUTSelector"));
    ASSERT_EQ(lut.size(), 2u);
    EXPECT_EQ(lut[0].rows,
              (std::vector<std::vector<std::string>>{{"Luminance", "false", "256 bytes"}}));
    EXPECT_EQ(lut[1].caption, "LUTSelector = Luminance");
    ASSERT_EQ(lut[1].rows.size(), 256u);
    EXPECT_EQ(lut[1].rows[200], (std::vector<std::string>{"200", "200"}));
}

TEST(SelectorSlices, CellsSayInOneWordWhyTheyCannotBeRead) {
    const char* reg = "<Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
                      "<Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>";
    quillon_inspect_test::MemoryDevice d(
        std::string("<Enumeration Name=\"S\"><EnumEntry Name=\"A\"><Value>0</Value></EnumEntry>"
                    "<EnumEntry Name=\"B\"><Value>1</Value></EnumEntry>"
                    "<EnumEntry Name=\"C\"><Value>2</Value></EnumEntry>"
                    "<EnumEntry Name=\"D\"><pIsAvailable>Zero</pIsAvailable><Value>1</Value>"
                    "</EnumEntry><pValue>SValue</pValue><pSelected>V</pSelected>"
                    "<pSelected>U</pSelected><pSelected>E</pSelected><pSelected>W</pSelected>"
                    "<pSelected>X</pSelected></Enumeration>"
                    // The device takes the selector values 0 and 1 only.
                    "<Integer Name=\"SValue\"><pValue>SReg</pValue><Min>0</Min><Max>1</Max>"
                    "</Integer><IntReg Name=\"SReg\"><Address>0</Address>") +
        reg + "</IntReg><IntReg Name=\"V\"><Address>0x100</Address><pIndex>SReg</pIndex>" + reg +
        "</IntReg><Integer Name=\"U\"><pIsAvailable>IsA</pIsAvailable><Value>7</Value></Integer>"
        "<IntSwissKnife Name=\"IsA\"><pVariable Name=\"S\">SReg</pVariable><Formula>S = 0"
        "</Formula></IntSwissKnife><Enumeration Name=\"E\"><EnumEntry Name=\"Zero\"><Value>0"
        "</Value></EnumEntry><pValue>ERaw</pValue></Enumeration><IntReg Name=\"ERaw\"><Address>"
        "0x200</Address><pIndex>SReg</pIndex>" +
        reg +
        "</IntReg><IntReg Name=\"W\"><Address>0x300</Address><Length>4</Length>"
        "<AccessMode>WO</AccessMode><pPort>Device</pPort></IntReg><Command Name=\"X\">"
        "<pValue>SReg</pValue><CommandValue>1</CommandValue></Command>"
        "<Integer Name=\"Zero\"><Value>0</Value></Integer><Integer Name=\"One\"><Value>1"
        "</Value></Integer><Enumeration Name=\"L\"><pIsLocked>One</pIsLocked><EnumEntry "
        "Name=\"Only\"><Value>0</Value></EnumEntry><Value>0</Value><pSelected>U</pSelected>"
        "</Enumeration>");
    const uint32_t five = 5, nine = 9;
    d.port.Write(&five, 0x104, 4); // V under B
    d.port.Write(&nine, 0x204, 4); // E under B: no entry has 9
    GenApi::CEnumerationPtr(d.node("S"))->FromString("A");

    const std::vector<SliceTable> tables = ReadSlices(d.node("S"));
    EXPECT_EQ(SlicesText(tables, SliceLayout::Tabs),
              "S\tV\tU\tE\tW\tX\n"
              "A\t0\t7\tZero\twrite-only\tcommand\n"
              "B\t5\tunavailable\terror\twrite-only\tcommand\n"
              "C\trefused\trefused\trefused\trefused\trefused\n");
    EXPECT_EQ(SlicesText(tables, SliceLayout::Aligned).substr(0, 52),
              "S  V        U            E        W           X\n"
              "A  0");
    EXPECT_EQ(Value(d.node("S")), "A");
    // Neither a feature that selects nothing nor a locked selector is sliced.
    for (const char* name : {"V", "L"})
        EXPECT_THROW(ReadSlices(d.node(name)), GenICam::AccessException) << name;
}
