// The library's side of the cameras: naming a camera, and Aravis's device
// layer reached through qorvis_aravis.so, which is opened on the first
// discovery or camera and stays loaded.
#include "cameras/camera.h"

#include <algorithm>
#include <cctype>

#include "api/errors.h"
#include "platform/module_beside.h"
#include "qorvis.h"

namespace qorvis::cameras {

namespace {

std::string lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

const AravisLayer& aravis() {
    static std::string failure;
    static const AravisLayer* layer = []() -> const AravisLayer* {
        void* entry = quillon::platform::OpenModuleEntry(reinterpret_cast<const void*>(&discoverCameras),
                                                         "qorvis_aravis.so", kAravisLayerEntry, failure);
        return entry ? reinterpret_cast<const AravisLayer* (*)()>(entry)() : nullptr;
    }();
    if (!layer) api::fail(Q_ERR_CAMERA, "Aravis could not be loaded.", failure);
    return *layer;
}

} // namespace

std::vector<CameraInfo> discoverCameras() { return aravis().discover(); }

std::unique_ptr<Camera> Camera::open(const std::string& name) { return aravis().open(name); }

std::string aravisVersion() { return aravis().version(); }

bool namesCamera(const CameraInfo& camera, const std::string& name) {
    if (name.empty()) return false;
    for (const std::string* field : {&camera.id, &camera.serial, &camera.userName, &camera.address})
        if (*field == name) return true;
    return !camera.physicalAddress.empty() && lower(camera.physicalAddress) == lower(name);
}

} // namespace qorvis::cameras
