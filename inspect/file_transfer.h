// Copying whole files between the device and the local disk through the
// GenICam file access features (FileSelector, FileOpenMode, FileSize and the
// GenApi device file streams): the logic behind the "File Access Control"
// dialog, apart from its windows.
//
// What a download leaves on disk: the device file is written to a temporary
// file of the download's own beside the chosen file ("<chosen path>.part",
// or "<chosen path>.<n>.part" when that name is taken: a file that was there
// before is never written or removed), and that file is renamed to the
// chosen path only when the whole device file has arrived. A cancelled or
// failed download (and one whose device file could not be opened) removes
// its temporary file and leaves the chosen path exactly as it was before:
// absent, or the earlier file of that name. So a file at the chosen path is
// always a complete copy.
//
// An upload reads the chosen local file and writes the device file through
// GenApi::ODevFileStream (opened out | trunc), which empties the device
// file: it is opened only once the local file has opened. A cancelled upload
// has still written the chunk in hand, and the device file then holds a
// prefix.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "GenApi/Interfaces.h"

namespace quillon::inspect {

// Transfers move this many bytes per chunk; progress moves once per chunk.
inline constexpr std::streamsize kTransferChunkSize = 2048;

// The platform's file dialog. Save for a download, Open for an upload; the
// initial name is the proposed local name, the default extension "bin", no
// filter, and saving over an existing file is not confirmed. Answers the
// chosen full path, or "" when the user cancels.
class FileDialog {
public:
    enum class Kind { Save, Open };
    virtual ~FileDialog() = default;
    virtual std::string Choose(Kind kind, const std::string& initialName) = 0;
};

enum class MessageIcon { None, Exclamation };

// A modal message box with an OK button.
class MessageDisplay {
public:
    virtual ~MessageDisplay() = default;
    virtual void Show(const std::string& text, const std::string& caption, MessageIcon icon) = 0;
};

// The transfer's progress bar. Called from the transfer thread.
class ProgressIndicator {
public:
    virtual ~ProgressIndicator() = default;
    virtual void SetRange(int32_t lower, int32_t upper) = 0;
    virtual void SetPosition(int32_t position) = 0;
    virtual void SetStep(int32_t step) = 0;
    virtual void Step() = 0;
    virtual void Show(bool visible) = 0;
};

// "Download from Camera", "Upload to Camera" and the file list, which is
// disabled while a transfer runs (choosing a file writes FileSelector).
class TransferButtons {
public:
    virtual ~TransferButtons() = default;
    virtual void EnableDownload(bool enabled) = 0;
    virtual void EnableUpload(bool enabled) = 0;
    virtual void EnableFileList(bool enabled) = 0;
};

// How the last transfer ended. The window shows only whether a GenICam
// exception occurred (a file that did not open still counts as a success
// there); `quillon download` and `upload` tell every case apart.
struct TransferResult {
    enum class Outcome { None, Done, LocalNotOpened, DeviceNotOpened, Failed, Cancelled };
    Outcome outcome = Outcome::None;
    std::string reason; // one line for the cases other than Done and Cancelled
};

struct FileTransferPlatform {
    FileDialog& fileDialog;
    MessageDisplay& messages;
    ProgressIndicator& progress;
    TransferButtons& buttons;
    // Waits 1 ms after a read that delivered nothing; empty means QappSleep.
    std::function<void()> idleWait = {};
};

// One device file the user can pick: the FileSelector entry's display name
// and its node (owned by the node map).
struct DeviceFile {
    std::string displayName;
    GenApi::INode* entry = nullptr;
};

// The dialog's state: the file list, the selected file, the transfer thread
// and the cancel flag. Not copyable; the destructor waits for a running
// transfer or cancel to end.
class FileTransferSession {
public:
    FileTransferSession(GenApi::INodeMap* nodeMap, FileTransferPlatform platform);
    ~FileTransferSession();
    FileTransferSession(const FileTransferSession&) = delete;
    FileTransferSession& operator=(const FileTransferSession&) = delete;

    // Lists FileSelector's entries that are neither NI nor NA, in the
    // device's order, then selects the first one and answers its label text
    // (see SelectFile). Without a FileSelector enumeration the list stays
    // empty, nothing else happens and the answer is "". A GenICam exception
    // while the entries are read is caught: the list keeps the entries read
    // before it, nothing is selected and the answer is its description.
    std::string FillFileList();
    const std::vector<DeviceFile>& Files() const { return files_; }
    size_t CurrentFile() const { return current_; }

    // Sets FileSelector to the file, then enables "Download from Camera" when
    // FileOpenMode offers "Read" and "Upload to Camera" when it offers
    // "Write". Answers the description label's text: the entry's
    // description, or the GenICam exception's description when a step
    // failed (the buttons then stay as far as the steps got).
    std::string SelectFile(size_t index);

    // "<vendor> <model>_<display name>.bin" with spaces turned into "_"; the
    // vendor and model part is empty unless DeviceVendorName and
    // DeviceModelName are both readable string features.
    std::string ProposedLocalName() const;

    // The buttons: ask for a local file, then run the transfer on a worker
    // thread. False when the user chose no file (nothing else happens).
    bool StartDownload();
    bool StartUpload();
    const std::string& LocalPath() const { return localPath_; }

    // Cancel: starts a thread that sets the cancel flag and waits for the
    // transfer thread. The transfer ends after the chunk in hand, silently.
    // Safe to call from the transfer thread's progress callbacks.
    void Cancel();
    // Waits until the running transfer, if any, has ended (for tests and hosts
    // that need the outcome before going on).
    void WaitForTransfer();

    // The procedures the worker thread runs; callable directly.
    void Download(const std::string& localPath);
    void Upload(const std::string& localPath);
    // How the last of them ended; read it after WaitForTransfer.
    const TransferResult& LastResult() const { return result_; }

private:
    bool start(FileDialog::Kind kind);
    void idle();
    void finish(const std::string& path, const char* done, TransferResult result);

    GenApi::INodeMap* nodeMap_;
    FileTransferPlatform platform_;
    std::vector<DeviceFile> files_;
    size_t current_ = 0;
    std::string localPath_;
    std::atomic<bool> cancel_{false};
    TransferResult result_; // written by the worker, read after it ended
    // Guards the two thread slots: the cancel thread and the transfer thread's
    // own progress callbacks may reach them while the GUI thread assigns them.
    std::mutex slots_;
    std::thread transfer_;
    std::thread canceller_;
};

} // namespace quillon::inspect
