// Device file transfers over the simulated camera's file store and inline
// descriptions; the dialog's platform pieces are one recorder.

#include <functional>
#include <iterator>
#include <mutex>
#include <unistd.h>

#include "inspect/file_transfer.h"
#include "inspect_support.h"

namespace {

namespace fs = std::filesystem;
using quillon::inspect::FileDialog;
using quillon::inspect::FileTransferSession;
using quillon::inspect::MessageIcon;
using Outcome = quillon::inspect::TransferResult::Outcome;

// Records what the transfer shows, from whichever thread it runs on: the
// progress calls and the messages in one log, and the buttons' state.
struct Platform : FileDialog,
                  quillon::inspect::MessageDisplay,
                  quillon::inspect::ProgressIndicator,
                  quillon::inspect::TransferButtons {
    std::mutex m;
    std::string answer, asked, log; // the dialog's answer, what it was asked, what was shown
    bool download = true, upload = true, fileList = true; // the template's initial state
    int buttonChanges = 0;
    std::function<void(int32_t)> onPosition = [](int32_t) {};
    std::string Choose(Kind kind, const std::string& name) override {
        asked += (kind == Kind::Save ? "save " : "open ") + name + "|";
        return answer;
    }
    void Log(const std::string& event) {
        std::lock_guard lock(m);
        log += event + "|";
    }
    void Show(const std::string& text, const std::string& caption, MessageIcon icon) override {
        Log(caption + (icon == MessageIcon::Exclamation ? "!: " : ": ") + text);
    }
    void SetRange(int32_t lo, int32_t hi) override {
        Log("range " + std::to_string(lo) + ".." + std::to_string(hi));
    }
    void SetPosition(int32_t position) override {
        Log(std::to_string(position));
        onPosition(position);
    }
    void SetStep(int32_t step) override { Log("step size " + std::to_string(step)); }
    void Step() override { Log("step"); }
    void Show(bool visible) override { Log(visible ? "show" : "hide"); }
    void Set(bool& button, bool enabled) {
        std::lock_guard lock(m);
        button = enabled;
        ++buttonChanges;
    }
    void EnableDownload(bool enabled) override { Set(download, enabled); }
    void EnableUpload(bool enabled) override { Set(upload, enabled); }
    void EnableFileList(bool enabled) override { Set(fileList, enabled); }
    quillon::inspect::FileTransferPlatform Of() { return {*this, *this, *this, *this}; }
};

// The bytes of a local file, or "none".
std::string Local(const fs::path& path) {
    if (!fs::exists(path)) return "none";
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

struct FileTransfer : ::testing::Test {
    qorvis::sim::ConnectedSimulatedCamera camera;
    Platform platform;
    fs::path dir = fs::temp_directory_path() /
                   ("quillon-transfer-" + std::to_string(::getpid()) + "-" +
                    ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::vector<uint8_t> content =
        std::vector<uint8_t>(5000); // more than two chunks, the last partial
    void SetUp() override {
        fs::create_directories(dir);
        for (size_t i = 0; i < content.size(); ++i)
            content[i] = static_cast<uint8_t>((i * 131 + 7) % 251);
    }
    void TearDown() override { fs::remove_all(dir); }
    // A session over `map` (the camera when null) with `file` selected.
    std::unique_ptr<FileTransferSession> Session(const char* file,
                                                 GenApi::INodeMap* map = nullptr) {
        auto session =
            std::make_unique<FileTransferSession>(map ? map : camera.nodeMap(), platform.Of());
        session->FillFileList();
        for (size_t i = 0; i < session->Files().size(); ++i)
            if (GenApi::CEnumEntryPtr(session->Files()[i].entry)->GetSymbolic() == file)
                session->SelectFile(i);
        return session;
    }
    // Runs a download or an upload to or from `path` and waits for its end.
    void Transfer(FileTransferSession& session, bool download, const fs::path& path) {
        platform.answer = path.string();
        platform.log.clear();
        ASSERT_TRUE(download ? session.StartDownload() : session.StartUpload());
        session.WaitForTransfer();
    }
};

} // namespace

TEST_F(FileTransfer, ListsTheDeviceFilesAndEnablesTheButtonsTheOpenModesAllow) {
    FileTransferSession session(camera.nodeMap(), platform.Of());
    const std::string label = session.FillFileList();
    std::string files;
    for (const auto& f : session.Files())
        files += std::string(GenApi::CEnumEntryPtr(f.entry)->GetSymbolic()) + " ";
    ASSERT_EQ(files, "UserSet1 UserSet2 LUTFile DeviceLog ");
    EXPECT_EQ(label, std::string(session.Files()[0].entry->GetDescription()));
    EXPECT_TRUE(platform.download && platform.upload);
    // The log is read-only: the device offers only "Read" for it.
    EXPECT_EQ(session.SelectFile(3), std::string(session.Files()[3].entry->GetDescription()));
    EXPECT_EQ(
        std::string(GenApi::CEnumerationPtr(camera.nodeMap()->GetNode("FileSelector"))->ToString()),
        "DeviceLog");
    EXPECT_TRUE(platform.download && !platform.upload);
    session.SelectFile(2);
    EXPECT_TRUE(platform.download && platform.upload);
    // A file offered for writing only; without vendor and model the proposed name starts with "_".
    quillon_inspect_test::MemoryDevice sink(
        "<Enumeration Name=\"FileSelector\"><EnumEntry "
        "Name=\"Log\"><Value>0</Value></EnumEntry><EnumEntry "
        "Name=\"Sink\"><DisplayName>Sink "
        "File</DisplayName><Value>1</Value></EnumEntry><pValue>Selected</pValue>"
        "</Enumeration><IntSwissKnife Name=\"Readable\"><pVariable "
        "Name=\"S\">Selected</pVariable><Formula>S = 0"
        "</Formula></IntSwissKnife><Enumeration Name=\"FileOpenMode\"><EnumEntry "
        "Name=\"Read\"><pIsAvailable>"
        "Readable</pIsAvailable><Value>0</Value></EnumEntry><EnumEntry "
        "Name=\"Write\"><Value>1</Value>"
        "</EnumEntry><Value>0</Value></Enumeration>" +
        quillon_inspect_test::Reg("Selected", "0"));
    EXPECT_EQ(Session("Sink", sink.nodeMap())->ProposedLocalName(), "_Sink_File.bin");
    EXPECT_TRUE(!platform.download && platform.upload);
    // A device that fails while the list is filled leaves the entries read so
    // far, its reason the description.
    quillon_inspect_test::MemoryDevice failing(
        "<Enumeration Name=\"FileSelector\"><EnumEntry "
        "Name=\"First\"><Value>0</Value></EnumEntry><EnumEntry "
        "Name=\"Second\"><pIsAvailable>Available</pIsAvailable><Value>1</Value></"
        "EnumEntry><Value>0</Value>"
        "</Enumeration><Port Name=\"Unplugged\"/><IntReg "
        "Name=\"Available\"><Address>0</Address><Length>4"
        "</Length><AccessMode>RO</AccessMode><pPort>Unplugged</pPort></IntReg>");
    FileTransferSession broken(failing.nodeMap(), platform.Of());
    EXPECT_NE(broken.FillFileList(), "");
    EXPECT_EQ(broken.Files().size(), 1u);
}

TEST_F(FileTransfer, DownloadAndUploadMove2048ByteChunksThroughATemporaryFile) {
    ASSERT_TRUE(camera.device.setFileContents("UserSet2", content));
    const auto session = Session("UserSet2");
    // The dialog proposes vendor, model and file; choosing nothing starts nothing.
    EXPECT_FALSE(session->StartDownload() || session->StartUpload());
    EXPECT_EQ(platform.asked,
              "save Torvex_TVX1280M_UserSet2.bin|open Torvex_TVX1280M_UserSet2.bin|");
    EXPECT_EQ(platform.log, "");
    const fs::path target = dir / "user set 2.bin";
    bool listDuringTransfer = true; // choosing a file would write FileSelector
    platform.onPosition = [&](int32_t) {
        listDuringTransfer = listDuringTransfer && platform.fileList;
    };
    // A file of the user's that happens to bear the temporary name is left alone.
    std::ofstream(target.string() + ".part") << "mine";
    Transfer(*session, true, target);
    EXPECT_EQ(Local(target), std::string(content.begin(), content.end()));
    EXPECT_EQ(Local(target.string() + ".part"), "mine");
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 2);
    EXPECT_TRUE(!listDuringTransfer && platform.fileList && platform.download && platform.upload);
    EXPECT_EQ(session->LastResult().outcome, Outcome::Done);
    EXPECT_EQ(platform.log, "step|range 0..5000|step size 1|1|show|2048|4096|5000|hide|Success: " +
                                target.string() + " downloaded successfully.|");
    EXPECT_FALSE(camera.device.fileIsOpen("UserSet2"));
    // Into another device file by a second transfer of the session.
    session->SelectFile(0);
    Transfer(*session, false, target);
    EXPECT_EQ(camera.device.fileContents("UserSet1"), content);
    EXPECT_EQ(platform.log, "step|range 0..5000|step size 1|1|show|2048|4096|5000|hide|Success: " +
                                target.string() + " uploaded successfully.|");
}

TEST_F(FileTransfer, ACancelStopsSilentlyADownloadDropsTheChunkInHandAnUploadHasWrittenIt) {
    const fs::path target = dir / "earlier.bin";
    for (bool download : {true, false}) {
        ASSERT_TRUE(camera.device.setFileContents("UserSet2", content));
        std::ofstream(target, std::ios::binary)
            << (download ? "old" : std::string(content.begin(), content.end()));
        {
            const auto session = Session("UserSet2");
            platform.onPosition = [&](int32_t position) {
                if (position == 2048) session->Cancel();
            };
            platform.answer = target.string();
            platform.log.clear();
            ASSERT_TRUE(download ? session->StartDownload() : session->StartUpload());
        } // leaving the dialog waits for the worker to notice the flag
        EXPECT_EQ(platform.log, "step|range 0..5000|step size 1|1|show|2048|") << download;
        EXPECT_FALSE(platform.download || platform.upload)
            << "the dialog is closing; the buttons stay off";
        EXPECT_FALSE(camera.device.fileIsOpen("UserSet2"));
        // The earlier file is kept, no temporary one is left.
        EXPECT_EQ(Local(target), download ? "old" : std::string(content.begin(), content.end()));
        EXPECT_EQ(Local(target.string() + ".part"), "none");
    }
    EXPECT_EQ(camera.device.fileContents("UserSet2"),
              std::vector<uint8_t>(content.begin(), content.begin() + 4096));
}

TEST_F(FileTransfer, FailuresNameTheirCauseAndLeaveEveryFileAsItWas) {
    // Uploading into the read-only log: the device refuses the open mode.
    const auto log = Session("DeviceLog");
    std::ofstream(dir / "source.bin") << "source";
    Transfer(*log, false, dir / "source.bin");
    EXPECT_EQ(
        platform.log.find("hide|Error!: File operation Open of 'DeviceLog' for Write refused"), 0u);
    EXPECT_TRUE(platform.download && platform.upload);
    // A reset in the middle of a download closes the device file under it:
    // the temporary file goes, a file of the user's by that name stays.
    ASSERT_TRUE(camera.device.setFileContents("UserSet2", content));
    const auto session = Session("UserSet2");
    platform.onPosition = [&](int32_t position) {
        if (position == 2048)
            GenApi::CCommandPtr(camera.nodeMap()->GetNode("DeviceReset"))->Execute();
    };
    std::ofstream(dir / "reset.bin.part") << "mine";
    Transfer(*session, true, dir / "reset.bin");
    EXPECT_EQ(platform.log.substr(0, 56),
              "step|range 0..5000|step size 1|1|show|2048|hide|Error!: ");
    EXPECT_NE(platform.log.find("UserSet2"), std::string::npos) << platform.log;
    EXPECT_EQ(Local(dir / "reset.bin") + Local(dir / "reset.bin.1.part") +
                  Local(dir / "reset.bin.part"),
              "nonenonemine");
    // A local file that does not open: the device file is not emptied, and the
    // window still says "successfully" as its message rule has it.
    platform.onPosition = [](int32_t) {};
    const fs::path missing = dir / "missing" / "file.bin";
    for (auto [download, local, reason] :
         {std::tuple{false, missing,
                     "Cannot read " + missing.string() + ": No such file or directory"},
          {false, dir, "Cannot read " + dir.string() + ": Is a directory"},
          {true, missing,
           "Cannot create " + missing.string() + ".part: No such file or directory"}}) {
        ASSERT_TRUE(camera.device.setFileContents("UserSet2", content));
        Transfer(*session, download, local);
        EXPECT_EQ(session->LastResult().outcome, Outcome::LocalNotOpened);
        EXPECT_EQ(session->LastResult().reason, reason);
        EXPECT_EQ(platform.log, "hide|Success: " + local.string() + (download ? " down" : " up") +
                                    "loaded successfully.|");
        EXPECT_EQ(camera.device.fileContents("UserSet2"), content);
        EXPECT_FALSE(camera.device.fileIsOpen("UserSet2"));
    }
    EXPECT_FALSE(fs::exists(dir / "missing"));
}
