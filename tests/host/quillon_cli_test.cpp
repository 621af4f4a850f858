// The quillon command end to end: its texts come from the browser core over
// the embedded simulated system, and mistakes end in one line and status 2.
// As the host of libquillon.so it runs the browser through the library.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/wait.h>

namespace {

struct Outcome {
    std::string out;
    int status = -1;
};

Outcome runCommand(const std::string& command) {
    Outcome run;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return run;
    std::array<char, 4096> chunk;
    size_t n;
    while ((n = fread(chunk.data(), 1, chunk.size(), pipe)) > 0)
        run.out.append(chunk.data(), n);
    int raw = pclose(pipe);
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return run;
}

Outcome quillon(const std::string& arguments) {
    return runCommand(std::string(QUILLON_EXECUTABLE) + " " + arguments + " 2>&1");
}

bool has(const std::string& text, const std::string& piece) {
    return text.find(piece) != std::string::npos;
}

} // namespace

TEST(QuillonCommand, PrintsTheSimulatedSystemsTreeAndProperties) {
    Outcome tree = quillon("tree --level standard");
    ASSERT_EQ(tree.status, 0) << tree.out;
    // Four captioned entries at depth 0, features indented by depth.
    for (const char* line :
         {"\nSystem\n", "\nDigitizer\n", "\nSequence\n", "\nCamera\n", "\n    Width \t 1280\n"})
        EXPECT_TRUE(has("\n" + tree.out, line)) << line;
    Outcome props = quillon("props Width");
    ASSERT_EQ(props.status, 0) << props.out;
    EXPECT_TRUE(has(props.out, "Name:\tWidth\r\nValue:\t1280\r\nType:\tInteger\r\n")) << props.out;
    EXPECT_TRUE(has(props.out, "QOR API:\r\n\r\n"));
    // A selected feature's code sets its selector first; the digitizer's own
    // features have the older one-line calls.
    Outcome gain = quillon("props Gain");
    EXPECT_LT(gain.out.find("QOR_TEXT(\"GainSelector\")"), gain.out.find("QOR_TEXT(\"Gain\")"))
        << gain.out;
    EXPECT_TRUE(has(quillon("props GrabTimeout").out,
                    "\tQdigControl(QorDigitizer, Q_DIG_GRAB_TIMEOUT + GrabTimeout, "));
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

// A command's descriptions come through the node-map cache, in the folder the
// environment names or else the user's; a file changed in place (same size,
// same time) is read anew.
TEST(QuillonCommand, CachesDescriptionsWhereTheEnvironmentSaysAndNeverServesStale) {
    char name[] = "/tmp/quillon_cache_XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    const std::string dir = name;
    const std::string xml = dir + "/camera.xml";
    namespace fs = std::filesystem;
    fs::copy_file(QUILLON_SOURCE_DIR "/data/QseqControl.xml", xml);
    const struct {
        std::string environment, folder;
    } rows[] = {
        {"GENICAM_CACHE_V3_4=" + dir + "/named", dir + "/named"},
        {"-u GENICAM_CACHE_V3_4 XDG_CACHE_HOME=" + dir + "/xdg", dir + "/xdg/quillon"},
        {"-u GENICAM_CACHE_V3_4 -u XDG_CACHE_HOME HOME=" + dir + "/home",
         dir + "/home/.cache/quillon"},
    };
    const std::string tree = "tree --xml " + xml + " 2>&1";
    const Outcome parsed = runCommand("env -u GENICAM_CACHE_V3_4 HOME=/nonexistent " +
                                      std::string(QUILLON_EXECUTABLE) + " " + tree);
    ASSERT_TRUE(has(parsed.out, "Sequence Control\n")) << parsed.out;
    for (const auto& row : rows) {
        const std::string command =
            "env " + row.environment + " " + QUILLON_EXECUTABLE + " " + tree;
        EXPECT_EQ(runCommand(command).out, parsed.out) << row.environment;
        EXPECT_EQ(runCommand(command).out, parsed.out) << row.environment << " (cached)";
        EXPECT_TRUE(fs::exists(row.folder) && !fs::is_empty(row.folder)) << row.folder;
    }
    std::string text;
    std::getline(std::ifstream(xml), text, '\0');
    const auto modified = fs::last_write_time(xml);
    text.replace(text.find("Sequence Control"), 16, "Sequence Central");
    std::ofstream(xml, std::ios::trunc) << text;
    fs::last_write_time(xml, modified);
    EXPECT_TRUE(
        has(runCommand("env " + rows[0].environment + " " + QUILLON_EXECUTABLE + " " + tree).out,
            "Sequence Central\n"));
    fs::remove_all(dir);
}

TEST(QuillonCommand, ExplainsSlicesAndPrintsSessionsAsCode) {
    struct Case {
        const char* arguments;
        int status;
        const char* piece;
    };
    const Case cases[] = {
        {"why UserSetSave", 0,
         "UserSetSave is not available now: UserSetSelector = Default makes UserSetSaveAvailable "
         "(formula `SEL <> 0`) 0 (pIsAvailable)\n"},
        {"slices GainSelector", 0,
         "GainSelector  Gain\nAll           0\nAnalogAll     6\nDigitalAll    1.5\n"},
        {"session Width=640 GainSelector=AnalogAll TriggerSoftware", 0,
         "\t// 1. Width = 640\n\t{\n\t\tQOR_INT64 WidthInpx = 640;\n"},
        {"session Width=640 GainSelector=AnalogAll TriggerSoftware", 0,
         "\t// 3. TriggerSoftware executed\n"},
        {"why NoSuchFeature", 2, "NoSuchFeature"},
        {"slices Width", 2, "'Width' is not a selector"},
        {"session Width=641", 2, "step 1 (Width=641): "},
        {"session Width", 2, "is not a command"},
    };
    for (const Case& c : cases) {
        Outcome run = quillon(c.arguments);
        EXPECT_EQ(run.status, c.status) << c.arguments << "\n" << run.out;
        EXPECT_TRUE(has(run.out, c.piece)) << c.arguments << "\n" << run.out;
        if (c.status == 2) {
            EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 1) << run.out;
        }
    }
}

TEST(QuillonCommand, SavesLoadsAndComparesFeatureSets) {
    char name[] = "/tmp/quillon_sets_XXXXXX";
    ASSERT_TRUE(mkdtemp(name));
    const std::string dir = name, saved = dir + "/saved.txt", edited = dir + "/edited.txt";
    const std::string camera = "--xml " QUILLON_SOURCE_DIR "/data/TorvexSimCamera.xml";
    ASSERT_EQ(quillon("save " + saved).out, "");
    std::string text;
    {
        std::ifstream in(saved);
        text.assign(std::istreambuf_iterator<char>(in), {});
    }
    for (const char* piece :
         {"# Date: 2", "\n[System]\n", "\n[Camera]\n# Vendor: Torvex\n", "\nWidth = 1280\n"})
        EXPECT_TRUE(has(text, piece)) << piece;
    text.replace(text.find("\nWidth = 1280\n"), 14, "\nWidth = 640\n");
    text.replace(text.find("\nOffsetY = 0\n"), 13, "\nOffsetY = 1\n");
    std::ofstream(edited) << text;
    std::ofstream(dir + "/bad.txt") << "Width = 640\n[Camera\n";
    struct Row {
        std::string arguments;
        int status;
        std::string piece; // of the output; "" for none at all
    };
    const Row rows[] = {
        {"load " + saved, 0, " applied, "},
        {"load " + edited + " --dry-run", 1, ": would change: Width = 640 (was 1280)\n"},
        {"load " + edited, 1,
         ": refused: OffsetY = 1: out of range: the minimum is 0 and the maximum is 0\n"},
        {"diff " + saved + " " + edited, 1,
         "--- " + saved + "\n+++ " + edited +
             "\n[Camera]\n-Width = 1280\n+Width = 640\n-OffsetY = 0\n+OffsetY = 1\n"},
        {"diff " + saved + " " + saved, 0, ""},
        {"diff sim " + camera, 1, "--- sim\n+++ " + camera + "\n"},
        {"diff " + camera + " " + camera, 0, ""},
        {"load " + dir + "/bad.txt", 2,
         "quillon: " + dir + "/bad.txt:2: a section must be written [Caption]\n"},
        {"load " + dir + "/none.txt", 2, "quillon: cannot read '" + dir + "/none.txt'\n"},
        {"save " + dir + "/none/saved.txt", 2,
         "quillon: Cannot create " + dir + "/none/saved.txt.part: No such file or directory\n"},
        {"diff " + saved, 2, "quillon: diff compares two sources (quillon diff --help)\n"},
    };
    for (const Row& row : rows) {
        const Outcome run = quillon(row.arguments);
        EXPECT_EQ(run.status, row.status) << row.arguments << "\n" << run.out;
        if (row.piece.empty())
            EXPECT_EQ(run.out, "") << row.arguments;
        else
            EXPECT_TRUE(row.status == 2 ? run.out == row.piece : has(run.out, row.piece))
                << row.arguments << "\n"
                << run.out;
    }
    EXPECT_EQ(quillon("load " + saved).out.substr(0, saved.size() + 13), saved + ": 0 applied, ");
    std::filesystem::remove_all(dir);
}

TEST(QuillonCommand, TransfersDrawOneProgressLineAndFilesThatDoNotOpenAreErrors) {
    char name[] = "/tmp/quillon_transfer_XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    const std::string dir = name;
    const std::string target = dir + "/log.bin";
    // Progress goes to standard error: one line that every chunk rewrites, then a newline.
    Outcome down = runCommand(std::string(QUILLON_EXECUTABLE) + " download DeviceLog " + target +
                              " 2>" + dir + "/progress");
    EXPECT_EQ(down.status, 0);
    EXPECT_EQ(down.out, target + " downloaded successfully.\n");
    const std::string progress = runCommand("cat " + dir + "/progress").out;
    EXPECT_EQ(progress.substr(0, 1), "\r") << progress;
    EXPECT_EQ(std::count(progress.begin(), progress.end(), '\n'), 1) << progress;
    EXPECT_EQ(progress.back(), '\n');
    struct Row {
        std::string arguments, line;
    };
    for (const Row& row :
         {Row{"upload UserSet1 " + dir + "/missing.bin",
              "quillon: Cannot read " + dir + "/missing.bin: No such file or directory\n"},
          Row{"download UserSet1 " + dir + "/none/copy.bin",
              "quillon: Cannot create " + dir +
                  "/none/copy.bin.part: No such file or directory\n"}}) {
        Outcome run = quillon(row.arguments);
        EXPECT_EQ(run.status, 2) << row.arguments;
        EXPECT_EQ(run.out, row.line);
    }
    std::filesystem::remove_all(dir);
}

#ifdef QUILLON_HAVE_GUI
namespace {

// A folder of its own per test: the window's saved settings stay out of the
// user's (HOME), and its images land there.
struct TempHome {
    std::string path;
    TempHome() {
        char name[] = "/tmp/quillon_host_XXXXXX";
        path = mkdtemp(name) ? name : "";
    }
    ~TempHome() {
        if (!path.empty()) std::filesystem::remove_all(path);
    }
};

// Standard output only; standard error carries Qt's platform notes.
Outcome quillonWith(const std::string& environment, const std::string& arguments) {
    return runCommand("env " + environment + " " + QUILLON_EXECUTABLE + " " + arguments +
                      " 2>/dev/null");
}

void expectPng(const std::string& path) {
    FILE* file = std::fopen(path.c_str(), "rb");
    ASSERT_NE(file, nullptr) << path;
    std::array<unsigned char, 8> signature{};
    const size_t got = std::fread(signature.data(), 1, signature.size(), file);
    std::fseek(file, 0, SEEK_END);
    const long size = std::ftell(file);
    std::fclose(file);
    EXPECT_EQ(got, signature.size());
    EXPECT_EQ(signature,
              (std::array<unsigned char, 8>{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'}));
    EXPECT_GT(size, 1000);
}

// The name column of every row, one a line.
std::string labels(const std::string& tree) {
    std::string out;
    size_t start = 0;
    while (start < tree.size()) {
        size_t end = tree.find('\n', start);
        if (end == std::string::npos) end = tree.size();
        const std::string line = tree.substr(start, end - start);
        out += line.substr(0, line.find(" \t ")) + "\n";
        start = end + 1;
    }
    return out;
}

const char kHeadless[] = "-u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM";
// A display the window never reaches: Qt draws off screen.
const char kDisplay[] = "DISPLAY=:quillon-test QT_QPA_PLATFORM=offscreen QUILLON_AUTOCLOSE_MS=200";

} // namespace

TEST(QuillonCommand, SavesTheBrowserWindowAsPng) {
    TempHome home;
    const std::string png = home.path + "/window.png";
    Outcome run = quillonWith(std::string(kHeadless) + " HOME=" + home.path, "--screenshot " + png);
    ASSERT_EQ(run.status, 0) << run.out;
    EXPECT_EQ(run.out, "quillon: saved the browser window to " + png + "\n");
    expectPng(png);
    // A selected feature shows with its editor; an unknown one is refused.
    run = quillonWith(std::string(kHeadless) + " HOME=" + home.path,
                      "--screenshot " + png + " --select Width");
    EXPECT_EQ(run.status, 0) << run.out;
    run = quillonWith(std::string(kHeadless) + " HOME=" + home.path,
                      "--screenshot " + png + " --select Nope");
    EXPECT_EQ(run.status, 2); // the reason goes to stderr
    EXPECT_EQ(run.out, "");
}

TEST(QuillonHost, WithoutDisplayPrintsTheTreeTheLibraryHandedBackAndSavesTheWindow) {
    TempHome home;
    const std::string png = home.path + "/browser.png";
    Outcome run = quillonWith(std::string(kHeadless) + " HOME=" + home.path, "--image " + png);
    ASSERT_EQ(run.status, 0) << run.out;
    const std::string last = "quillon: saved the browser window to " + png + "\n";
    ASSERT_GT(run.out.size(), last.size());
    EXPECT_EQ(run.out.substr(run.out.size() - last.size()), last);
    // The same rows as `quillon tree` (values that move with time aside),
    // over the node maps the library loaded and handed back in the records.
    Outcome tree = quillon("tree");
    ASSERT_EQ(tree.status, 0);
    EXPECT_EQ(labels(run.out.substr(0, run.out.size() - last.size())), labels(tree.out));
    EXPECT_TRUE(has(run.out, "    Width \t 1280\n"));
    expectPng(png);

    // A description file as the host's own node map.
    const std::string xmlPng = home.path + "/xml.png";
    Outcome xml =
        quillonWith(std::string(kHeadless) + " HOME=" + home.path,
                    "--xml " QUILLON_SOURCE_DIR "/data/QseqControl.xml --image " + xmlPng);
    ASSERT_EQ(xml.status, 0) << xml.out;
    Outcome xmlTree = quillon("tree --xml " QUILLON_SOURCE_DIR "/data/QseqControl.xml");
    EXPECT_EQ(xml.out, xmlTree.out + "quillon: saved the browser window to " + xmlPng + "\n");
}

TEST(QuillonHost, RunsTheBrowserModallyOrModelessUntilItCloses) {
    TempHome home;
    const std::string environment = std::string(kDisplay) + " HOME=" + home.path;
    for (const char* arguments :
         {"", "--modeless", "--xml " QUILLON_SOURCE_DIR "/data/QsysControl_sim.xml"}) {
        Outcome run = quillonWith(environment, arguments);
        EXPECT_EQ(run.status, 0) << arguments << ": " << run.out;
        EXPECT_EQ(run.out, "") << arguments;
    }
    // The window saved its placement when it closed.
    EXPECT_TRUE(std::filesystem::exists(home.path + "/.config/Torvex/Quillon.conf"));
    EXPECT_EQ(quillonWith(environment + " QUILLON_LIBRARY=/nonexistent.so", "").status, 2);
    EXPECT_EQ(quillonWith(environment, "--modeless --frobnicate").status, 2);
}
#endif
