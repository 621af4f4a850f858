// The error state: the pending error and its texts, printing once or not at
// all, reset, replacement by a later failure, and error contexts.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "qorvis.h"
#include "qorvis_api_support.h"

namespace {

using namespace qorvis_test;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

class Errors : public QorvisTest {};

int64_t appSetting(int64_t type) {
    QOR_INT64 v = -1;
    QappInquire(Q_DEFAULT_APPLICATION, type, &v);
    return v;
}

TEST_F(Errors, PendingErrorCodeFunctionAndSubMessages) {
    EXPECT_EQ(QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, nullptr), 0);
    char text[256] = "untouched";
    EXPECT_EQ(QappGetError(app, Q_CURRENT_FCT + Q_TEXT, text), 0);
    EXPECT_STREQ(text, "") << "no error: an empty function name";

    QdigControl(dig, Q_DIG_CHANNEL, 9);
    QOR_INT64 code = 0;
    EXPECT_EQ(QappGetError(app, Q_CURRENT, &code), Q_ERR_OUT_OF_RANGE);
    EXPECT_EQ(code, Q_ERR_OUT_OF_RANGE);
    EXPECT_EQ(QappGetError(app, Q_GLOBAL, nullptr), Q_ERR_OUT_OF_RANGE) << "one error state in either mode";
    EXPECT_EQ(QappGetError(app, Q_CURRENT_FCT + Q_TEXT, text), 11);
    EXPECT_STREQ(text, "QdigControl");
    QOR_INT64 count = 0;
    EXPECT_EQ(QappGetError(app, Q_CURRENT_SUB_NB, &count), 1);
    EXPECT_EQ(count, 1);
    QappGetError(app, Q_CURRENT_SUB_1 + Q_TEXT, text);
    EXPECT_STREQ(text, "Value 9 is not one of 0, 1, 2, 3.");
    std::strcpy(text, "stale");
    QappGetError(app, Q_CURRENT_SUB_2 + Q_TEXT, text);
    EXPECT_STREQ(text, "") << "a sub-message that does not exist is empty";
    EXPECT_EQ(QappGetError(app, 0x7777, text), 0) << "unknown error types answer nothing";
    EXPECT_EQ(QappGetError(app, Q_CURRENT, nullptr), Q_ERR_OUT_OF_RANGE) << "asking does not clear";

    // Two sub-messages, both within the 256-character buffers.
    QdigInquire(dig, 987654, &count);
    EXPECT_EQ(QappGetError(app, Q_CURRENT_SUB_NB, nullptr), 2);
    QappGetError(app, Q_CURRENT_SUB_2 + Q_TEXT, text);
    EXPECT_STREQ(text, "Control type 987654 is not known to digitizers.");
    QappControl(app, Q_ERROR_RESET, 0);
    EXPECT_EQ(QappGetError(app, Q_CURRENT, nullptr), 0);
    EXPECT_EQ(QappGetError(app, Q_CURRENT_SUB_NB, nullptr), 0);
}

TEST_F(Errors, ALaterFailureReplacesThePendingOneAndSuccessesLeaveItAlone) {
    QdigControl(dig, Q_DIG_CHANNEL, 9);
    QdigControl(dig, Q_DIG_GRAB_TIMEOUT, 100); // succeeds
    EXPECT_PENDING_ERROR("QdigControl", Q_ERR_OUT_OF_RANGE, "Value 9 is not one of 0, 1, 2, 3.");
    QdigControl(dig, Q_DIG_CHANNEL, 9);
    QsysInquire(dig, Q_SYSTEM_TYPE, nullptr);
    EXPECT_PENDING_ERROR("QsysInquire", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");
}

TEST_F(Errors, EachFailurePrintsOneLineWhenPrintingIsOn) {
    QappControl(app, Q_ERROR_PRINT, Q_PRINT_ENABLE);
    CaptureStderr();
    QdigControl(dig, Q_DIG_GRAB_TIMEOUT, -5);
    QdigInquire(dig, Q_DIG_GRAB_TIMEOUT, nullptr); // no failure, no line
    QappGetError(app, Q_CURRENT, nullptr);
    QdigInquire(dig, 987654, nullptr);
    std::string printed = GetCapturedStderr();
    EXPECT_EQ(printed,
              "Error in QdigControl: Value -5 is outside 0 to 3600000.\n"
              "Error in QdigInquire: Invalid control type. Control type 987654 is not known to digitizers.\n");

    QappControl(app, Q_ERROR_PRINT, Q_PRINT_DISABLE);
    CaptureStderr();
    QdigControl(dig, Q_DIG_GRAB_TIMEOUT, -5);
    QsysFree(987654);
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_PENDING_ERROR("QsysFree", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");
}

TEST_F(Errors, SettingsDefaultsAndTheExceptionSetting) {
    // Fresh application: printing on, exception setting 0.
    QappFree(app);
    QappAlloc(QOR_TEXT(""), &app);
    EXPECT_EQ(appSetting(Q_ERROR_PRINT), Q_PRINT_ENABLE);
    EXPECT_EQ(appSetting(Q_ERROR_EXCEPTION), 0);
    QappControl(app, Q_ERROR_EXCEPTION, -9999);
    EXPECT_EQ(appSetting(Q_ERROR_EXCEPTION), -9999);
    QappControl(app, Q_ERROR_PRINT, Q_PRINT_DISABLE);
    EXPECT_EQ(appSetting(Q_ERROR_PRINT), Q_PRINT_DISABLE);
    // Any exception setting only records: failures come back as return values.
    QdigControl(dig, Q_DIG_CHANNEL, 9);
    EXPECT_PENDING_ERROR("QdigControl", Q_ERR_OUT_OF_RANGE, "Value 9 is not one of 0, 1, 2, 3.");
}

TEST_F(Errors, ContextsSaveAndRestoreTheErrorStateExactly) {
    QappControl(app, Q_ERROR_EXCEPTION, 3);
    QdigControl(dig, Q_DIG_CHANNEL, 9); // pending before the save
    QOR_ID context = QappErrorContextSave();
    ASSERT_NE(context, 0);
    EXPECT_EQ(QappGetError(app, Q_CURRENT, nullptr), 0) << "the saved error is held by the context";

    // What a port does between save and restore.
    QappControl(app, Q_ERROR_PRINT, Q_PRINT_DISABLE);
    QappControl(app, Q_ERROR_EXCEPTION, -9999);
    QdigInquire(dig, 987654, nullptr);
    EXPECT_EQ(pendingError().function, "QdigInquire");
    QOR_ID inner = QappErrorContextSave();
    QsysInquire(sys, 987654, nullptr);
    QappErrorContextRestore(inner);
    EXPECT_EQ(pendingError().function, "QdigInquire") << "contexts nest";

    QappControl(app, Q_ERROR_PRINT, Q_PRINT_ENABLE);
    QappErrorContextRestore(context);
    EXPECT_EQ(appSetting(Q_ERROR_PRINT), Q_PRINT_DISABLE) << "the fixture had printing off";
    EXPECT_EQ(appSetting(Q_ERROR_EXCEPTION), 3);
    EXPECT_PENDING_ERROR("QdigControl", Q_ERR_OUT_OF_RANGE, "Value 9 is not one of 0, 1, 2, 3.");

    // A context is restored once.
    QappErrorContextRestore(context);
    EXPECT_PENDING_ERROR("QappErrorContextRestore", Q_ERR_INVALID_IDENTIFIER, "Invalid error context.");
    // A context saved with nothing pending restores "nothing pending".
    QOR_ID clean = QappErrorContextSave();
    QdigInquire(dig, 987654, nullptr);
    QappErrorContextRestore(clean);
    EXPECT_NO_PENDING_ERROR();
}

TEST_F(Errors, TheErrorStateWorksWithoutAnApplication) {
    QappFree(app);
    app = 0;
    QOR_ID context = QappErrorContextSave();
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
    QdigControl(dig, Q_DIG_CHANNEL, 9);
    EXPECT_EQ(QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, nullptr), Q_ERR_OUT_OF_RANGE);
    QappErrorContextRestore(context);
    EXPECT_NO_PENDING_ERROR();
    QappGetError(12345, Q_CURRENT, nullptr);
    EXPECT_PENDING_ERROR("QappGetError", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");
}

TEST_F(Errors, LongMessagesAreCutToTheBuffers) {
    // A feature name of 400 characters ends up in a sub-message.
    std::string name(400, 'n');
    QdigInquireFeature(dig, Q_FEATURE_VALUE, name.c_str(), Q_TYPE_INT64, nullptr);
    char text[300];
    std::memset(text, 'x', sizeof text);
    QOR_INT length = QappGetError(app, Q_CURRENT_SUB_2 + Q_TEXT, text);
    EXPECT_EQ(length, 255);
    EXPECT_EQ(std::strlen(text), 255u);
    EXPECT_EQ(text[256], 'x') << "nothing written past 256 characters";
    resetError();
}

} // namespace
