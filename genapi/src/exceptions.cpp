#include "GenICam/exceptions.h"

#include <cstdio>
#include <cstring>

namespace GenICam {

namespace {
std::string baseName(const char* path) {
    if (!path) return {};
    const char* slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}
} // namespace

GenericException::GenericException(const char* description, const char* sourceFileName,
                                   unsigned int sourceLine)
    : GenericException(description, sourceFileName, sourceLine, "GenericException") {}

GenericException::GenericException(const char* description, const char* sourceFileName,
                                   unsigned int sourceLine, const char* exceptionType)
    : description_(description ? description : ""),
      sourceFile_(baseName(sourceFileName)),
      sourceLine_(sourceLine) {
    what_ = description_ + " : " + exceptionType + " thrown (file '" + sourceFile_ + "', line " +
            std::to_string(sourceLine_) + ")";
}

std::string FormatExceptionText(const char* format, va_list args) {
    va_list copy;
    va_copy(copy, args);
    char small[512];
    int n = std::vsnprintf(small, sizeof small, format, copy);
    va_end(copy);
    if (n < 0) return format;
    if (static_cast<size_t>(n) < sizeof small) return std::string(small, static_cast<size_t>(n));
    std::string big(static_cast<size_t>(n) + 1, '\0');
    std::vsnprintf(big.data(), big.size(), format, args);
    big.resize(static_cast<size_t>(n));
    return big;
}

} // namespace GenICam
