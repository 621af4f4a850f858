// Control types of every object kind: values that persist, defaults, the
// "default until set" and "zero until set" types, texts and their sizes,
// ranges, allowed sets and read-only types, with the exact failures.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

#include "qorvis.h"
#include "qorvis_api_support.h"

namespace {

using namespace qorvis_test;

class ControlTypes : public QorvisTest {};

TEST_F(ControlTypes, DigitizerSettingsPersistPerObject) {
    QOR_ID other = 0;
    QdigAlloc(sys, 1, QOR_TEXT(""), Q_DEFAULT, &other);
    EXPECT_EQ(inquireDig(dig, Q_DIG_GRAB_TIMEOUT), 5000);
    QdigControl(dig, Q_DIG_GRAB_TIMEOUT, 250);
    QdigControl(dig, Q_DIG_GRAB_MODE, Q_GRAB_ASYNCHRONOUS);
    QdigControl(dig, Q_DIG_CHANNEL, 3);
    QdigControl(dig, Q_GC_POLLING, Q_TRUE);
    QdigControlInt64(dig, Q_DIG_USER_DATA, std::numeric_limits<int64_t>::min() + 5);
    QdigControlInt64(dig, Q_DIG_MAXIMUM_BANDWIDTH, 1000000);
    EXPECT_NO_PENDING_ERROR();
    EXPECT_EQ(inquireDig(dig, Q_DIG_GRAB_TIMEOUT), 250);
    EXPECT_EQ(QdigInquire(dig, Q_DIG_GRAB_TIMEOUT, nullptr), 250) << "the value is also returned";
    EXPECT_EQ(inquireDig(dig, Q_DIG_GRAB_MODE), Q_GRAB_ASYNCHRONOUS);
    EXPECT_EQ(inquireDig(dig, Q_DIG_CHANNEL), 3);
    EXPECT_EQ(inquireDig(dig, Q_GC_POLLING), Q_TRUE);
    EXPECT_EQ(inquireDig(dig, Q_DIG_USER_DATA), std::numeric_limits<int64_t>::min() + 5) << "64 bits survive";
    EXPECT_EQ(inquireDig(dig, Q_DIG_MAXIMUM_BANDWIDTH), 1000000);
    // The other digitizer keeps its defaults.
    EXPECT_EQ(inquireDig(other, Q_DIG_GRAB_TIMEOUT), 5000);
    EXPECT_EQ(inquireDig(other, Q_DIG_GRAB_MODE), Q_GRAB_SYNCHRONOUS);
    EXPECT_EQ(inquireDig(other, Q_GC_POLLING), Q_FALSE);
    EXPECT_EQ(inquireDig(other, Q_DIG_USER_DATA), 0);
    // Q_DEFAULT restores the default.
    QdigControl(dig, Q_DIG_GRAB_TIMEOUT, Q_DEFAULT);
    EXPECT_EQ(inquireDig(dig, Q_DIG_GRAB_TIMEOUT), 5000);
    QdigFree(other);
    EXPECT_NO_PENDING_ERROR();
}

TEST_F(ControlTypes, DefaultUntilSetAndZeroUntilSet) {
    // Class-3 types answer Q_DEFAULT until set, and again after Q_DEFAULT.
    for (int64_t type : {Q_DIG_TRIGGER_ACTIVATION, Q_DIG_TIMER_DELAY, Q_DIG_EXPOSURE_OVERRIDE, Q_DIG_LAST_GRAB_STATUS})
        EXPECT_EQ(inquireDig(dig, type), Q_DEFAULT) << type;
    QdigControl(dig, Q_DIG_TIMER_DELAY, 0);
    QdigControl(dig, Q_DIG_TRIGGER_ACTIVATION, 2);
    EXPECT_EQ(inquireDig(dig, Q_DIG_TIMER_DELAY), 0);
    EXPECT_EQ(inquireDig(dig, Q_DIG_TRIGGER_ACTIVATION), 2);
    QdigControl(dig, Q_DIG_TIMER_DELAY, Q_DEFAULT);
    EXPECT_EQ(inquireDig(dig, Q_DIG_TIMER_DELAY), Q_DEFAULT);
    EXPECT_EQ(inquireSys(sys, Q_SYS_WATCHDOG_TIMEOUT), Q_DEFAULT);
    EXPECT_EQ(inquireSys(sys, Q_SYS_FAN_SPEED), Q_DEFAULT);
    QsysControl(sys, Q_SYS_FAN_SPEED, 60);
    EXPECT_EQ(inquireSys(sys, Q_SYS_FAN_SPEED), 60);
    EXPECT_EQ(inquireSeq(seq, Q_SEQ_FRAME_RATE), Q_DEFAULT);
    EXPECT_EQ(inquireSeq(seq, Q_SEQ_COMPRESSION_QUALITY), Q_DEFAULT);
    // Class-4 types: identity and image geometry, never Q_DEFAULT.
    EXPECT_EQ(inquireDig(dig, Q_DIG_DEVICE_NUMBER), 0);
    EXPECT_EQ(inquireDig(dig, Q_DIG_SIZE_X), 1280);
    EXPECT_EQ(inquireDig(dig, Q_DIG_SIZE_Y), 1024);
    EXPECT_EQ(inquireDig(dig, Q_DIG_SIZE_BIT), 8);
    EXPECT_EQ(inquireDig(dig, Q_DIG_SIZE_BAND), 1);
    EXPECT_EQ(inquireDig(dig, Q_DIG_CAMERA_PRESENT), Q_TRUE);
    EXPECT_EQ(inquireDig(dig, Q_DIG_GRAB_BUFFER_SIZE), 1280 * 1024);
    EXPECT_EQ(inquireSys(sys, Q_SYS_DIGITIZER_PORTS), 4);
    EXPECT_NO_PENDING_ERROR();
}

TEST_F(ControlTypes, TextsTheirSizesAndDefaults) {
    EXPECT_EQ(inquireText(QsysInquire, sys, Q_SYS_BOARD_NAME), "Qorvis QSIM-4 simulated frame grabber");
    EXPECT_EQ(inquireText(QsysInquire, sys, Q_SYS_SERIAL_NUMBER), "QS4-104200");
    EXPECT_EQ(inquireText(QsysInquire, sys, Q_SYS_DRIVER_VERSION), "1.0.0 (simulated)");
    EXPECT_EQ(inquireText(QdigInquire, dig, Q_DIG_CAMERA_VENDOR), "Torvex");
    EXPECT_EQ(inquireText(QdigInquire, dig, Q_DIG_CAMERA_MODEL), "TVX1280M");
    EXPECT_EQ(inquireText(QdigInquire, dig, Q_DIG_CAMERA_SERIAL_NUMBER), "TVX21A0042");
    EXPECT_EQ(inquireText(QseqInquire, seq, Q_SEQ_FILE_NAME), "sequence.raw");

    // An empty text has nothing to read: size 0, yet its inquire writes the terminator.
    QOR_INT64 size = -1;
    EXPECT_EQ(QdigInquire(dig, Q_DIG_USER_LABEL + Q_STRING_SIZE, &size), 0);
    EXPECT_EQ(size, 0);
    char text[8] = "xxxxxxx";
    QdigInquire(dig, Q_DIG_USER_LABEL, text);
    EXPECT_EQ(text[0], '\0');

    const char* label = "left camera";
    QdigControl(dig, Q_DIG_USER_LABEL, Q_PTR_TO_DOUBLE(label));
    QsysControl(sys, Q_SYS_USER_LABEL, Q_PTR_TO_DOUBLE("line 4"));
    QseqControl(seq, Q_SEQ_FILE_NAME, Q_PTR_TO_DOUBLE("run-17.seq"));
    EXPECT_NO_PENDING_ERROR();
    EXPECT_EQ(QdigInquire(dig, Q_DIG_USER_LABEL + Q_STRING_SIZE, nullptr), 12);
    EXPECT_EQ(inquireText(QdigInquire, dig, Q_DIG_USER_LABEL), "left camera");
    EXPECT_EQ(inquireText(QsysInquire, sys, Q_SYS_USER_LABEL), "line 4");
    EXPECT_EQ(inquireText(QseqInquire, seq, Q_SEQ_FILE_NAME), "run-17.seq");
    // Q_DEFAULT restores the default text.
    QseqControl(seq, Q_SEQ_FILE_NAME, Q_DEFAULT);
    EXPECT_EQ(inquireText(QseqInquire, seq, Q_SEQ_FILE_NAME), "sequence.raw");

    // 127 characters fit, 128 do not.
    std::string longest(127, 'a');
    QdigControl(dig, Q_DIG_USER_LABEL, Q_PTR_TO_DOUBLE(longest.c_str()));
    EXPECT_NO_PENDING_ERROR();
    std::string tooLong(128, 'b');
    QdigControl(dig, Q_DIG_USER_LABEL, Q_PTR_TO_DOUBLE(tooLong.c_str()));
    EXPECT_PENDING_ERROR("QdigControl", Q_ERR_OUT_OF_RANGE, "Text of 128 characters is longer than the 127 allowed.");
    EXPECT_EQ(inquireText(QdigInquire, dig, Q_DIG_USER_LABEL), longest);

    QdigControl(dig, Q_DIG_USER_LABEL, Q_PTR_TO_DOUBLE(nullptr));
    EXPECT_PENDING_ERROR("QdigControl", Q_ERR_INVALID_PARAMETER, "Invalid text pointer.");
    QdigControlInt64(dig, Q_DIG_USER_LABEL, 5);
    EXPECT_PENDING_ERROR("QdigControlInt64", Q_ERR_INVALID_PARAMETER, "Control type 7701 holds a text.");
    QdigInquire(dig, Q_DIG_GRAB_TIMEOUT + Q_STRING_SIZE, &size);
    EXPECT_PENDING_ERROR("QdigInquire", Q_ERR_INVALID_CONTROL_TYPE, "Invalid control type.",
                         "Control type 3001 is not a string type.");
    QdigInquire(dig, Q_DIG_CAMERA_VENDOR, text);
    EXPECT_NO_PENDING_ERROR();
    EXPECT_STREQ(text, "Torvex");
}

TEST_F(ControlTypes, PointerBitsTravelThroughADouble) {
    const char* text = "round trip";
    double carried = Q_PTR_TO_DOUBLE(text);
    const void* back = nullptr;
    std::memcpy(&back, &carried, sizeof back);
    EXPECT_EQ(back, text);
    EXPECT_EQ(Q_PTR_TO_DOUBLE(nullptr), 0.0);
}

TEST_F(ControlTypes, FailuresNameTheFunctionAndTheReason) {
    QdigControl(dig, 6712, 5);
    EXPECT_PENDING_ERROR("QdigControl", Q_ERR_READ_ONLY, "Control type 6712 is read-only.");
    EXPECT_EQ(inquireDig(dig, 6712), Q_DEFAULT);
    QdigControl(dig, 987654, 1);
    EXPECT_PENDING_ERROR("QdigControl", Q_ERR_INVALID_CONTROL_TYPE, "Invalid control type.",
                         "Control type 987654 is not known to digitizers.");
    QOR_INT64 v = 12;
    EXPECT_EQ(QsysInquire(sys, 987654, &v), 0);
    EXPECT_EQ(v, 12);
    EXPECT_PENDING_ERROR("QsysInquire", Q_ERR_INVALID_CONTROL_TYPE, "Invalid control type.",
                         "Control type 987654 is not known to systems.");
    QseqControlInt64(seq, 987654, 1);
    EXPECT_PENDING_ERROR("QseqControlInt64", Q_ERR_INVALID_CONTROL_TYPE, "Invalid control type.",
                         "Control type 987654 is not known to sequences.");
    QdigControl(dig, Q_DIG_GRAB_TIMEOUT, 3600001);
    EXPECT_PENDING_ERROR("QdigControl", Q_ERR_OUT_OF_RANGE, "Value 3600001 is outside 0 to 3600000.");
    QdigControlInt64(dig, Q_DIG_GRAB_TIMEOUT, -1);
    EXPECT_PENDING_ERROR("QdigControlInt64", Q_ERR_OUT_OF_RANGE, "Value -1 is outside 0 to 3600000.");
    QdigControl(dig, Q_DIG_CHANNEL, 4);
    EXPECT_PENDING_ERROR("QdigControl", Q_ERR_OUT_OF_RANGE, "Value 4 is not one of 0, 1, 2, 3.");
    QdigControl(dig, Q_DIG_GRAB_TIMEOUT, 2.5);
    EXPECT_PENDING_ERROR("QdigControl", Q_ERR_OUT_OF_RANGE, "Value 2.5 is not an integer.");
    QdigControl(dig, Q_DIG_GRAB_TIMEOUT, 1e30);
    EXPECT_PENDING_ERROR("QdigControl", Q_ERR_OUT_OF_RANGE, "Value 1e+30 is outside the 64-bit integer range.");
    QsysControlInt64(sys, Q_SYS_MEMORY_SIZE, 1);
    EXPECT_PENDING_ERROR("QsysControlInt64", Q_ERR_READ_ONLY, "Control type 7301 is read-only.");
    QsysInquire(sys, Q_SYSTEM_ERROR_CLEAR, &v);
    EXPECT_PENDING_ERROR("QsysInquire", Q_ERR_WRITE_ONLY, "Control type 2099 can only be controlled.");
    QseqControl(seq, Q_SEQUENCE_FORMAT, 0);
    EXPECT_PENDING_ERROR("QseqControl", Q_ERR_READ_ONLY, "Control type 1540 is read-only.");
    // Nothing changed.
    EXPECT_EQ(inquireDig(dig, Q_DIG_GRAB_TIMEOUT), 5000);
    EXPECT_EQ(inquireDig(dig, Q_DIG_CHANNEL), 0);
}

TEST_F(ControlTypes, SystemStatusAndActions) {
    int64_t temperature = inquireSys(sys, Q_SYS_TEMPERATURE);
    EXPECT_GE(temperature, 350);
    EXPECT_LE(temperature, 450);
    EXPECT_EQ(inquireSys(sys, Q_SYS_MEMORY_SIZE), int64_t{4} << 30);
    // The driver keeps 64 MiB, the digitizer four 1280 x 1024 buffers, the
    // sequence eight frames of 1280 x 1024.
    EXPECT_EQ(inquireSys(sys, Q_SYS_MEMORY_FREE), (int64_t{4} << 30) - (64 << 20) - 4 * 1280 * 1024 - 8 * 1280 * 1024);
    EXPECT_EQ(inquireSys(sys, Q_GC_COMMAND_COMPLETION), Q_GC_COMMAND_ASYNCHRONOUS);
    EXPECT_EQ(inquireDig(dig, Q_GC_COMMAND_COMPLETION), Q_GC_COMMAND_ASYNCHRONOUS);

    QappSleep(0.02);
    int64_t before = inquireSys(sys, Q_SYS_TIMESTAMP);
    EXPECT_GE(before, 20000000);
    EXPECT_GE(inquireSys(sys, Q_SYS_UPTIME), 20);
    QsysControl(sys, Q_SYS_TIMESTAMP_RESET, 1);
    EXPECT_LT(inquireSys(sys, Q_SYS_TIMESTAMP), before);
    EXPECT_EQ(inquireSys(sys, Q_SYS_TIMESTAMP_RESET), 0) << "the command register reads back as done";

    QsysControlInt64(sys, Q_SYS_HOST_BUFFER_QUOTA, int64_t{16} << 30);
    EXPECT_EQ(inquireSys(sys, Q_SYS_HOST_BUFFER_QUOTA), int64_t{16} << 30);
    EXPECT_NO_PENDING_ERROR();

    // Q_SYSTEM_ERROR_CLEAR clears the pending error.
    QsysControl(sys, 987654, 0);
    EXPECT_NE(QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, nullptr), 0);
    QsysControl(sys, Q_SYSTEM_ERROR_CLEAR, 0);
    EXPECT_EQ(QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, nullptr), 0);
}

TEST_F(ControlTypes, SequenceSettings) {
    EXPECT_EQ(inquireSeq(seq, Q_SEQ_BUFFER_COUNT), 8);
    QseqControl(seq, Q_SEQ_BUFFER_COUNT, 16);
    QseqControl(seq, Q_SEQ_PIXEL_DEPTH, 16);
    QseqControlInt64(seq, Q_SEQ_MAXIMUM_FILE_SIZE, int64_t{1} << 40);
    QseqControl(seq, Q_SEQ_FRAME_RATE, 25);
    EXPECT_NO_PENDING_ERROR();
    EXPECT_EQ(inquireSeq(seq, Q_SEQ_BUFFER_COUNT), 16);
    EXPECT_EQ(inquireSeq(seq, Q_SEQ_PIXEL_DEPTH), 16);
    EXPECT_EQ(inquireSeq(seq, Q_SEQ_MAXIMUM_FILE_SIZE), int64_t{1} << 40);
    EXPECT_EQ(inquireSeq(seq, Q_SEQ_FRAME_RATE), 25);
    EXPECT_EQ(inquireSeq(seq, Q_SEQ_BYTES_WRITTEN), 0);
    QseqControl(seq, Q_SEQ_PIXEL_DEPTH, 12);
    EXPECT_PENDING_ERROR("QseqControl", Q_ERR_OUT_OF_RANGE, "Value 12 is not one of 8, 16.");
    QseqControlInt64(seq, Q_SEQ_MAXIMUM_FILE_SIZE, (int64_t{1} << 40) + 1);
    EXPECT_PENDING_ERROR("QseqControlInt64", Q_ERR_OUT_OF_RANGE,
                         "Value 1099511627777 is outside 1048576 to 1099511627776.");
}

TEST_F(ControlTypes, ApplicationSettings) {
    QOR_INT64 v = -1;
    QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_MODE, &v);
    EXPECT_EQ(v, 0) << "errors are per application";
    QappInquire(app, Q_APP_VERSION, &v);
    EXPECT_EQ(v, 100);
    QappControl(app, Q_APP_PROCESSING_THREADS, 4);
    QappInquire(app, Q_APP_PROCESSING_THREADS, &v);
    EXPECT_EQ(v, 4);
    EXPECT_NO_PENDING_ERROR();
    QappControl(app, Q_APP_PROCESSING_THREADS, 65);
    EXPECT_PENDING_ERROR("QappControl", Q_ERR_OUT_OF_RANGE, "Value 65 is outside 0 to 64.");
    QappControl(app, Q_ERROR_PRINT, 2);
    EXPECT_PENDING_ERROR("QappControl", Q_ERR_OUT_OF_RANGE, "Value 2 is not one of 0, 1.");
    QappControl(app, Q_ERROR_MODE, 1);
    EXPECT_PENDING_ERROR("QappControl", Q_ERR_READ_ONLY, "Control type 15044 is read-only.");
    QappInquire(app, Q_ERROR_RESET, &v);
    EXPECT_PENDING_ERROR("QappInquire", Q_ERR_WRITE_ONLY, "Control type 15002 can only be controlled.");
}

} // namespace
