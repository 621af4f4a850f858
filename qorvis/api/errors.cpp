// The pending error, error printing, error contexts and QappGetError.
//
// Errors are kept per application (Q_ERROR_MODE answers 0): one pending error
// for the process. It stays pending until Q_ERROR_RESET (or Q_SYSTEM_ERROR_CLEAR
// on a system) clears it; a later failure replaces it, so the pending error
// always describes the most recent failure. Each failure is printed once, when
// it happens, if error printing is on.
#include "api/errors.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <new>

#include "GenICam/exceptions.h"
#include "api/objects.h"
#include "qorvis.h"

namespace qorvis::api {

std::mutex& libraryMutex() {
    // Never destroyed: threads may still call the library while the process ends.
    static auto* mutex = new std::mutex;
    return *mutex;
}

namespace {

std::string clip(std::string text) {
    if (text.size() > kMaxMessageLength) text.resize(kMaxMessageLength);
    return text;
}

struct ErrorContext {
    ErrorRecord error;
    int64_t print = Q_PRINT_ENABLE;
    int64_t exception = 0;
};

struct ErrorState {
    ErrorRecord pending;
    std::map<QOR_ID, ErrorContext> contexts;
};

ErrorState& state() {
    static auto* s = new ErrorState;
    return *s;
}

int64_t setting(int64_t type) {
    Object& app = applicationSettings();
    return integerValue(app, *app.table->find(type));
}

void setSetting(int64_t type, int64_t value) { applicationSettings().values.integers[type] = value; }

// Copies text into a caller's buffer of 256 characters; returns its length.
QOR_INT copyText(const std::string& text, void* out) {
    std::size_t n = std::min(text.size(), kMaxMessageLength);
    if (out) {
        std::memcpy(out, text.data(), n);
        static_cast<char*>(out)[n] = '\0';
    }
    return static_cast<QOR_INT>(n);
}

} // namespace

void fail(int64_t code, std::string message1, std::string message2) {
    Failure f;
    f.code = code;
    f.messages.push_back(clip(std::move(message1)));
    if (!message2.empty()) f.messages.push_back(clip(std::move(message2)));
    throw f;
}

Failure failureFromCurrentException() {
    try {
        throw;
    } catch (const Failure& f) {
        return f;
    } catch (const GenICam::GenericException& e) {
        return Failure{Q_ERR_FEATURE, {clip(e.GetDescription())}};
    } catch (const std::bad_alloc&) {
        return Failure{Q_ERR_ALLOCATION, {"Not enough memory."}};
    } catch (const std::exception& e) {
        return Failure{Q_ERR_INVALID_PARAMETER, {clip(e.what())}};
    } catch (...) {
        return Failure{Q_ERR_INVALID_PARAMETER, {"Unexpected failure."}};
    }
}

std::string errorLine(const ErrorRecord& error) {
    std::string line = "Error in " + error.function + ":";
    for (const std::string& m : error.messages) line += " " + m;
    return line;
}

void recordError(const char* function, const Failure& failure, bool print) {
    LibraryLock lock(libraryMutex());
    ErrorRecord& pending = state().pending;
    pending.code = failure.code != 0 ? failure.code : Q_ERR_INVALID_PARAMETER;
    pending.function = function;
    pending.messages = failure.messages;
    if (pending.messages.size() > 3) pending.messages.resize(3);
    if (print && setting(Q_ERROR_PRINT) != Q_PRINT_DISABLE) {
        std::string line = errorLine(pending) + "\n";
        std::fputs(line.c_str(), stderr);
        std::fflush(stderr);
    }
}

void clearPendingError() { state().pending = ErrorRecord{}; }

} // namespace qorvis::api

using namespace qorvis::api;

extern "C" QOR_INT QappGetError(QOR_ID appId, QOR_INT64 errorType, void* userVarPtr) {
    return guarded("QappGetError", QOR_INT{0}, [&]() -> QOR_INT {
        LibraryLock lock(libraryMutex());
        if (appId != Q_DEFAULT_APPLICATION && appId != currentApplication())
            fail(Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.",
                 "Identifier " + std::to_string(appId) + " is not the application.");
        const ErrorRecord& e = state().pending;
        auto answer = [&](int64_t v) {
            if (userVarPtr) std::memcpy(userVarPtr, &v, sizeof v);
            return static_cast<QOR_INT>(v);
        };
        switch (errorType) {
        case Q_CURRENT:
        case Q_GLOBAL: return answer(e.code);
        case Q_CURRENT_SUB_NB: return answer(static_cast<int64_t>(e.messages.size()));
        case Q_CURRENT_FCT + Q_TEXT: return copyText(e.code ? e.function : std::string(), userVarPtr);
        case Q_CURRENT_SUB_1 + Q_TEXT:
        case Q_CURRENT_SUB_2 + Q_TEXT:
        case Q_CURRENT_SUB_3 + Q_TEXT: {
            auto index = static_cast<std::size_t>(errorType - (Q_CURRENT_SUB_1 + Q_TEXT));
            return copyText(index < e.messages.size() ? e.messages[index] : std::string(), userVarPtr);
        }
        default:
            // Not recorded as an error: that would replace the error being inspected.
            return 0;
        }
    });
}

extern "C" QOR_ID QappErrorContextSave(void) {
    return guarded("QappErrorContextSave", QOR_ID{0}, []() -> QOR_ID {
        LibraryLock lock(libraryMutex());
        ErrorContext context{state().pending, setting(Q_ERROR_PRINT), setting(Q_ERROR_EXCEPTION)};
        QOR_ID id = nextIdentifier();
        state().contexts.emplace(id, std::move(context));
        // The context now holds the pending error: what runs until the restore
        // starts with none, so its own failures are the only ones it sees.
        clearPendingError();
        return id;
    });
}

extern "C" void QappErrorContextRestore(QOR_ID context) {
    guardedVoid("QappErrorContextRestore", [&] {
        LibraryLock lock(libraryMutex());
        auto it = state().contexts.find(context);
        if (it == state().contexts.end())
            fail(Q_ERR_INVALID_IDENTIFIER, "Invalid error context.",
                 "Context " + std::to_string(context) + " was not saved or was already restored.");
        state().pending = std::move(it->second.error);
        setSetting(Q_ERROR_PRINT, it->second.print);
        setSetting(Q_ERROR_EXCEPTION, it->second.exception);
        state().contexts.erase(it);
    });
}
