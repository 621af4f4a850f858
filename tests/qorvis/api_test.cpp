// The C API's objects and control types: settings, constants, texts and the
// refusals of each, the error state, identifiers and allocation.
#include <atomic>
#include <cstring>
#include <thread>
#include <limits>
#include <set>
#include <span>
#include <stdexcept>
#include <tuple>

#include "api/control_types.h"
#include "qorvis_support.h"

using namespace qorvis_test;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace {

constexpr int64_t kMiB = int64_t{1} << 20;
class Api : public QorvisTest {};

QOR_INT mark(void* data) { // a thread function: marks the int it is given, if any
    return data ? *static_cast<int*>(data) = 1 : 0;
}

extern "C" int qorvis_c_api_check(void);

} // namespace

TEST(CApi, AProgramWrittenInCUsesTheLibrary) {
    EXPECT_EQ(qorvis_c_api_check(), 0);
}

TEST_F(Api, SettingsPersistPerObjectAndQDefaultRestoresThem) {
    QOR_ID other = 0;
    QdigAlloc(sys, 1, QOR_TEXT(""), Q_DEFAULT, &other);
    const int64_t low = std::numeric_limits<int64_t>::min() + 5, quota = int64_t{16} << 30;
    // Kind, type, initial value, a value, whether it goes through the 64-bit control.
    using Setting = std::tuple<On, int64_t, int64_t, int64_t, bool>;
    const Setting settings[] = {
        {On::Dig, Q_DIG_GRAB_TIMEOUT, 5000, 250, false},
        {On::Dig, Q_DIG_CHANNEL, 0, 3, false},
        {On::Dig, Q_DIG_USER_DATA, 0, low, true},
        {On::Dig, Q_DIG_TRIGGER_ACTIVATION, Q_DEFAULT, 2, false},
        {On::Sys, Q_SYS_FAN_SPEED, Q_DEFAULT, 60, false},
        {On::Sys, Q_SYS_HOST_BUFFER_QUOTA, 512 * kMiB, quota, true},
        {On::Seq, Q_SEQ_MAXIMUM_FILE_SIZE, int64_t{4} << 30, int64_t{1} << 40, true},
        {On::Seq, Q_SEQ_FRAME_RATE, Q_DEFAULT, 25, false},
        {On::App, Q_APP_PROCESSING_THREADS, 0, 4, false}};
    for (const auto& [on, type, initial, value, wide] : settings) {
        SCOPED_TRACE(type);
        EXPECT_EQ(get(on, type), initial);
        wide ? set64(on, type, value) : set(on, type, static_cast<double>(value));
        EXPECT_EQ(inquire(on, type, nullptr), value) << "returned as well";
        QOR_INT64 v = initial;
        if (on == On::Dig) QdigInquire(other, type, &v);
        EXPECT_EQ(v, initial) << "another digitizer keeps its own";
        set(on, type, Q_DEFAULT);
        EXPECT_EQ(get(on, type), initial);
        EXPECT_NO_ERROR();
    }
}

TEST_F(Api, ConstantsCountsAndComputedValues) {
    QOR_ID thread = 0;
    QthrAlloc(sys, mark, nullptr, &thread);
    // The driver keeps 64 MiB, the digitizer four images, the sequence eight.
    const int64_t image = 1280 * 1024, free = (int64_t{4} << 30) - 64 * kMiB - 12 * image;
    using Value = std::pair<int64_t, int64_t>;
    const Value digitizer[] = {{Q_DIG_DEVICE_NUMBER, 0},
                               {Q_DIG_SIZE_X, 1280},
                               {Q_DIG_SIZE_BIT, 8},
                               {Q_DIG_CAMERA_PRESENT, Q_TRUE},
                               {Q_OWNER_SYSTEM, sys}};
    const Value system[] = {{Q_SYS_MEMORY_FREE, free},  {Q_SYS_DIGITIZER_COUNT, 1},
                            {Q_SYS_SEQUENCE_COUNT, 1},  {Q_SYSTEM_TYPE, Q_SYSTEM_TYPE_SIMULATED},
                            {Q_SYS_SYSTEM_NUMBER, 0},   {Q_OWNER_SYSTEM, sys},
                            {Q_SYS_TIMESTAMP_RESET, 0}, {Q_SYS_TEMPERATURE_LIMIT, 850}};
    const Value sequence[] = {{Q_OWNER_SYSTEM, sys},
                              {Q_SEQUENCE_FORMAT, Q_SEQUENCE_BOARD_SPECIFIC}};
    const Value application[] = {
        {Q_APP_OBJECT_COUNT, 5}, {Q_APP_THREAD_COUNT, 1}, {Q_APP_SYSTEM_COUNT, 1}};
    for (const auto& [on, values] : {std::pair{On::Dig, std::span<const Value>(digitizer)},
                                     {On::Sys, system},
                                     {On::Seq, sequence},
                                     {On::App, application}})
        for (const auto& [type, value] : values)
            EXPECT_EQ(get(on, type), value) << type;
    QthrFree(thread);
    EXPECT_NO_ERROR();
}

TEST_F(Api, TextsTheirSizesAndLimits) {
    const std::tuple<On, int64_t, const char*> texts[] = {
        {On::Sys, Q_SYS_BOARD_NAME, "Qorvis QSIM-4 simulated frame grabber"},
        {On::Dig, Q_DIG_CAMERA_VENDOR, "Torvex"},
        {On::Dig, Q_DIG_CAMERA_MODEL, "TVX1280M"},
        {On::Dig, Q_DIG_CAMERA_SERIAL_NUMBER, "TVX21A0042"},
        {On::Dig, Q_DIG_FORMAT, "DEFAULT"},
        {On::Seq, Q_SEQ_FILE_NAME, "sequence.raw"},
        {On::App, Q_APP_INIT_FLAGS, "tests"}};
    for (const auto& [on, type, expected] : texts)
        EXPECT_EQ(text(on, type), expected);
    // An empty text has nothing to read (size 0), yet its inquire writes the terminator.
    EXPECT_EQ(QdigInquire(dig, Q_DIG_USER_LABEL + Q_STRING_SIZE, nullptr), 0);
    EXPECT_EQ(text(On::Dig, Q_DIG_USER_LABEL), "");
    QseqControl(seq, Q_SEQ_FILE_NAME, Q_PTR_TO_DOUBLE("run-17.seq"));
    QseqControl(seq, Q_SEQ_FILE_NAME, Q_DEFAULT);
    EXPECT_EQ(text(On::Seq, Q_SEQ_FILE_NAME), "sequence.raw");
    const std::string longest(127, 'a'), tooLong(128, 'b');
    QsysControl(sys, Q_SYS_USER_LABEL, Q_PTR_TO_DOUBLE(longest.c_str()));
    EXPECT_NO_ERROR();
    QsysControl(sys, Q_SYS_USER_LABEL, Q_PTR_TO_DOUBLE(tooLong.c_str()));
    EXPECT_EQ(takeError().line,
              "QsysControl: Text of 128 characters is longer than the 127 allowed.");
    EXPECT_EQ(text(On::Sys, Q_SYS_USER_LABEL), longest);
}

TEST_F(Api, RefusalsNameTheFunctionAndChangeNothing) {
    enum Op { Control, Control64, Inquire };
    const QOR_INT64 RO = Q_ERR_READ_ONLY, WO = Q_ERR_WRITE_ONLY, Range = Q_ERR_OUT_OF_RANGE,
                    Type = Q_ERR_INVALID_CONTROL_TYPE, Param = Q_ERR_INVALID_PARAMETER;
    const int64_t timeout = Q_DIG_GRAB_TIMEOUT, label = Q_DIG_USER_LABEL;
    // Kind, operation, type, value, error code, the start of the error's message.
    using Row = std::tuple<On, Op, int64_t, double, QOR_INT64, const char*>;
    const Row rows[] = {
        {On::Dig, Control, 6712, 5, RO, "Control type 6712 is read-only."},
        {On::Dig, Control, 987654, 1, Type,
         "Invalid control type. Control type 987654 is not known"},
        {On::Dig, Control, timeout, 3600001, Range, "Value 3600001 is outside 0 to 3600000."},
        {On::Dig, Control64, timeout, -1, Range, "Value -1 is outside 0 to 3600000."},
        {On::Dig, Control, Q_DIG_CHANNEL, 4, Range, "Value 4 is not one of 0, 1, 2, 3."},
        {On::Dig, Control, timeout, 2.5, Range, "Value 2.5 is not an integer."},
        {On::Dig, Control, timeout, 1e30, Range,
         "Value 1e+30 is outside the 64-bit integer range."},
        {On::Sys, Inquire, Q_SYSTEM_ERROR_CLEAR, 0, WO,
         "Control type 2099 can only be controlled."},
        {On::Seq, Control64, Q_SEQ_MAXIMUM_FILE_SIZE, 1099511627777.0, Range,
         "Value 1099511627777 is outside 1048576 to 1099511627776."},
        {On::Dig, Control, label, 0, Param, "Invalid text pointer."},
        {On::Dig, Control64, label, 5, Param, "Control type 7701 holds a text."},
        {On::Dig, Inquire, timeout + Q_STRING_SIZE, 0, Type,
         "Invalid control type. Control type 3001 is not a string"},
        {On::App, Control, Q_APP_PROCESSING_THREADS, 65, Range, "Value 65 is outside 0 to 64."},
        {On::App, Inquire, Q_ERROR_RESET, 0, WO, "Control type 15002 can only be controlled."},
    };
    const char* kinds[] = {"Qapp", "Qsys", "Qdig", "Qseq"};
    const char* ops[] = {"Control", "ControlInt64", "Inquire"};
    QOR_INT64 v = 12;
    for (const auto& [on, op, type, value, code, message] : rows) {
        const QOR_INT returned = op == Inquire ? inquire(on, type, &v)
                                 : op == Control64
                                     ? (set64(on, type, static_cast<int64_t>(value)), 0)
                                     : (set(on, type, value), 0);
        const std::string line =
            std::string(kinds[static_cast<int>(on)]) + ops[op] + ": " + message;
        const Error e = takeError();
        EXPECT_EQ(e.code + returned, code) << line << " (a failed inquire returns 0)";
        EXPECT_EQ(e.line.substr(0, line.size()), line);
    }
    EXPECT_EQ(v, 12) << "a failure leaves the output alone";
    EXPECT_EQ(get(On::Dig, Q_DIG_GRAB_TIMEOUT), 5000);
    EXPECT_EQ(get(On::Dig, Q_DIG_CHANNEL), 0);
    EXPECT_EQ(get(On::Dig, 6712), Q_DEFAULT);
}

TEST(ControlTable, ATypeDefinedTwiceIsRefused) {
    using qorvis::api::rangedType;
    EXPECT_THROW(
        qorvis::api::ControlTable("t", {rangedType(5, "A", 0, 0, 1), rangedType(5, "B", 0, 0, 1)}),
        std::logic_error);
    EXPECT_EQ(qorvis::api::ControlTable("t", {rangedType(9, "A", 0, 0, 1)}).find(7), nullptr);
}

TEST_F(Api, ThePendingErrorItsTextsAndItsOneLineWhilePrintingIsOn) {
    char text[300] = "untouched";
    QappGetError(app, Q_CURRENT_FCT + Q_TEXT, text);
    EXPECT_STREQ(text, "") << "nothing pending: no function";
    QappControl(app, Q_ERROR_PRINT, Q_PRINT_ENABLE);
    CaptureStderr();
    QdigControl(dig, Q_DIG_CHANNEL, 9);
    QdigControl(dig, Q_DIG_GRAB_TIMEOUT, 100); // a success leaves it alone, and prints nothing
    EXPECT_EQ(GetCapturedStderr(), "Error in QdigControl: Value 9 is not one of 0, 1, 2, 3.\n");
    QappControl(app, Q_ERROR_PRINT, Q_PRINT_DISABLE);
    EXPECT_EQ(QappGetError(app, Q_GLOBAL, nullptr), Q_ERR_OUT_OF_RANGE);
    EXPECT_EQ(QappGetError(app, Q_CURRENT_FCT + Q_TEXT, text), 11);
    EXPECT_EQ(QappGetError(app, Q_CURRENT_SUB_2 + Q_TEXT, text), 0) << "no second sub-message";
    EXPECT_EQ(takeError().line, "QdigControl: Value 9 is not one of 0, 1, 2, 3.");
    // A sub-message of a 400-character feature name is cut to 255; nothing printed.
    CaptureStderr();
    std::string name(400, 'n');
    QdigInquireFeature(dig, Q_FEATURE_VALUE, name.c_str(), Q_TYPE_INT64, nullptr);
    EXPECT_EQ(GetCapturedStderr(), "");
    std::memset(text, 'x', sizeof text);
    EXPECT_EQ(QappGetError(app, Q_CURRENT_SUB_2 + Q_TEXT, text), 255);
    EXPECT_EQ(std::strlen(text), 255u);
    EXPECT_EQ(text[256], 'x') << "nothing written past 256 characters";
}

TEST_F(Api, AnErrorContextHoldsTheErrorStateUntilItsOneRestore) {
    QappControl(app, Q_ERROR_EXCEPTION, 3);
    QdigControl(dig, Q_DIG_CHANNEL, 9);
    const QOR_ID context = QappErrorContextSave();
    EXPECT_EQ(QappGetError(app, Q_CURRENT, nullptr), 0) << "what runs now starts with none";
    QappControl(app, Q_ERROR_EXCEPTION, -9999);
    QdigInquire(dig, 987654, nullptr);
    QappControl(app, Q_ERROR_PRINT, Q_PRINT_ENABLE);
    QappErrorContextRestore(context);
    EXPECT_EQ(get(On::App, Q_ERROR_PRINT), Q_PRINT_DISABLE);
    EXPECT_EQ(get(On::App, Q_ERROR_EXCEPTION), 3);
    EXPECT_EQ(takeError().line, "QdigControl: Value 9 is not one of 0, 1, 2, 3.");
    QappErrorContextRestore(context);
    EXPECT_EQ(takeError().code, Q_ERR_INVALID_IDENTIFIER) << "restored once";
}

TEST_F(Api, EveryKindAnswersItsTypeAndAGenericIdentifier) {
    QOR_ID thread = 0, d = 0;
    int ran = 0;
    QthrAlloc(sys, mark, &ran, &thread);
    std::set<int64_t> generics;
    const std::pair<QOR_ID, int64_t> objects[] = {
        {app, Q_APPLICATION_OBJECT}, {sys, Q_SYSTEM_OBJECT},    {dig, Q_DIGITIZER_OBJECT},
        {seq, Q_SEQUENCE_OBJECT},    {thread, Q_THREAD_OBJECT}, {0, Q_APPLICATION_OBJECT}};
    for (const auto& [id, type] : objects) {
        EXPECT_EQ(QobjInquire(id, Q_OBJECT_TYPE, nullptr), type) << id;
        generics.insert(QobjInquire(id, Q_OBJECT_GENERIC, nullptr));
    }
    EXPECT_EQ(generics.size(), 5u) << "one per object";
    EXPECT_FALSE(generics.contains(app) || generics.contains(sys) || generics.contains(0));
    EXPECT_EQ((QthrWait(thread, Q_THREAD_WAIT_END), ran), 1) << "the thread ran its function";
    QthrFree(thread);
    // A thread may free itself from its own function: it then ends on its own.
    static std::atomic<QOR_ID> self{0};
    QOR_ID own = 0;
    QthrAlloc(sys, [](void*) -> QOR_INT {
        while (!self) std::this_thread::yield();
        QthrFree(self);
        return 0;
    }, nullptr, &own);
    self = own;
    for (int i = 0; i < 2000 && get(On::App, Q_APP_THREAD_COUNT) != 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(get(On::App, Q_APP_THREAD_COUNT), 0);
    QdigFree(QdigAlloc(sys, 1, QOR_TEXT(""), Q_DEFAULT, &d));
    EXPECT_GT(QdigAlloc(sys, 1, QOR_TEXT(""), Q_DEFAULT, nullptr), d)
        << "identifiers are not reused";
    EXPECT_NO_ERROR();
}

TEST_F(Api, AllocationsAndIdentifiersThatAreRefused) {
    for (const char* descriptor : {"Q_SYSTEM_SIMULATED", "", static_cast<const char*>(nullptr)})
        QsysFree(QsysAlloc(Q_DEFAULT_APPLICATION, descriptor, Q_DEFAULT, Q_DEFAULT, nullptr));
    QOR_ID freed = 0, thread = 0, s = 55;
    QdigAlloc(sys, 2, QOR_TEXT(""), Q_DEFAULT, &freed);
    QdigFree(freed);
    QOR_INT64 v = 77;
    const QOR_INT64 bad = Q_ERR_INVALID_IDENTIFIER, param = Q_ERR_INVALID_PARAMETER;
    const std::string gone = std::to_string(freed) + " names no allocated object.";
    expectRefusals({
        {[&] { QdigInquire(freed, Q_DIG_GRAB_TIMEOUT, &v); }, bad, "QdigInquire", gone},
        {[&] { QdigFree(freed); }, bad, "QdigFree", gone},
        {[&] { QdigFree(sys); }, bad, "QdigFree", " names a system, not a digitizer."},
        {[&] { QseqFree(dig); }, bad, "QseqFree", " names a digitizer, not a sequence."},
        {[&] { QsysFree(dig); }, bad, "QsysFree", " names a digitizer, not a system."},
        {[&] { QthrFree(dig); }, bad, "QthrFree", " names a digitizer, not a thread."},
        {[&] { QobjInquire(dig, 4242, &v); }, Q_ERR_INVALID_CONTROL_TYPE, "QobjInquire",
         "Invalid inquire type."},
        {[&] { QthrAlloc(sys, nullptr, nullptr, &thread); }, param, "QthrAlloc",
         "Invalid thread function."},
        {[&] { QappSleep(-1); }, Q_ERR_OUT_OF_RANGE, "QappSleep",
         "Value -1 is outside 0 to 86400."},
        {[&] { QsysAlloc(app, "Q_SYSTEM_GIGE_VISION", 0, Q_DEFAULT, &s); }, param, "QsysAlloc",
         "Invalid system descriptor."},
        {[&] { QsysAlloc(app, Q_SYSTEM_SIMULATED, 4, Q_DEFAULT, &s); }, Q_ERR_OUT_OF_RANGE,
         "QsysAlloc", "System number 4 is outside 0 to 3."},
        {[&] { QsysAlloc(app + 1000, Q_SYSTEM_SIMULATED, 0, Q_DEFAULT, &s); }, bad, "QsysAlloc",
         "is not the allocated application."},
        {[&] { QappAlloc(QOR_TEXT(""), &s); }, Q_ERR_ALLOCATION, "QappAlloc",
         "An application is already allocated."},
        {[&] { QdigAlloc(sys, 4, "", Q_DEFAULT, &s); }, Q_ERR_OUT_OF_RANGE, "QdigAlloc",
         "Device number 4 is outside 0 to 3."},
    });
    EXPECT_EQ(v, 77) << "a failure leaves the output alone";
    EXPECT_EQ(s, 55) << "nothing allocated";
    for (On o : {On::Sys, On::Dig, On::Seq})
        EXPECT_EQ(get(o, Q_OWNER_SYSTEM), sys) << "the refused frees freed nothing";
    EXPECT_NO_ERROR();
}

TEST_F(Api, SystemsDigitizersAndSequencesByNumber) {
    QOR_ID s = 0;
    char serial[16] = {};
    QsysAlloc(app, Q_SYSTEM_SIMULATED, 3, Q_DEFAULT, &s);
    QsysInquire(s, Q_SYS_SERIAL_NUMBER, serial);
    EXPECT_STREQ(serial, "QS4-104203") << "system number 3";
    QsysFree(s);

    QOR_ID second = 0, generic = 0;
    QdigAlloc(sys, 3, QOR_TEXT("RS170"), Q_DEFAULT, &second);
    QseqAlloc(sys, Q_DEFAULT, 0, Q_DEFAULT, &generic);
    auto width = [](QOR_ID d) {
        return GenApi::CIntegerPtr(
            reinterpret_cast<GenApi::INodeMap*>(QdigInquire(d, Q_GC_NODE_MAP, nullptr))
                ->GetNode("Width"));
    };
    width(dig)->SetValue(640);
    EXPECT_EQ(width(second)->GetValue(), 1280) << "a camera each";
    EXPECT_EQ(get(On::Dig, Q_DIG_GRAB_BUFFER_SIZE), 640 * 1024) << "its digitizer follows it";
    QdigInquire(second, Q_DIG_FORMAT, serial);
    EXPECT_STREQ(serial, "RS170");
    EXPECT_EQ(QseqInquire(generic, Q_SEQUENCE_FORMAT, nullptr) & Q_SEQUENCE_BOARD_SPECIFIC, 0);
    EXPECT_EQ(get(On::Sys, Q_SYS_DIGITIZER_COUNT) + get(On::Sys, Q_SYS_SEQUENCE_COUNT), 4);
    EXPECT_NO_ERROR();
    QsysFree(sys); // takes its digitizers and sequences along
    sys = 0;
    EXPECT_EQ(QobjInquire(dig, Q_OBJECT_TYPE, nullptr) + QobjInquire(seq, Q_OBJECT_TYPE, nullptr),
              0);
    EXPECT_EQ(get(On::App, Q_APP_OBJECT_COUNT), 1);
}
