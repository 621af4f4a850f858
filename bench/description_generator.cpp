#include "description_generator.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace quillon_bench {

namespace {

// Nodes and features of one group (below).
constexpr size_t kGroupNodes = 29;
constexpr size_t kGroupFeatures = 10;
// Groups per section category, sections per area category.
constexpr size_t kFanOut = 16;

class Writer {
public:
    std::string text;

    void add(const char* format, ...) __attribute__((format(printf, 2, 3))) {
        char line[2048];
        va_list args;
        va_start(args, format);
        const int n = std::vsnprintf(line, sizeof line, format, args);
        va_end(args);
        if (n < 0 || static_cast<size_t>(n) >= sizeof line) std::abort(); // a format of ours
        text.append(line, static_cast<size_t>(n));
    }
    // The texts a vendor gives a feature.
    void texts(const char* display, size_t g, const char* what, const char* visibility) {
        add("    <ToolTip>%s of channel %zu.</ToolTip>\n", what, g);
        add("    <Description>%s of channel %zu. Changing it takes effect with the next frame; "
            "the camera keeps it until it is reset.</Description>\n",
            what, g);
        add("    <DisplayName>%s %zu</DisplayName>\n    <Visibility>%s</Visibility>\n", display, g,
            visibility);
    }
    void intReg(const char* name, size_t g, unsigned address, const char* access,
                const char* extra = "") {
        add("  <IntReg Name=\"%s%zu\">\n    <Address>0x%x</Address>\n    <Length>4</Length>\n"
            "    <AccessMode>%s</AccessMode>\n    <pPort>Device</pPort>\n%s"
            "    <Sign>Unsigned</Sign>\n    <Endianess>BigEndian</Endianess>\n  </IntReg>\n",
            name, g, address, access, extra);
    }
    void entries(const char* const* names, int count) {
        for (int i = 0; i < count; ++i)
            add("    <EnumEntry Name=\"%s\">\n      <ToolTip>%s setting.</ToolTip>\n"
                "      <DisplayName>%s</DisplayName>\n      <Value>%d</Value>\n    </EnumEntry>\n",
                names[i], names[i], names[i], i);
    }
};

// One channel's features: a selector with four entries selecting a gain
// (whose register the selector indexes) and a mode enumeration, an exposure
// time through a converter, a width whose maximum is a formula and which a
// boolean locks, a command, a string register and an offset; with their
// registers, 29 nodes and 10 features.
void group(Writer& w, size_t g) {
    const unsigned base = 0x10000u + static_cast<unsigned>(g) * 0x100u;
    static const char* const kSelectors[] = {"Tap1", "Tap2", "Tap3", "Tap4"};
    static const char* const kModes[] = {"Off", "Once", "Continuous"};

    w.add("  <Category Name=\"Channel%zu\">\n", g);
    w.texts("Channel", g, "Settings", "Beginner");
    for (const char* f : {"Selector", "Gain", "Mode", "Exposure", "Width", "Enable", "Reset",
                          "Label", "WidthMax", "Offset"})
        w.add("    <pFeature>%s%zu</pFeature>\n", f, g);
    w.add("  </Category>\n");

    w.add("  <Enumeration Name=\"Selector%zu\">\n", g);
    w.texts("Selector", g, "Selects the tap whose gain and mode are shown", "Expert");
    w.entries(kSelectors, 4);
    w.add("    <pValue>SelectorReg%zu</pValue>\n    <pSelected>Gain%zu</pSelected>\n"
          "    <pSelected>Mode%zu</pSelected>\n  </Enumeration>\n",
          g, g, g);
    w.intReg("SelectorReg", g, base, "RW");

    w.add("  <Integer Name=\"Gain%zu\">\n", g);
    w.texts("Gain", g, "Amplification of the selected tap", "Beginner");
    w.add("    <pValue>GainReg%zu</pValue>\n    <Min>0</Min>\n    <pMax>GainMax%zu</pMax>\n"
          "    <Inc>1</Inc>\n    <Unit>dB</Unit>\n  </Integer>\n",
          g, g);
    w.intReg("GainReg", g, base + 0x10, "RW",
             ("    <pIndex Offset=\"4\">SelectorReg" + std::to_string(g) + "</pIndex>\n").c_str());
    w.add("  <Integer Name=\"GainMax%zu\">\n    <Value>1023</Value>\n  </Integer>\n", g);

    w.add("  <Enumeration Name=\"Mode%zu\">\n", g);
    w.texts("Mode", g, "Automatic adjustment of the selected tap", "Expert");
    w.entries(kModes, 3);
    w.add("    <pValue>ModeReg%zu</pValue>\n  </Enumeration>\n", g);
    w.intReg("ModeReg", g, base + 0x20, "RW");

    w.add("  <Float Name=\"Exposure%zu\">\n", g);
    w.texts("Exposure", g, "Exposure time", "Beginner");
    w.add("    <pValue>ExposureConv%zu</pValue>\n    <Min>10</Min>\n    <Max>1000000</Max>\n"
          "    <Unit>us</Unit>\n    <Representation>Linear</Representation>\n  </Float>\n",
          g);
    w.add("  <Converter Name=\"ExposureConv%zu\">\n    <FormulaTo>FROM*10</FormulaTo>\n"
          "    <FormulaFrom>TO/10</FormulaFrom>\n    <pValue>ExposureReg%zu</pValue>\n"
          "    <Slope>Increasing</Slope>\n  </Converter>\n",
          g, g);
    w.intReg("ExposureReg", g, base + 0x24, "RW");

    w.add("  <Integer Name=\"Width%zu\">\n", g);
    w.texts("Width", g, "Width of the image", "Beginner");
    w.add("    <pIsLocked>Enable%zu</pIsLocked>\n    <pValue>WidthReg%zu</pValue>\n"
          "    <Min>16</Min>\n    <pMax>WidthMax%zu</pMax>\n    <Inc>16</Inc>\n  </Integer>\n",
          g, g, g);
    w.intReg("WidthReg", g, base + 0x28, "RW",
             ("    <pInvalidator>OffsetReg" + std::to_string(g) + "</pInvalidator>\n").c_str());

    w.add("  <Boolean Name=\"Enable%zu\">\n", g);
    w.texts("Enable", g, "Locks the width while the channel runs", "Expert");
    w.add(
        "    <pValue>EnableReg%zu</pValue>\n    <OnValue>1</OnValue>\n    <OffValue>0</OffValue>\n"
        "  </Boolean>\n  <MaskedIntReg Name=\"EnableReg%zu\">\n    <Address>0x%x</Address>\n"
        "    <Length>4</Length>\n    <AccessMode>RW</AccessMode>\n    <pPort>Device</pPort>\n"
        "    <Bit>0</Bit>\n    <Endianess>BigEndian</Endianess>\n  </MaskedIntReg>\n",
        g, g, base + 0x2C);

    w.add("  <Command Name=\"Reset%zu\">\n", g);
    w.texts("Reset", g, "Restores the factory settings", "Guru");
    w.add("    <pValue>ResetReg%zu</pValue>\n    <CommandValue>1</CommandValue>\n  </Command>\n",
          g);
    w.intReg("ResetReg", g, base + 0x30, "RW");

    w.add("  <StringReg Name=\"Label%zu\">\n", g);
    w.texts("Label", g, "Name the user gave the channel", "Guru");
    w.add("    <Address>0x%x</Address>\n    <Length>16</Length>\n    <AccessMode>RW</AccessMode>\n"
          "    <pPort>Device</pPort>\n  </StringReg>\n",
          base + 0x40);

    w.add("  <IntSwissKnife Name=\"WidthMax%zu\">\n", g);
    w.texts("Width Max", g, "Largest width the offset leaves", "Expert");
    w.add("    <pVariable Name=\"SENSOR\">SensorReg%zu</pVariable>\n"
          "    <pVariable Name=\"OFF\">OffsetReg%zu</pVariable>\n"
          "    <Formula>SENSOR - OFF</Formula>\n  </IntSwissKnife>\n",
          g, g);
    w.intReg("SensorReg", g, base + 0x34, "RO");

    w.add("  <Integer Name=\"Offset%zu\">\n", g);
    w.texts("Offset", g, "Horizontal offset of the image", "Beginner");
    w.add("    <pValue>OffsetReg%zu</pValue>\n    <Min>0</Min>\n    <Max>4096</Max>\n"
          "    <Inc>16</Inc>\n  </Integer>\n",
          g);
    w.intReg("OffsetReg", g, base + 0x38, "RW");
}

GeneratedDescription generate(size_t groups) {
    Writer w;
    w.text.reserve(groups * 9000);
    w.add("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
          "<RegisterDescription ModelName=\"Generated%zu\" VendorName=\"Quillon\" "
          "ToolTip=\"Generated for the scale benchmarks\" StandardNameSpace=\"None\" "
          "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" "
          "MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"0\" "
          "VersionGuid=\"0\" xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\n",
          groups);
    const size_t sections = (groups + kFanOut - 1) / kFanOut;
    const size_t areas = (sections + kFanOut - 1) / kFanOut;
    size_t categories = 1;
    w.add("  <Category Name=\"Root\">\n");
    for (size_t a = 0; a < areas; ++a)
        w.add("    <pFeature>Area%zu</pFeature>\n", a);
    w.add("  </Category>\n");
    for (size_t a = 0; a < areas; ++a, ++categories) {
        w.add("  <Category Name=\"Area%zu\">\n", a);
        w.texts("Area", a, "Channels of one board", "Beginner");
        for (size_t s = a * kFanOut; s < sections && s < (a + 1) * kFanOut; ++s)
            w.add("    <pFeature>Section%zu</pFeature>\n", s);
        w.add("  </Category>\n");
    }
    for (size_t s = 0; s < sections; ++s, ++categories) {
        w.add("  <Category Name=\"Section%zu\">\n", s);
        w.texts("Section", s, "Channels of one connector", "Beginner");
        for (size_t g = s * kFanOut; g < groups && g < (s + 1) * kFanOut; ++g)
            w.add("    <pFeature>Channel%zu</pFeature>\n", g);
        w.add("  </Category>\n");
    }
    for (size_t g = 0; g < groups; ++g)
        group(w, g);
    w.add("  <Port Name=\"Device\">\n    <ToolTip>Port to the device</ToolTip>\n  </Port>\n"
          "</RegisterDescription>\n");
    GeneratedDescription d;
    d.xml = std::move(w.text);
    d.nodes = groups * kGroupNodes + categories + 1;
    d.features = groups * kGroupFeatures;
    d.categories = categories;
    return d;
}

} // namespace

GeneratedDescription GenerateDescription(size_t nodes) {
    return generate((nodes + kGroupNodes - 1) / kGroupNodes);
}

GeneratedDescription GenerateDescriptionWithFeatures(size_t features) {
    return generate((features + kGroupFeatures - 1) / kGroupFeatures);
}

} // namespace quillon_bench
