// Device file transfers over the simulated camera's file store and over
// inline descriptions. The dialog's platform pieces (file dialog, message
// box, progress bar, buttons) are one recorder; files go to a scratch folder.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <unistd.h>
#include <vector>

#include "inspect/file_transfer.h"
#include "inspect_support.h"

namespace {

namespace fs = std::filesystem;
using quillon::inspect::FileDialog;
using quillon::inspect::FileTransferSession;
using quillon::inspect::MessageIcon;
using Outcome = quillon::inspect::TransferResult::Outcome;

// Records what the transfer shows, from whichever thread it runs on.
struct Platform : FileDialog,
                  quillon::inspect::MessageDisplay,
                  quillon::inspect::ProgressIndicator,
                  quillon::inspect::TransferButtons {
    std::mutex m;
    std::string answer; // what the file dialog chooses
    std::vector<std::string> asked, messages, progress;
    std::vector<int32_t> positions;
    bool download = true, upload = true, fileList = true; // the template's initial state
    int buttonChanges = 0;
    std::function<void(int32_t)> onPosition = [](int32_t) {};

    std::string Choose(Kind kind, const std::string& name) override {
        asked.push_back((kind == Kind::Save ? "save " : "open ") + name);
        return answer;
    }
    void Show(const std::string& text, const std::string& caption, MessageIcon icon) override {
        std::lock_guard lock(m);
        messages.push_back(caption + (icon == MessageIcon::Exclamation ? "!: " : ": ") + text);
    }
    void Log(const std::string& event) {
        std::lock_guard lock(m);
        progress.push_back(event);
    }
    void SetRange(int32_t lo, int32_t hi) override {
        Log("range " + std::to_string(lo) + ".." + std::to_string(hi));
    }
    void SetPosition(int32_t position) override {
        Log("position " + std::to_string(position));
        {
            std::lock_guard lock(m);
            positions.push_back(position);
        }
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

std::vector<uint8_t> Pattern(size_t n) {
    std::vector<uint8_t> bytes(n);
    for (size_t i = 0; i < n; ++i)
        bytes[i] = static_cast<uint8_t>((i * 131 + 7) % 251);
    return bytes;
}

std::vector<uint8_t> ReadLocal(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteLocal(const fs::path& path, const std::vector<uint8_t>& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

struct FileTransfer : ::testing::Test {
    qorvis::sim::ConnectedSimulatedCamera camera;
    Platform platform;
    fs::path dir = fs::temp_directory_path() /
                   ("quillon-transfer-" + std::to_string(::getpid()) + "-" +
                    ::testing::UnitTest::GetInstance()->current_test_info()->name());
    void SetUp() override { fs::create_directories(dir); }
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
};

} // namespace

TEST_F(FileTransfer, ListsTheDeviceFilesAndEnablesTheButtonsTheOpenModesAllow) {
    FileTransferSession session(camera.nodeMap(), platform.Of());
    const std::string label = session.FillFileList();
    ASSERT_EQ(session.Files().size(), 4u);
    EXPECT_EQ(label, std::string(session.Files()[0].entry->GetDescription()));
    std::string symbolics;
    for (const auto& f : session.Files())
        symbolics += std::string(GenApi::CEnumEntryPtr(f.entry)->GetSymbolic()) + " ";
    EXPECT_EQ(symbolics, "UserSet1 UserSet2 LUTFile DeviceLog ");
    EXPECT_TRUE(platform.download && platform.upload);
    // The log is read-only: the device offers only "Read" for it.
    EXPECT_EQ(session.SelectFile(3), std::string(session.Files()[3].entry->GetDescription()));
    EXPECT_EQ(session.CurrentFile(), 3u);
    EXPECT_EQ(
        std::string(GenApi::CEnumerationPtr(camera.nodeMap()->GetNode("FileSelector"))->ToString()),
        "DeviceLog");
    EXPECT_TRUE(platform.download);
    EXPECT_FALSE(platform.upload);
    session.SelectFile(2);
    EXPECT_TRUE(platform.download && platform.upload);

    // A file the device offers for writing only, on a device of its own.
    quillon_inspect_test::MemoryDevice writeOnly(
        "<Enumeration Name=\"FileSelector\"><EnumEntry Name=\"Log\"><Value>0</Value></EnumEntry>"
        "<EnumEntry "
        "Name=\"Sink\"><Value>1</Value></EnumEntry><pValue>Selected</pValue></Enumeration>" +
        quillon_inspect_test::Reg("Selected", "0") +
        "<IntSwissKnife Name=\"Readable\"><pVariable Name=\"S\">Selected</pVariable><Formula>S = "
        "0</Formula>"
        "</IntSwissKnife><Enumeration Name=\"FileOpenMode\"><EnumEntry Name=\"Read\">"
        "<pIsAvailable>Readable</pIsAvailable><Value>0</Value></EnumEntry>"
        "<EnumEntry Name=\"Write\"><Value>1</Value></EnumEntry><Value>0</Value></Enumeration>");
    Session("Sink", writeOnly.nodeMap());
    EXPECT_FALSE(platform.download);
    EXPECT_TRUE(platform.upload);
}

TEST_F(FileTransfer, FillingTheListNeverThrows) {
    // Without FileSelector the list stays empty and the buttons as they are;
    // an entry whose availability cannot be read (its register's port is not
    // connected) ends the list there, with the reason as the description.
    quillon_inspect_test::MemoryDevice none("<Integer Name=\"Width\"><Value>4</Value></Integer>");
    quillon_inspect_test::MemoryDevice failing(
        "<Enumeration Name=\"FileSelector\"><EnumEntry Name=\"First\"><Value>0</Value></EnumEntry>"
        "<EnumEntry Name=\"Second\"><pIsAvailable>Available</pIsAvailable><Value>1</Value>"
        "</EnumEntry><Value>0</Value></Enumeration><Port Name=\"Unplugged\"/>"
        "<IntReg "
        "Name=\"Available\"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode>"
        "<pPort>Unplugged</pPort></IntReg>");
    for (auto [map, files, described] :
         {std::tuple{none.nodeMap(), 0u, false}, {failing.nodeMap(), 1u, true}}) {
        FileTransferSession session(map, platform.Of());
        std::string label;
        ASSERT_NO_THROW(label = session.FillFileList());
        EXPECT_EQ(session.Files().size(), files);
        EXPECT_EQ(!label.empty(), described) << label;
        EXPECT_EQ(platform.buttonChanges, 0);
    }
}

TEST_F(FileTransfer, TheProposedNameJoinsVendorModelAndFileAndChoosingNothingStartsNothing) {
    const auto device = [](bool vendorIsString) {
        return std::string(
                   "<Enumeration Name=\"FileSelector\"><EnumEntry Name=\"UserSet1\"><DisplayName>"
                   "User Set "
                   "1</DisplayName><Value>0</Value></EnumEntry><Value>0</Value></Enumeration>"
                   "<StringReg Name=\"DeviceModelName\"><Address>0x200</Address><Length>32</Length>"
                   "<AccessMode>RO</AccessMode><pPort>Device</pPort></StringReg>") +
               (vendorIsString
                    ? "<StringReg Name=\"DeviceVendorName\"><Address>0x100</Address><Length>32"
                      "</Length><AccessMode>RO</AccessMode><pPort>Device</pPort></StringReg>"
                    : "<Integer Name=\"DeviceVendorName\"><Value>7</Value></Integer>");
    };
    quillon_inspect_test::MemoryDevice acme(device(true)), anonymous(device(false));
    for (auto* d : {&acme, &anonymous}) {
        d->port.Write("Acme Corp", 0x100, 10);
        d->port.Write("Cam 5", 0x200, 6);
    }
    const auto session = Session("UserSet1", acme.nodeMap());
    EXPECT_EQ(session->ProposedLocalName(), "Acme_Corp_Cam_5_User_Set_1.bin");
    // A vendor name that is not a string does not count.
    EXPECT_EQ(Session("UserSet1", anonymous.nodeMap())->ProposedLocalName(), "_User_Set_1.bin");
    EXPECT_EQ(Session("UserSet2")->ProposedLocalName(), "Torvex_TVX1280M_UserSet2.bin");

    const int changes = platform.buttonChanges;
    EXPECT_FALSE(session->StartDownload());
    EXPECT_FALSE(session->StartUpload());
    EXPECT_EQ(platform.asked, (std::vector<std::string>{"save Acme_Corp_Cam_5_User_Set_1.bin",
                                                        "open Acme_Corp_Cam_5_User_Set_1.bin"}));
    EXPECT_EQ(platform.buttonChanges, changes);
    EXPECT_TRUE(platform.progress.empty() && platform.messages.empty());
}

TEST_F(FileTransfer, DownloadAndUploadMove2048ByteChunksThroughATemporaryFile) {
    const std::vector<uint8_t> content = Pattern(5000);
    ASSERT_TRUE(camera.device.setFileContents("UserSet2", content));
    const auto session = Session("UserSet2");
    const fs::path target = dir / "user set 2.bin";
    // A file of the user's that happens to bear the temporary name is left alone.
    WriteLocal(target.string() + ".part", {'m', 'i', 'n', 'e'});
    platform.answer = target.string();
    bool listDuringTransfer = true;
    platform.onPosition = [&](int32_t) {
        listDuringTransfer = listDuringTransfer && platform.fileList;
    };
    ASSERT_TRUE(session->StartDownload());
    session->WaitForTransfer();
    EXPECT_EQ(ReadLocal(target), content);
    EXPECT_EQ(ReadLocal(target.string() + ".part"), (std::vector<uint8_t>{'m', 'i', 'n', 'e'}));
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 2);
    EXPECT_FALSE(listDuringTransfer) << "the file list is disabled while the transfer runs";
    EXPECT_TRUE(platform.fileList && platform.download && platform.upload);
    EXPECT_EQ(session->LastResult().outcome, Outcome::Done);
    EXPECT_EQ(platform.progress, (std::vector<std::string>{
                                     "step", "range 0..5000", "step size 1", "position 1", "show",
                                     "position 2048", "position 4096", "position 5000", "hide"}));
    EXPECT_EQ(platform.messages, std::vector<std::string>{"Success: " + target.string() +
                                                          " downloaded successfully."});
    EXPECT_FALSE(camera.device.fileIsOpen("UserSet2"));

    // Back into another device file, and a second transfer of the same session.
    session->SelectFile(0);
    platform.answer = target.string();
    platform.positions.clear();
    ASSERT_TRUE(session->StartUpload());
    session->WaitForTransfer();
    EXPECT_EQ(camera.device.fileContents("UserSet1"), content);
    EXPECT_EQ(platform.positions, (std::vector<int32_t>{1, 2048, 4096, 5000}));
    EXPECT_EQ(platform.messages.back(), "Success: " + target.string() + " uploaded successfully.");
}

// The simulated camera behind a port that lets a test act while the device
// answers a read, as a user's Cancel can arrive in the middle of a transfer.
struct ObservedCamera : GenApi::IPort {
    qorvis::sim::SimulatedCamera device;
    GenApi::CNodeMapRef map;
    std::function<void(int64_t address)> onRead = [](int64_t) {};
    ObservedCamera() {
        map._LoadXMLFromString(GenICam::gcstring(qorvis::sim::SimulatedCamera::descriptionXml()));
        map._Connect(this);
    }
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void* buffer, int64_t address, int64_t length) override {
        device.Read(buffer, address, length);
        onRead(address);
    }
    void Write(const void* buffer, int64_t address, int64_t length) override {
        device.Write(buffer, address, length);
    }
};

TEST_F(FileTransfer, ACancelStopsSilentlyADownloadDropsTheChunkInHandAnUploadHasWrittenIt) {
    ObservedCamera observed;
    ASSERT_TRUE(observed.device.setFileContents("UserSet2", Pattern(5000)));
    const fs::path target = dir / "earlier.bin";
    WriteLocal(target, {'o', 'l', 'd'});
    {
        const auto session = Session("UserSet2", observed.map._Ptr());
        // The device moves at most 1024 bytes per read of its transfer buffer
        // (0x41000): cancel while it delivers the second 2048-byte chunk.
        int bufferReads = 0;
        observed.onRead = [&](int64_t address) {
            if (address == 0x41000 && ++bufferReads == 3) session->Cancel();
        };
        platform.answer = target.string();
        ASSERT_TRUE(session->StartDownload());
    } // leaving the dialog waits for the worker to notice the flag
    EXPECT_EQ(platform.positions, (std::vector<int32_t>{1, 2048}));
    EXPECT_TRUE(platform.messages.empty());
    EXPECT_FALSE(platform.download || platform.upload)
        << "the dialog is closing; the buttons stay off";
    EXPECT_EQ(ReadLocal(target), (std::vector<uint8_t>{'o', 'l', 'd'}))
        << "the earlier file is kept";
    EXPECT_FALSE(fs::exists(target.string() + ".part"));
    EXPECT_FALSE(observed.device.fileIsOpen("UserSet2"));

    const std::vector<uint8_t> content = Pattern(5000);
    WriteLocal(target, content);
    platform.positions.clear();
    {
        const auto session = Session("UserSet2");
        platform.onPosition = [&](int32_t position) {
            if (position == 2048) session->Cancel();
        };
        ASSERT_TRUE(session->StartUpload());
    }
    EXPECT_EQ(camera.device.fileContents("UserSet2"),
              std::vector<uint8_t>(content.begin(), content.begin() + 4096));
    EXPECT_EQ(platform.positions, (std::vector<int32_t>{1, 2048}));
    EXPECT_TRUE(platform.messages.empty());
}

TEST_F(FileTransfer, DeviceErrorsShowTheExceptionTextAndRemoveThePartialDownload) {
    // Uploading into the read-only log: the device refuses the open mode.
    std::string refused;
    try {
        GenApi::ODevFileStream direct(camera.nodeMap(), "DeviceLog");
    } catch (const GenICam::GenericException& e) {
        refused = e.what();
    }
    ASSERT_FALSE(refused.empty());
    const auto session = Session("DeviceLog");
    WriteLocal(dir / "source.bin", Pattern(100));
    platform.answer = (dir / "source.bin").string();
    ASSERT_TRUE(session->StartUpload());
    session->WaitForTransfer();
    EXPECT_EQ(platform.messages, std::vector<std::string>{"Error!: " + refused});
    EXPECT_TRUE(platform.download && platform.upload);

    // A reset in the middle of a download closes the device file under it.
    ASSERT_TRUE(camera.device.setFileContents("UserSet2", Pattern(5000)));
    session->SelectFile(1);
    platform.onPosition = [&](int32_t position) {
        if (position == 2048)
            GenApi::CCommandPtr(camera.nodeMap()->GetNode("DeviceReset"))->Execute();
    };
    const fs::path target = dir / "reset.bin";
    WriteLocal(target.string() + ".part", {'m', 'i', 'n', 'e'});
    platform.answer = target.string();
    ASSERT_TRUE(session->StartDownload());
    session->WaitForTransfer();
    ASSERT_EQ(platform.messages.size(), 2u);
    EXPECT_EQ(platform.messages[1].substr(0, 8), "Error!: ");
    EXPECT_NE(platform.messages[1].find("UserSet2"), std::string::npos) << platform.messages[1];
    EXPECT_FALSE(fs::exists(target));
    EXPECT_FALSE(fs::exists(target.string() + ".1.part")) << "its own temporary file is removed";
    EXPECT_EQ(ReadLocal(target.string() + ".part"), (std::vector<uint8_t>{'m', 'i', 'n', 'e'}));
    EXPECT_EQ(platform.progress.back(), "hide");
}

// A local file that does not open: nothing happens to the device file or on
// disk, the window still says "successfully" as its message rule has it, and
// the outcome names the reason.
TEST_F(FileTransfer, ALocalFileThatDoesNotOpenTouchesNothing) {
    const std::vector<uint8_t> kept = Pattern(300);
    ASSERT_TRUE(camera.device.setFileContents("UserSet2", kept));
    const auto session = Session("UserSet2");
    const fs::path missing = dir / "missing" / "file.bin";
    for (auto [download, local, reason] :
         {std::tuple{false, missing,
                     "Cannot read " + missing.string() + ": No such file or directory"},
          {false, dir, "Cannot read " + dir.string() + ": Is a directory"},
          {true, missing,
           "Cannot create " + missing.string() + ".part: No such file or directory"}}) {
        platform.messages.clear();
        platform.answer = local.string();
        ASSERT_TRUE(download ? session->StartDownload() : session->StartUpload());
        session->WaitForTransfer();
        EXPECT_EQ(session->LastResult().outcome, Outcome::LocalNotOpened);
        EXPECT_EQ(session->LastResult().reason, reason);
        ASSERT_EQ(platform.messages.size(), 1u);
        EXPECT_EQ(platform.messages[0].substr(0, 9), "Success: ");
        EXPECT_EQ(camera.device.fileContents("UserSet2"), kept) << "the device file is not emptied";
        EXPECT_FALSE(camera.device.fileIsOpen("UserSet2"));
    }
    EXPECT_FALSE(fs::exists(dir / "missing"));
}
