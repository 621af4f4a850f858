// The simulated camera: a Torvex TVX1280M, a monochrome GigE Vision area-scan
// camera that exists only as a device model. It answers register reads and
// writes through GenApi::IPort like a real device's control channel, and
// brings its own GenICam description (descriptionXml()).
//
// Behind the port is a RAM-like register space (whatever is written reads
// back) with the device's behaviour layered on top: read-only identity
// registers, a temperature and a frame counter that follow the clock, an
// AcquisitionStart that takes 300 ms, user sets, a timestamp latch and a file
// store reached through the file access registers. The register map is in
// sim/register_map.h and docs/sim_camera.md.
//
// Reads and writes may come from several threads at once.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "GenApi/Interfaces.h"
#include "GenApi/NodeMapRef.h"

namespace qorvis::sim {

// Where the device takes its time from. Tests inject a ManualClock.
using Clock = std::function<std::chrono::steady_clock::time_point()>;

class SimulatedCamera : public GenApi::IPort {
public:
    static constexpr std::string_view kVendorName = "Torvex";
    static constexpr std::string_view kModelName = "TVX1280M";
    static constexpr std::string_view kSerialNumber = "TVX21A0042";
    // How long AcquisitionStart takes until the acquisition runs.
    static constexpr std::chrono::milliseconds kAcquisitionStartDelay{300};

    // Powers the device on at the clock's current time; without a clock the
    // device follows std::chrono::steady_clock.
    explicit SimulatedCamera(Clock clock = {});
    ~SimulatedCamera() override;
    SimulatedCamera(const SimulatedCamera&) = delete;
    SimulatedCamera& operator=(const SimulatedCamera&) = delete;

    // The GenICam description of the device (UTF-8 XML, embedded at build time).
    static std::string_view descriptionXml();

    // ---- GenApi::IPort
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    // Unmapped addresses read as zeros. A negative length, or a range past the
    // end of the 64-bit address space, raises GenICam::InvalidArgumentException.
    void Read(void* buffer, int64_t address, int64_t length) override;
    // Writes to read-only registers are ignored, as a device does.
    void Write(const void* buffer, int64_t address, int64_t length) override;

    // ---- direct access for tests and tools; these bypass the protocol
    // Names of the files in FileSelector order.
    std::vector<std::string> fileNames() const;
    std::optional<std::vector<uint8_t>> fileContents(std::string_view name) const;
    // Replaces a file's content; false when there is no such file.
    bool setFileContents(std::string_view name, std::vector<uint8_t> content);
    bool fileIsOpen(std::string_view name) const;
    bool acquisitionActive() const;
    // Frames read out while an acquisition ran, since power-on or the last
    // reset: what a frame grabber behind the camera has received.
    uint64_t acquiredFrames() const;
    uint64_t readCount() const;
    uint64_t writeCount() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// A clock that stands still until told to move. Copies share one time.
class ManualClock {
public:
    using time_point = std::chrono::steady_clock::time_point;
    using duration = std::chrono::steady_clock::duration;

    ManualClock() : ticks_(std::make_shared<std::atomic<duration::rep>>(std::chrono::hours(1) / duration(1))) {}
    time_point now() const { return time_point(duration(ticks_->load())); }
    void advance(duration d) { ticks_->fetch_add(d.count()); }
    // A Clock that reads this one; it stays valid after the ManualClock is gone.
    Clock clock() const {
        return [ticks = ticks_] { return time_point(duration(ticks->load())); };
    }

private:
    std::shared_ptr<std::atomic<duration::rep>> ticks_;
};

// A simulated camera with its description loaded as the node map "Device"
// and connected to it: what tests, benchmarks and tools start from.
struct ConnectedSimulatedCamera {
    explicit ConnectedSimulatedCamera(Clock clock = {});
    SimulatedCamera device; // declared first: the node map points at it
    GenApi::CNodeMapRef map;
    GenApi::INodeMap* nodeMap() const { return map._Ptr(); }
};

} // namespace qorvis::sim
