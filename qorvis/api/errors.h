// The library's error state and the way every C entry point reports failures.
//
// Inside the library a failure travels as a Failure (an error code and up to
// three sub-messages); the C entry point that was called catches it, together
// with GenICam and standard exceptions, and records it as the pending error
// under its own function name. Nothing ever leaves the C API as an exception.
#pragma once

#include <cstdint>
#include <exception>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace qorvis::api {

// Guards every piece of library state: objects, their settings, the error
// state and error contexts. Never held while a node map is being accessed, so
// that node-map locks and this one are never taken in opposite orders.
std::mutex& libraryMutex();
using LibraryLock = std::unique_lock<std::mutex>;

// Sub-messages are cut to this many characters, so that they always fit the
// 256-character buffers of QappGetError with their terminator.
inline constexpr std::size_t kMaxMessageLength = 255;

struct Failure {
    int64_t code = 0;
    std::vector<std::string> messages;
};

[[noreturn]] void fail(int64_t code, std::string message1, std::string message2 = {});

// The pending error.
struct ErrorRecord {
    int64_t code = 0; // 0: none pending
    std::string function;
    std::vector<std::string> messages;
};

// Records a failure as the pending error (replacing one already pending) and,
// unless `print` is false, prints it once when error printing is on. Takes
// the library lock.
void recordError(const char* function, const Failure& failure, bool print = true);

// Clears the pending error; the caller holds the library lock.
void clearPendingError();

// "Error in <function>: <sub 1> <sub 2> ..." - the printed line, without newline.
std::string errorLine(const ErrorRecord& error);

// Runs `body` and turns whatever it throws into the pending error of
// `function`; returns `fallback` then. The body takes the library lock itself
// where it needs it.
template <class R, class Body>
R guarded(const char* function, R fallback, Body&& body) noexcept;

template <class Body>
void guardedVoid(const char* function, Body&& body) noexcept {
    guarded(function, 0, [&] {
        body();
        return 0;
    });
}

// ---- implementation

Failure failureFromCurrentException();

template <class R, class Body>
R guarded(const char* function, R fallback, Body&& body) noexcept {
    try {
        return body();
    } catch (...) {
        try {
            recordError(function, failureFromCurrentException());
        } catch (...) {
            // Out of memory while recording: nothing more can be reported.
        }
        return fallback;
    }
}

} // namespace qorvis::api
