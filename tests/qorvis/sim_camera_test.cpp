// The simulated camera through the GenICam engine: the values and behaviour
// of its device model, its register space, time, user sets and files.
#include <numeric>
#include <sstream>

#include "qorvis_support.h"
#include "sim/file_store.h"
#include "sim/register_map.h"
#include "sim/sim_camera.h"

using namespace GenApi;
using namespace std::chrono_literals;
namespace reg = qorvis::sim::reg;
using Bytes = std::vector<uint8_t>;

namespace {

class SimCamera : public ::testing::Test {
protected:
    qorvis::sim::ManualClock clock;
    qorvis::sim::ConnectedSimulatedCamera camera{clock.clock()};

    INode* node(const char* name) { return camera.map._GetNode(name); }
    EAccessMode access(const char* name) { return node(name)->GetAccessMode(); }
    std::string get(const char* name) { return std::string(CValuePtr(node(name))->ToString()); }
    void set(const char* name, const char* value) { CValuePtr(node(name))->FromString(value); }
    // Steps separated by "; ": "Feature=value" writes, "Feature?value" expects
    // that value, "Command!" executes.
    void run(const std::string& script) {
        std::istringstream steps(script);
        for (std::string step; std::getline(steps, step, ';');) {
            step.erase(0, step.find_first_not_of(' '));
            const size_t at = step.find_first_of("=?!");
            const std::string feature = step.substr(0, at), value = step.substr(at + 1);
            if (step[at] == '!') CCommandPtr(node(feature.c_str()))->Execute();
            if (step[at] == '=') set(feature.c_str(), value.c_str());
            if (step[at] == '?') {
                EXPECT_EQ(get(feature.c_str()), value) << feature;
            }
        }
    }
    // A big-endian register as the device holds it.
    uint64_t raw(uint64_t address, int length = 4) {
        uint8_t b[8] = {};
        camera.device.Read(b, static_cast<int64_t>(address), length);
        uint64_t v = 0;
        for (int i = 0; i < length; ++i)
            v = v << 8 | b[i];
        return v;
    }
    std::string file(const char* name) {
        auto bytes = camera.device.fileContents(name);
        return std::string(bytes->begin(), bytes->end());
    }
    // Steps, then one operation of the file access protocol; whether the device reports success.
    bool op(const std::string& steps) {
        run(steps + "; FileOperationExecute!");
        return get("FileOperationStatus") == "Success";
    }
    Bytes buffer(size_t n) { // its first bytes
        Bytes bytes(1024);
        CRegisterPtr(node("FileAccessBuffer"))->Get(bytes.data(), 1024);
        return Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(n));
    }
};

} // namespace

TEST_F(SimCamera, PowerOnValuesAndWritesInTheRegistersByteOrder) {
    run("LineSelector?Line0; LineStatus?true; DeviceVendorName?Torvex; "
        "DeviceModelName?TVX1280M; DeviceSerialNumber?TVX21A0042; "
        "DeviceFirmwareBuildId?0x5A3C19F2; GevCurrentIPAddress?192.168.0.1; "
        "GevCurrentSubnetMask?255.255.255.0; GevCurrentDefaultGateway?192.168.0.254; "
        "GevMACAddress?02:54:56:58:00:2A; GevDeviceModeIsBigEndian?true; DeviceStatusReady?1; "
        "PixelFormat?Mono8; PayloadSize?1310720; ExposureTime?10000; BlackLevel?-2.5; Gamma?1; "
        "Gain?0; AcquisitionFrameRate?30.000; SensorLinePeriod?4.20e-06; "
        "DeviceTemperature?31.00; DeviceLinkThroughputLimitMode?Off; LUTEnable?false; "
        "TorvexScratch?0xC0FFEE42; TorvexScratch=16909060; Width=640; Height=480; OffsetY=272; "
        "HeightMax?752; PixelFormat=Mono12; PayloadSize?614400; ExposureTime=50000; "
        "AcquisitionResultingFrameRate?20; ExposureTime=9999999.5; Gamma=0.5; "
        "GevPersistentIPAddress=10.0.0.7; ReverseY=1; ReverseX?false; "
        "GevPrimaryApplicationSwitchoverKey=4660; GevCurrentIPConfigurationDHCP=0; "
        "SensorShutterMode=Rolling; SensorShutterMode?Rolling; "
        "DeviceLinkThroughputLimitMode=On; DeviceLinkThroughputLimit=40000000; "
        "DeviceUserID=bench-7; GainSelector=AnalogAll; Gain?6; GainSelector=DigitalAll; "
        "Gain=12.5; GainSelector=All; Gain?0; GainSelector=DigitalAll; Gain?12.5; "
        "LineSelector=Line1; LineSource?ExposureActive; LineStatus?false; LineInverter=1; "
        "LineStatus?true; LineSelector=Line3; LineSource?UserOutput0; FileSelector=LUTFile; "
        "FileSize?256");
    // What the device holds: little-endian registers least significant byte first.
    const std::pair<uint64_t, uint64_t> held[] = {
        {reg::kScratch, 0x04030201},      {reg::kGamma, 0x0000003F},
        {reg::kExposureTicks, 99999995},  {reg::kPixelFormat, 0x01100005},
        {reg::kPersistentIp, 0x0A000007}, {reg::kImageFlags, 2},
        {reg::kSwitchoverKey, 0},         {reg::kIpConfig, 4},
        {reg::kThroughputLimit, 40000}};
    for (const auto& [address, value] : held)
        EXPECT_EQ(raw(address), value) << std::hex << address;
    camera.map._Ptr()->InvalidateNodes();
    run("DeviceUserID?bench-7");
}

TEST_F(SimCamera, ReadOnlyRegistersIgnoreWritesAlsoInsideAWiderWrite) {
    for (const auto& [address, length] :
         {std::pair{reg::kVersion, 4},    {reg::kDeviceMode, 4},
          {reg::kMacAddress, 8},          {reg::kCurrentIp, 4},
          {reg::kCurrentSubnet, 4},       {reg::kCurrentGateway, 4},
          {reg::kVendorName, 32},         {reg::kModelName, 32},
          {reg::kDeviceVersion, 32},      {reg::kManufacturerInfo, 48},
          {reg::kSerialNumber, 16},       {reg::kTimestampFrequency, 8},
          {reg::kTimestampLatched, 8},    {reg::kSensorWidth, 4},
          {reg::kSensorHeight, 4},        {reg::kWidthMin, 4},
          {reg::kHeightMin, 4},           {reg::kLinePeriod, 8},
          {reg::kFirmwareBuildId, 4},     {reg::kFirmwareVersion, 32},
          {reg::kFileOperationStatus, 4}, {reg::kFileOperationResult, 4},
          {reg::kDeviceStatus, 4},        {reg::kFileSizes, 16}}) {
        Bytes before(48), after(48), changed(48, 0x5A);
        camera.device.Read(before.data(), static_cast<int64_t>(address), length);
        camera.device.Write(changed.data(), static_cast<int64_t>(address), length);
        camera.device.Read(after.data(), static_cast<int64_t>(address), length);
        EXPECT_EQ(after, before) << std::hex << address;
    }
    // A block from SensorWidth to Height: only the writable registers take it.
    Bytes block(reg::kHeight + 4 - reg::kSensorWidth, 0);
    block.back() = 100;
    camera.device.Write(block.data(), reg::kSensorWidth, static_cast<int64_t>(block.size()));
    EXPECT_EQ(raw(reg::kSensorWidth, 8) + raw(reg::kWidth) + raw(reg::kHeight),
              ((1280ull << 32) | 1024) + 100);
    // One that begins before a read-only register: the bytes before it are taken.
    const Bytes lead = {1, 2, 3, 4, 9, 9, 9, 9};
    Bytes back(8);
    camera.device.Write(lead.data(), reg::kSensorWidth - 4, 8);
    camera.device.Read(back.data(), reg::kSensorWidth - 4, 8);
    EXPECT_EQ(Bytes(back.begin(), back.begin() + 4), Bytes(lead.begin(), lead.begin() + 4));
    uint8_t byte = 7;
    EXPECT_THROW(camera.device.Read(&byte, 0, -1), GenICam::InvalidArgumentException);
    EXPECT_THROW(camera.device.Write(&byte, -1, 2), GenICam::InvalidArgumentException);
}

TEST_F(SimCamera, TemperatureFramesLatchAndLinesFollowTheClock) {
    const std::string cold = get("DeviceTemperature");
    for (const auto& [wait, steps] :
         {std::pair<std::chrono::milliseconds, const char*>{10s,
                                                            "FrameCounter?300; DeviceUptime?10"},
          {2500ms, "FrameCounter?375; AcquisitionFrameRate=10"},
          {1s, "FrameCounter?385"},
          {0s, "ExposureTime=200000"}, // 5 frames per second at most
          {2s, "FrameCounter?395; TriggerMode=On"},
          {5s, "FrameCounter?395; TriggerSoftware!; TriggerSoftware!; FrameCounter?397"},
          {0s, "TimestampLatch!; TimestampLatchValue?20500000000"},
          {1ms, "TimestampLatch!; TimestampLatchValue?20501000000"},
          {0s, "LineSelector=Line2; LineStatus?false"}, // a 1 Hz square wave
          {500ms, "LineStatus?true"}}) {
        clock.advance(wait);
        run(steps);
    }
    EXPECT_EQ(raw(reg::kTriggerSoftware), 0u) << "the device clears the command bit";
    clock.advance(20min);
    EXPECT_NE(get("DeviceTemperature"), cold);
    EXPECT_NEAR(CFloatPtr(node("DeviceTemperature"))->GetValue(), 43, 3) << "warmed up";
}

TEST_F(SimCamera, AcquisitionStartCompletesAfterADelayAndOnlyAcquiredFramesCount) {
    CCommandPtr start = node("AcquisitionStart");
    clock.advance(10s); // the sensor runs before any acquisition: nothing received
    start->Execute();
    run("DeviceStatusStartPending?1; LineSelector=Line1");
    EXPECT_EQ(access("Width"), RO) << "the image format is locked while the start is pending";
    clock.advance(299ms);
    EXPECT_FALSE(start->IsDone());
    clock.advance(1ms);
    EXPECT_TRUE(start->IsDone());
    run("AcquisitionStatus?true; LineStatus?true"); // ExposureActive
    clock.advance(1s);
    EXPECT_EQ(camera.device.acquiredFrames(), 30u);
    run("AcquisitionStop!; AcquisitionStatus?false; LineStatus?false");
    EXPECT_EQ(access("Width"), RW);
    clock.advance(5s);
    start->Execute(); // a second acquisition adds to the first
    clock.advance(800ms);
    EXPECT_EQ(camera.device.acquiredFrames(), 45u);
    run("AcquisitionStop!; AcquisitionStart!; AcquisitionStop!");
    clock.advance(1s);
    EXPECT_FALSE(camera.device.acquisitionActive()) << "stopping a pending start cancels it";
    EXPECT_NE(file("DeviceLog").find("] acquisition stopped\n"), std::string::npos);
    run("DeviceReset!");
    EXPECT_EQ(camera.device.acquiredFrames(), 0u) << "a reset restarts the count";
}

TEST_F(SimCamera, UserSetsSaveLoadAndSurviveAReset) {
    EXPECT_NE(file("UserSet1").find("Width=640\n"), std::string::npos);
    run("UserSetSelector=UserSet1; UserSetLoad!; Width?640; Height?480; OffsetX?320; OffsetY?272; "
        "ExposureTime?5000; Gain?3; "
        // The current state saved as UserSet2, the factory state, and UserSet2 again.
        "Width=800; GainSelector=DigitalAll; Gain=4.25; LineSelector=Line2; LineInverter=1; "
        "AcquisitionFrameRate=12.5; DeviceLinkThroughputLimitMode=On; UserSetSelector=UserSet2; "
        "UserSetSave!; UserSetSelector=Default; UserSetLoad!; Width?1280; OffsetX?0; Gain?1.5; "
        "LineInverter?false; AcquisitionFrameRate?30.000; DeviceLinkThroughputLimitMode?Off; "
        "UserSetSelector=UserSet2; UserSetLoad!; Width?800; OffsetX?320; Gain?4.25; "
        "LineInverter?true; "
        "AcquisitionFrameRate?12.500; DeviceLinkThroughputLimitMode?On; "
        // A reset loads UserSetDefault over the power-on values, keeping the user ID.
        "DeviceUserID=line-4; UserSetDefault=UserSet2; Width=96; TLParamsLocked=1; DeviceReset!");
    camera.map._Ptr()->InvalidateNodes(); // as a host does when the device comes back
    run("Width?800; TLParamsLocked?0; UserSetDefault?UserSet2; DeviceUserID?line-4; "
        "GainSelector?All");
    // A user-set file edited by hand: unknown, negative and malformed lines are skipped.
    const std::string edited =
        "# edited\n Width = 320 \r\nNoSuchSetting=1\nHeight=abc\nOffsetY=-2\n"
        "OffsetX=0x10 # hex\nGain.All=2.5\nPixelFormat=0x1100005";
    camera.device.setFileContents("UserSet1", Bytes(edited.begin(), edited.end()));
    run("UserSetSelector=UserSet1; UserSetLoad!; Width?320; Height?1024; OffsetY?0; "
        "OffsetX?16; Gain?2.5; PixelFormat?Mono12");
}

TEST_F(SimCamera, FileOperationsAtTheEdgesAndThoseNotAllowed) {
    Bytes data(2500);
    std::iota(data.begin(), data.end(), uint8_t{1});
    camera.device.setFileContents("UserSet2", data);
    const std::string set2 = "FileSelector=UserSet2; FileOperationSelector=";
    for (const char* what : {"Read", "Write", "Close"})
        EXPECT_FALSE(op(set2 + what)) << what << " on a closed file";
    ASSERT_TRUE(op(set2 + "Open; FileOpenMode=Read"));
    EXPECT_FALSE(op(set2 + "Open")) << "already open";
    ASSERT_TRUE(op(set2 + "Read; FileAccessOffset=2400; FileAccessLength=1000"));
    run("FileOperationResult?100"); // what is left
    EXPECT_EQ(buffer(100), Bytes(data.begin() + 2400, data.end()));
    EXPECT_FALSE(op(set2 + "Write; FileAccessOffset=0; FileAccessLength=4")) << "open for reading";
    // ReadWrite keeps the content and lets it grow past 16 MiB, up to 64 MiB.
    ASSERT_TRUE(op(set2 + "Close") && op(set2 + "Open; FileOpenMode=ReadWrite"));
    ASSERT_TRUE(op(set2 + "Write; FileAccessOffset=16777216; FileAccessLength=1024"));
    EXPECT_FALSE(op(set2 + "Write; FileAccessOffset=67108860; FileAccessLength=8"));
    run("FileSize?16778240");
    ASSERT_TRUE(op(set2 + "Read; FileAccessOffset=100; FileAccessLength=100"));
    EXPECT_EQ(buffer(100), Bytes(data.begin() + 100, data.begin() + 200));
    const size_t logSize = camera.device.fileContents("DeviceLog")->size();
    EXPECT_TRUE(op(set2 + "Close") && op(set2 + "Delete"));
    EXPECT_GT(camera.device.fileContents("DeviceLog")->size(), logSize)
        << "the log notes the close";
    run("FileSize?0");
    // Opening for Write discards the content.
    EXPECT_TRUE(op("FileSelector=UserSet1; FileOpenMode=Write; FileOperationSelector=Open"));
    run("FileSize?0");
    // The log is read-only, also when its hidden Write modes are forced.
    set("FileSelector", "DeviceLog");
    CEnumerationPtr mode = node("FileOpenMode");
    EXPECT_EQ(CEnumEntryPtr(mode->GetEntryByName("Write"))->GetAccessMode(), NA);
    for (int64_t forced : {1, 2}) {
        mode->SetIntValue(forced, false);
        EXPECT_FALSE(op("FileOperationSelector=Open")) << forced;
    }
    EXPECT_FALSE(op("FileOperationSelector=Delete"));
    EXPECT_TRUE(op("FileOpenMode=Read; FileOperationSelector=Open"));
    EXPECT_FALSE(op("FileOperationSelector=Write; FileAccessOffset=0; FileAccessLength=4"));
    const std::string log = file("DeviceLog");
    EXPECT_TRUE(log.starts_with("[     0.000] Torvex TVX1280M, serial TVX21A0042")) << log;
    EXPECT_NE(log.find("] ready\n[     0.000] file UserSet2 written, 16778240 bytes\n"),
              std::string::npos)
        << log;
    EXPECT_NE(log.find("] file UserSet2 deleted\n"), std::string::npos) << log;
}

TEST(FileStore, TheLogKeepsItsNewestWholeLines) {
    qorvis::sim::FileStore store;
    const size_t log = store.add("log", {}, true);
    for (const auto& [appended, kept] : {std::pair{"one\n", "one\n"},
                                         {"two\n", "one\ntwo\n"},
                                         {"xyz\n", "two\nxyz\n"},
                                         {"a very long line\n", ""},
                                         {"x\n", "x\n"}}) {
        store.appendText(log, appended, 10);
        EXPECT_EQ(std::string(store.contents(log).begin(), store.contents(log).end()), kept);
    }
}
