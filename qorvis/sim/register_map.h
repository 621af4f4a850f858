// Addresses of the simulated camera's registers. The description
// (data/TorvexSimCamera.xml) and the device model both follow this map; the
// table with every register's meaning is in docs/sim_camera.md.
//
// Registers are big-endian 32-bit words unless noted. "RO" registers ignore
// writes, "ctrl" registers act when written and read back as the device
// reports, "calc" registers are computed at read time.
#pragma once

#include <cstdint>

namespace qorvis::sim::reg {

// ---- bootstrap block (GigE Vision layout)
inline constexpr uint64_t kVersion = 0x0000;            // RO  major << 16 | minor
inline constexpr uint64_t kDeviceMode = 0x0004;         // RO  bit 31: big-endian
inline constexpr uint64_t kMacAddress = 0x0008;         // RO  8 bytes, MAC in the low 48 bits
inline constexpr uint64_t kIpConfig = 0x0014;           //     1 persistent, 2 DHCP, 4 LLA (always set)
inline constexpr uint64_t kCurrentIp = 0x0024;          // RO
inline constexpr uint64_t kCurrentSubnet = 0x0034;      // RO
inline constexpr uint64_t kCurrentGateway = 0x0044;     // RO
inline constexpr uint64_t kVendorName = 0x0048;         // RO  32 bytes
inline constexpr uint64_t kModelName = 0x0068;          // RO  32 bytes
inline constexpr uint64_t kDeviceVersion = 0x0088;      // RO  32 bytes
inline constexpr uint64_t kManufacturerInfo = 0x00A8;   // RO  48 bytes
inline constexpr uint64_t kSerialNumber = 0x00D8;       // RO  16 bytes
inline constexpr uint64_t kUserId = 0x00E8;             //     16 bytes, kept across resets
inline constexpr uint64_t kPersistentIp = 0x064C;
inline constexpr uint64_t kPersistentSubnet = 0x065C;
inline constexpr uint64_t kPersistentGateway = 0x066C;
inline constexpr uint64_t kHeartbeatTimeout = 0x0938;
inline constexpr uint64_t kTimestampFrequency = 0x093C; // RO  8 bytes
inline constexpr uint64_t kTimestampControl = 0x0944;   // ctrl, write-only: 2 latches, 1 resets
inline constexpr uint64_t kTimestampLatched = 0x0948;   // RO  8 bytes, ns
inline constexpr uint64_t kPacketSize = 0x0D04;         //     low 16 bits

// ---- device block
inline constexpr uint64_t kSensorWidth = 0x10000;       // RO
inline constexpr uint64_t kSensorHeight = 0x10004;      // RO
inline constexpr uint64_t kWidthMin = 0x10008;          // RO
inline constexpr uint64_t kHeightMin = 0x1000C;         // RO
inline constexpr uint64_t kWidth = 0x10010;
inline constexpr uint64_t kHeight = 0x10014;
inline constexpr uint64_t kOffsetX = 0x10018;
inline constexpr uint64_t kOffsetY = 0x1001C;
inline constexpr uint64_t kPixelFormat = 0x10020;
inline constexpr uint64_t kImageFlags = 0x10024;        //     1 ReverseX, 2 ReverseY
inline constexpr uint64_t kTestPattern = 0x10028;
inline constexpr uint64_t kShutterMode = 0x1002C;       //     7 at power-on: no entry of the enumeration
inline constexpr uint64_t kTLParamsLocked = 0x10030;
inline constexpr uint64_t kAcquisitionMode = 0x10034;
inline constexpr uint64_t kAcquisitionStart = 0x10038;  // ctrl: 1 starts; reads 1 while the start is pending
inline constexpr uint64_t kAcquisitionStop = 0x1003C;   // ctrl: 1 stops
inline constexpr uint64_t kDeviceStatus = 0x10040;      // calc: 1 ready, 2 acquiring, 4 start pending, 8 over-temperature
inline constexpr uint64_t kExposureTicks = 0x10044;     //     exposure in 0.1 us
inline constexpr uint64_t kFrameRate = 0x10048;         //     8 bytes, IEEE double, Hz
inline constexpr uint64_t kExposureAuto = 0x10050;
inline constexpr uint64_t kTriggerMode = 0x10054;
inline constexpr uint64_t kTriggerSource = 0x10058;
inline constexpr uint64_t kTriggerSoftware = 0x1005C;   // ctrl: 0x10000000 fires
inline constexpr uint64_t kFrameCounter = 0x10060;      // calc: 8 bytes
inline constexpr uint64_t kTemperatureSelector = 0x10068;
inline constexpr uint64_t kTemperatures = 0x10070;      // calc: signed millidegrees, [0] sensor, [1] mainboard
inline constexpr uint64_t kUserSetSelector = 0x10078;
inline constexpr uint64_t kUserSetLoad = 0x1007C;       // ctrl: 1 loads the selected set
inline constexpr uint64_t kUserSetSave = 0x10080;       // ctrl: 1 saves into the selected set
inline constexpr uint64_t kUserSetDefault = 0x10084;    //     kept across resets
inline constexpr uint64_t kGainSelector = 0x10088;
inline constexpr uint64_t kBlackLevel = 0x1008C;        //     IEEE float
inline constexpr uint64_t kGains = 0x10090;             //     3 IEEE floats: All, AnalogAll, DigitalAll
inline constexpr uint64_t kLutEnable = 0x100A0;
inline constexpr uint64_t kLutIndex = 0x100A4;
inline constexpr uint64_t kThroughputMode = 0x100A8;
inline constexpr uint64_t kThroughputLimit = 0x100AC;   //     kB/s
inline constexpr uint64_t kLinePeriod = 0x100B0;        // RO  8 bytes, IEEE double, s
inline constexpr uint64_t kSwitchoverKey = 0x100B8;     // ctrl, write-only
inline constexpr uint64_t kDeviceReset = 0x100BC;       // ctrl, write-only: 1 resets
inline constexpr uint64_t kFirmwareBuildId = 0x100C0;   // RO
inline constexpr uint64_t kLines = 0x10100;             //     4 x 16 bytes: mode, source, flags (1 inverter), spare
inline constexpr uint64_t kLineBlockSize = 16;
inline constexpr uint64_t kLineSelector = 0x10140;
inline constexpr uint64_t kLineStatusAll = 0x10144;     // calc
inline constexpr uint64_t kFirmwareVersion = 0x10200;   // RO  32 bytes

// ---- little-endian block
inline constexpr uint64_t kGamma = 0x20000;             //     IEEE float
inline constexpr uint64_t kUptime = 0x20004;            // calc: seconds
inline constexpr uint64_t kBalanceWhiteAuto = 0x20008;
inline constexpr uint64_t kScratch = 0x2000C;
inline constexpr uint64_t kDebugMode = 0x20010;

// ---- look-up table
inline constexpr uint64_t kLut = 0x30000;               //     256 bytes
inline constexpr uint64_t kLutSize = 256;

// ---- file access
inline constexpr uint64_t kFileSelector = 0x40000;
inline constexpr uint64_t kFileOperationSelector = 0x40004;
inline constexpr uint64_t kFileOpenMode = 0x40008;
inline constexpr uint64_t kFileOperationExecute = 0x4000C; // ctrl: 1 performs the operation
inline constexpr uint64_t kFileAccessOffset = 0x40010;
inline constexpr uint64_t kFileAccessLength = 0x40014;
inline constexpr uint64_t kFileOperationStatus = 0x40018; // RO  0 success, 1 failure
inline constexpr uint64_t kFileOperationResult = 0x4001C; // RO  bytes transferred
inline constexpr uint64_t kFileSizes = 0x40020;           // calc: one word per file
inline constexpr uint64_t kFileAccessBuffer = 0x41000;
inline constexpr uint64_t kFileAccessBufferSize = 1024;

} // namespace qorvis::sim::reg
