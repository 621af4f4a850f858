// Feature access through the C API: the digitizer's camera with every data
// type, and the system's own description over the library's port.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "qorvis.h"
#include "qorvis_api_support.h"

namespace {

using namespace qorvis_test;

class Features : public QorvisTest {
protected:
    int64_t digInt(const char* name) {
        QOR_INT64 v = -1;
        QdigInquireFeature(dig, Q_FEATURE_VALUE, name, Q_TYPE_INT64, &v);
        return v;
    }
    std::string digText(const char* name) {
        QOR_INT size = 0;
        QdigInquireFeature(dig, Q_FEATURE_VALUE + Q_STRING_SIZE, name, Q_TYPE_QOR_INT, &size);
        if (size <= 0) return "<no size>";
        std::string text(static_cast<std::size_t>(size), '?');
        QdigInquireFeature(dig, Q_FEATURE_VALUE, name, Q_TYPE_STRING, text.data());
        EXPECT_EQ(text.back(), '\0');
        text.pop_back();
        return text;
    }
    int64_t sysInt(const char* name) {
        QOR_INT64 v = -1;
        QsysInquireFeature(sys, Q_FEATURE_VALUE, name, Q_TYPE_INT64, &v);
        return v;
    }
};

TEST_F(Features, CameraIntegersEnumerationsAndBooleans) {
    EXPECT_EQ(digInt("Width"), 1280);
    QOR_INT64 width = 800;
    QdigControlFeature(dig, Q_FEATURE_VALUE, "Width", Q_TYPE_INT64, &width);
    EXPECT_EQ(digInt("Width"), 800);
    QOR_INT qorInt = 0;
    QdigInquireFeature(dig, Q_FEATURE_VALUE, "Height", Q_TYPE_QOR_INT, &qorInt);
    EXPECT_EQ(qorInt, 1024);
    // Enumerations: integer value and symbolic name.
    EXPECT_EQ(digInt("PixelFormat"), 0x01080001);
    EXPECT_EQ(digText("PixelFormat"), "Mono8");
    QdigControlFeature(dig, Q_FEATURE_VALUE, "AcquisitionMode", Q_TYPE_STRING, QOR_TEXT("SingleFrame"));
    EXPECT_EQ(digInt("AcquisitionMode"), 1);
    QOR_INT64 continuous = 0;
    QdigControlFeature(dig, Q_FEATURE_VALUE, "AcquisitionMode", Q_TYPE_INT64, &continuous);
    EXPECT_EQ(digText("AcquisitionMode"), "Continuous");
    // Booleans as QOR_BOOL and as 0/1 integers.
    QOR_BOOL reverse = Q_TRUE;
    QdigControlFeature(dig, Q_FEATURE_VALUE, "ReverseX", Q_TYPE_BOOLEAN, &reverse);
    reverse = Q_FALSE;
    QdigInquireFeature(dig, Q_FEATURE_VALUE, "ReverseX", Q_TYPE_BOOLEAN, &reverse);
    EXPECT_EQ(reverse, Q_TRUE);
    EXPECT_EQ(digInt("ReverseX"), 1);
    QOR_INT64 off = 0;
    QdigControlFeature(dig, Q_FEATURE_VALUE, "ReverseX", Q_TYPE_INT64, &off);
    EXPECT_EQ(digInt("ReverseX"), 0);
    EXPECT_NO_PENDING_ERROR();
    // The digitizer's own settings follow the camera.
    EXPECT_EQ(inquireDig(dig, Q_DIG_SIZE_X), 800);
}

TEST_F(Features, CameraFloatsStringsAndRegisters) {
    double gain = 0;
    QdigControlFeature(dig, Q_FEATURE_VALUE, "GainSelector", Q_TYPE_STRING, QOR_TEXT("AnalogAll"));
    QdigInquireFeature(dig, Q_FEATURE_VALUE, "Gain", Q_TYPE_DOUBLE, &gain);
    EXPECT_DOUBLE_EQ(gain, 6.0);
    double exposure = 2500.0;
    QdigControlFeature(dig, Q_FEATURE_VALUE, "ExposureTime", Q_TYPE_DOUBLE, &exposure);
    exposure = 0;
    QdigInquireFeature(dig, Q_FEATURE_VALUE, "ExposureTime", Q_TYPE_DOUBLE, &exposure);
    EXPECT_DOUBLE_EQ(exposure, 2500.0);

    EXPECT_EQ(digText("DeviceVendorName"), "Torvex");
    EXPECT_EQ(digText("DeviceUserID"), "");
    QdigControlFeature(dig, Q_FEATURE_VALUE, "DeviceUserID", Q_TYPE_STRING, QOR_TEXT("bench 2"));
    EXPECT_EQ(digText("DeviceUserID"), "bench 2");

    QOR_INT size = 0;
    QdigInquireFeature(dig, Q_FEATURE_SIZE, "LUTValueAll", Q_TYPE_QOR_INT, &size);
    ASSERT_EQ(size, 256);
    std::vector<QOR_UINT8> lut(256);
    QdigInquireFeature(dig, Q_FEATURE_VALUE, "LUTValueAll", Q_TYPE_UINT8, lut.data());
    EXPECT_EQ(lut[0], 0);
    EXPECT_EQ(lut[200], 200) << "identity at power-on";
    for (std::size_t i = 0; i < lut.size(); ++i) lut[i] = static_cast<QOR_UINT8>(255 - i);
    QdigControlFeature(dig, Q_FEATURE_VALUE, "LUTValueAll", Q_TYPE_UINT8, lut.data());
    QOR_INT64 index = 10;
    QdigControlFeature(dig, Q_FEATURE_VALUE, "LUTIndex", Q_TYPE_INT64, &index);
    EXPECT_EQ(digInt("LUTValue"), 245);
    EXPECT_NO_PENDING_ERROR();
}

TEST_F(Features, CommandsExecuteAndFrameCounterFollowsTheAcquisition) {
    EXPECT_EQ(inquireDig(dig, Q_DIG_FRAME_COUNTER), 0);
    QdigControlFeature(dig, Q_FEATURE_EXECUTE, "AcquisitionStart", Q_DEFAULT, Q_NULL);
    EXPECT_NO_PENDING_ERROR();
    // The start completes 300 ms later: the digitizer says commands are asynchronous.
    EXPECT_EQ(inquireDig(dig, Q_GC_COMMAND_COMPLETION), Q_GC_COMMAND_ASYNCHRONOUS);
    QOR_BOOL acquiring = Q_TRUE;
    QdigInquireFeature(dig, Q_FEATURE_VALUE, "AcquisitionStatus", Q_TYPE_BOOLEAN, &acquiring);
    EXPECT_EQ(acquiring, Q_FALSE);
    QappSleep(0.45);
    QdigInquireFeature(dig, Q_FEATURE_VALUE, "AcquisitionStatus", Q_TYPE_BOOLEAN, &acquiring);
    EXPECT_EQ(acquiring, Q_TRUE);
    // 30 frames/s for about 0.15 s.
    int64_t frames = inquireDig(dig, Q_DIG_FRAME_COUNTER);
    EXPECT_GE(frames, 2);
    EXPECT_LE(frames, 15);
    QdigControlFeature(dig, Q_FEATURE_EXECUTE, "AcquisitionStop", Q_DEFAULT, Q_NULL);
    int64_t stopped = inquireDig(dig, Q_DIG_FRAME_COUNTER);
    QappSleep(0.1);
    EXPECT_EQ(inquireDig(dig, Q_DIG_FRAME_COUNTER), stopped) << "no frames arrive after the stop";
    EXPECT_NO_PENDING_ERROR();
}

TEST_F(Features, FeatureFailuresBecomePendingErrors) {
    QOR_INT64 v = 5;
    QdigInquireFeature(dig, Q_FEATURE_VALUE, "NoSuchFeature", Q_TYPE_INT64, &v);
    EXPECT_PENDING_ERROR("QdigInquireFeature", Q_ERR_FEATURE, "Unknown feature.",
                         "The node map has no feature named \"NoSuchFeature\".");
    QdigInquireFeature(dig, Q_FEATURE_VALUE, "Width", Q_TYPE_DOUBLE, &v);
    EXPECT_PENDING_ERROR("QdigInquireFeature", Q_ERR_FEATURE, "Invalid data type.",
                         "Width is an integer feature; Q_TYPE_DOUBLE does not apply.");
    QdigControlFeature(dig, Q_FEATURE_EXECUTE, "Width", Q_DEFAULT, Q_NULL);
    EXPECT_PENDING_ERROR("QdigControlFeature", Q_ERR_FEATURE, "Invalid data type.",
                         "Width is an integer feature, not a command.");
    QdigControlFeature(dig, Q_FEATURE_VALUE, "PixelFormat", Q_TYPE_STRING, QOR_TEXT("Mono99"));
    EXPECT_PENDING_ERROR("QdigControlFeature", Q_ERR_FEATURE, "Unknown enumeration entry.",
                         "PixelFormat has no entry named \"Mono99\".");
    QOR_INT64 two = 2;
    QdigControlFeature(dig, Q_FEATURE_VALUE, "ReverseX", Q_TYPE_INT64, &two);
    EXPECT_PENDING_ERROR("QdigControlFeature", Q_ERR_OUT_OF_RANGE, "Value 2 is not one of 0, 1.");
    QdigInquireFeature(dig, Q_FEATURE_SIZE, "Width", Q_TYPE_QOR_INT, &v);
    EXPECT_PENDING_ERROR("QdigInquireFeature", Q_ERR_FEATURE, "Invalid data type.");
    QdigInquireFeature(dig, Q_FEATURE_VALUE, "Width", Q_TYPE_INT64, nullptr);
    EXPECT_PENDING_ERROR("QdigInquireFeature", Q_ERR_INVALID_PARAMETER, "Invalid user variable pointer.");
    QdigInquireFeature(dig, Q_FEATURE_VALUE, nullptr, Q_TYPE_INT64, &v);
    EXPECT_PENDING_ERROR("QdigInquireFeature", Q_ERR_INVALID_PARAMETER, "Invalid feature name.");
    QdigInquireFeature(dig, 0x77, "Width", Q_TYPE_INT64, &v);
    EXPECT_PENDING_ERROR("QdigInquireFeature", Q_ERR_INVALID_PARAMETER, "Invalid inquire type.");
    QdigControlFeature(dig, 0x77, "Width", Q_TYPE_INT64, &v);
    EXPECT_PENDING_ERROR("QdigControlFeature", Q_ERR_INVALID_PARAMETER, "Invalid control flag.");
    EXPECT_EQ(v, 5) << "failures leave the variable alone";

    // GenICam exceptions arrive with the engine's description.
    QOR_INT64 tooWide = 5000;
    QdigControlFeature(dig, Q_FEATURE_VALUE, "Width", Q_TYPE_INT64, &tooWide);
    PendingError e = pendingError();
    EXPECT_EQ(e.code, Q_ERR_FEATURE);
    EXPECT_EQ(e.function, "QdigControlFeature");
    ASSERT_EQ(e.messages.size(), 1u);
    EXPECT_NE(e.messages[0].find("Width"), std::string::npos) << e.messages[0];
    resetError();
    QOR_INT64 written = 1;
    QdigInquireFeature(dig, Q_FEATURE_VALUE, "GevPrimaryApplicationSwitchoverKey", Q_TYPE_INT64, &written);
    EXPECT_EQ(pendingError().code, Q_ERR_FEATURE) << "a write-only feature does not read";
    resetError();
    QdigInquireFeature(sys, Q_FEATURE_VALUE, "Width", Q_TYPE_INT64, &v);
    EXPECT_PENDING_ERROR("QdigInquireFeature", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");
}

TEST_F(Features, TheSystemsOwnDescription) {
    QOR_INT size = 0;
    QsysInquireFeature(sys, Q_FEATURE_VALUE + Q_STRING_SIZE, "BoardName", Q_TYPE_QOR_INT, &size);
    std::string name(static_cast<std::size_t>(size), '?');
    QsysInquireFeature(sys, Q_FEATURE_VALUE, "BoardName", Q_TYPE_STRING, name.data());
    EXPECT_STREQ(name.c_str(), "Qorvis QSIM-4 simulated frame grabber");
    EXPECT_EQ(sysInt("SystemType"), Q_SYSTEM_TYPE_SIMULATED);
    EXPECT_EQ(sysInt("DigitizerCount"), 1);
    EXPECT_EQ(sysInt("MemorySize"), int64_t{4} << 30);
    double temperature = 0;
    QsysInquireFeature(sys, Q_FEATURE_VALUE, "BoardTemperature", Q_TYPE_DOUBLE, &temperature);
    EXPECT_NEAR(temperature, static_cast<double>(inquireSys(sys, Q_SYS_TEMPERATURE)) / 10.0, 0.15);

    // Writes reach the system's control types.
    QOR_INT64 timeout = 250;
    QsysControlFeature(sys, Q_FEATURE_VALUE, "InterruptTimeout", Q_TYPE_INT64, &timeout);
    EXPECT_EQ(inquireSys(sys, Q_SYS_INTERRUPT_TIMEOUT), 250);
    QsysControlFeature(sys, Q_FEATURE_VALUE, "FanSpeed", Q_TYPE_STRING, QOR_TEXT("Low"));
    EXPECT_EQ(inquireSys(sys, Q_SYS_FAN_SPEED), 30);
    QsysControl(sys, Q_SYS_FAN_SPEED, Q_DEFAULT);
    QsysInquireFeature(sys, Q_FEATURE_VALUE + Q_STRING_SIZE, "FanSpeed", Q_TYPE_QOR_INT, &size);
    EXPECT_EQ(size, 10) << "\"Automatic\" and its terminator";
    QsysControlFeature(sys, Q_FEATURE_VALUE, "UserLabel", Q_TYPE_STRING, QOR_TEXT("cell 3"));
    EXPECT_EQ(inquireText(QsysInquire, sys, Q_SYS_USER_LABEL), "cell 3");
    double limit = 72.5;
    QsysControlFeature(sys, Q_FEATURE_VALUE, "TemperatureLimit", Q_TYPE_DOUBLE, &limit);
    EXPECT_EQ(inquireSys(sys, Q_SYS_TEMPERATURE_LIMIT), 725);
    QOR_BOOL polling = Q_TRUE;
    QsysControlFeature(sys, Q_FEATURE_VALUE, "PollingEnabled", Q_TYPE_BOOLEAN, &polling);
    EXPECT_EQ(inquireSys(sys, Q_GC_POLLING), Q_TRUE);
    QsysControlFeature(sys, Q_FEATURE_EXECUTE, "TimestampReset", Q_DEFAULT, Q_NULL);
    EXPECT_LT(sysInt("Timestamp"), 1000000000);
    EXPECT_NO_PENDING_ERROR();

    // Registers of 8 bytes, little-endian; the generic identifier and probes.
    QsysInquireFeature(sys, Q_FEATURE_SIZE, "TimestampRaw", Q_TYPE_QOR_INT, &size);
    EXPECT_EQ(size, 8);
    QOR_UINT8 raw[8] = {};
    QsysInquireFeature(sys, Q_FEATURE_VALUE, "TimestampRaw", Q_TYPE_UINT8, raw);
    EXPECT_NE(std::memcmp(raw, "\0\0\0\0\0\0\0\0", 8), 0);
    EXPECT_EQ(raw[7], 0) << "little-endian: the high byte of a small value";
    QOR_INT64 generic = 0;
    QobjInquire(sys, Q_OBJECT_GENERIC, &generic);
    EXPECT_EQ(sysInt("ObjectIdentifier"), generic);
    EXPECT_EQ(sysInt("OwnerSystem"), sys);
    EXPECT_EQ(sysInt("WatchdogTimeoutAvailable"), 1);
    EXPECT_EQ(sysInt("ExternalPowerVoltageAvailable"), 0);
    EXPECT_NO_PENDING_ERROR();

    // The library's own refusals come back through the engine.
    QOR_INT64 tooLong = 70000;
    QsysControlFeature(sys, Q_FEATURE_VALUE, "InterruptTimeout", Q_TYPE_INT64, &tooLong);
    EXPECT_EQ(pendingError().function, "QsysControlFeature");
    resetError();
    QOR_INT64 quota = (int64_t{1} << 20) + 1;
    QsysControlFeature(sys, Q_FEATURE_VALUE, "HostBufferQuotaReg", Q_TYPE_INT64, &quota);
    EXPECT_EQ(inquireSys(sys, Q_SYS_HOST_BUFFER_QUOTA), quota) << "the register bypasses the feature's increment";
    QOR_INT64 fanSpeed = 45;
    QsysControlFeature(sys, Q_FEATURE_VALUE, "FanSpeedReg", Q_TYPE_INT64, &fanSpeed);
    EXPECT_PENDING_ERROR("QsysControlFeature", Q_ERR_FEATURE, "Value 45 is not one of 0, 30, 60, 100.");
    QOR_INT64 voltage = 0;
    QsysInquireFeature(sys, Q_FEATURE_VALUE, "ExternalPowerVoltage", Q_TYPE_INT64, &voltage);
    EXPECT_EQ(pendingError().code, Q_ERR_FEATURE) << "not available on this board";
    resetError();
    // The node map that QsysInquireFeature uses is the one Q_GC_NODE_MAP gives.
    EXPECT_NE(inquireSys(sys, Q_GC_NODE_MAP), 0);
}

} // namespace
