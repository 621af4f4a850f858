// Feature sets over the simulated camera: saved, changed and loaded back,
// refused lines, two cameras' differences, malformed files.

#include <bit>
#include <chrono>

#include "inspect/feature_set_format.h"
#include "inspect/feature_sets.h"
#include "inspect_support.h"

using namespace quillon::inspect;
using namespace GenApi;

namespace {

struct Camera {
    explicit Camera(const qorvis::sim::ManualClock& clock) : sim(clock.clock()) {
        browser.context.nodeMap = sim.nodeMap();
        browser.context.caption = "Camera";
    }
    qorvis::sim::ConnectedSimulatedCamera sim;
    quillon::browser::NodeMapEntry browser;
    std::vector<quillon::browser::NodeMapEntry> entries() const { return {browser}; }
    INode* node(const char* name) const { return sim.nodeMap()->GetNode(name); }
    std::string text() const {
        return WriteFeatureSet(ReadFeatureSet(entries(), {"2025-01-01 00:00:00", {}}));
    }
    LoadReport load(const std::string& text, bool dryRun = false) const {
        ParsedFeatureSet parsed = ParseFeatureSet(text);
        if (!parsed.errors.empty()) throw FeatureSetFileError("f.txt", parsed.errors);
        return LoadFeatureSet(parsed.set, entries(), "f.txt", {dryRun, {}});
    }
};

void setEnum(INode* node, const char* symbolic) {
    CEnumerationPtr(node)->FromString(symbolic);
}

const LineResult* resultOf(const LoadReport& report, const std::string& key) {
    for (const LineResult& r : report.lines)
        if (r.line.Key() == key) return &r;
    return nullptr;
}

} // namespace

TEST(FeatureSets, RoundTripOverTheSimulatedCameraRestoresEveryValue) {
    qorvis::sim::ManualClock clock;
    Camera camera(clock);
    const std::string saved = camera.text();
    for (const char* line :
         {"# Serial number: TVX21A0042", "Gain[GainSelector=AnalogAll] = 6",
          "# DeviceVendorName = \"Torvex\"", "LUTValue[LUTSelector=Luminance][LUTIndex=255] = 255",
          "GevPersistentIPAddress = ", "TorvexScratch = 0xC0FFEE42"})
        EXPECT_NE(saved.find(std::string("\n") + line), std::string::npos) << line;

    const std::string user = "  a=b # c\n\"\\\x01";
    const double rate = 100.0 / 3.0;
    CIntegerPtr(camera.node("Width"))->SetValue(640);
    CIntegerPtr(camera.node("OffsetX"))->SetValue(320);
    CFloatPtr(camera.node("AcquisitionFrameRate"))->SetValue(rate);
    CStringPtr(camera.node("DeviceUserID"))->SetValue(user.c_str());
    CIntegerPtr(camera.node("GevPersistentIPAddress"))->SetValue(0xC0A8010A);
    setEnum(camera.node("GainSelector"), "DigitalAll");
    CFloatPtr(camera.node("Gain"))->SetValue(3.25);
    setEnum(camera.node("LineSelector"), "Line1");
    setEnum(camera.node("LineMode"), "Output");
    CIntegerPtr(camera.node("LUTIndex"))->SetValue(7);
    CIntegerPtr(camera.node("LUTValue"))->SetValue(99);
    CBooleanPtr(camera.node("ReverseX"))->SetValue(true);
    CIntegerPtr(camera.node("TLParamsLocked"))->SetValue(1); // locks the image format
    const std::string changed = camera.text();
    EXPECT_NE(changed.find("DeviceUserID = \"  a=b # c\\n\\\"\\\\\\x01\""), std::string::npos);
    EXPECT_NE(changed.find("Gain[GainSelector=DigitalAll] = 3.25"), std::string::npos);
    EXPECT_NE(changed.find("GevPersistentIPAddress = 192.168.1.10"), std::string::npos);
    EXPECT_NE(changed.find("\nWidth = 640"), std::string::npos) << "a locked feature is a setting";
    EXPECT_EQ(CEnumerationPtr(camera.node("GainSelector"))->ToString(), "DigitalAll")
        << "selector restored";
    EXPECT_EQ(CIntegerPtr(camera.node("LUTIndex"))->GetValue(), 7);

    // Width and OffsetX stay locked until TLParamsLocked, later in the file;
    // then Width = 1280 is out of range until OffsetX = 0 is written.
    const LoadReport back = camera.load(saved);
    EXPECT_EQ(back.Refused(), 0u) << back.Text("saved");
    EXPECT_EQ(back.passes, 3u);
    EXPECT_EQ(resultOf(back, "Width")->previous, "640");
    EXPECT_EQ(camera.text(), saved);
    EXPECT_EQ(CEnumerationPtr(camera.node("GainSelector"))->ToString(), "All");

    camera.load(changed);
    EXPECT_EQ(std::bit_cast<uint64_t>(CFloatPtr(camera.node("AcquisitionFrameRate"))->GetValue()),
              std::bit_cast<uint64_t>(rate));
    EXPECT_EQ(std::string(CStringPtr(camera.node("DeviceUserID"))->GetValue()), user);
    EXPECT_EQ(camera.text(), changed);
}

TEST(FeatureSets, LoadReportsEachRefusedLineWithItsReason) {
    qorvis::sim::ManualClock clock;
    Camera camera(clock);
    // OffsetX is out of range until Width is written; Gain is of the entry selected below.
    const std::string file = "Height = 1023\nPixelFormat = Mono42\nDeviceVendorName = \"Other\"\n"
                             "BalanceWhiteAuto = Off\nGain[GainSelector=Nope] = 1\nOffsetX = 16\n"
                             "Width = 640\nOffsetY = 0\nGain = 3\nGainSelector = AnalogAll\n";
    // clang-format off
    const std::tuple<const char*, LineOutcome, const char*> rows[] = {
        {"Height", LineOutcome::OutOfRange, "out of range: the value must be 2 plus a multiple of 2"},
        {"PixelFormat", LineOutcome::NotAnEntry, "Mono42 is not an entry of PixelFormat"},
        {"DeviceVendorName", LineOutcome::NotWritable, "not writable: read-only"},
        {"BalanceWhiteAuto", LineOutcome::NotWritable, "not writable: not available (IsColorSensor)"},
        {"Gain[GainSelector=Nope]", LineOutcome::NotAnEntry, "selector GainSelector: Nope is not an entry"}};
    // clang-format on
    EXPECT_THROW(camera.load("Width = 4000\n" + file), FeatureSetFileError)
        << "Width is given twice";
    for (bool dryRun : {true, false}) {
        const LoadReport report = camera.load(file, dryRun);
        for (auto [key, outcome, reason] : rows) {
            const LineResult* r = resultOf(report, key);
            ASSERT_TRUE(r) << key;
            EXPECT_EQ(r->outcome, outcome) << key;
            EXPECT_EQ(r->reason.substr(0, std::string(reason).size()), reason) << key;
        }
        EXPECT_EQ(CIntegerPtr(camera.node("OffsetX"))->GetValue(), dryRun ? 0 : 16);
        const std::string text = report.Text("f.txt");
        EXPECT_EQ(
            text.substr(0, text.find('\n')),
            dryRun
                ? "f.txt (dry run, nothing written): 3 would change, 1 unchanged, 6 refused, 1 pass"
                : "f.txt: 4 applied, 1 unchanged, 5 refused, 3 passes");
        const std::string lines =
            dryRun ? "f.txt:6: refused: OffsetX = 16: out of range: the minimum is 0 "
                     "and the maximum is 0\nf.txt:7: would change: Width = 640 (was 1280)\n"
                   : "f.txt:6: applied: OffsetX = 16 (was 0)\nf.txt:7: applied: Width = "
                     "640 (was 1280)\n";
        EXPECT_NE(text.find(lines), std::string::npos) << text;
    }
    EXPECT_EQ(CFloatPtr(camera.node("Gain"))->GetValue(), 3) << "written after its selector";
    setEnum(camera.node("GainSelector"), "All");
    EXPECT_EQ(CFloatPtr(camera.node("Gain"))->GetValue(), 0);
    // A cancelled load names the lines it did not write.
    size_t steps = 0;
    const LoadReport cancelled = LoadFeatureSet(
        ParseFeatureSet("OffsetX = 0\nWidth = 320\nHeight = 2\n").set, camera.entries(), "f.txt",
        {false, [&](size_t, size_t) { return ++steps < 2; }});
    EXPECT_EQ(cancelled.Text("f.txt"),
              "f.txt: 2 applied, 0 unchanged, 0 refused, 1 not written (cancelled), 1 pass\n"
              "f.txt:1: applied: OffsetX = 0 (was 16)\nf.txt:2: applied: Width = 320 (was "
              "640)\nf.txt:3: not written: Height = 2\n");
}

TEST(FeatureSets, TwoCamerasDifferingInOneSelectorSliceShowThatLineOnly) {
    qorvis::sim::ManualClock clock;
    Camera a(clock), b(clock);
    setEnum(b.node("GainSelector"), "DigitalAll");
    CFloatPtr(b.node("Gain"))->SetValue(3);
    setEnum(b.node("GainSelector"), "All");
    const auto differences =
        CompareFeatureSets(ReadFeatureSet(a.entries()), ReadFeatureSet(b.entries()));
    EXPECT_EQ(FormatDifferences(differences, "a", "b"),
              "--- a\n+++ b\n[Camera]\n-Gain[GainSelector=DigitalAll] = "
              "1.5\n+Gain[GainSelector=DigitalAll] = 3\n");
    // Only written differently, or present on one side only.
    const auto sides = CompareFeatureSets(
        ParseFeatureSet("X = 0x10\nY = 1.50\nZ = 1\nV0 = -3\n").set,
        ParseFeatureSet("[Other]\nZ = 1\nY = 1.5\nX = 16\nV0 = 3\n# R = \"r\"\n").set);
    EXPECT_EQ(FormatDifferences(sides, "a", "b"),
              "--- a\n+++ b\n-V0 = -3\n+V0 = 3\n+# R = \"r\"\n");
    // Sections pair by caption unless each side has one.
    const auto sections = CompareFeatureSets(ParseFeatureSet("[A]\nX = 1\n").set,
                                             ParseFeatureSet("[B]\nX = 1\n[A]\nX = 2\n").set);
    EXPECT_EQ(FormatDifferences(sections, "a", "b"),
              "--- a\n+++ b\n[A]\n-X = 1\n+X = 2\n[B]\n+X = 1\n");
}

TEST(FeatureSets, MalformedFilesAndUnknownFeaturesNameTheirLineAndWriteNothing) {
    qorvis::sim::ManualClock clock;
    Camera camera(clock);
    struct Row {
        const char* text;
        const char* error;
    };
    // clang-format off
    const Row rows[] = {
        {"OffsetX = 16\nWidth 640\n", "f.txt:2: expected 'Name = value', a '# comment' or a '[Caption]'"},
        {"OffsetX = 16\nWidth =\n", "f.txt:2: no value after '='"},
        {"DeviceUserID = \"open\n", "f.txt:1: a string must be one double-quoted text"},
        {"DeviceUserID = \"a\\qb\"\n", "f.txt:1: a string must be one double-quoted text"},
        {"DeviceUserID = \"a\" b\n", "f.txt:1: a string must be one double-quoted text"},
        {"Gain[GainSelector] = 1\n", "f.txt:1: a selector must be written [SelectorName=Entry]"},
        {"[Camera\n", "f.txt:1: a section must be written [Caption]"},
        {"OffsetX = 16\n\n# c\nNoSuchFeature = 1\nWidth = x\n", "f.txt:4: unknown feature NoSuchFeature (and 1 more error)"},
        {"Width = 0x\n", "f.txt:1: Width takes an integer, not 0x"},
        {"Gamma = 1,5\n", "f.txt:1: Gamma takes a number, not 1,5"},
        {"ReverseX = yes\n", "f.txt:1: ReverseX takes true or false, not yes"},
        {"DeviceUserID = name\n", "f.txt:1: DeviceUserID takes a string in double quotes, not name"},
        {"Gain[Width=1] = 1\n", "f.txt:1: Width is not a selector"},
        {"AcquisitionStart = 1\n", "f.txt:1: AcquisitionStart takes no value: it is an ICommand"},
        {"OffsetX = 16\n[System]\nWidth = 16\n", "f.txt:2: the device has no node map captioned 'System'"}};
    // clang-format on
    for (const Row& row : rows) {
        try {
            camera.load(row.text);
            ADD_FAILURE() << row.text;
        } catch (const FeatureSetFileError& e) {
            EXPECT_EQ(std::string(e.what()).substr(0, std::string(row.error).size()), row.error)
                << row.text;
        }
        EXPECT_EQ(CIntegerPtr(camera.node("OffsetX"))->GetValue(), 0) << row.text;
    }
}
