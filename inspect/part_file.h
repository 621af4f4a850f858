// A file written beside its target and renamed over it only when complete:
// a failed or cancelled write leaves the target as it was, and the
// temporary name is one this writer made, never a file that was there.
#pragma once

#include <cstddef>
#include <string>

namespace quillon::inspect {

// The text of an errno value.
std::string ErrnoText(int error);

class OwnPartFile {
public:
    // Creates "<target>.part", or "<target>.<n>.part" when that name is taken.
    explicit OwnPartFile(const std::string& target);
    // Removes the file unless it was renamed to the target.
    ~OwnPartFile();
    OwnPartFile(const OwnPartFile&) = delete;
    OwnPartFile& operator=(const OwnPartFile&) = delete;

    bool made() const { return error_ == 0; }
    const std::string& name() const { return name_; }
    // Each returns "" when all went well, else why not.
    std::string Write(const char* bytes, size_t count);
    std::string CloseAndRenameTo(const std::string& target);
    // Why the file could not be made.
    std::string Error() const { return "Cannot create " + name_ + ": " + ErrnoText(error_); }

private:
    std::string name_;
    int fd_ = -1;
    int error_ = 0;
    bool renamed_ = false;
};

} // namespace quillon::inspect
