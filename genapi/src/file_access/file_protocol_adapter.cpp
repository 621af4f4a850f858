// The SFNC file access protocol: select the file and the operation, set
// offset and length, execute, check FileOperationStatus, move the bytes
// through FileAccessBuffer.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

#include "GenApi/Filestream.h"
#include "GenApi/Pointer.h"

namespace GenApi {

struct FileProtocolAdapter::Features {
    INodeMap* map = nullptr;
    CEnumerationPtr selector, operation, openMode, status;
    CCommandPtr execute;
    CRegisterPtr buffer;
    CIntegerPtr offset, length, result, size;
};

FileProtocolAdapter::FileProtocolAdapter() = default;
FileProtocolAdapter::~FileProtocolAdapter() = default;

bool FileProtocolAdapter::attach(INodeMap* nodeMap) {
    if (!nodeMap) return false;
    auto f = std::make_unique<Features>();
    f->map = nodeMap;
    f->selector = nodeMap->GetNode("FileSelector");
    f->operation = nodeMap->GetNode("FileOperationSelector");
    f->openMode = nodeMap->GetNode("FileOpenMode");
    f->status = nodeMap->GetNode("FileOperationStatus");
    f->execute = nodeMap->GetNode("FileOperationExecute");
    f->buffer = nodeMap->GetNode("FileAccessBuffer");
    f->offset = nodeMap->GetNode("FileAccessOffset");
    f->length = nodeMap->GetNode("FileAccessLength");
    f->result = nodeMap->GetNode("FileOperationResult");
    f->size = nodeMap->GetNode("FileSize");
    if (!f->selector || !f->operation || !f->execute || !f->buffer || !f->length || !f->result || !f->status)
        return false;
    f_ = std::move(f);
    return true;
}

namespace {

[[noreturn]] void notAttached() { throw LOGICAL_ERROR_EXCEPTION("File access used before attach()"); }

// Runs one file operation on the selected file and checks its status.
void run(FileProtocolAdapter::Features& f, const char* operation, const char* fileName) {
    f.selector->FromString(fileName);
    f.operation->FromString(operation);
    f.execute->Execute();
    // Devices complete file operations quickly; a device that never does must
    // not hang the caller.
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!f.execute->IsDone()) {
        if (std::chrono::steady_clock::now() > deadline)
            throw TIMEOUT_EXCEPTION("File operation %s on '%s' did not complete", operation, fileName);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::string status(f.status->ToString());
    if (status != "Success")
        throw RUNTIME_EXCEPTION("File operation %s on '%s' failed (FileOperationStatus %s)", operation, fileName,
                                status.c_str());
}
} // namespace

bool FileProtocolAdapter::openFile(const char* fileName, std::ios_base::openmode mode) {
    if (!f_) notAttached();
    bool in = (mode & std::ios_base::in) != 0, out = (mode & std::ios_base::out) != 0;
    const char* openMode = in && out ? "ReadWrite" : out ? "Write" : "Read";
    if (f_->openMode) {
        f_->selector->FromString(fileName);
        try {
            f_->openMode->FromString(openMode);
        } catch (const GenICam::GenericException& e) {
            throw RUNTIME_EXCEPTION("File operation Open of '%s' for %s refused: %s", fileName, openMode,
                                    e.GetDescription());
        }
    }
    run(*f_, "Open", fileName);
    return true;
}

bool FileProtocolAdapter::closeFile(const char* fileName) {
    if (!f_) notAttached();
    run(*f_, "Close", fileName);
    return true;
}

bool FileProtocolAdapter::deleteFile(const char* fileName) {
    if (!f_) notAttached();
    run(*f_, "Delete", fileName);
    return true;
}

int64_t FileProtocolAdapter::getBufSize(const char*, std::ios_base::openmode) {
    if (!f_) notAttached();
    int64_t n = f_->buffer->GetLength();
    // FileAccessLength may allow less than the buffer holds.
    return std::min(n, f_->length->GetMax());
}

int64_t FileProtocolAdapter::fileSize(const char* fileName) {
    if (!f_) notAttached();
    if (!f_->size) throw ACCESS_EXCEPTION("The device has no FileSize feature");
    f_->selector->FromString(fileName);
    return f_->size->GetValue();
}

std::streamsize FileProtocolAdapter::read(char* buffer, int64_t offset, std::streamsize length, const char* fileName) {
    if (!f_) notAttached();
    int64_t chunk = getBufSize(fileName, std::ios_base::in);
    std::vector<uint8_t> staging(static_cast<size_t>(f_->buffer->GetLength()));
    std::streamsize done = 0;
    while (done < length) {
        int64_t want = std::min<int64_t>(chunk, length - done);
        if (f_->offset) f_->offset->SetValue(offset + done);
        f_->length->SetValue(want);
        run(*f_, "Read", fileName);
        int64_t got = f_->result->GetValue();
        if (got < 0 || got > want)
            throw RUNTIME_EXCEPTION("File operation Read on '%s' returned %lld bytes for %lld asked", fileName,
                                    static_cast<long long>(got), static_cast<long long>(want));
        if (got == 0) break; // end of file
        f_->buffer->Get(staging.data(), static_cast<int64_t>(staging.size()));
        std::memcpy(buffer + done, staging.data(), static_cast<size_t>(got));
        done += got;
        if (got < want) break;
    }
    return done;
}

std::streamsize FileProtocolAdapter::write(const char* buffer, int64_t offset, int64_t length, const char* fileName) {
    if (!f_) notAttached();
    int64_t chunk = getBufSize(fileName, std::ios_base::out);
    std::vector<uint8_t> staging(static_cast<size_t>(f_->buffer->GetLength()));
    int64_t done = 0;
    while (done < length) {
        int64_t n = std::min<int64_t>(chunk, length - done);
        std::fill(staging.begin(), staging.end(), uint8_t{0});
        std::memcpy(staging.data(), buffer + done, static_cast<size_t>(n));
        f_->buffer->Set(staging.data(), static_cast<int64_t>(staging.size()));
        if (f_->offset) f_->offset->SetValue(offset + done);
        f_->length->SetValue(n);
        run(*f_, "Write", fileName);
        int64_t written = f_->result->GetValue();
        if (written != n)
            throw RUNTIME_EXCEPTION("File operation Write on '%s' stored %lld of %lld bytes", fileName,
                                    static_cast<long long>(written), static_cast<long long>(n));
        done += n;
    }
    return static_cast<std::streamsize>(done);
}

} // namespace GenApi
