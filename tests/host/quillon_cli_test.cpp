// The quillon command end to end over the embedded simulated system: output,
// exit status, one-line errors; as the library's host, the browser window.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Outcome {
    std::string out;
    int status = -1;
};

Outcome Shell(const std::string& command) {
    Outcome run;
    FILE* pipe = popen(command.c_str(), "r");
    for (int c; pipe && (c = fgetc(pipe)) != EOF;)
        run.out += static_cast<char>(c);
    const int raw = pipe ? pclose(pipe) : -1;
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return run;
}

// Standard error goes with the output, or where `errors` says (Qt's notes).
Outcome Quillon(const std::string& arguments, const std::string& environment = "",
                const std::string& errors = "&1") {
    return Shell("env " + environment + " " QUILLON_EXECUTABLE " " + arguments + " 2>" + errors);
}

bool Has(const std::string& text, const std::string& piece) {
    return text.find(piece) != std::string::npos;
}

std::string ReadText(const std::string& path) {
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), {}};
}

// A scratch folder of the test's own.
struct TempDir {
    char name[24] = "/tmp/quillon_cli_XXXXXX";
    std::string path = mkdtemp(name);
    ~TempDir() { fs::remove_all(path); }
};

// Runs every row: its status, and a piece of its output (exactly its one line
// when the command fails with status 2; no output at all for "").
struct Row {
    std::string arguments;
    int status;
    std::string piece;
};

void ExpectRows(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        const Outcome run = Quillon(row.arguments);
        EXPECT_EQ(run.status, row.status) << row.arguments << "\n" << run.out;
        if (row.status == 2)
            EXPECT_EQ(run.out, row.piece) << row.arguments;
        else if (row.piece.empty())
            EXPECT_EQ(run.out, "") << row.arguments;
        else
            EXPECT_TRUE(Has(run.out, row.piece)) << row.arguments << "\n" << run.out;
    }
}

} // namespace

TEST(QuillonCommand, TextSubcommandsPrintAndRefuseInOneLine) {
    ExpectRows({
        {"tree --level standard", 0, "\nCamera\n"},
        {"tree --level standard", 0, "\n    Width \t 1280\n"},
        {"props Width", 0, "Name:\tWidth\r\nValue:\t1280\r\nType:\tInteger\r\n"},
        // The digitizer's own features have the older one-line calls.
        {"props GrabTimeout", 0, "\tQdigControl(QorDigitizer, Q_DIG_GRAB_TIMEOUT + GrabTimeout, "},
        {"get DeviceVendorName", 0, "Torvex\n"},
        {"why UserSetSave", 0,
         "UserSetSave is not available now: UserSetSelector = Default makes "},
        {"slices GainSelector", 0, "\nDigitalAll    1.5\n"},
        {"session Width=640 GainSelector=AnalogAll TriggerSoftware", 0,
         "\t// 3. TriggerSoftware executed\n"},
        {"set Width 641", 2,
         "quillon: 641 is not valid: the value must be 16 plus a multiple of 16.\n"},
        {"get NoSuchFeature", 2, "quillon: no feature named 'NoSuchFeature'\n"},
        {"why NoSuchFeature", 2, "quillon: no feature named 'NoSuchFeature'\n"},
        {"slices Width", 2, "quillon: 'Width' is not a selector of integer or enumeration type\n"},
        {"session Width", 2,
         "quillon: step 1 (Width): 'Width' is not a command; give FEATURE=VALUE\n"},
        {"tree --xml /nonexistent.xml", 2,
         "quillon: Cannot open description file '/nonexistent.xml'\n"},
        {"frobnicate", 2, "quillon: unknown command 'frobnicate' (quillon --help lists them)\n"},
    });
    // A selected feature's code sets its selector first.
    const std::string gain = Quillon("props Gain").out;
    EXPECT_LT(gain.find("QOR_TEXT(\"GainSelector\")"), gain.find("QOR_TEXT(\"Gain\")")) << gain;
}

TEST(QuillonCommand, FeatureSetsAndFileTransfers) {
    TempDir dir;
    const std::string saved = dir.path + "/saved.txt", edited = dir.path + "/edited.txt";
    const std::string camera = "--xml " QUILLON_SOURCE_DIR "/data/TorvexSimCamera.xml";
    ASSERT_EQ(Quillon("save " + saved).out, "");
    std::string text = ReadText(saved);
    for (const char* piece : {"# Date: 2", "\n[System]\n", "\n[Camera]\n# Vendor: Torvex\n"})
        EXPECT_TRUE(Has(text, piece)) << piece;
    text.replace(text.find("\nWidth = 1280\n"), 14, "\nWidth = 640\n");
    text.replace(text.find("\nOffsetY = 0\n"), 13, "\nOffsetY = 1\n");
    std::ofstream(edited) << text;
    std::ofstream(dir.path + "/bad.txt") << "Width = 640\n[Camera\n";
    const std::string& d = dir.path;
    ExpectRows({
        {"load " + saved, 0, saved + ": 0 applied, "},
        {"load " + edited + " --dry-run", 1, ": would change: Width = 640 (was 1280)\n"},
        {"load " + edited, 1,
         ": refused: OffsetY = 1: out of range: the minimum is 0 and the maximum is 0\n"},
        {"diff " + saved + " " + edited, 1,
         "--- " + saved + "\n+++ " + edited +
             "\n[Camera]\n-Width = 1280\n+Width = 640\n-OffsetY = 0\n+OffsetY = 1\n"},
        {"diff " + saved + " " + saved, 0, ""},
        {"diff sim " + camera, 1, "--- sim\n+++ " + camera + "\n"},
        {"diff " + camera + " " + camera, 0, ""},
        {"load " + d + "/bad.txt", 2,
         "quillon: " + d + "/bad.txt:2: a section must be written [Caption]\n"},
        {"load " + d + "/none.txt", 2, "quillon: cannot read '" + d + "/none.txt'\n"},
        {"save " + d + "/none/s.txt", 2,
         "quillon: Cannot create " + d + "/none/s.txt.part: No such file or directory\n"},
        {"diff " + saved, 2, "quillon: diff compares two sources (quillon diff --help)\n"},
        {"upload UserSet1 " + d + "/missing.bin", 2,
         "quillon: Cannot read " + d + "/missing.bin: No such file or directory\n"},
        {"download UserSet1 " + d + "/none/copy.bin", 2,
         "quillon: Cannot create " + d + "/none/copy.bin.part: No such file or directory\n"},
    });
}

// Descriptions come through the node-map cache, in the folder the environment
// names or else the user's; a file rewritten with its old size and time is
// read anew.
TEST(QuillonCommand, CachesDescriptionsWhereTheEnvironmentSaysAndNeverServesStale) {
    TempDir dir;
    const std::string xml = dir.path + "/camera.xml", tree = "tree --xml " + xml;
    fs::copy_file(QUILLON_SOURCE_DIR "/data/QseqControl.xml", xml);
    const std::string parsed = Quillon(tree, "-u GENICAM_CACHE_V3_4 HOME=/nonexistent").out;
    ASSERT_TRUE(Has(parsed, "Sequence Control\n")) << parsed;
    const std::string& d = dir.path;
    for (const auto& [environment, folder] : std::vector<std::pair<std::string, std::string>>{
             {"GENICAM_CACHE_V3_4=" + d + "/named", d + "/named"},
             {"-u GENICAM_CACHE_V3_4 XDG_CACHE_HOME=" + d + "/xdg", d + "/xdg/quillon"},
             {"-u GENICAM_CACHE_V3_4 -u XDG_CACHE_HOME HOME=" + d, d + "/.cache/quillon"}}) {
        EXPECT_EQ(Quillon(tree, environment).out, parsed) << environment;
        EXPECT_EQ(Quillon(tree, environment).out, parsed) << environment << " (cached)";
        EXPECT_TRUE(fs::exists(folder) && !fs::is_empty(folder)) << folder;
    }
    std::string text = ReadText(xml);
    const auto modified = fs::last_write_time(xml);
    text.replace(text.find("Sequence Control"), 16, "Sequence Central");
    std::ofstream(xml, std::ios::trunc) << text;
    fs::last_write_time(xml, modified);
    EXPECT_TRUE(Has(Quillon(tree, "GENICAM_CACHE_V3_4=" + d + "/named").out, "Sequence Central\n"));
}

#ifdef QUILLON_HAVE_GUI
// Without a display the host prints the tree the library handed back (the
// rows of `quillon tree`) and saves the window; with one (off screen) it runs
// until the window closes, and keeps its placement.
TEST(QuillonHost, RunsTheBrowserThroughTheLibrary) {
    TempDir home;
    const std::string headless =
        "-u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM HOME=" + home.path;
    const std::string png = home.path + "/browser.png",
                      xml = "--xml " QUILLON_SOURCE_DIR "/data/QseqControl.xml";
    const std::string saved = "quillon: saved the browser window to " + png + "\n";
    EXPECT_EQ(Quillon(xml + " --image " + png, headless, "/dev/null").out,
              Quillon("tree " + xml).out + saved);
    const Outcome library =
        Quillon("--image " + png, headless, "/dev/null"); // the simulated system's records
    EXPECT_TRUE(Has(library.out, "\nCamera\n") && Has(library.out, "    Width \t 1280\n"))
        << library.out;
    EXPECT_EQ(library.out.substr(library.out.size() - saved.size()), saved);
    const std::string image = ReadText(png);
    EXPECT_EQ(image.substr(0, 8), "\x89PNG\r\n\x1A\n");
    EXPECT_GT(image.size(), 1000u);
    const Outcome camera =
        Quillon("--screenshot " + png + " --select Width", headless, "/dev/null");
    EXPECT_EQ(std::to_string(camera.status) + camera.out, "0" + saved);
    EXPECT_EQ(Quillon("--screenshot " + png + " --select Nope", headless, "/dev/null").status, 2);
    const std::string display =
        "DISPLAY=:quillon-test QT_QPA_PLATFORM=offscreen QUILLON_AUTOCLOSE_MS=200 HOME=" +
        home.path;
    for (const std::string arguments :
         {"", "--modeless", "--xml " QUILLON_SOURCE_DIR "/data/QsysControl_sim.xml"})
        EXPECT_EQ(Quillon(arguments, display, "/dev/null").status, 0) << arguments;
    EXPECT_TRUE(fs::exists(home.path + "/.config/Torvex/Quillon.conf"));
    EXPECT_EQ(Quillon("", display + " QUILLON_LIBRARY=/nonexistent.so", "/dev/null").status, 2);
    EXPECT_EQ(Quillon("--modeless --frobnicate", display, "/dev/null").status, 2);
}
#endif
