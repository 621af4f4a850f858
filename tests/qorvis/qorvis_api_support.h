// Shared by the C API tests: a library with one object of every kind, and
// the pending error read back through QappGetError.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qorvis.h"

namespace qorvis_test {

struct PendingError {
    QOR_INT code = 0;
    std::string function;
    std::vector<std::string> messages;
};

inline PendingError pendingError() {
    PendingError e;
    e.code = QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, nullptr);
    char text[256] = {};
    QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT_FCT + Q_TEXT, text);
    e.function = text;
    QOR_INT count = 0;
    QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT_SUB_NB, &count);
    for (QOR_INT i = 0; i < count; ++i) {
        char sub[256] = {};
        QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT_SUB_1 + i + Q_TEXT, sub);
        e.messages.push_back(sub);
    }
    return e;
}

inline void resetError() { QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_RESET, 0); }

// Expects the pending error to come from `function` with these first
// sub-messages, then clears it.
#define EXPECT_PENDING_ERROR(function_, code_, ...)                                           \
    do {                                                                                      \
        ::qorvis_test::PendingError e_ = ::qorvis_test::pendingError();                       \
        EXPECT_EQ(e_.code, code_);                                                            \
        EXPECT_EQ(e_.function, function_);                                                    \
        std::vector<std::string> expected_{__VA_ARGS__};                                      \
        EXPECT_GE(e_.messages.size(), expected_.size());                                      \
        for (std::size_t i_ = 0; i_ < expected_.size() && i_ < e_.messages.size(); ++i_)      \
            EXPECT_EQ(e_.messages[i_], expected_[i_]) << "sub-message " << i_ + 1;            \
        ::qorvis_test::resetError();                                                          \
    } while (0)

#define EXPECT_NO_PENDING_ERROR()                                                                     \
    do {                                                                                              \
        ::qorvis_test::PendingError e_ = ::qorvis_test::pendingError();                               \
        EXPECT_EQ(e_.code, 0) << "Error in " << e_.function << ": "                                   \
                              << (e_.messages.empty() ? std::string() : e_.messages.front());         \
        ::qorvis_test::resetError();                                                                  \
    } while (0)

inline int64_t inquireSys(QOR_ID id, int64_t type) {
    QOR_INT64 v = -1;
    QsysInquire(id, type, &v);
    return v;
}
inline int64_t inquireDig(QOR_ID id, int64_t type) {
    QOR_INT64 v = -1;
    QdigInquire(id, type, &v);
    return v;
}
inline int64_t inquireSeq(QOR_ID id, int64_t type) {
    QOR_INT64 v = -1;
    QseqInquire(id, type, &v);
    return v;
}

// A text type read the way callers do: size first, then the text.
template <class Inquire>
std::string inquireText(Inquire inquire, QOR_ID id, int64_t type) {
    QOR_INT64 size = 0;
    inquire(id, type + Q_STRING_SIZE, &size);
    if (size <= 0) return "<no size>";
    std::string text(static_cast<std::size_t>(size), '?');
    inquire(id, type, text.data());
    EXPECT_EQ(text.back(), '\0') << "the size counts the terminator";
    text.pop_back();
    return text;
}

// Every test starts with a fresh application (default error settings, no
// error pending) and, unless it says otherwise, error printing off.
class QorvisTest : public ::testing::Test {
protected:
    QOR_ID app = 0, sys = 0, dig = 0, seq = 0;

    void SetUp() override {
        ASSERT_NE(QappAlloc(QOR_TEXT("tests"), &app), 0);
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
        ASSERT_NE(QsysAlloc(app, Q_SYSTEM_SIMULATED, 0, Q_DEFAULT, &sys), 0);
        ASSERT_NE(QdigAlloc(sys, 0, QOR_TEXT(""), Q_DEFAULT, &dig), 0);
        ASSERT_NE(QseqAlloc(sys, 0, 1, Q_DEFAULT, &seq), 0);
    }
    void TearDown() override {
        resetError();
        if (sys) QsysFree(sys); // takes its digitizers and sequences along
        if (app) QappFree(app);
        EXPECT_NO_PENDING_ERROR();
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_ENABLE);
    }
};

} // namespace qorvis_test
