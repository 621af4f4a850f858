// The simulated board's control types and objects. The tables follow the
// value classes a browser's port gives each number range (text, 64-bit,
// "default until set", "zero until set"): a type's number tells how its value
// travels, so each setting sits in the range of its kind.
#include "sim/sim_system.h"

#include <cctype>
#include <cmath>
#include <cstring>
#include <numbers>
#include <string>

#include "api/descriptions.h"
#include "api/errors.h"
#include "api/object_port.h"
#include "sim/register_map.h"
#include "sim/sim_camera.h"

namespace qorvis::sim {

using api::Access;
using api::ControlTable;
using api::ControlType;
using api::ValueKind;
using api::choiceType;
using api::computedTextType;
using api::computedType;
using api::constantType;
using api::rangedType;
using api::textType;

namespace {

constexpr int64_t kMiB = int64_t{1} << 20;
constexpr int64_t kDriverMemory = 64 * kMiB;
constexpr int64_t kGrabBuffersPerDigitizer = 4;

double secondsSince(std::chrono::steady_clock::time_point t) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t).count();
}

int64_t nanosecondsSince(std::chrono::steady_clock::time_point t) {
    return static_cast<int64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - t).count());
}

api::SystemObject& asSystem(api::Object& o) { return static_cast<api::SystemObject&>(o); }
api::DigitizerObject& asDigitizer(api::Object& o) { return static_cast<api::DigitizerObject&>(o); }
api::SequenceObject& asSequence(api::Object& o) { return static_cast<api::SequenceObject&>(o); }

// ---- the camera behind a digitizer, read as a frame grabber sees it

uint32_t cameraWord(api::DigitizerObject& d, uint64_t address) {
    uint8_t b[4] = {};
    d.camera->Read(b, static_cast<int64_t>(address), 4);
    return uint32_t{b[0]} << 24 | uint32_t{b[1]} << 16 | uint32_t{b[2]} << 8 | b[3];
}

std::string cameraText(api::DigitizerObject& d, uint64_t address, std::size_t length) {
    std::string text(length, '\0');
    d.camera->Read(text.data(), static_cast<int64_t>(address), static_cast<int64_t>(length));
    text.resize(strnlen(text.c_str(), length));
    return text;
}

// PFNC codes carry the bits a pixel occupies in bits 16 to 23.
int64_t cameraBitsPerPixel(api::DigitizerObject& d) { return (cameraWord(d, reg::kPixelFormat) >> 16) & 0xFF; }

int64_t grabBufferSize(api::DigitizerObject& d) {
    int64_t bytesPerPixel = (cameraBitsPerPixel(d) + 7) / 8;
    return int64_t{cameraWord(d, reg::kWidth)} * cameraWord(d, reg::kHeight) * bytesPerPixel;
}

int64_t sequenceBufferMemory(api::SequenceObject& s) {
    auto value = [&](int64_t type) { return api::integerValue(s, *s.table->find(type)); };
    return value(Q_SEQ_BUFFER_COUNT) * value(Q_SEQ_SIZE_X) * value(Q_SEQ_SIZE_Y) * (value(Q_SEQ_PIXEL_DEPTH) / 8);
}

int64_t freeMemory(api::SystemObject& system) {
    int64_t used = kDriverMemory;
    for (const auto& o : api::objectsOf(api::Kind::Digitizer, system.id))
        used += kGrabBuffersPerDigitizer * grabBufferSize(asDigitizer(*o));
    for (const auto& o : api::objectsOf(api::Kind::Sequence, system.id)) used += sequenceBufferMemory(asSequence(*o));
    return std::max<int64_t>(kMemorySize - used, 0);
}

// The board warms up from 36 °C towards 43.5 °C over a quarter of an hour,
// with a slow ripple from the fan regulation. In 0.1 °C.
int64_t boardTemperature(api::SystemObject& system) {
    double t = secondsSince(system.created);
    double celsius = 36.0 + 7.5 * (1.0 - std::exp(-t / 900.0)) + 0.4 * std::sin(2 * std::numbers::pi * t / 61.0);
    return std::lround(celsius * 10.0);
}

int64_t pointerValue(const void* p) { return static_cast<int64_t>(reinterpret_cast<uintptr_t>(p)); }

} // namespace

bool isSimulatedDescriptor(const char* descriptor) {
    return !descriptor || descriptor[0] == '\0' || std::strcmp(descriptor, "Q_SYSTEM_SIMULATED") == 0;
}

int64_t checkedNumber(int64_t number, int64_t count, std::string_view what) {
    if (number == Q_DEFAULT) return 0;
    if (number < 0 || number >= count) {
        std::string w(what);
        std::string capitalised = w;
        capitalised[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(capitalised[0])));
        api::fail(Q_ERR_OUT_OF_RANGE, "Invalid " + w + ".",
                  capitalised + " " + std::to_string(number) + " is outside 0 to " + std::to_string(count - 1) + ".");
    }
    return number;
}

const ControlTable& systemControlTypes() {
    static const ControlTable table("system", [] {
        std::vector<ControlType> t;
        // Zero until set: identity and counts.
        t.push_back(computedType(1049, "SystemNumber", [](api::Object& o) { return asSystem(o).number; }));
        t.push_back(computedType(Q_OWNER_SYSTEM, "OwnerSystem", [](api::Object& o) { return o.id; }));
        t.push_back(computedType(Q_SYS_DIGITIZER_COUNT, "DigitizerCount", [](api::Object& o) {
            return static_cast<int64_t>(api::objectsOf(api::Kind::Digitizer, o.id).size());
        }));
        t.push_back(constantType(Q_SYS_DIGITIZER_PORTS, "DigitizerPorts", kDeviceCount));
        t.push_back(computedType(Q_SYS_SEQUENCE_COUNT, "SequenceCount", [](api::Object& o) {
            return static_cast<int64_t>(api::objectsOf(api::Kind::Sequence, o.id).size());
        }));
        // Plain settings and status.
        t.push_back(constantType(Q_SYSTEM_TYPE, "SystemType", kSystemType));
        t.push_back(constantType(Q_SYSTEM_SUBTYPE, "SystemSubtype", 0));
        t.push_back(choiceType(Q_GC_POLLING, "Polling", Q_FALSE, {Q_FALSE, Q_TRUE}));
        t.push_back(api::actionType(Q_SYSTEM_ERROR_CLEAR, "ErrorClear", [](api::Object&, int64_t) { api::clearPendingError(); }));
        t.push_back(rangedType(Q_SYS_INTERRUPT_TIMEOUT, "InterruptTimeout", 1000, 1, 60000));
        t.push_back(computedType(Q_SYS_TEMPERATURE, "Temperature", [](api::Object& o) { return boardTemperature(asSystem(o)); }));
        t.push_back(rangedType(Q_SYS_TEMPERATURE_LIMIT, "TemperatureLimit", 850, 500, 1000));
        // Reads 0; 1 restarts the timestamp (a self-clearing command register).
        ControlType reset = api::choiceType(Q_SYS_TIMESTAMP_RESET, "TimestampReset", 0, {0, 1});
        reset.read = [](api::Object&) { return int64_t{0}; };
        reset.write = [](api::Object& o, int64_t v) {
            if (v == 1) asSystem(o).timestampOrigin = std::chrono::steady_clock::now();
        };
        t.push_back(std::move(reset));
        // The system's digitizers finish AcquisitionStart after it returns.
        t.push_back(constantType(Q_GC_COMMAND_COMPLETION, "CommandCompletion", Q_GC_COMMAND_ASYNCHRONOUS));
        t.push_back(computedType(Q_GC_NODE_MAP, "NodeMap", [](api::Object& o) {
            return pointerValue(asSystem(o).ownMap->_Ptr());
        }));
        // 64-bit values.
        t.push_back(computedType(Q_SYS_UPTIME, "Uptime", [](api::Object& o) {
            return nanosecondsSince(o.created) / 1000000;
        }));
        // 512 MiB: 256 MiB would read as Q_DEFAULT (0x10000000).
        t.push_back(rangedType(Q_SYS_HOST_BUFFER_QUOTA, "HostBufferQuota", 512 * kMiB, kMiB, int64_t{64} << 30));
        t.push_back(constantType(Q_SYS_MEMORY_SIZE, "MemorySize", kMemorySize));
        t.push_back(computedType(Q_SYS_MEMORY_FREE, "MemoryFree", [](api::Object& o) { return freeMemory(asSystem(o)); }));
        t.push_back(computedType(Q_SYS_TIMESTAMP, "Timestamp", [](api::Object& o) {
            return nanosecondsSince(asSystem(o).timestampOrigin);
        }));
        // Default until set.
        t.push_back(choiceType(Q_SYS_WATCHDOG_TIMEOUT, "WatchdogTimeout", Q_DEFAULT, {100, 1000, 10000}));
        t.push_back(choiceType(Q_SYS_FAN_SPEED, "FanSpeed", Q_DEFAULT, {0, 30, 60, 100}));
        // Texts.
        t.push_back(textType(Q_SYS_BOARD_NAME, "BoardName", Access::ReadOnly, kBoardName));
        t.push_back(computedTextType(Q_SYS_SERIAL_NUMBER, "SerialNumber", [](api::Object& o) {
            return "QS4-" + std::to_string(104200 + asSystem(o).number);
        }));
        t.push_back(textType(Q_SYS_FIRMWARE_VERSION, "FirmwareVersion", Access::ReadOnly, "2.3.1"));
        t.push_back(textType(Q_SYS_USER_LABEL, "UserLabel", Access::ReadWrite, ""));
        t.push_back(textType(Q_SYS_DRIVER_VERSION, "DriverVersion", Access::ReadOnly, "1.0.0 (simulated)"));
        return t;
    }());
    return table;
}

const ControlTable& digitizerControlTypes() {
    static const ControlTable table("digitizer", [] {
        std::vector<ControlType> t;
        // Zero until set: identity and the image the camera delivers.
        t.push_back(computedType(Q_DIG_DEVICE_NUMBER, "DeviceNumber", [](api::Object& o) { return asDigitizer(o).deviceNumber; }));
        t.push_back(computedType(Q_OWNER_SYSTEM, "OwnerSystem", [](api::Object& o) { return o.owner; }));
        t.push_back(computedType(Q_DIG_SIZE_X, "SizeX", [](api::Object& o) {
            return int64_t{cameraWord(asDigitizer(o), reg::kWidth)};
        }));
        t.push_back(computedType(Q_DIG_SIZE_Y, "SizeY", [](api::Object& o) {
            return int64_t{cameraWord(asDigitizer(o), reg::kHeight)};
        }));
        t.push_back(computedType(Q_DIG_SIZE_BIT, "SizeBit", [](api::Object& o) { return cameraBitsPerPixel(asDigitizer(o)); }));
        t.push_back(constantType(Q_DIG_SIZE_BAND, "SizeBand", 1));
        t.push_back(constantType(Q_DIG_CAMERA_PRESENT, "CameraPresent", Q_TRUE));
        // Plain settings.
        t.push_back(choiceType(Q_GC_POLLING, "Polling", Q_FALSE, {Q_FALSE, Q_TRUE}));
        t.push_back(choiceType(Q_DIG_GRAB_MODE, "GrabMode", Q_GRAB_SYNCHRONOUS,
                          {Q_GRAB_SYNCHRONOUS, Q_GRAB_ASYNCHRONOUS, Q_GRAB_ASYNCHRONOUS_QUEUED}));
        t.push_back(rangedType(Q_DIG_GRAB_TIMEOUT, "GrabTimeout", 5000, 0, 3600000));
        t.push_back(choiceType(Q_DIG_CHANNEL, "Channel", 0, {0, 1, 2, 3}));
        t.push_back(choiceType(Q_DIG_GRAB_SCALE, "GrabScale", 1, {1, 2, 4}));
        t.push_back(choiceType(Q_DIG_BAYER_CONVERSION, "BayerConversion", Q_FALSE, {Q_FALSE, Q_TRUE}));
        t.push_back(constantType(Q_DIG_CHANNEL_COUNT, "ChannelCount", 4));
        // The camera completes AcquisitionStart 300 ms after the command returns.
        t.push_back(constantType(Q_GC_COMMAND_COMPLETION, "CommandCompletion", Q_GC_COMMAND_ASYNCHRONOUS));
        t.push_back(computedType(Q_GC_NODE_MAP, "NodeMap", [](api::Object& o) {
            return pointerValue(asDigitizer(o).cameraMap->_Ptr());
        }));
        // 64-bit values.
        t.push_back(computedType(Q_DIG_FRAME_COUNTER, "FrameCounter", [](api::Object& o) {
            return static_cast<int64_t>(asDigitizer(o).camera->acquiredFrames());
        }));
        t.push_back(rangedType(Q_DIG_USER_DATA, "UserData", 0, std::numeric_limits<int64_t>::min(),
                           std::numeric_limits<int64_t>::max()));
        t.push_back(rangedType(Q_DIG_MAXIMUM_BANDWIDTH, "MaximumBandwidth", 125000000, 1000000, 1250000000));
        t.push_back(computedType(Q_DIG_GRAB_BUFFER_SIZE, "GrabBufferSize", [](api::Object& o) {
            return grabBufferSize(asDigitizer(o));
        }));
        // Default until set.
        t.push_back(choiceType(Q_DIG_TRIGGER_ACTIVATION, "TriggerActivation", Q_DEFAULT, {1, 2, 3}));
        t.push_back(rangedType(Q_DIG_TIMER_DELAY, "TimerDelay", Q_DEFAULT, 0, 1000000000));
        t.push_back(rangedType(Q_DIG_EXPOSURE_OVERRIDE, "ExposureOverride", Q_DEFAULT, 10, 10000000));
        t.push_back(constantType(Q_DIG_LAST_GRAB_STATUS, "LastGrabStatus", Q_DEFAULT));
        // Texts.
        t.push_back(textType(Q_DIG_USER_LABEL, "UserLabel", Access::ReadWrite, ""));
        t.push_back(computedTextType(Q_DIG_CAMERA_VENDOR, "CameraVendor", [](api::Object& o) {
            return cameraText(asDigitizer(o), reg::kVendorName, 32);
        }));
        t.push_back(computedTextType(Q_DIG_CAMERA_MODEL, "CameraModel", [](api::Object& o) {
            return cameraText(asDigitizer(o), reg::kModelName, 32);
        }));
        t.push_back(computedTextType(Q_DIG_CAMERA_SERIAL_NUMBER, "CameraSerialNumber", [](api::Object& o) {
            return cameraText(asDigitizer(o), reg::kSerialNumber, 16);
        }));
        t.push_back(computedTextType(Q_DIG_FORMAT, "Format", [](api::Object& o) { return asDigitizer(o).format; }));
        return t;
    }());
    return table;
}

const ControlTable& sequenceControlTypes() {
    static const ControlTable table("sequence", [] {
        std::vector<ControlType> t;
        t.push_back(computedType(1049, "DeviceNumber", [](api::Object& o) { return asSequence(o).deviceNumber; }));
        t.push_back(computedType(Q_OWNER_SYSTEM, "OwnerSystem", [](api::Object& o) { return o.owner; }));
        t.push_back(computedType(Q_SEQUENCE_FORMAT, "SequenceFormat", [](api::Object& o) {
            return asSequence(o).boardSpecific ? int64_t{Q_SEQUENCE_BOARD_SPECIFIC} : int64_t{0};
        }));
        t.push_back(constantType(Q_SEQ_FRAME_COUNT, "FrameCount", 0));
        t.push_back(rangedType(Q_SEQ_FRAME_COUNT_LIMIT, "FrameCountLimit", 0, 0, 10000000));
        t.push_back(rangedType(Q_SEQ_BUFFER_COUNT, "BufferCount", 8, 1, 64));
        t.push_back(rangedType(Q_SEQ_SIZE_X, "SizeX", 1280, 16, 8192));
        t.push_back(rangedType(Q_SEQ_SIZE_Y, "SizeY", 1024, 2, 8192));
        t.push_back(choiceType(Q_SEQ_PIXEL_DEPTH, "PixelDepth", 8, {8, 16}));
        t.push_back(choiceType(Q_SEQ_COMPRESSION, "Compression", 0, {0, 1, 2}));
        t.push_back(constantType(Q_SEQ_STATE, "State", 0));
        t.push_back(choiceType(Q_SEQ_BOARD_BUFFERING, "BoardBuffering", Q_TRUE, {Q_FALSE, Q_TRUE}));
        t.push_back(rangedType(Q_SEQ_DMA_CHANNEL, "DmaChannel", 0, 0, 3));
        // 64-bit values.
        t.push_back(rangedType(Q_SEQ_MAXIMUM_FILE_SIZE, "MaximumFileSize", int64_t{4} << 30, kMiB, int64_t{1} << 40));
        t.push_back(constantType(Q_SEQ_BYTES_WRITTEN, "BytesWritten", 0));
        // Default until set.
        t.push_back(rangedType(Q_SEQ_FRAME_RATE, "FrameRate", Q_DEFAULT, 1, 1000));
        t.push_back(rangedType(Q_SEQ_COMPRESSION_QUALITY, "CompressionQuality", Q_DEFAULT, 1, 100));
        // The one text.
        t.push_back(textType(Q_SEQ_FILE_NAME, "FileName", Access::ReadWrite, "sequence.raw"));
        return t;
    }());
    return table;
}

std::shared_ptr<api::SystemObject> createSystem(int64_t number) {
    auto system = std::make_shared<api::SystemObject>(&systemControlTypes());
    system->number = number;
    system->ownPort = api::makeObjectPort(*system);
    system->ownMap = std::make_unique<GenApi::CNodeMapRef>();
    system->ownMap->_LoadXMLFromString(GenICam::gcstring(api::embeddedDescription("QsysControl_sim.xml")));
    if (!system->ownMap->_Connect(system->ownPort.get()))
        api::fail(Q_ERR_ALLOCATION, "The system's description has no port named Device.");
    return system;
}

std::shared_ptr<api::DigitizerObject> createDigitizer(QOR_ID system, int64_t deviceNumber, std::string_view format) {
    auto digitizer = std::make_shared<api::DigitizerObject>(&digitizerControlTypes());
    digitizer->owner = system;
    digitizer->deviceNumber = deviceNumber;
    digitizer->format = format;
    digitizer->camera = std::make_unique<SimulatedCamera>();
    digitizer->cameraMap = std::make_unique<GenApi::CNodeMapRef>();
    digitizer->cameraMap->_LoadXMLFromString(GenICam::gcstring(SimulatedCamera::descriptionXml()));
    if (!digitizer->cameraMap->_Connect(digitizer->camera.get()))
        api::fail(Q_ERR_ALLOCATION, "The camera's description has no port named Device.");
    return digitizer;
}

std::shared_ptr<api::SequenceObject> createSequence(QOR_ID system, int64_t deviceNumber, bool boardSpecific) {
    auto sequence = std::make_shared<api::SequenceObject>(&sequenceControlTypes());
    sequence->owner = system;
    sequence->deviceNumber = deviceNumber;
    sequence->boardSpecific = boardSpecific;
    return sequence;
}

} // namespace qorvis::sim
