#include "sim/file_store.h"

#include <algorithm>
#include <cstring>

namespace qorvis::sim {

size_t FileStore::add(std::string name, std::vector<uint8_t> content, bool readOnly) {
    files_.push_back(File{std::move(name), std::move(content), readOnly, std::nullopt});
    return files_.size() - 1;
}

std::optional<size_t> FileStore::find(std::string_view name) const {
    for (size_t i = 0; i < files_.size(); ++i)
        if (files_[i].name == name) return i;
    return std::nullopt;
}

void FileStore::replace(size_t file, std::vector<uint8_t> content) {
    File& f = files_.at(file);
    if (content.size() > kMaxFileSize) content.resize(kMaxFileSize);
    f.data = std::move(content);
}

void FileStore::appendText(size_t file, std::string_view text, size_t limit) {
    std::vector<uint8_t>& d = files_.at(file).data;
    d.insert(d.end(), text.begin(), text.end());
    if (d.size() <= limit) return;
    // Drop the oldest lines until the text fits again.
    size_t cut = d.size() - limit;
    auto nl = std::find(d.begin() + static_cast<std::ptrdiff_t>(cut), d.end(), uint8_t{'\n'});
    d.erase(d.begin(), nl == d.end() ? d.end() : nl + 1);
}

FileStore::Result FileStore::open(size_t file, uint32_t mode) {
    if (file >= files_.size() || mode > static_cast<uint32_t>(FileOpenMode::ReadWrite)) return {};
    File& f = files_[file];
    if (f.openMode) return {};
    auto m = static_cast<FileOpenMode>(mode);
    if (f.readOnly && m != FileOpenMode::Read) return {};
    // Opening for Write starts a new content; ReadWrite keeps it.
    if (m == FileOpenMode::Write) f.data.clear();
    f.openMode = m;
    return {true, 0};
}

FileStore::Result FileStore::close(size_t file) {
    if (file >= files_.size() || !files_[file].openMode) return {};
    files_[file].openMode.reset();
    return {true, 0};
}

FileStore::Result FileStore::read(size_t file, uint64_t offset, std::span<uint8_t> out) {
    if (file >= files_.size()) return {};
    const File& f = files_[file];
    if (!f.openMode || *f.openMode == FileOpenMode::Write) return {};
    if (offset >= f.data.size()) return {true, 0};
    size_t n = std::min<uint64_t>(out.size(), f.data.size() - offset);
    std::memcpy(out.data(), f.data.data() + offset, n);
    return {true, static_cast<uint32_t>(n)};
}

FileStore::Result FileStore::write(size_t file, uint64_t offset, std::span<const uint8_t> in) {
    if (file >= files_.size()) return {};
    File& f = files_[file];
    if (!f.openMode || *f.openMode == FileOpenMode::Read) return {};
    if (offset > kMaxFileSize || in.size() > kMaxFileSize - offset) return {};
    size_t end = static_cast<size_t>(offset) + in.size();
    if (f.data.size() < end) f.data.resize(end);
    if (!in.empty()) std::memcpy(f.data.data() + offset, in.data(), in.size());
    return {true, static_cast<uint32_t>(in.size())};
}

FileStore::Result FileStore::erase(size_t file) {
    if (file >= files_.size() || files_[file].readOnly) return {};
    files_[file].data.clear();
    files_[file].data.shrink_to_fit();
    return {true, 0};
}

void FileStore::closeAll() {
    for (File& f : files_) f.openMode.reset();
}

} // namespace qorvis::sim
