// Shared by the library's tests: a fresh application with one object of each
// kind, inquire and control over any kind, and the pending error as one line.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "qorvis.h"

namespace qorvis_test {

// The pending error as "<function>: <sub-messages>", then cleared.
struct Error {
    QOR_INT64 code = 0;
    std::string line;
};
inline Error takeError() {
    Error e;
    e.code = QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, nullptr);
    char text[256] = {};
    QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT_FCT + Q_TEXT, text);
    e.line = std::string(text) + ":";
    QOR_INT count = QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT_SUB_NB, nullptr);
    for (QOR_INT i = 0; i < count; ++i) {
        QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT_SUB_1 + i + Q_TEXT, text);
        e.line += std::string(" ") + text;
    }
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_RESET, 0);
    return e;
}
#define EXPECT_NO_ERROR() EXPECT_EQ(::qorvis_test::takeError().line, ":")

// A call that must fail, the error code, the function and a part of the message.
struct Refusal {
    std::function<void()> call;
    QOR_INT64 code;
    std::string function, message;
};
inline void expectRefusals(const std::vector<Refusal>& refusals) {
    for (const Refusal& r : refusals) {
        r.call();
        const Error e = takeError();
        EXPECT_EQ(e.code, r.code) << r.function << ": " << r.message;
        EXPECT_EQ(e.line.substr(0, r.function.size() + 1), r.function + ":") << e.line;
        EXPECT_NE(e.line.find(r.message), std::string::npos) << e.line;
    }
}

enum class On { App, Sys, Dig, Seq };

// A fresh application (default settings, printing off) with a system, digitizer and sequence.
class QorvisTest : public ::testing::Test {
protected:
    QOR_ID app = 0, sys = 0, dig = 0, seq = 0;

    void SetUp() override {
        ASSERT_NE(QappAlloc(QOR_TEXT("tests"), &app), 0);
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
        QdigAlloc(QsysAlloc(app, Q_SYSTEM_SIMULATED, 0, Q_DEFAULT, &sys), 0, "", Q_DEFAULT, &dig);
        ASSERT_NE(QseqAlloc(sys, 0, 1, Q_DEFAULT, &seq) * dig, 0);
    }
    void TearDown() override {
        takeError();
        if (sys) QsysFree(sys); // takes its digitizers and sequences along
        if (app) QappFree(app);
        EXPECT_NO_ERROR();
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_ENABLE);
    }

    QOR_ID id(On o) const {
        return o == On::App ? app : o == On::Sys ? sys : o == On::Dig ? dig : seq;
    }
    QOR_INT inquire(On o, int64_t type, void* out) const {
        static constexpr QOR_INT (*inquires[])(QOR_ID, QOR_INT64, void*) = {
            QappInquire, QsysInquire, QdigInquire, QseqInquire};
        return inquires[static_cast<int>(o)](id(o), type, out);
    }
    int64_t get(On o, int64_t type) const {
        QOR_INT64 v = -1;
        inquire(o, type, &v);
        return v;
    }
    // A text read the way callers do: size first, then the text.
    std::string text(On o, int64_t type) const {
        QOR_INT64 size = 0;
        inquire(o, type + Q_STRING_SIZE, &size);
        std::string t(static_cast<std::size_t>(std::max<QOR_INT64>(size, 1)), '?');
        inquire(o, type, t.data());
        EXPECT_EQ(t.back(), '\0') << "the size counts the terminator";
        t.pop_back();
        return t;
    }
    void set(On o, int64_t type, double v) const {
        static constexpr void (*controls[])(QOR_ID, QOR_INT64, QOR_DOUBLE) = {
            nullptr, QsysControl, QdigControl, QseqControl};
        o == On::App ? QappControl(app, type, static_cast<QOR_INT64>(v))
                     : controls[static_cast<int>(o)](id(o), type, v);
    }
    void set64(On o, int64_t type, int64_t v) const {
        static constexpr void (*controls[])(QOR_ID, QOR_INT64, QOR_INT64) = {
            QappControl, QsysControlInt64, QdigControlInt64, QseqControlInt64};
        controls[static_cast<int>(o)](id(o), type, v);
    }
};

} // namespace qorvis_test
