#include "inspect/part_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace quillon::inspect {

std::string ErrnoText(int error) {
    return std::error_code(error, std::generic_category()).message();
}

OwnPartFile::OwnPartFile(const std::string& target) {
    for (int n = 0; n < 1000; ++n) {
        name_ = target + (n == 0 ? std::string() : "." + std::to_string(n)) + ".part";
        fd_ = ::open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd_ >= 0 || errno != EEXIST) break;
    }
    if (fd_ < 0) error_ = errno;
}

OwnPartFile::~OwnPartFile() {
    if (fd_ >= 0) ::close(fd_);
    if (made() && !renamed_) ::unlink(name_.c_str());
}

std::string OwnPartFile::Write(const char* bytes, size_t count) {
    while (count > 0) {
        const ssize_t n = ::write(fd_, bytes, count);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return "Writing " + name_ + " failed: " + ErrnoText(n < 0 ? errno : EIO);
        bytes += n;
        count -= static_cast<size_t>(n);
    }
    return {};
}

std::string OwnPartFile::CloseAndRenameTo(const std::string& target) {
    const int fd = fd_;
    fd_ = -1;
    if (::close(fd) != 0) return "Writing " + name_ + " failed: " + ErrnoText(errno);
    if (::rename(name_.c_str(), target.c_str()) != 0)
        return "Renaming " + name_ + " to " + target + " failed: " + ErrnoText(errno);
    renamed_ = true;
    return {};
}

} // namespace quillon::inspect
