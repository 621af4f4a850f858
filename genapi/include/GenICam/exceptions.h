// The GenICam exception family. Every failure inside the engine travels as one
// of these, carrying a description and the source place that raised it.
#pragma once

#include <cstdarg>
#include <exception>
#include <string>

#include "GenICam/gcstring.h"

namespace GenICam {

class GenericException : public std::exception {
public:
    GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine);
    GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                     const char* exceptionType);

    // The description alone, without type or source place.
    const char* GetDescription() const noexcept { return description_.c_str(); }
    const char* GetSourceFileName() const noexcept { return sourceFile_.c_str(); }
    unsigned int GetSourceLine() const noexcept { return sourceLine_; }
    // "<description> : <Type> thrown (file '<file>', line <n>)"
    const char* what() const noexcept override { return what_.c_str(); }

private:
    std::string description_;
    std::string sourceFile_;
    unsigned int sourceLine_ = 0;
    std::string what_;
};

#define GENICAM_DECLARE_EXCEPTION(Name)                                                           \
    class Name : public GenericException {                                                        \
    public:                                                                                       \
        Name(const char* description, const char* sourceFileName, unsigned int sourceLine)        \
            : GenericException(description, sourceFileName, sourceLine, #Name) {}                 \
                                                                                                  \
    protected:                                                                                    \
        Name(const char* description, const char* sourceFileName, unsigned int sourceLine,        \
             const char* exceptionType)                                                           \
            : GenericException(description, sourceFileName, sourceLine, exceptionType) {}         \
    }

GENICAM_DECLARE_EXCEPTION(BadAllocException);
GENICAM_DECLARE_EXCEPTION(InvalidArgumentException);
GENICAM_DECLARE_EXCEPTION(OutOfRangeException);
GENICAM_DECLARE_EXCEPTION(PropertyException);
GENICAM_DECLARE_EXCEPTION(RuntimeException);
GENICAM_DECLARE_EXCEPTION(LogicalErrorException);
GENICAM_DECLARE_EXCEPTION(AccessException);
GENICAM_DECLARE_EXCEPTION(TimeoutException);
GENICAM_DECLARE_EXCEPTION(DynamicCastException);

#undef GENICAM_DECLARE_EXCEPTION

// Formats the description printf-style and stamps the raising source place.
template <class E>
class ExceptionReporter {
public:
    ExceptionReporter(const char* file, unsigned int line) : file_(file), line_(line) {}

    E Report(const char* format, ...) const __attribute__((format(printf, 2, 3))) {
        va_list args;
        va_start(args, format);
        std::string text = formatV(format, args);
        va_end(args);
        return E(text.c_str(), file_, line_);
    }
    E Report(const std::string& text) const { return E(text.c_str(), file_, line_); }

private:
    static std::string formatV(const char* format, va_list args);
    const char* file_;
    unsigned int line_;
};

std::string FormatExceptionText(const char* format, va_list args);

template <class E>
std::string ExceptionReporter<E>::formatV(const char* format, va_list args) {
    return FormatExceptionText(format, args);
}

} // namespace GenICam

// Usage: throw RUNTIME_EXCEPTION("value %lld too big", (long long)v);
#define GENICAM_EXCEPTION_AT(Type) ::GenICam::ExceptionReporter<::GenICam::Type>(__FILE__, __LINE__).Report
#define GENERIC_EXCEPTION GENICAM_EXCEPTION_AT(GenericException)
#define BAD_ALLOC_EXCEPTION GENICAM_EXCEPTION_AT(BadAllocException)
#define INVALID_ARGUMENT_EXCEPTION GENICAM_EXCEPTION_AT(InvalidArgumentException)
#define OUT_OF_RANGE_EXCEPTION GENICAM_EXCEPTION_AT(OutOfRangeException)
#define PROPERTY_EXCEPTION GENICAM_EXCEPTION_AT(PropertyException)
#define RUNTIME_EXCEPTION GENICAM_EXCEPTION_AT(RuntimeException)
#define LOGICAL_ERROR_EXCEPTION GENICAM_EXCEPTION_AT(LogicalErrorException)
#define ACCESS_EXCEPTION GENICAM_EXCEPTION_AT(AccessException)
#define TIMEOUT_EXCEPTION GENICAM_EXCEPTION_AT(TimeoutException)
#define DYNAMICCAST_EXCEPTION GENICAM_EXCEPTION_AT(DynamicCastException)
