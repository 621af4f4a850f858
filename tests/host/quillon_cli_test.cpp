// The quillon command end to end: its texts come from the browser core over
// the embedded simulated system, and mistakes end in one line and status 2.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <sys/wait.h>

namespace {

struct Outcome {
    std::string out;
    int status = -1;
};

Outcome quillon(const std::string& arguments) {
    std::string command = std::string(QUILLON_EXECUTABLE) + " " + arguments + " 2>&1";
    Outcome run;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return run;
    std::array<char, 4096> chunk;
    size_t n;
    while ((n = fread(chunk.data(), 1, chunk.size(), pipe)) > 0) run.out.append(chunk.data(), n);
    int raw = pclose(pipe);
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return run;
}

bool has(const std::string& text, const std::string& piece) { return text.find(piece) != std::string::npos; }

} // namespace

TEST(QuillonCommand, PrintsTheSimulatedSystemsTreeAndProperties) {
    Outcome tree = quillon("tree --level standard");
    ASSERT_EQ(tree.status, 0) << tree.out;
    // Four captioned entries at depth 0, features indented by depth.
    for (const char* line : {"\nSystem\n", "\nDigitizer\n", "\nSequence\n", "\nCamera\n", "\n    Width \t 1280\n"})
        EXPECT_TRUE(has("\n" + tree.out, line)) << line;
    Outcome props = quillon("props Width");
    ASSERT_EQ(props.status, 0) << props.out;
    EXPECT_TRUE(has(props.out, "Name:\tWidth\r\nValue:\t1280\r\nType:\tInteger\r\n")) << props.out;
    EXPECT_TRUE(has(props.out, "QOR API:\r\n\r\n"));
}

TEST(QuillonCommand, ReadsWritesAndRefusesClearly) {
    Outcome get = quillon("get DeviceVendorName");
    EXPECT_EQ(get.status, 0);
    EXPECT_EQ(get.out, "Torvex\n");
    Outcome bad = quillon("set Width 641");
    EXPECT_EQ(bad.status, 2);
    EXPECT_TRUE(has(bad.out, "641")) << bad.out;
    EXPECT_EQ(std::count(bad.out.begin(), bad.out.end(), '\n'), 1) << bad.out;
    Outcome unknown = quillon("get NoSuchFeature");
    EXPECT_EQ(unknown.status, 2);
    EXPECT_TRUE(has(unknown.out, "NoSuchFeature"));
    Outcome malformed = quillon("tree --xml /nonexistent.xml");
    EXPECT_EQ(malformed.status, 2);
    EXPECT_EQ(quillon("frobnicate").status, 2);
}
