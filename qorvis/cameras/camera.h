// The cameras of the machine as Aravis's device layer reaches them: discovery,
// opening one camera, register and memory access, and the GenICam
// description the camera serves. Nothing uses Aravis's own GenICam engine;
// the library's node maps read through Camera::read and write. Aravis itself
// is in qorvis_aravis.so (aravis_camera.cpp), loaded on first use.
//
// Failures are api::Failure with Q_ERR_CAMERA. A camera that does not answer
// within its own time-out (GigE Vision: five tries of 500 ms) or whose
// control channel is lost is marked lost: every later access fails at once,
// so a window, a polling thread or a transfer never waits on it again.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qorvis::cameras {

// One camera as discovery lists it, or as an opened camera describes itself.
struct CameraInfo {
    std::string id; // Aravis's device identifier ("Vendor-Model-Serial" ...)
    std::string vendor;
    std::string model;
    std::string serial;
    std::string protocol;        // "GigEVision", "USB3Vision"
    std::string address;         // IP address, or the USB bus address
    std::string physicalAddress; // MAC address, or the USB GUID
    std::string userName;        // the name the user gave the camera (opened cameras only)
};

// Asks every interface for its cameras (GigE Vision: a broadcast on each
// network interface, answered within a second; USB3 Vision: the bus).
std::vector<CameraInfo> discoverCameras();

// Whether `name` names the camera: its identifier, serial number, user name,
// IP address or MAC address (MAC addresses in any letter case).
bool namesCamera(const CameraInfo& camera, const std::string& name);

// The GenICam description as the camera keeps it.
struct ServedDescription {
    std::string url;   // "Local:name.zip;address;length", or empty
    std::string bytes; // the file: XML, or a zip archive holding it
    bool zipped = false;
};

// One opened camera. Failures are api::Failure with Q_ERR_CAMERA; a camera
// that stopped answering fails every later access at once.
class Camera {
public:
    // The camera Aravis knows by `name` (identifier, user name, IP or MAC
    // address); null when none answers to it. Other failures (permissions, a
    // description Aravis cannot read) are a Failure.
    static std::unique_ptr<Camera> open(const std::string& name);
    // Returns at once, also for a lost camera.
    virtual ~Camera() = default;

    // Bytes in the camera's own order. Serialised per camera: the polling
    // thread and the window's thread take turns.
    virtual void read(uint64_t address, void* buffer, std::size_t length) = 0;
    virtual void write(uint64_t address, const void* buffer, std::size_t length) = 0;

    // Where the camera keeps its description (read at each call), and the
    // file: a zipped one read from the camera as it is, a plain one as
    // Aravis read it when it opened the camera.
    virtual ServedDescription description() = 0;

    // What the camera says about itself (bootstrap registers); the
    // identifier is the name it was opened by.
    virtual const CameraInfo& info() const = 0;
    virtual bool lost() const = 0;
    // "Answering", or why the camera counts as lost.
    virtual std::string state() const = 0;
    virtual uint64_t reads() const = 0;
    virtual uint64_t writes() const = 0;
};

// "Aravis 0.8.26": the device layer's version.
std::string aravisVersion();

// What qorvis_aravis.so gives the library: Aravis, with GLib and the rest of
// its libraries, loads only into a process that asks for a camera, so a host
// that never does starts without them.
struct AravisLayer {
    std::vector<CameraInfo> (*discover)();
    std::unique_ptr<Camera> (*open)(const std::string& name);
    std::string (*version)();
};
inline constexpr char kAravisLayerEntry[] = "QorvisAravisLayer";

} // namespace qorvis::cameras
