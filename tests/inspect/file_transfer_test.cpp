// Device file transfers over the simulated camera's file store and over
// inline descriptions. The dialog's platform pieces (file dialog, message
// box, progress bar, buttons) are recorders; files go to a scratch folder.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <unistd.h>
#include <vector>

#include "GenApi/GenApi.h"
#include "inspect/file_transfer.h"
#include "inspect_fixtures.h"
#include "sim/sim_camera.h"

namespace {

namespace fs = std::filesystem;
using quillon::inspect::FileDialog;
using quillon::inspect::FileTransferSession;
using quillon::inspect::MessageIcon;

struct ScriptedDialog : FileDialog {
    std::string answer;
    std::vector<std::pair<Kind, std::string>> asked;
    std::string Choose(Kind kind, const std::string& initialName) override {
        asked.emplace_back(kind, initialName);
        return answer;
    }
};

struct Message {
    std::string text, caption;
    MessageIcon icon;
};

struct RecordingMessages : quillon::inspect::MessageDisplay {
    std::mutex m;
    std::vector<Message> shown;
    void Show(const std::string& text, const std::string& caption, MessageIcon icon) override {
        std::lock_guard lock(m);
        shown.push_back({text, caption, icon});
    }
};

struct RecordingProgress : quillon::inspect::ProgressIndicator {
    std::mutex m;
    std::vector<std::string> events;
    std::vector<int32_t> positions;
    int32_t lower = -1, upper = -1;
    std::function<void(int32_t)> onPosition = [](int32_t) {};
    void SetRange(int32_t lo, int32_t hi) override {
        std::lock_guard lock(m);
        lower = lo;
        upper = hi;
        events.push_back("range " + std::to_string(lo) + ".." + std::to_string(hi));
    }
    void SetPosition(int32_t position) override {
        {
            std::lock_guard lock(m);
            positions.push_back(position);
            events.push_back("position " + std::to_string(position));
        }
        onPosition(position);
    }
    void SetStep(int32_t step) override {
        std::lock_guard lock(m);
        events.push_back("step size " + std::to_string(step));
    }
    void Step() override {
        std::lock_guard lock(m);
        events.push_back("step");
    }
    void Show(bool visible) override {
        std::lock_guard lock(m);
        events.push_back(visible ? "show" : "hide");
    }
};

struct RecordingButtons : quillon::inspect::TransferButtons {
    std::mutex m;
    bool download = true, upload = true, fileList = true; // the template's initial state
    int changes = 0;
    void EnableDownload(bool enabled) override {
        std::lock_guard lock(m);
        download = enabled;
        ++changes;
    }
    void EnableUpload(bool enabled) override {
        std::lock_guard lock(m);
        upload = enabled;
        ++changes;
    }
    void EnableFileList(bool enabled) override {
        std::lock_guard lock(m);
        fileList = enabled;
        ++changes;
    }
};

std::vector<uint8_t> pattern(size_t n) {
    std::vector<uint8_t> bytes(n);
    for (size_t i = 0; i < n; ++i) bytes[i] = static_cast<uint8_t>((i * 131 + 7) % 251);
    return bytes;
}

std::vector<uint8_t> readLocal(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void writeLocal(const fs::path& path, const std::vector<uint8_t>& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

class FileTransfer : public ::testing::Test {
protected:
    qorvis::sim::ConnectedSimulatedCamera camera;
    ScriptedDialog dialog;
    RecordingMessages messages;
    RecordingProgress progress;
    RecordingButtons buttons;
    int idleWaits = 0;
    fs::path dir;

    void SetUp() override {
        dir = fs::temp_directory_path() /
              ("quillon-transfer-" + std::to_string(::getpid()) + "-" +
               ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(dir);
        fs::create_directories(dir);
    }
    void TearDown() override { fs::remove_all(dir); }

    quillon::inspect::FileTransferPlatform platform() {
        return {dialog, messages, progress, buttons, [this] { ++idleWaits; }};
    }
    size_t indexOf(FileTransferSession& session, const std::string& symbolic) {
        for (size_t i = 0; i < session.Files().size(); ++i)
            if (GenApi::CEnumEntryPtr(session.Files()[i].entry)->GetSymbolic() == symbolic) return i;
        ADD_FAILURE() << symbolic << " is not listed";
        return 0;
    }
};

TEST_F(FileTransfer, ListsTheDeviceFilesAndEnablesTheButtonsTheOpenModesAllow) {
    FileTransferSession session(camera.nodeMap(), platform());
    std::string label = session.FillFileList();
    ASSERT_EQ(session.Files().size(), 4u);
    std::vector<std::string> symbolics;
    for (const auto& f : session.Files()) symbolics.emplace_back(GenApi::CEnumEntryPtr(f.entry)->GetSymbolic());
    EXPECT_EQ(symbolics, (std::vector<std::string>{"UserSet1", "UserSet2", "LUTFile", "DeviceLog"}));
    EXPECT_EQ(session.CurrentFile(), 0u);
    EXPECT_EQ(label, std::string(session.Files()[0].entry->GetDescription()));
    EXPECT_TRUE(buttons.download);
    EXPECT_TRUE(buttons.upload);

    // The log is read-only: the device offers only "Read" for it.
    label = session.SelectFile(indexOf(session, "DeviceLog"));
    EXPECT_EQ(label, std::string(session.Files()[3].entry->GetDescription()));
    EXPECT_EQ(std::string(GenApi::CEnumerationPtr(camera.nodeMap()->GetNode("FileSelector"))->ToString()),
              "DeviceLog");
    EXPECT_TRUE(buttons.download);
    EXPECT_FALSE(buttons.upload);

    session.SelectFile(indexOf(session, "LUTFile"));
    EXPECT_TRUE(buttons.download);
    EXPECT_TRUE(buttons.upload) << "a writable file enables the upload again";
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
        "<IntReg Name=\"Available\"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode>"
        "<pPort>Unplugged</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>"
        "</IntReg>");
    struct Row {
        GenApi::INodeMap* nodeMap;
        size_t files;
        bool described;
    };
    for (const Row& row : {Row{none.nodeMap(), 0, false}, Row{failing.nodeMap(), 1, true}}) {
        FileTransferSession session(row.nodeMap, platform());
        std::string label;
        ASSERT_NO_THROW(label = session.FillFileList());
        EXPECT_EQ(session.Files().size(), row.files);
        EXPECT_EQ(!label.empty(), row.described) << label;
        EXPECT_EQ(buttons.changes, 0);
    }
}

// A device with an identity and one file whose display name has spaces.
std::string identityDevice(bool withIdentity) {
    std::string body =
        "<Enumeration Name=\"FileSelector\"><EnumEntry Name=\"UserSet1\"><DisplayName>User Set 1</DisplayName>"
        "<Value>0</Value></EnumEntry><pValue>FileSelectorReg</pValue></Enumeration>"
        "<IntReg Name=\"FileSelectorReg\"><Address>0x0</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>";
    if (withIdentity) {
        body += "<StringReg Name=\"DeviceVendorName\"><Address>0x100</Address><Length>32</Length>"
                "<AccessMode>RO</AccessMode><pPort>Device</pPort></StringReg>"
                "<StringReg Name=\"DeviceModelName\"><Address>0x200</Address><Length>32</Length>"
                "<AccessMode>RO</AccessMode><pPort>Device</pPort></StringReg>";
    } else {
        // A vendor name that is not a string feature does not count.
        body += "<Integer Name=\"DeviceVendorName\"><Value>7</Value></Integer>"
                "<StringReg Name=\"DeviceModelName\"><Address>0x200</Address><Length>32</Length>"
                "<AccessMode>RO</AccessMode><pPort>Device</pPort></StringReg>";
    }
    return body;
}

TEST_F(FileTransfer, ProposedNameJoinsVendorModelAndFileWithUnderscores) {
    quillon_inspect_test::MemoryDevice acme(identityDevice(true));
    acme.port.Write("Acme Corp", 0x100, 10);
    acme.port.Write("Cam 5", 0x200, 6);
    FileTransferSession session(acme.nodeMap(), platform());
    session.FillFileList();
    EXPECT_EQ(session.ProposedLocalName(), "Acme_Corp_Cam_5_User_Set_1.bin");

    quillon_inspect_test::MemoryDevice anonymous(identityDevice(false));
    anonymous.port.Write("Cam 5", 0x200, 6);
    FileTransferSession second(anonymous.nodeMap(), platform());
    second.FillFileList();
    EXPECT_EQ(second.ProposedLocalName(), "_User_Set_1.bin");

    // The dialog is offered the proposal; choosing nothing starts nothing.
    int changesBefore = buttons.changes;
    dialog.answer.clear();
    EXPECT_FALSE(session.StartDownload());
    EXPECT_FALSE(session.StartUpload());
    ASSERT_EQ(dialog.asked.size(), 2u);
    EXPECT_EQ(dialog.asked[0], std::pair(FileDialog::Kind::Save, std::string("Acme_Corp_Cam_5_User_Set_1.bin")));
    EXPECT_EQ(dialog.asked[1].first, FileDialog::Kind::Open);
    EXPECT_EQ(buttons.changes, changesBefore);
    EXPECT_TRUE(session.LocalPath().empty());
    EXPECT_TRUE(progress.events.empty());
    EXPECT_TRUE(messages.shown.empty());
}

TEST_F(FileTransfer, SimulatedCameraNameStartsWithItsVendorAndModel) {
    FileTransferSession session(camera.nodeMap(), platform());
    session.FillFileList();
    std::string expected = "Torvex_TVX1280M_" + session.Files()[0].displayName + ".bin";
    EXPECT_EQ(session.ProposedLocalName(), expected);
}

TEST_F(FileTransfer, DownloadMoves2048ByteChunksAndRenamesTheFinishedFile) {
    std::vector<uint8_t> content = pattern(5000);
    ASSERT_TRUE(camera.device.setFileContents("UserSet2", content));
    FileTransferSession session(camera.nodeMap(), platform());
    session.FillFileList();
    session.SelectFile(indexOf(session, "UserSet2"));
    fs::path target = dir / "user set 2.bin";
    // A file of the user's that happens to bear the temporary name is left alone.
    writeLocal(target.string() + ".part", {'m', 'i', 'n', 'e'});
    dialog.answer = target.string();
    bool listDuringTransfer = true;
    progress.onPosition = [&](int32_t) {
        std::lock_guard lock(buttons.m);
        listDuringTransfer = listDuringTransfer && buttons.fileList;
    };
    ASSERT_TRUE(session.StartDownload());
    session.WaitForTransfer();

    EXPECT_EQ(readLocal(target), content);
    EXPECT_EQ(readLocal(target.string() + ".part"), (std::vector<uint8_t>{'m', 'i', 'n', 'e'}));
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 2)
        << "no file of its own is left";
    EXPECT_FALSE(listDuringTransfer) << "the file list is disabled while the transfer runs";
    EXPECT_TRUE(buttons.fileList);
    EXPECT_EQ(session.LastResult().outcome, quillon::inspect::TransferResult::Outcome::Done);
    EXPECT_EQ(progress.events,
              (std::vector<std::string>{"step", "range 0..5000", "step size 1", "position 1", "show", "position 2048",
                                        "position 4096", "position 5000", "hide"}));
    ASSERT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(messages.shown[0].text, target.string() + " downloaded successfully.");
    EXPECT_EQ(messages.shown[0].caption, "Success");
    EXPECT_EQ(messages.shown[0].icon, MessageIcon::None);
    EXPECT_TRUE(buttons.download);
    EXPECT_TRUE(buttons.upload);
    EXPECT_FALSE(camera.device.fileIsOpen("UserSet2")) << "the device file is closed";

    // A second transfer from the same session reuses the worker slot.
    std::vector<uint8_t> log = *camera.device.fileContents("DeviceLog");
    session.SelectFile(indexOf(session, "DeviceLog"));
    fs::path logTarget = dir / "log.bin";
    dialog.answer = logTarget.string();
    ASSERT_TRUE(session.StartDownload());
    session.WaitForTransfer();
    EXPECT_EQ(readLocal(logTarget).size(), log.size());
}

TEST_F(FileTransfer, UploadRoundTripsThroughTheCameraByteForByte) {
    std::vector<uint8_t> content = pattern(5000);
    fs::path source = dir / "lut.bin";
    writeLocal(source, content);
    FileTransferSession session(camera.nodeMap(), platform());
    session.FillFileList();
    session.SelectFile(indexOf(session, "UserSet2"));
    dialog.answer = source.string();
    ASSERT_TRUE(session.StartUpload());
    session.WaitForTransfer();

    EXPECT_EQ(camera.device.fileContents("UserSet2"), content);
    EXPECT_EQ(progress.upper, 5000);
    EXPECT_EQ(progress.positions, (std::vector<int32_t>{1, 2048, 4096, 5000}));
    ASSERT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(messages.shown[0].text, source.string() + " uploaded successfully.");
    EXPECT_EQ(messages.shown[0].caption, "Success");

    // And back again through a download.
    fs::path back = dir / "back.bin";
    dialog.answer = back.string();
    ASSERT_TRUE(session.StartDownload());
    session.WaitForTransfer();
    EXPECT_EQ(readLocal(back), content);
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
    void Write(const void* buffer, int64_t address, int64_t length) override { device.Write(buffer, address, length); }
};

TEST_F(FileTransfer, CancelledDownloadStopsSilentlyAndLeavesNoCompleteLookingFile) {
    ObservedCamera observed;
    ASSERT_TRUE(observed.device.setFileContents("UserSet2", pattern(5000)));
    fs::path target = dir / "earlier.bin";
    writeLocal(target, {'o', 'l', 'd'});
    {
        FileTransferSession session(observed.map._Ptr(), platform());
        session.FillFileList();
        session.SelectFile(indexOf(session, "UserSet2"));
        // The device moves at most 1024 bytes per read of its transfer buffer
        // (0x41000): cancel while it delivers the second 2048-byte chunk.
        int bufferReads = 0;
        observed.onRead = [&](int64_t address) {
            if (address == 0x41000 && ++bufferReads == 3) session.Cancel();
        };
        dialog.answer = target.string();
        ASSERT_TRUE(session.StartDownload());
        // Leaving the dialog waits for the worker to notice the flag.
    }
    EXPECT_EQ(progress.positions, (std::vector<int32_t>{1, 2048})) << "the chunk in hand is not written";
    EXPECT_TRUE(messages.shown.empty());
    EXPECT_FALSE(buttons.download) << "the dialog is closing; the buttons stay disabled";
    EXPECT_FALSE(buttons.upload);
    EXPECT_EQ(readLocal(target), (std::vector<uint8_t>{'o', 'l', 'd'})) << "the earlier file is kept";
    EXPECT_FALSE(fs::exists(target.string() + ".part"));
    EXPECT_FALSE(observed.device.fileIsOpen("UserSet2"));
}

TEST_F(FileTransfer, CancelledUploadHasWrittenTheChunkInHand) {
    std::vector<uint8_t> content = pattern(5000);
    fs::path source = dir / "source.bin";
    writeLocal(source, content);
    {
        FileTransferSession session(camera.nodeMap(), platform());
        session.FillFileList();
        session.SelectFile(indexOf(session, "UserSet2"));
        progress.onPosition = [&](int32_t position) {
            if (position == 2048) session.Cancel();
        };
        dialog.answer = source.string();
        ASSERT_TRUE(session.StartUpload());
    }
    EXPECT_EQ(camera.device.fileContents("UserSet2"), std::vector<uint8_t>(content.begin(), content.begin() + 4096));
    EXPECT_TRUE(messages.shown.empty());
    EXPECT_EQ(progress.positions, (std::vector<int32_t>{1, 2048}));
}

TEST_F(FileTransfer, DeviceErrorsShowTheExceptionTextAndRemoveThePartialDownload) {
    FileTransferSession session(camera.nodeMap(), platform());
    session.FillFileList();

    // Uploading into the read-only log: the device refuses the open mode.
    session.SelectFile(indexOf(session, "DeviceLog"));
    std::string refused;
    try {
        GenApi::ODevFileStream direct(camera.nodeMap(), "DeviceLog");
    } catch (const GenICam::GenericException& e) {
        refused = e.what();
    }
    ASSERT_FALSE(refused.empty());
    fs::path source = dir / "source.bin";
    writeLocal(source, pattern(100));
    dialog.answer = source.string();
    ASSERT_TRUE(session.StartUpload());
    session.WaitForTransfer();
    ASSERT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(messages.shown[0].text, refused);
    EXPECT_EQ(messages.shown[0].caption, "Error");
    EXPECT_EQ(messages.shown[0].icon, MessageIcon::Exclamation);
    EXPECT_TRUE(buttons.download);
    EXPECT_TRUE(buttons.upload);

    // A reset in the middle of a download closes the device file under it.
    ASSERT_TRUE(camera.device.setFileContents("UserSet2", pattern(5000)));
    session.SelectFile(indexOf(session, "UserSet2"));
    progress.onPosition = [&](int32_t position) {
        if (position == 2048) GenApi::CCommandPtr(camera.nodeMap()->GetNode("DeviceReset"))->Execute();
    };
    fs::path target = dir / "reset.bin";
    writeLocal(target.string() + ".part", {'m', 'i', 'n', 'e'});
    dialog.answer = target.string();
    ASSERT_TRUE(session.StartDownload());
    session.WaitForTransfer();
    ASSERT_EQ(messages.shown.size(), 2u);
    EXPECT_EQ(messages.shown[1].caption, "Error");
    EXPECT_NE(messages.shown[1].text.find("UserSet2"), std::string::npos) << messages.shown[1].text;
    EXPECT_FALSE(fs::exists(target));
    EXPECT_FALSE(fs::exists(target.string() + ".1.part")) << "its own temporary file is removed";
    EXPECT_EQ(readLocal(target.string() + ".part"), (std::vector<uint8_t>{'m', 'i', 'n', 'e'}));
    EXPECT_EQ(progress.events.back(), "hide");
    EXPECT_TRUE(buttons.download);
}

// A local file that does not open: nothing happens to the device file or on
// disk, the window still says "successfully" as its message rule has it, and
// the outcome names the reason.
TEST_F(FileTransfer, ALocalFileThatDoesNotOpenTouchesNothing) {
    const std::vector<uint8_t> kept = pattern(300);
    ASSERT_TRUE(camera.device.setFileContents("UserSet2", kept));
    FileTransferSession session(camera.nodeMap(), platform());
    session.FillFileList();
    session.SelectFile(indexOf(session, "UserSet2"));
    struct Row {
        bool download;
        fs::path local;
        std::string reason;
    };
    const fs::path missing = dir / "missing" / "file.bin";
    for (const Row& row :
         {Row{false, missing, "Cannot read " + missing.string() + ": No such file or directory"},
          Row{false, dir, "Cannot read " + dir.string() + ": Is a directory"},
          Row{true, missing,
              "Cannot create " + missing.string() + ".part: No such file or directory"}}) {
        SCOPED_TRACE(row.local);
        messages.shown.clear();
        dialog.answer = row.local.string();
        ASSERT_TRUE(row.download ? session.StartDownload() : session.StartUpload());
        session.WaitForTransfer();
        EXPECT_EQ(session.LastResult().outcome,
                  quillon::inspect::TransferResult::Outcome::LocalNotOpened);
        EXPECT_EQ(session.LastResult().reason, row.reason);
        ASSERT_EQ(messages.shown.size(), 1u);
        EXPECT_EQ(messages.shown[0].caption, "Success");
        EXPECT_EQ(camera.device.fileContents("UserSet2"), kept) << "the device file is not emptied";
        EXPECT_FALSE(camera.device.fileIsOpen("UserSet2"));
    }
    EXPECT_FALSE(fs::exists(dir / "missing"));
}

} // namespace
