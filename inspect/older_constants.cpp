#include "inspect/older_constants.h"

#include <array>
#include <cstdlib>

#include "inspect/snippet_generator.h"
#include "qorvis.h"

namespace quillon::inspect {

namespace {

#define SYS(tag, feature, constant)                                                                \
    { Q_SYSTEM_OBJECT, tag, feature, #constant, constant }
#define DIG(tag, feature, constant)                                                                \
    { Q_DIGITIZER_OBJECT, tag, feature, #constant, constant }

constexpr auto kOlderConstants = std::to_array<OlderConstant>({
    SYS("STR", "BoardName", Q_SYS_BOARD_NAME),
    SYS("STR", "SerialNumber", Q_SYS_SERIAL_NUMBER),
    SYS("STR", "FirmwareVersion", Q_SYS_FIRMWARE_VERSION),
    SYS("STR", "DriverVersion", Q_SYS_DRIVER_VERSION),
    SYS("STR", "UserLabel", Q_SYS_USER_LABEL),
    SYS("INT", "SystemType", Q_SYSTEM_TYPE),
    SYS("INT", "SystemSubtype", Q_SYSTEM_SUBTYPE),
    SYS("INT", "SystemNumber", Q_SYS_SYSTEM_NUMBER),
    SYS("INT", "DigitizerCount", Q_SYS_DIGITIZER_COUNT),
    SYS("INT", "DigitizerPorts", Q_SYS_DIGITIZER_PORTS),
    SYS("INT", "SequenceCount", Q_SYS_SEQUENCE_COUNT),
    SYS("INT", "MemorySize", Q_SYS_MEMORY_SIZE),
    SYS("INT", "MemoryFree", Q_SYS_MEMORY_FREE),
    SYS("INT", "HostBufferQuota", Q_SYS_HOST_BUFFER_QUOTA),
    SYS("FLOAT", "BoardTemperature", Q_SYS_TEMPERATURE),
    SYS("INT", "Uptime", Q_SYS_UPTIME),
    SYS("INT", "Timestamp", Q_SYS_TIMESTAMP),
    SYS("INT", "TimestampReset", Q_SYS_TIMESTAMP_RESET),
    SYS("INT", "InterruptTimeout", Q_SYS_INTERRUPT_TIMEOUT),
    SYS("ENUM", "WatchdogTimeout", Q_SYS_WATCHDOG_TIMEOUT),
    SYS("ENUM", "FanSpeed", Q_SYS_FAN_SPEED),
    SYS("BOOL", "PollingEnabled", Q_GC_POLLING),
    SYS("ENUM", "CommandCompletion", Q_GC_COMMAND_COMPLETION),
    SYS("INT", "OwnerSystem", Q_OWNER_SYSTEM),
    DIG("INT", "DeviceNumber", Q_DIG_DEVICE_NUMBER),
    DIG("STR", "Format", Q_DIG_FORMAT),
    DIG("STR", "UserLabel", Q_DIG_USER_LABEL),
    DIG("STR", "CameraVendor", Q_DIG_CAMERA_VENDOR),
    DIG("STR", "CameraModel", Q_DIG_CAMERA_MODEL),
    DIG("STR", "CameraSerialNumber", Q_DIG_CAMERA_SERIAL_NUMBER),
    DIG("BOOL", "CameraPresent", Q_DIG_CAMERA_PRESENT),
    DIG("INT", "SizeX", Q_DIG_SIZE_X),
    DIG("INT", "SizeY", Q_DIG_SIZE_Y),
    DIG("INT", "SizeBit", Q_DIG_SIZE_BIT),
    DIG("INT", "SizeBand", Q_DIG_SIZE_BAND),
    DIG("INT", "GrabBufferSize", Q_DIG_GRAB_BUFFER_SIZE),
    DIG("ENUM", "GrabMode", Q_DIG_GRAB_MODE),
    DIG("INT", "GrabTimeout", Q_DIG_GRAB_TIMEOUT),
    DIG("ENUM", "Channel", Q_DIG_CHANNEL),
    DIG("INT", "ChannelCount", Q_DIG_CHANNEL_COUNT),
    DIG("ENUM", "GrabScale", Q_DIG_GRAB_SCALE),
    DIG("BOOL", "BayerConversion", Q_DIG_BAYER_CONVERSION),
    DIG("INT", "FrameCounter", Q_DIG_FRAME_COUNTER),
    DIG("ENUM", "LastGrabStatus", Q_DIG_LAST_GRAB_STATUS),
    DIG("ENUM", "TriggerActivation", Q_DIG_TRIGGER_ACTIVATION),
    DIG("INT", "TimerDelay", Q_DIG_TIMER_DELAY),
    DIG("INT", "ExposureOverride", Q_DIG_EXPOSURE_OVERRIDE),
    DIG("INT", "MaximumBandwidth", Q_DIG_MAXIMUM_BANDWIDTH),
    DIG("INT", "UserData", Q_DIG_USER_DATA),
    DIG("BOOL", "PollingEnabled", Q_GC_POLLING),
    DIG("ENUM", "CommandCompletion", Q_GC_COMMAND_COMPLETION),
    DIG("INT", "OwnerSystem", Q_OWNER_SYSTEM),
});

#undef SYS
#undef DIG

} // namespace

std::span<const OlderConstant> OlderConstants() {
    return kOlderConstants;
}

std::optional<int64_t> ControlType(GenApi::INode* node) {
    if (!node) return std::nullopt;
    GenICam::gcstring value, attribute;
    GenApi::INode* reg = node;
    if (!node->GetProperty("Address", value, attribute)) {
        if (!node->GetProperty("pValue", value, attribute) || !node->GetNodeMap())
            return std::nullopt;
        reg = node->GetNodeMap()->GetNode(value);
        if (!reg || !reg->GetProperty("Address", value, attribute)) return std::nullopt;
    }
    const std::string text(value);
    char* end = nullptr;
    const long long address = std::strtoll(text.c_str(), &end, 0);
    if (text.empty() || !end || *end != '\0') return std::nullopt;
    return address;
}

std::string OlderControlConstant(GenApi::INode* node, int64_t objectKind) {
    if (!node) return "Q_NULL";
    const std::string tag = TypeTag(node);
    const std::string name(node->GetName());
    for (const OlderConstant& c : kOlderConstants)
        if (c.objectKind == objectKind && tag == c.typeTag && name == c.feature)
            return ControlType(node) == c.controlType ? c.constant : "Q_NULL";
    return "Q_NULL";
}

} // namespace quillon::inspect
