// The quillon command end to end: its texts come from the browser core over
// the embedded simulated system, and mistakes end in one line and status 2.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
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

#ifdef QUILLON_HAVE_GUI
TEST(QuillonCommand, SavesTheBrowserWindowAsPng) {
    // A home of its own keeps the window's saved settings out of the user's.
    char home[] = "/tmp/quillon_screenshot_XXXXXX";
    ASSERT_NE(mkdtemp(home), nullptr);
    const std::string png = std::string(home) + "/window.png";
    const std::string command = std::string("env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM HOME=") + home +
                                " " + QUILLON_EXECUTABLE + " --screenshot " + png + " 2>/dev/null";
    Outcome run;
    FILE* pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::array<char, 4096> chunk;
    size_t n;
    while ((n = fread(chunk.data(), 1, chunk.size(), pipe)) > 0) run.out.append(chunk.data(), n);
    const int raw = pclose(pipe);
    ASSERT_TRUE(WIFEXITED(raw) && WEXITSTATUS(raw) == 0) << run.out;
    EXPECT_EQ(run.out, "quillon: saved the browser window to " + png + "\n");
    // Off screen without a display, and a PNG with content.
    FILE* file = std::fopen(png.c_str(), "rb");
    ASSERT_NE(file, nullptr);
    std::array<unsigned char, 8> signature{};
    const size_t got = std::fread(signature.data(), 1, signature.size(), file);
    std::fseek(file, 0, SEEK_END);
    const long size = std::ftell(file);
    std::fclose(file);
    EXPECT_EQ(got, signature.size());
    EXPECT_EQ(signature, (std::array<unsigned char, 8>{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'}));
    EXPECT_GT(size, 1000);
    std::filesystem::remove_all(home);
}
#endif
