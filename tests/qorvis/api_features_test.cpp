// Feature access through the C API: the digitizer's camera, and the system's
// own description over the library's port; the embedded descriptions.
#include <bit>
#include <cctype>
#include <fstream>
#include <sstream>

#include "api/descriptions.h"
#include "qorvis_support.h"
#include "sim/sim_camera.h"

using namespace qorvis_test;

namespace {

class Features : public QorvisTest {
protected:
    // A feature of the system's (`S`) or the digitizer's map, as text in one data type.
    std::string read(char on, const char* name, int64_t type) {
        auto inquire = [&](int64_t what, int64_t as, void* out) {
            on == 'S' ? QsysInquireFeature(sys, what, name, as, out)
                      : QdigInquireFeature(dig, what, name, as, out);
        };
        QOR_INT64 size = 0, value = -1;
        std::ostringstream out;
        if (type != Q_TYPE_STRING) {
            inquire(Q_FEATURE_VALUE, type, &value);
            type == Q_TYPE_DOUBLE ? out << std::bit_cast<double>(value) : out << value;
            return out.str();
        }
        inquire(Q_FEATURE_VALUE + Q_STRING_SIZE, Q_TYPE_QOR_INT, &size);
        std::string text(static_cast<std::size_t>(std::max<QOR_INT64>(size, 1)), '?');
        inquire(Q_FEATURE_VALUE, type, text.data());
        return text.substr(0, text.size() - 1);
    }
    void write(char on, const char* name, int64_t type, const std::string& value) {
        const QOR_INT64 number = type == Q_TYPE_DOUBLE ? std::bit_cast<QOR_INT64>(std::stod(value))
                                 : std::isdigit(value[0]) ? std::stoll(value)
                                                          : 0;
        const void* in = type == Q_TYPE_STRING ? (const void*)value.c_str() : &number;
        on == 'S' ? QsysControlFeature(sys, Q_FEATURE_VALUE, name, type, in)
                  : QdigControlFeature(dig, Q_FEATURE_VALUE, name, type, in);
    }
};

} // namespace

TEST_F(Features, EachDataTypeReadsAndWritesAndWritesReachTheControlTypes) {
    const int64_t INT = Q_TYPE_INT64, QINT = Q_TYPE_QOR_INT, DBL = Q_TYPE_DOUBLE,
                  STR = Q_TYPE_STRING, BOOL = Q_TYPE_BOOLEAN;
    // Map, feature, data type, value written ("" for none), value read, and
    // the control type that follows with its value.
    using Step = std::tuple<char, const char*, int64_t, const char*, std::string, int64_t, int64_t>;
    const Step steps[] = {
        {'D', "Width", INT, "800", "800", Q_DIG_SIZE_X, 800},
        {'D', "PixelFormat", STR, "Mono16", "Mono16", Q_DIG_SIZE_BIT, 16},
        {'D', "Height", QINT, "512", "512", Q_DIG_SIZE_Y, 512},
        {'D', "AcquisitionMode", INT, "0", "0", 0, 0},
        {'D', "AcquisitionMode", STR, "", "Continuous", 0, 0},
        {'D', "ReverseX", BOOL, "1", "1", 0, 0},
        {'D', "ReverseX", INT, "0", "0", 0, 0},
        {'D', "GainSelector", STR, "AnalogAll", "AnalogAll", 0, 0},
        {'D', "Gain", DBL, "", "6", 0, 0},
        {'D', "DeviceUserID", STR, "bench 2", "bench 2", 0, 0},
        {'S', "BoardName", STR, "", "Qorvis QSIM-4 simulated frame grabber", 0, 0},
        {'S', "OwnerSystem", INT, "", std::to_string(sys), 0, 0},
        {'S', "ObjectIdentifier", INT, "",
         std::to_string(QobjInquire(sys, Q_OBJECT_GENERIC, nullptr)), 0, 0},
        {'S', "ExternalPowerVoltageAvailable", INT, "", "0", 0, 0},
        {'S', "InterruptTimeout", INT, "250", "250", Q_SYS_INTERRUPT_TIMEOUT, 250},
        {'S', "FanSpeed", STR, "Low", "Low", Q_SYS_FAN_SPEED, 30},
        {'S', "WatchdogTimeout", STR, "Timeout1s", "Timeout1s", Q_SYS_WATCHDOG_TIMEOUT, 1000},
        {'S', "TemperatureLimit", DBL, "72.5", "72.5", Q_SYS_TEMPERATURE_LIMIT, 725},
        {'S', "PollingEnabled", BOOL, "1", "1", Q_GC_POLLING, Q_TRUE},
        // The register bypasses the feature's increment.
        {'S', "HostBufferQuotaReg", INT, "1048577", "1048577", Q_SYS_HOST_BUFFER_QUOTA, 1048577},
    };
    for (const auto& [on, feature, type, written, value, controlType, controlValue] : steps) {
        if (*written) write(on, feature, type, written);
        EXPECT_EQ(read(on, feature, type), value) << feature;
        EXPECT_EQ(controlType ? get(on == 'S' ? On::Sys : On::Dig, controlType) : 0, controlValue);
        EXPECT_NO_ERROR();
    }
    // The system's settings changed behind the node map's caches show at once.
    QsysControl(sys, Q_SYS_FAN_SPEED, Q_DEFAULT);
    EXPECT_EQ(read('S', "FanSpeed", STR), "Automatic");
    QsysControlFeature(sys, Q_FEATURE_EXECUTE, "TimestampReset", Q_DEFAULT, Q_NULL);
    EXPECT_LT(std::stoll(read('S', "Timestamp", INT)), 1000000000);
    // Registers: sizes and bytes, the system's in little-endian order.
    QOR_INT size = 0;
    QdigInquireFeature(dig, Q_FEATURE_SIZE, "LUTValueAll", Q_TYPE_QOR_INT, &size);
    std::vector<QOR_UINT8> lut(static_cast<size_t>(size), 7);
    QdigControlFeature(dig, Q_FEATURE_VALUE, "LUTValueAll", Q_TYPE_UINT8, lut.data());
    QdigInquireFeature(dig, Q_FEATURE_VALUE, "LUTValueAll", Q_TYPE_UINT8, lut.data());
    EXPECT_EQ(size, 256);
    EXPECT_EQ(read('D', "LUTValue", INT), "7");
    QOR_UINT8 raw[8] = {};
    QsysInquireFeature(sys, Q_FEATURE_VALUE, "TimestampRaw", Q_TYPE_UINT8, raw);
    EXPECT_NE(raw[0] | raw[1] | raw[2], 0);
    EXPECT_EQ(raw[7], 0) << "the high byte of a small value";
    EXPECT_NO_ERROR();
}

TEST_F(Features, FailuresBecomePendingErrors) {
    QOR_INT64 v = 5, tooWide = 5000, fan = 45;
    const QOR_INT64 F = Q_ERR_FEATURE, P = Q_ERR_INVALID_PARAMETER;
    const char *in = "QdigInquireFeature", *control = "QdigControlFeature";
    expectRefusals({
        {[&] { QdigInquireFeature(dig, Q_FEATURE_VALUE, "NoSuch", Q_TYPE_INT64, &v); }, F, in,
         "Unknown feature. The node map has no feature named \"NoSuch\"."},
        {[&] { QdigInquireFeature(dig, Q_FEATURE_VALUE, "Width", Q_TYPE_DOUBLE, &v); }, F, in,
         "Invalid data type. Width is an integer feature; Q_TYPE_DOUBLE does not apply."},
        {[&] { QdigControlFeature(dig, Q_FEATURE_EXECUTE, "Width", Q_DEFAULT, Q_NULL); }, F,
         control, "Width is an integer feature, not a command."},
        {[&] { QdigControlFeature(dig, Q_FEATURE_VALUE, "PixelFormat", Q_TYPE_STRING, "Mono99"); },
         F, control, "PixelFormat has no entry named \"Mono99\"."},
        {[&] { QdigInquireFeature(dig, Q_FEATURE_VALUE, "Width", Q_TYPE_INT64, nullptr); }, P, in,
         "Invalid user variable pointer."},
        {[&] { QdigInquireFeature(dig, Q_FEATURE_SIZE, "LUTValueAll", Q_TYPE_QOR_INT, nullptr); },
         P, in, "Invalid user variable pointer."},
        {[&] { QdigControlFeature(dig, Q_FEATURE_VALUE, "Width", Q_TYPE_INT64, &tooWide); }, F,
         control, "Width"}, // the engine's description
        {[&] { QsysControlFeature(sys, Q_FEATURE_VALUE, "FanSpeedReg", Q_TYPE_INT64, &fan); }, F,
         "QsysControlFeature",
         "Value 45 is not one of 0, 30, 60, 100."}, // the library's, through the engine
    });
    EXPECT_EQ(v, 5) << "failures leave the variable alone";
    EXPECT_EQ(get(On::Dig, Q_DIG_SIZE_X), 1280);
}

TEST(Descriptions, TheEmbeddedCopiesMatchTheFiles) {
    auto file = [](const std::string& path) {
        std::ostringstream s;
        s << std::ifstream(path, std::ios::binary).rdbuf();
        return s.str();
    };
    ASSERT_EQ(qorvis::api::embeddedDescriptions().size(), 5u);
    for (const qorvis::api::EmbeddedDescription& d : qorvis::api::embeddedDescriptions())
        EXPECT_EQ(d.xml, file(QORVIS_DATA_DIR "/" + std::string(d.fileName))) << d.fileName;
    EXPECT_EQ(qorvis::sim::SimulatedCamera::descriptionXml(), file(QORVIS_SIM_XML_PATH));
}
