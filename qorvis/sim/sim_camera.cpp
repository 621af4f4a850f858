// The device model of the simulated camera. Plain registers live in a
// RegisterSpace; registers with behaviour are listed in `behaviours_`, each
// with what a read computes and what a write does. docs/sim_camera.md holds
// the register map and the behaviour of every register.
#include "sim/sim_camera.h"

#include <algorithm>
#include <bit>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <numbers>
#include <stdexcept>

#include "GenICam/exceptions.h"
#include "sim/file_store.h"
#include "sim/register_map.h"
#include "sim/register_space.h"
#include "sim/user_sets.h"

namespace qorvis::sim {

namespace detail {
// Generated at build time from data/TorvexSimCamera.xml.
extern const unsigned char kTorvexSimCameraXml[];
extern const std::size_t kTorvexSimCameraXmlSize;
} // namespace detail

ConnectedSimulatedCamera::ConnectedSimulatedCamera(Clock clock) : device(std::move(clock)), map("Device") {
    map._LoadXMLFromString(GenICam::gcstring(SimulatedCamera::descriptionXml()));
    map._Connect(&device);
}

std::string_view SimulatedCamera::descriptionXml() {
    return {reinterpret_cast<const char*>(detail::kTorvexSimCameraXml), detail::kTorvexSimCameraXmlSize};
}

namespace {

using time_point = std::chrono::steady_clock::time_point;
using namespace std::chrono_literals;

double seconds(std::chrono::steady_clock::duration d) { return std::chrono::duration<double>(d).count(); }

// The device log keeps its newest 64 KiB.
constexpr size_t kLogLimit = 64 * 1024;

constexpr uint32_t kStatusReady = 1, kStatusAcquiring = 2, kStatusStartPending = 4, kStatusOverTemperature = 8;
constexpr uint32_t kIpConfigLLA = 4;
constexpr uint32_t kSoftwareTriggerBit = 0x10000000;
constexpr double kOverTemperature = 70.0;

enum LineSourceValue : uint32_t { kSourceOff = 0, kSourceExposureActive = 1, kSourceFrameTriggerWait = 2,
                                  kSourceUserOutput0 = 3, kSourceAcquisitionActive = 4 };

void putString(RegisterSpace& ram, uint64_t address, std::string_view text, size_t length) {
    std::vector<uint8_t> bytes(length, 0);
    std::memcpy(bytes.data(), text.data(), std::min(text.size(), length));
    ram.write(address, bytes.data(), length);
}

std::vector<uint8_t> bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

} // namespace

// ---------------------------------------------------------------- the model

struct SimulatedCamera::Impl {
    // A register with behaviour. `read` computes its bytes (empty: the RAM
    // holds them); `write` acts on the written value, given as the whole
    // register (empty: writes are ignored). With `stores`, the written value
    // is kept in RAM first.
    struct Behaviour {
        uint64_t address;
        uint64_t length;
        std::function<void(time_point, uint8_t*)> read;
        std::function<void(time_point, const uint8_t*)> write;
        bool stores = false;
        uint64_t last() const { return address + length - 1; }
    };

    Clock clock;
    mutable std::mutex mutex;
    RegisterSpace ram;
    FileStore files;
    std::vector<Behaviour> behaviours;

    time_point thermalOrigin;   // power-on; a reset does not cool the sensor
    time_point bootTime;        // power-on or the last DeviceReset
    time_point timestampOrigin; // the timestamp counter's zero
    bool acquiring = false;
    bool startPending = false;
    time_point startRequested;
    double framesBase = 0;      // frames counted up to `framesSince`
    time_point framesSince;
    double acquiredBase = 0;    // frames read out during acquisitions that have ended
    double framesAtStart = 0;   // the frame count when the running acquisition began
    uint64_t reads = 0, writes = 0;

    size_t userSetFile[2] = {0, 0};
    size_t lutFile = 0, logFile = 0;

    explicit Impl(Clock c) : clock(c ? std::move(c) : Clock([] { return std::chrono::steady_clock::now(); })) {
        time_point now = clock();
        thermalOrigin = now;
        writeIdentity();
        createFiles();
        buildBehaviours();
        boot(now, false);
    }

    // ---- power-on state

    // What the device keeps across resets.
    void writeIdentity() {
        ram.setBE32(reg::kVersion, 0x00020002);
        ram.setBE32(reg::kDeviceMode, 0x80000001); // big-endian, UTF-8 strings
        ram.writeBE(reg::kMacAddress, 0x02545658002Aull, 8);
        ram.setBE32(reg::kIpConfig, 0x00000006); // DHCP and LLA
        ram.setBE32(reg::kCurrentIp, 0xC0A80001);
        ram.setBE32(reg::kCurrentSubnet, 0xFFFFFF00);
        ram.setBE32(reg::kCurrentGateway, 0xC0A800FE);
        putString(ram, reg::kVendorName, kVendorName, 32);
        putString(ram, reg::kModelName, kModelName, 32);
        putString(ram, reg::kDeviceVersion, "TVX1280M rev. C", 32);
        putString(ram, reg::kManufacturerInfo, "Simulated camera - no sensor attached", 48);
        putString(ram, reg::kSerialNumber, kSerialNumber, 16);
        putString(ram, reg::kUserId, "", 16);
        ram.setBE32(reg::kPersistentIp, 0xC0A80064);
        ram.setBE32(reg::kPersistentSubnet, 0xFFFFFF00);
        ram.setBE32(reg::kPersistentGateway, 0xC0A800FE);
        ram.writeBE(reg::kTimestampFrequency, 1000000000, 8);
        ram.setBE32(reg::kSensorWidth, 1280);
        ram.setBE32(reg::kSensorHeight, 1024);
        ram.setBE32(reg::kWidthMin, 16);
        ram.setBE32(reg::kHeightMin, 2);
        ram.writeBE(reg::kLinePeriod, std::bit_cast<uint64_t>(4.2e-6), 8);
        ram.setBE32(reg::kFirmwareBuildId, 0x5A3C19F2);
        putString(ram, reg::kFirmwareVersion, "1.4.2 (build 5A3C19F2)", 32);
        ram.setBE32(reg::kUserSetDefault, 0);
    }

    void createFiles() {
        // UserSet1 holds a saved region of interest; UserSet2 is empty.
        writeFactorySettings(ram);
        ram.setBE32(reg::kWidth, 640);
        ram.setBE32(reg::kHeight, 480);
        ram.setBE32(reg::kOffsetX, 320);
        ram.setBE32(reg::kOffsetY, 272);
        ram.setBE32(reg::kExposureTicks, 50000);
        ram.setBE32(reg::kGains, std::bit_cast<uint32_t>(3.0f));
        userSetFile[0] = files.add("UserSet1", bytesOf(saveSettings(ram)), false);
        userSetFile[1] = files.add("UserSet2", {}, false);
        std::vector<uint8_t> lut(reg::kLutSize);
        for (size_t i = 0; i < lut.size(); ++i)
            lut[i] = static_cast<uint8_t>(std::lround(255.0 * std::pow(static_cast<double>(i) / 255.0, 0.45)));
        lutFile = files.add("LUTFile", std::move(lut), false);
        logFile = files.add("DeviceLog", {}, true);
    }

    // Power-on and DeviceReset: every volatile register returns to its
    // power-on value, then the UserSetDefault set is loaded.
    void boot(time_point now, bool reset) {
        files.closeAll();
        acquiring = startPending = false;
        bootTime = timestampOrigin = framesSince = now;
        framesBase = acquiredBase = 0;

        writeFactorySettings(ram);
        ram.setBE32(reg::kShutterMode, 7); // firmware reports a mode the description does not know
        ram.setBE32(reg::kTLParamsLocked, 0);
        ram.setBE32(reg::kTemperatureSelector, 0);
        ram.setBE32(reg::kUserSetSelector, 0);
        ram.setBE32(reg::kGainSelector, 0);
        ram.setBE32(reg::kLutIndex, 0);
        ram.setBE32(reg::kLineSelector, 0);
        ram.setBE32(reg::kHeartbeatTimeout, 3000);
        ram.setBE32(reg::kPacketSize, 1500);
        ram.writeBE(reg::kTimestampLatched, 0, 8);
        ram.writeLE(reg::kBalanceWhiteAuto, 0, 4);
        ram.writeLE(reg::kScratch, 0xC0FFEE42, 4);
        ram.writeLE(reg::kDebugMode, 0, 4);
        uint8_t lut[reg::kLutSize];
        for (size_t i = 0; i < reg::kLutSize; ++i) lut[i] = static_cast<uint8_t>(i);
        ram.write(reg::kLut, lut, reg::kLutSize);
        for (uint64_t a = reg::kFileSelector; a < reg::kFileSizes; a += 4) ram.setBE32(a, 0);
        std::vector<uint8_t> zeros(reg::kFileAccessBufferSize, 0);
        ram.write(reg::kFileAccessBuffer, zeros.data(), zeros.size());

        if (reset) log(now, "device reset");
        char text[160];
        std::snprintf(text, sizeof text, "Torvex %.*s, serial %.*s, firmware 1.4.2 (build 5A3C19F2)",
                      static_cast<int>(kModelName.size()), kModelName.data(), static_cast<int>(kSerialNumber.size()),
                      kSerialNumber.data());
        log(now, text);
        log(now, "sensor 1280 x 1024 monochrome, global shutter, line period 4.2 us");
        log(now, "network 192.168.0.1/24 gateway 192.168.0.254, MAC 02:54:56:58:00:2A");
        uint32_t set = ram.be32(reg::kUserSetDefault);
        if (set == 1 || set == 2) loadUserSet(now, set);
        log(now, "ready");
    }

    // ---- the device log

    void log(time_point now, std::string_view message) {
        char stamp[32];
        std::snprintf(stamp, sizeof stamp, "[%10.3f] ", seconds(now - bootTime));
        std::string line = stamp;
        line += message;
        line += '\n';
        files.appendText(logFile, line, kLogLimit);
    }

    // ---- time-driven state

    // Completes an AcquisitionStart whose delay has passed.
    void settle(time_point now) {
        if (startPending && now - startRequested >= kAcquisitionStartDelay) {
            startPending = false;
            acquiring = true;
            framesAtStart = frames(startRequested + kAcquisitionStartDelay);
            log(startRequested + kAcquisitionStartDelay, "acquisition started");
        }
    }

    double frameRateSetting() const {
        double fps = std::bit_cast<double>(ram.readBE(reg::kFrameRate, 8));
        return std::isfinite(fps) && fps > 0 ? fps : 0.0;
    }

    // Frames per second the sensor reads out: the frame rate, unless the
    // exposure is too long for it; none in trigger mode.
    double frameRate() const {
        if (ram.be32(reg::kTriggerMode) == 1) return 0.0;
        double fps = frameRateSetting();
        uint32_t ticks = ram.be32(reg::kExposureTicks);
        if (ticks > 0) fps = std::min(fps, 1e7 / ticks);
        return fps;
    }

    // Takes the frames read out so far into `framesBase`, before a write may
    // change the frame rate.
    void foldFrames(time_point now) {
        framesBase += seconds(now - framesSince) * frameRate();
        framesSince = now;
    }

    double frames(time_point now) const { return framesBase + seconds(now - framesSince) * frameRate(); }

    uint64_t frameCount(time_point now) const { return static_cast<uint64_t>(std::floor(frames(now) + 1e-9)); }

    uint64_t acquiredFrameCount(time_point now) const {
        double n = acquiredBase + (acquiring ? frames(now) - framesAtStart : 0.0);
        return n > 0 ? static_cast<uint64_t>(std::floor(n + 1e-9)) : 0;
    }

    // The sensor warms up from 31 °C towards 45 °C over minutes, with a slow
    // ripple; the main board runs a little cooler.
    double sensorTemperature(time_point now) const {
        double t = seconds(now - thermalOrigin);
        return 31.0 + 14.0 * (1.0 - std::exp(-t / 600.0)) + 0.35 * std::sin(2 * std::numbers::pi * t / 47.0);
    }

    double mainboardTemperature(time_point now) const {
        double t = seconds(now - thermalOrigin);
        return sensorTemperature(now) - 3.5 + 0.2 * std::sin(2 * std::numbers::pi * t / 13.0);
    }

    // The level of an input line: Line0 is pulled high, Line2 carries a
    // 1 Hz square wave, the others stay low.
    bool inputLevel(int line, time_point now) const {
        if (line == 0) return true;
        if (line == 2) return (std::chrono::duration_cast<std::chrono::milliseconds>(now - bootTime).count() / 500) % 2 == 0;
        return false;
    }

    uint32_t lineStatus(time_point now) const {
        uint32_t all = 0;
        for (int i = 0; i < 4; ++i) {
            uint64_t base = reg::kLines + reg::kLineBlockSize * static_cast<uint64_t>(i);
            bool level = false;
            if (ram.be32(base) == 1) {
                switch (ram.be32(base + 4)) {
                case kSourceExposureActive:
                case kSourceAcquisitionActive: level = acquiring; break;
                case kSourceFrameTriggerWait: level = acquiring && ram.be32(reg::kTriggerMode) == 1; break;
                default: level = false; break;
                }
            } else {
                level = inputLevel(i, now);
            }
            if (ram.be32(base + 8) & 1) level = !level;
            if (level) all |= 1u << i;
        }
        return all;
    }

    uint32_t deviceStatus(time_point now) const {
        uint32_t s = kStatusReady;
        if (acquiring) s |= kStatusAcquiring;
        if (startPending) s |= kStatusStartPending;
        if (sensorTemperature(now) > kOverTemperature) s |= kStatusOverTemperature;
        return s;
    }

    // ---- commands

    void startAcquisition(time_point now) {
        if (acquiring || startPending) return;
        startPending = true;
        startRequested = now;
    }

    void stopAcquisition(time_point now) {
        if (!acquiring && !startPending) return;
        if (acquiring) acquiredBase += frames(now) - framesAtStart;
        acquiring = startPending = false;
        log(now, "acquisition stopped");
    }

    void softwareTrigger() {
        if (ram.be32(reg::kTriggerMode) == 1 && ram.be32(reg::kTriggerSource) == 0) framesBase += 1;
    }

    static const char* userSetName(uint32_t set) { return set == 1 ? "UserSet1" : set == 2 ? "UserSet2" : "Default"; }

    void loadUserSet(time_point now, uint32_t set) {
        if (set > 2) return;
        if (set == 0) {
            writeFactorySettings(ram);
        } else {
            const std::vector<uint8_t>& content = files.contents(userSetFile[set - 1]);
            loadSettings(ram, std::string_view(reinterpret_cast<const char*>(content.data()), content.size()));
        }
        log(now, std::string("user set ") + userSetName(set) + " loaded");
    }

    void saveUserSet(time_point now, uint32_t set) {
        if (set != 1 && set != 2) return;
        files.replace(userSetFile[set - 1], bytesOf(saveSettings(ram)));
        log(now, std::string("user set ") + userSetName(set) + " saved");
    }

    void latchTimestamp(time_point now, uint32_t control) {
        if (control & 1) timestampOrigin = now;
        if (control & 2) {
            auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(now - timestampOrigin).count();
            ram.writeBE(reg::kTimestampLatched, static_cast<uint64_t>(std::max<int64_t>(ns, 0)), 8);
        }
    }

    // The file access protocol: the operation selected by the registers on the
    // selected file, its outcome in the status and result registers.
    void fileOperation(time_point now) {
        uint32_t file = ram.be32(reg::kFileSelector);
        uint32_t op = ram.be32(reg::kFileOperationSelector);
        uint64_t offset = ram.be32(reg::kFileAccessOffset);
        uint64_t length = std::min<uint64_t>(ram.be32(reg::kFileAccessLength), reg::kFileAccessBufferSize);
        FileStore::Result r;
        if (file < files.count()) {
            switch (static_cast<FileOperation>(op)) {
            case FileOperation::Open: r = files.open(file, ram.be32(reg::kFileOpenMode)); break;
            case FileOperation::Close: {
                bool written = files.isOpen(file) && files.openMode(file) != FileOpenMode::Read;
                r = files.close(file);
                if (r.success && written) {
                    char text[96];
                    std::snprintf(text, sizeof text, "file %s written, %" PRIu64 " bytes", files.name(file).c_str(),
                                  files.size(file));
                    log(now, text);
                }
                break;
            }
            case FileOperation::Read: {
                std::vector<uint8_t> buffer(length);
                r = files.read(file, offset, buffer);
                if (r.success) ram.write(reg::kFileAccessBuffer, buffer.data(), r.count);
                break;
            }
            case FileOperation::Write: {
                std::vector<uint8_t> buffer(length);
                ram.read(reg::kFileAccessBuffer, buffer.data(), length);
                r = files.write(file, offset, buffer);
                break;
            }
            case FileOperation::Delete:
                r = files.erase(file);
                if (r.success) log(now, "file " + files.name(file) + " deleted");
                break;
            }
        }
        ram.setBE32(reg::kFileOperationStatus, r.success ? 0 : 1);
        ram.setBE32(reg::kFileOperationResult, r.count);
    }

    // ---- the behaviour table

    void readOnly(uint64_t address, uint64_t length) { behaviours.push_back({address, length, {}, {}, false}); }

    void computed(uint64_t address, uint64_t length, std::function<void(time_point, uint8_t*)> read) {
        behaviours.push_back({address, length, std::move(read), {}, false});
    }

    // A command register: acts on the written word and reads back `readBack`.
    void control(uint64_t address, std::function<void(time_point, uint32_t)> act,
                 std::function<uint32_t()> readBack = {}) {
        behaviours.push_back({address, 4,
                              [readBack](time_point, uint8_t* out) { encodeBE(out, readBack ? readBack() : 0, 4); },
                              [act](time_point now, const uint8_t* in) {
                                  act(now, static_cast<uint32_t>(decodeBE(in, 4)));
                              },
                              false});
    }

    void buildBehaviours() {
        // Identity and constants.
        readOnly(reg::kVersion, 4);
        readOnly(reg::kDeviceMode, 4);
        readOnly(reg::kMacAddress, 8);
        readOnly(reg::kCurrentIp, 4);
        readOnly(reg::kCurrentSubnet, 4);
        readOnly(reg::kCurrentGateway, 4);
        readOnly(reg::kVendorName, 32);
        readOnly(reg::kModelName, 32);
        readOnly(reg::kDeviceVersion, 32);
        readOnly(reg::kManufacturerInfo, 48);
        readOnly(reg::kSerialNumber, 16);
        readOnly(reg::kTimestampFrequency, 8);
        readOnly(reg::kTimestampLatched, 8);
        readOnly(reg::kSensorWidth, 4);
        readOnly(reg::kSensorHeight, 4);
        readOnly(reg::kWidthMin, 4);
        readOnly(reg::kHeightMin, 4);
        readOnly(reg::kLinePeriod, 8);
        readOnly(reg::kFirmwareBuildId, 4);
        readOnly(reg::kFirmwareVersion, 32);
        readOnly(reg::kFileOperationStatus, 4);
        readOnly(reg::kFileOperationResult, 4);

        // The link-local fallback cannot be turned off.
        behaviours.push_back({reg::kIpConfig, 4, {},
                              [this](time_point, const uint8_t*) {
                                  ram.setBE32(reg::kIpConfig, ram.be32(reg::kIpConfig) | kIpConfigLLA);
                              },
                              true});

        // Values that follow the clock and the device state.
        computed(reg::kDeviceStatus, 4, [this](time_point now, uint8_t* out) { encodeBE(out, deviceStatus(now), 4); });
        computed(reg::kFrameCounter, 8, [this](time_point now, uint8_t* out) { encodeBE(out, frameCount(now), 8); });
        computed(reg::kTemperatures, 8, [this](time_point now, uint8_t* out) {
            auto milli = [](double celsius) { return static_cast<uint32_t>(static_cast<int32_t>(std::lround(celsius * 1000))); };
            encodeBE(out, milli(sensorTemperature(now)), 4);
            encodeBE(out + 4, milli(mainboardTemperature(now)), 4);
        });
        computed(reg::kLineStatusAll, 4, [this](time_point now, uint8_t* out) { encodeBE(out, lineStatus(now), 4); });
        computed(reg::kUptime, 4, [this](time_point now, uint8_t* out) {
            encodeLE(out, static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::seconds>(now - bootTime).count()), 4);
        });
        computed(reg::kFileSizes, 4 * 4, [this](time_point, uint8_t* out) {
            for (size_t i = 0; i < 4; ++i) encodeBE(out + 4 * i, std::min<uint64_t>(files.size(i), 0xFFFFFFFF), 4);
        });

        // Command registers.
        control(reg::kTimestampControl, [this](time_point now, uint32_t v) { latchTimestamp(now, v); });
        control(
            reg::kAcquisitionStart, [this](time_point now, uint32_t v) { if (v == 1) startAcquisition(now); },
            [this] { return startPending ? 1u : 0u; });
        control(reg::kAcquisitionStop, [this](time_point now, uint32_t v) { if (v == 1) stopAcquisition(now); });
        control(reg::kTriggerSoftware, [this](time_point, uint32_t v) { if (v & kSoftwareTriggerBit) softwareTrigger(); });
        control(reg::kUserSetLoad, [this](time_point now, uint32_t v) {
            if (v == 1) loadUserSet(now, ram.be32(reg::kUserSetSelector));
        });
        control(reg::kUserSetSave, [this](time_point now, uint32_t v) {
            if (v == 1) saveUserSet(now, ram.be32(reg::kUserSetSelector));
        });
        control(reg::kSwitchoverKey, [](time_point, uint32_t) {});
        control(reg::kDeviceReset, [this](time_point now, uint32_t v) { if (v == 1) boot(now, true); });
        control(reg::kFileOperationExecute, [this](time_point now, uint32_t v) { if (v == 1) fileOperation(now); });

        std::sort(behaviours.begin(), behaviours.end(),
                  [](const Behaviour& a, const Behaviour& b) { return a.address < b.address; });
        for (size_t i = 1; i < behaviours.size(); ++i)
            if (behaviours[i].address <= behaviours[i - 1].last())
                throw std::logic_error("simulated camera: behaviour registers overlap");
    }

    // The first behaviour that ends at or after `address`.
    std::vector<Behaviour>::const_iterator firstEndingAtOrAfter(uint64_t address) const {
        return std::partition_point(behaviours.begin(), behaviours.end(),
                                    [address](const Behaviour& b) { return b.last() < address; });
    }

    // ---- port access; the caller holds the lock

    void read(time_point now, uint64_t address, uint8_t* out, uint64_t length) {
        ram.read(address, out, length);
        uint64_t last = address + (length - 1);
        for (auto it = firstEndingAtOrAfter(address); it != behaviours.end() && it->address <= last; ++it) {
            if (!it->read) continue;
            std::vector<uint8_t> bytes(it->length);
            it->read(now, bytes.data());
            uint64_t from = std::max(address, it->address), to = std::min(last, it->last());
            std::memcpy(out + (from - address), bytes.data() + (from - it->address), to - from + 1);
        }
    }

    void write(time_point now, uint64_t address, const uint8_t* in, uint64_t length) {
        foldFrames(now);
        uint64_t last = address + (length - 1);
        uint64_t at = address;
        // Index based: a write may not change the table, but stay safe if it grows.
        size_t i = static_cast<size_t>(firstEndingAtOrAfter(address) - behaviours.begin());
        for (;;) {
            if (i == behaviours.size() || behaviours[i].address > last) {
                ram.write(at, in + (at - address), last - at + 1);
                return;
            }
            const Behaviour& b = behaviours[i];
            if (b.address > at) {
                ram.write(at, in + (at - address), b.address - at);
                at = b.address;
            }
            uint64_t segmentLast = std::min(b.last(), last);
            writeBehaviour(b, now, at, in + (at - address), segmentLast - at + 1);
            if (segmentLast == last) return;
            at = segmentLast + 1;
            ++i;
        }
    }

    void writeBehaviour(const Behaviour& b, time_point now, uint64_t at, const uint8_t* in, uint64_t n) {
        if (!b.write && !b.stores) return; // read-only: the device ignores the write
        std::vector<uint8_t> whole(b.length);
        ram.read(b.address, whole.data(), b.length);
        std::memcpy(whole.data() + (at - b.address), in, n);
        if (b.stores) ram.write(b.address, whole.data(), b.length);
        if (b.write) b.write(now, whole.data());
    }
};

// ---------------------------------------------------------------- SimulatedCamera

SimulatedCamera::SimulatedCamera(Clock clock) : impl_(std::make_unique<Impl>(std::move(clock))) {}
SimulatedCamera::~SimulatedCamera() = default;

namespace {
// Checks a port request; false when there is nothing to transfer.
bool checkRange(const void* buffer, int64_t address, int64_t length, const char* what) {
    if (length < 0)
        throw INVALID_ARGUMENT_EXCEPTION("simulated camera: %s of negative length %lld", what,
                                         static_cast<long long>(length));
    if (length == 0) return false;
    if (!buffer) throw INVALID_ARGUMENT_EXCEPTION("simulated camera: %s into a null buffer", what);
    auto a = static_cast<uint64_t>(address), n = static_cast<uint64_t>(length);
    if (n - 1 > UINT64_MAX - a)
        throw INVALID_ARGUMENT_EXCEPTION("simulated camera: %s of %lld bytes at 0x%" PRIX64 " passes the end of the address space",
                                         what, static_cast<long long>(length), a);
    return true;
}
} // namespace

void SimulatedCamera::Read(void* buffer, int64_t address, int64_t length) {
    if (!checkRange(buffer, address, length, "read")) return;
    std::lock_guard guard(impl_->mutex);
    time_point now = impl_->clock();
    impl_->settle(now);
    ++impl_->reads;
    impl_->read(now, static_cast<uint64_t>(address), static_cast<uint8_t*>(buffer), static_cast<uint64_t>(length));
}

void SimulatedCamera::Write(const void* buffer, int64_t address, int64_t length) {
    if (!checkRange(buffer, address, length, "write")) return;
    std::lock_guard guard(impl_->mutex);
    time_point now = impl_->clock();
    impl_->settle(now);
    ++impl_->writes;
    impl_->write(now, static_cast<uint64_t>(address), static_cast<const uint8_t*>(buffer),
                 static_cast<uint64_t>(length));
}

std::vector<std::string> SimulatedCamera::fileNames() const {
    std::lock_guard guard(impl_->mutex);
    std::vector<std::string> names;
    for (size_t i = 0; i < impl_->files.count(); ++i) names.push_back(impl_->files.name(i));
    return names;
}

std::optional<std::vector<uint8_t>> SimulatedCamera::fileContents(std::string_view name) const {
    std::lock_guard guard(impl_->mutex);
    std::optional<size_t> i = impl_->files.find(name);
    if (!i) return std::nullopt;
    return impl_->files.contents(*i);
}

bool SimulatedCamera::setFileContents(std::string_view name, std::vector<uint8_t> content) {
    std::lock_guard guard(impl_->mutex);
    std::optional<size_t> i = impl_->files.find(name);
    if (!i) return false;
    impl_->files.replace(*i, std::move(content));
    return true;
}

bool SimulatedCamera::fileIsOpen(std::string_view name) const {
    std::lock_guard guard(impl_->mutex);
    std::optional<size_t> i = impl_->files.find(name);
    return i && impl_->files.isOpen(*i);
}

bool SimulatedCamera::acquisitionActive() const {
    std::lock_guard guard(impl_->mutex);
    impl_->settle(impl_->clock());
    return impl_->acquiring;
}

uint64_t SimulatedCamera::acquiredFrames() const {
    std::lock_guard guard(impl_->mutex);
    time_point now = impl_->clock();
    impl_->settle(now);
    return impl_->acquiredFrameCount(now);
}

uint64_t SimulatedCamera::readCount() const {
    std::lock_guard guard(impl_->mutex);
    return impl_->reads;
}

uint64_t SimulatedCamera::writeCount() const {
    std::lock_guard guard(impl_->mutex);
    return impl_->writes;
}

} // namespace qorvis::sim
