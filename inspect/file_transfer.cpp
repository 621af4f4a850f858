#include "inspect/file_transfer.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "GenApi/Filestream.h"
#include "GenApi/Pointer.h"
#include "GenICam/exceptions.h"
#include "inspect/part_file.h"
#include "qorvis.h"

namespace quillon::inspect {

namespace {

// The progress bar at the start of a transfer: one step, the range, then
// position 1, shown.
void startProgress(ProgressIndicator& progress, int32_t upper) {
    progress.Step();
    progress.SetRange(0, upper);
    progress.SetStep(1);
    progress.SetPosition(1);
    progress.Show(true);
}

// The name of FileSelector's current entry: the device file to transfer.
std::string selectedDeviceFile(GenApi::INodeMap* nodeMap) {
    GenApi::CEnumerationPtr selector(nodeMap->GetNode("FileSelector"));
    GenApi::CEnumEntryPtr entry(selector->GetCurrentEntry());
    return std::string(entry->GetSymbolic());
}

// Progress ranges and positions are 32-bit; larger files wrap there only.
int32_t progressValue(int64_t value) {
    return static_cast<int32_t>(value);
}

} // namespace

FileTransferSession::FileTransferSession(GenApi::INodeMap* nodeMap, FileTransferPlatform platform)
    : nodeMap_(nodeMap), platform_(std::move(platform)) {}

FileTransferSession::~FileTransferSession() {
    WaitForTransfer();
}

std::string FileTransferSession::FillFileList() {
    files_.clear();
    current_ = 0;
    GenApi::CEnumerationPtr selector(nodeMap_ ? nodeMap_->GetNode("FileSelector") : nullptr);
    if (!selector) return {};
    try {
        GenApi::NodeList_t entries;
        selector->GetEntries(entries);
        for (GenApi::INode* node : entries) {
            GenApi::CEnumEntryPtr entry(node);
            GenApi::EAccessMode mode = entry->GetAccessMode();
            if (mode == GenApi::NI || mode == GenApi::NA) continue;
            files_.push_back({std::string(node->GetDisplayName()), node});
        }
    } catch (const GenICam::GenericException& e) {
        // A device that fails while the list is filled leaves what was read.
        return e.GetDescription();
    }
    return files_.empty() ? std::string() : SelectFile(0);
}

std::string FileTransferSession::SelectFile(size_t index) {
    if (index >= files_.size()) return {};
    current_ = index;
    std::string label;
    try {
        GenApi::CEnumEntryPtr entry(files_[index].entry);
        GenApi::CEnumerationPtr(nodeMap_->GetNode("FileSelector"))
            ->FromString(entry->GetSymbolic());
        label = std::string(files_[index].entry->GetDescription());
        platform_.buttons.EnableDownload(false);
        platform_.buttons.EnableUpload(false);
        GenApi::StringList_t modes;
        GenApi::CEnumerationPtr(nodeMap_->GetNode("FileOpenMode"))->GetSymbolics(modes);
        if (std::find(modes.begin(), modes.end(), "Read") != modes.end())
            platform_.buttons.EnableDownload(true);
        if (std::find(modes.begin(), modes.end(), "Write") != modes.end())
            platform_.buttons.EnableUpload(true);
    } catch (const GenICam::GenericException& e) {
        label = e.GetDescription();
    }
    return label;
}

std::string FileTransferSession::ProposedLocalName() const {
    std::string prefix;
    try {
        GenApi::CStringPtr vendor(nodeMap_->GetNode("DeviceVendorName"));
        GenApi::CStringPtr model(nodeMap_->GetNode("DeviceModelName"));
        if (vendor && model && GenApi::IsReadable(vendor->GetAccessMode()) &&
            GenApi::IsReadable(model->GetAccessMode())) {
            std::string v(vendor->GetValue());
            std::string m(model->GetValue());
            prefix = v + " " + m;
        }
    } catch (const GenICam::GenericException&) {
        // Without a readable identity the name starts with "_".
    }
    std::string name = prefix + "_" +
                       (current_ < files_.size() ? files_[current_].displayName : std::string()) +
                       ".bin";
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

bool FileTransferSession::StartDownload() {
    return start(FileDialog::Kind::Save);
}
bool FileTransferSession::StartUpload() {
    return start(FileDialog::Kind::Open);
}

bool FileTransferSession::start(FileDialog::Kind kind) {
    if (cancel_) return false; // the dialog is closing
    localPath_.clear();
    localPath_ = platform_.fileDialog.Choose(kind, ProposedLocalName());
    if (localPath_.empty()) return false;
    platform_.buttons.EnableDownload(false);
    platform_.buttons.EnableUpload(false);
    platform_.buttons.EnableFileList(false);
    std::thread previous;
    {
        std::lock_guard lock(slots_);
        previous = std::move(transfer_);
    }
    if (previous.joinable()) previous.join();
    std::lock_guard lock(slots_);
    transfer_ = std::thread([this, kind, path = localPath_] {
        if (kind == FileDialog::Kind::Save)
            Download(path);
        else
            Upload(path);
    });
    return true;
}

void FileTransferSession::Cancel() {
    cancel_ = true;
    std::lock_guard lock(slots_);
    if (canceller_.joinable()) return; // already cancelling
    canceller_ = std::thread([this] {
        cancel_ = true;
        std::thread worker;
        {
            std::lock_guard inner(slots_);
            worker = std::move(transfer_);
        }
        if (worker.joinable()) worker.join();
    });
}

void FileTransferSession::WaitForTransfer() {
    auto joinSlot = [this](std::thread& slot) {
        std::thread t;
        {
            std::lock_guard lock(slots_);
            t = std::move(slot);
        }
        if (t.joinable()) t.join();
    };
    joinSlot(canceller_);
    joinSlot(transfer_);
    // The transfer's own progress callbacks may have started a cancel.
    joinSlot(canceller_);
}

void FileTransferSession::idle() {
    if (platform_.idleWait)
        platform_.idleWait();
    else
        QappSleep(0.001);
}

void FileTransferSession::finish(const std::string& path, const char* done, TransferResult result) {
    result_ = result;
    if (cancel_) { // the dialog is closing: no message, the controls stay off
        result_ = {TransferResult::Outcome::Cancelled, {}};
        return;
    }
    platform_.progress.Show(false);
    if (result.outcome == TransferResult::Outcome::Failed)
        platform_.messages.Show(result.reason, "Error", MessageIcon::Exclamation);
    else
        platform_.messages.Show(path + done, "Success", MessageIcon::None);
    platform_.buttons.EnableDownload(true);
    platform_.buttons.EnableUpload(true);
    platform_.buttons.EnableFileList(true);
}

void FileTransferSession::Download(const std::string& localPath) {
    using Outcome = TransferResult::Outcome;
    const std::string path = localPath;
    TransferResult result{Outcome::Done, {}};
    { // the temporary file is gone before the outcome is shown
        bool complete = false;
        OwnPartFile local(path);
        try {
            GenApi::CIntegerPtr size(nodeMap_->GetNode("FileSize"));
            const std::string deviceFile = selectedDeviceFile(nodeMap_);
            if (!local.made()) {
                result = {Outcome::LocalNotOpened, local.Error()};
            } else if (GenApi::IDevFileStream device(nodeMap_, deviceFile.c_str(),
                                                     std::ios_base::in);
                       !device.is_open()) {
                result = {Outcome::DeviceNotOpened,
                          "The device did not open " + deviceFile + " for reading."};
            } else {
                startProgress(platform_.progress, progressValue(size->GetValue()));
                char buffer[kTransferChunkSize];
                int64_t total = 0;
                do {
                    device.read(buffer, kTransferChunkSize);
                    std::streamsize n = device.gcount();
                    if (cancel_) break; // the chunk in hand is dropped
                    if (n > 0) {
                        if (std::string error = local.Write(buffer, static_cast<size_t>(n));
                            !error.empty()) {
                            result = {Outcome::Failed, error};
                            break;
                        }
                        total += n;
                        platform_.progress.SetPosition(progressValue(total));
                    } else {
                        idle();
                    }
                } while (!device.eof());
                complete = !cancel_ && result.outcome == Outcome::Done;
                device.close();
            }
        } catch (const std::exception& e) { // GenICam exceptions and stream failures alike
            result = {Outcome::Failed, e.what()};
            complete = false;
        }
        if (complete)
            if (std::string error = local.CloseAndRenameTo(path); !error.empty())
                result = {Outcome::Failed, error};
    }
    finish(path, " downloaded successfully.", result);
}

void FileTransferSession::Upload(const std::string& localPath) {
    using Outcome = TransferResult::Outcome;
    const std::string path = localPath;
    TransferResult result{Outcome::Done, {}};
    try {
        std::ifstream local;
        int openError = 0;
        std::error_code ignored;
        if (std::filesystem::is_directory(path, ignored)) {
            openError = EISDIR; // it opens, but reads as empty: the device file would be emptied
        } else {
            errno = 0;
            local.open(path, std::ios_base::in | std::ios_base::binary);
            if (!local.is_open()) openError = errno ? errno : ENOENT;
        }
        if (openError) {
            result = {Outcome::LocalNotOpened, "Cannot read " + path + ": " + ErrnoText(openError)};
        } else {
            local.seekg(0, std::ios_base::end);
            const int64_t length = static_cast<int64_t>(local.tellg());
            local.seekg(0, std::ios_base::beg);
            GenApi::CIntegerPtr size(
                nodeMap_->GetNode("FileSize")); // looked up as for a download, not needed
            (void)size;
            const std::string deviceFile = selectedDeviceFile(nodeMap_);
            // Opening for writing empties the device file: only now that the
            // local file is there to replace it.
            GenApi::ODevFileStream device(nodeMap_, deviceFile.c_str(),
                                          std::ios_base::out | std::ios_base::trunc);
            if (!device.is_open()) {
                result = {Outcome::DeviceNotOpened,
                          "The device did not open " + deviceFile + " for writing."};
            } else {
                startProgress(platform_.progress, progressValue(length));
                char buffer[kTransferChunkSize];
                int64_t total = 0;
                do {
                    local.read(buffer, kTransferChunkSize);
                    std::streamsize n = local.gcount();
                    if (n > 0) {
                        device.write(buffer, n);
                        total += n;
                        if (cancel_) break; // the chunk in hand has gone to the device
                        platform_.progress.SetPosition(progressValue(total));
                    } else {
                        idle();
                    }
                } while (!local.eof());
                device.close();
            }
        }
    } catch (const std::exception& e) { // GenICam exceptions and stream failures alike
        result = {Outcome::Failed, e.what()};
    }
    finish(path, " uploaded successfully.", result);
}

} // namespace quillon::inspect
