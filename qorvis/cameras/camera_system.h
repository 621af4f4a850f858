// The camera system: the back-end behind Q_SYSTEM_CAMERAS. Its digitizers
// are the GigE Vision and USB3 Vision cameras of the machine, each opened
// through Aravis (camera.h); the camera's node map is the library's
// own engine over the description the camera serves, read through a port
// whose failures become the library's pending error. This file gives the
// system and its digitizers their control-type tables and builds them; api/
// turns them into the C API.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "api/control_types.h"
#include "api/objects.h"
#include "cameras/camera.h"

namespace qorvis::cameras {

inline constexpr int64_t kSystemType = 1001; // Q_SYSTEM_TYPE_CAMERAS
inline constexpr std::string_view kBoardName = "Qorvis camera system (GigE Vision, USB3 Vision)";

// "Q_SYSTEM_CAMERAS" names this back-end.
bool isCameraDescriptor(const char* descriptor);

const api::ControlTable& systemControlTypes();
const api::ControlTable& digitizerControlTypes();

struct CameraSystemObject : api::SystemObject {
    using api::SystemObject::SystemObject;
    std::vector<CameraInfo> cameras; // the last discovery's; guarded by the library lock
    bool discovered = false;
};

struct CameraDigitizerObject : api::DigitizerObject {
    using api::DigitizerObject::DigitizerObject;
    ~CameraDigitizerObject() override;
    std::shared_ptr<Camera> device;
    std::unique_ptr<GenApi::IPort> port; // the camera node map's
    CameraInfo info; // identity: discovery's where it listed the camera, else the camera's own
    std::string descriptionUrl;  // where the camera keeps its description
    int64_t descriptionSize = 0; // bytes as served
    bool descriptionZipped = false;
};

// New objects, not yet registered; call without the library lock (discovery
// and opening a camera take time, and node maps are loaded).
std::shared_ptr<api::SystemObject> createSystem(int64_t number);
// The camera that `name` names (any of namesCamera's forms), or else the
// device number's camera in discovery order. Discovers when the system has
// not yet, or when the name is not one Aravis resolves by itself.
std::shared_ptr<api::DigitizerObject>
createDigitizer(const std::shared_ptr<CameraSystemObject>& system, int64_t deviceNumber,
                std::string_view format);

// QdigReadCamera/QdigWriteCamera on a camera digitizer: false when the
// digitizer carries no real camera.
bool readCamera(api::DigitizerObject& digitizer, uint64_t address, void* buffer,
                std::size_t length);
bool writeCamera(api::DigitizerObject& digitizer, uint64_t address, const void* buffer,
                 std::size_t length);

} // namespace qorvis::cameras
