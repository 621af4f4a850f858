// The files of the simulated camera and the operations of the file access
// protocol on them: open in a mode, read and write at an offset, close,
// delete. Files are byte vectors that grow on write up to kMaxFileSize.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qorvis::sim {

// The numbering is the one of the FileOpenMode and FileOperationSelector
// registers.
enum class FileOpenMode : uint32_t { Read = 0, Write = 1, ReadWrite = 2 };
enum class FileOperation : uint32_t { Open = 0, Close = 1, Read = 2, Write = 3, Delete = 4 };

class FileStore {
public:
    static constexpr uint64_t kMaxFileSize = 64ull * 1024 * 1024;

    struct Result {
        bool success = false;
        uint32_t count = 0; // bytes transferred by Read and Write
    };

    // Adds a file and returns its index (the FileSelector value).
    size_t add(std::string name, std::vector<uint8_t> content, bool readOnly);
    size_t count() const { return files_.size(); }
    std::optional<size_t> find(std::string_view name) const;
    const std::string& name(size_t file) const { return files_.at(file).name; }
    const std::vector<uint8_t>& contents(size_t file) const { return files_.at(file).data; }
    uint64_t size(size_t file) const { return file < files_.size() ? files_[file].data.size() : 0; }
    bool readOnly(size_t file) const { return files_.at(file).readOnly; }
    bool isOpen(size_t file) const { return files_.at(file).openMode.has_value(); }
    std::optional<FileOpenMode> openMode(size_t file) const { return files_.at(file).openMode; }

    // The device's own access, past modes and protections (user sets, log).
    void replace(size_t file, std::vector<uint8_t> content);
    // Appends text and drops whole lines from the front beyond `limit` bytes.
    void appendText(size_t file, std::string_view text, size_t limit);

    // The protocol operations. Anything not allowed fails and changes nothing.
    Result open(size_t file, uint32_t mode);
    Result close(size_t file);
    // Copies min(out.size(), size - offset) bytes from `offset` into `out`.
    Result read(size_t file, uint64_t offset, std::span<uint8_t> out);
    // Writes `in` at `offset`; the file grows (zero-filled up to `offset`).
    Result write(size_t file, uint64_t offset, std::span<const uint8_t> in);
    // Empties the file.
    Result erase(size_t file);
    void closeAll();

private:
    struct File {
        std::string name;
        std::vector<uint8_t> data;
        bool readOnly = false;
        std::optional<FileOpenMode> openMode;
    };
    std::vector<File> files_;
};

} // namespace qorvis::sim
