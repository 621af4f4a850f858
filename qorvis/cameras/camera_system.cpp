// The camera system's control types and objects. Numbers follow the value
// classes a browser's port gives each range, as the simulated board's do.
#include "cameras/camera_system.h"

#include <cstring>
#include <string>

#include "GenApi/NodeMapRef.h"
#include "GenICam/exceptions.h"
#include "api/descriptions.h"
#include "api/errors.h"
#include "api/object_port.h"

namespace qorvis::cameras {

using api::Access;
using api::computedTextType;
using api::computedType;
using api::constantType;
using api::ControlTable;
using api::ControlType;
using api::textType;

namespace {

CameraSystemObject& asSystem(api::Object& o) {
    return static_cast<CameraSystemObject&>(o);
}
CameraDigitizerObject& asDigitizer(api::Object& o) {
    return static_cast<CameraDigitizerObject&>(o);
}

int64_t pointerValue(const void* p) {
    return static_cast<int64_t>(reinterpret_cast<uintptr_t>(p));
}

// The camera the system's selector points at; null when it points past the list.
const CameraInfo* selectedCamera(api::Object& o) {
    auto& system = asSystem(o);
    auto it = o.values.integers.find(Q_SYS_CAMERA_SELECTOR);
    auto index = static_cast<std::size_t>(it == o.values.integers.end() ? 0 : it->second);
    return index < system.cameras.size() ? &system.cameras[index] : nullptr;
}

ControlType selectedText(int64_t number, std::string_view name, std::string CameraInfo::*field) {
    return computedTextType(number, name, [field](api::Object& o) {
        const CameraInfo* camera = selectedCamera(o);
        return camera ? camera->*field : std::string();
    });
}

ControlType cameraText(int64_t number, std::string_view name, std::string CameraInfo::*field) {
    return computedTextType(number, name,
                            [field](api::Object& o) { return asDigitizer(o).info.*field; });
}

// The camera node map's port. A failed access becomes the library's pending
// error (as QdigReadCamera's would) and an AccessException with its text;
// it is not printed, since the exception carries it.
class CameraPort final : public GenApi::IPort {
public:
    explicit CameraPort(std::shared_ptr<Camera> camera) : camera_(std::move(camera)) {}
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void* buffer, int64_t address, int64_t length) override {
        access("QdigReadCamera", buffer, length,
               [&] { camera_->read(address, buffer, static_cast<std::size_t>(length)); });
    }
    void Write(const void* buffer, int64_t address, int64_t length) override {
        access("QdigWriteCamera", buffer, length,
               [&] { camera_->write(address, buffer, static_cast<std::size_t>(length)); });
    }

private:
    template <class Access>
    static void access(const char* function, const void* buffer, int64_t length, Access&& run) {
        if (length < 0)
            throw INVALID_ARGUMENT_EXCEPTION("Negative register length %lld",
                                             static_cast<long long>(length));
        if (length > 0 && !buffer) throw INVALID_ARGUMENT_EXCEPTION("Null register buffer");
        try {
            run();
        } catch (const api::Failure& failure) {
            api::recordError(function, failure, false);
            api::ErrorRecord record{failure.code, function, failure.messages};
            throw ACCESS_EXCEPTION("%s", api::errorLine(record).c_str());
        }
    }
    std::shared_ptr<Camera> camera_;
};

std::string listed(const std::vector<CameraInfo>& cameras) {
    if (cameras.empty()) return "Discovery found no camera.";
    std::string ids;
    for (const CameraInfo& c : cameras)
        ids += (ids.empty() ? "" : ", ") + c.id;
    return "Discovery found " + std::to_string(cameras.size()) +
           (cameras.size() == 1 ? " camera: " : " cameras: ") + ids + ".";
}

} // namespace

bool isCameraDescriptor(const char* descriptor) {
    return descriptor && std::strcmp(descriptor, "Q_SYSTEM_CAMERAS") == 0;
}

const ControlTable& systemControlTypes() {
    static const ControlTable table("system", [] {
        std::vector<ControlType> t;
        t.push_back(
            computedType(1049, "SystemNumber", [](api::Object& o) { return asSystem(o).number; }));
        t.push_back(
            computedType(Q_OWNER_SYSTEM, "OwnerSystem", [](api::Object& o) { return o.id; }));
        t.push_back(computedType(Q_SYS_DIGITIZER_COUNT, "DigitizerCount", [](api::Object& o) {
            return static_cast<int64_t>(api::objectsOf(api::Kind::Digitizer, o.id).size());
        }));
        t.push_back(constantType(Q_SYSTEM_TYPE, "SystemType", kSystemType));
        t.push_back(constantType(Q_SYSTEM_SUBTYPE, "SystemSubtype", 0));
        t.push_back(api::choiceType(Q_GC_POLLING, "Polling", Q_FALSE, {Q_FALSE, Q_TRUE}));
        t.push_back(api::actionType(Q_SYSTEM_ERROR_CLEAR, "ErrorClear",
                                    [](api::Object&, int64_t) { api::clearPendingError(); }));
        t.push_back(computedType(Q_SYS_CAMERA_COUNT, "CameraCount", [](api::Object& o) {
            return static_cast<int64_t>(asSystem(o).cameras.size());
        }));
        // 0 to count - 1 (0 while the list is empty).
        ControlType selector = api::rangedType(Q_SYS_CAMERA_SELECTOR, "CameraSelector", 0, 0, 255);
        selector.write = [](api::Object& o, int64_t value) {
            auto count = static_cast<int64_t>(asSystem(o).cameras.size());
            if (value >= std::max<int64_t>(count, 1))
                api::fail(Q_ERR_OUT_OF_RANGE,
                          "Value " + std::to_string(value) + " is outside 0 to " +
                              std::to_string(std::max<int64_t>(count - 1, 0)) + ".",
                          listed(asSystem(o).cameras));
            o.values.integers[Q_SYS_CAMERA_SELECTOR] = value;
        };
        t.push_back(std::move(selector));
        // Reads 0; 1 runs discovery (a command register that clears itself).
        ControlType discovery =
            api::choiceType(Q_SYS_CAMERA_DISCOVERY, "CameraDiscovery", 0, {0, 1});
        discovery.read = [](api::Object&) { return int64_t{0}; };
        discovery.write = [](api::Object& o, int64_t value) {
            if (value != 1) return;
            asSystem(o).cameras = discoverCameras();
            asSystem(o).discovered = true;
            o.values.integers.erase(Q_SYS_CAMERA_SELECTOR);
        };
        t.push_back(std::move(discovery));
        // Cameras complete commands after the write that starts them.
        t.push_back(
            constantType(Q_GC_COMMAND_COMPLETION, "CommandCompletion", Q_GC_COMMAND_ASYNCHRONOUS));
        t.push_back(computedType(Q_GC_NODE_MAP, "NodeMap", [](api::Object& o) {
            return pointerValue(asSystem(o).ownMap->_Ptr());
        }));
        t.push_back(computedType(Q_SYS_UPTIME, "Uptime", [](api::Object& o) {
            return static_cast<int64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                            std::chrono::steady_clock::now() - o.created)
                                            .count());
        }));
        t.push_back(textType(Q_SYS_BOARD_NAME, "BoardName", Access::ReadOnly, kBoardName));
        t.push_back(textType(Q_SYS_USER_LABEL, "UserLabel", Access::ReadWrite, ""));
        t.push_back(computedTextType(Q_SYS_DRIVER_VERSION, "DriverVersion",
                                     [](api::Object&) { return aravisVersion(); }));
        t.push_back(selectedText(Q_SYS_CAMERA_ID, "CameraID", &CameraInfo::id));
        t.push_back(selectedText(Q_SYS_CAMERA_VENDOR, "CameraVendor", &CameraInfo::vendor));
        t.push_back(selectedText(Q_SYS_CAMERA_MODEL, "CameraModel", &CameraInfo::model));
        t.push_back(
            selectedText(Q_SYS_CAMERA_SERIAL_NUMBER, "CameraSerialNumber", &CameraInfo::serial));
        t.push_back(selectedText(Q_SYS_CAMERA_PROTOCOL, "CameraProtocol", &CameraInfo::protocol));
        t.push_back(selectedText(Q_SYS_CAMERA_ADDRESS, "CameraAddress", &CameraInfo::address));
        t.push_back(selectedText(Q_SYS_CAMERA_PHYSICAL_ADDRESS, "CameraPhysicalAddress",
                                 &CameraInfo::physicalAddress));
        return t;
    }());
    return table;
}

const ControlTable& digitizerControlTypes() {
    static const ControlTable table("digitizer", [] {
        std::vector<ControlType> t;
        t.push_back(computedType(Q_DIG_DEVICE_NUMBER, "DeviceNumber",
                                 [](api::Object& o) { return asDigitizer(o).deviceNumber; }));
        t.push_back(
            computedType(Q_OWNER_SYSTEM, "OwnerSystem", [](api::Object& o) { return o.owner; }));
        t.push_back(api::choiceType(Q_GC_POLLING, "Polling", Q_FALSE, {Q_FALSE, Q_TRUE}));
        t.push_back(
            constantType(Q_GC_COMMAND_COMPLETION, "CommandCompletion", Q_GC_COMMAND_ASYNCHRONOUS));
        t.push_back(computedType(Q_DIG_CAMERA_PRESENT, "CameraPresent", [](api::Object& o) {
            return asDigitizer(o).device->lost() ? int64_t{Q_FALSE} : int64_t{Q_TRUE};
        }));
        t.push_back(computedType(Q_GC_NODE_MAP, "NodeMap", [](api::Object& o) {
            return pointerValue(asDigitizer(o).cameraMap->_Ptr());
        }));
        t.push_back(computedType(Q_DIG_DESCRIPTION_SIZE, "DescriptionSize",
                                 [](api::Object& o) { return asDigitizer(o).descriptionSize; }));
        t.push_back(computedType(Q_DIG_DESCRIPTION_ZIPPED, "DescriptionZipped", [](api::Object& o) {
            return asDigitizer(o).descriptionZipped ? int64_t{Q_TRUE} : int64_t{Q_FALSE};
        }));
        t.push_back(computedType(Q_DIG_CAMERA_READS, "CameraReads", [](api::Object& o) {
            return static_cast<int64_t>(asDigitizer(o).device->reads());
        }));
        t.push_back(computedType(Q_DIG_CAMERA_WRITES, "CameraWrites", [](api::Object& o) {
            return static_cast<int64_t>(asDigitizer(o).device->writes());
        }));
        t.push_back(textType(Q_DIG_USER_LABEL, "UserLabel", Access::ReadWrite, ""));
        t.push_back(cameraText(Q_DIG_CAMERA_VENDOR, "CameraVendor", &CameraInfo::vendor));
        t.push_back(cameraText(Q_DIG_CAMERA_MODEL, "CameraModel", &CameraInfo::model));
        t.push_back(
            cameraText(Q_DIG_CAMERA_SERIAL_NUMBER, "CameraSerialNumber", &CameraInfo::serial));
        t.push_back(cameraText(Q_DIG_CAMERA_ID, "CameraID", &CameraInfo::id));
        t.push_back(cameraText(Q_DIG_CAMERA_PROTOCOL, "CameraProtocol", &CameraInfo::protocol));
        t.push_back(cameraText(Q_DIG_CAMERA_ADDRESS, "CameraAddress", &CameraInfo::address));
        t.push_back(cameraText(Q_DIG_CAMERA_USER_NAME, "CameraUserName", &CameraInfo::userName));
        t.push_back(cameraText(Q_DIG_CAMERA_PHYSICAL_ADDRESS, "CameraPhysicalAddress",
                               &CameraInfo::physicalAddress));
        t.push_back(computedTextType(Q_DIG_FORMAT, "Format",
                                     [](api::Object& o) { return asDigitizer(o).format; }));
        t.push_back(computedTextType(Q_DIG_DESCRIPTION_URL, "DescriptionURL",
                                     [](api::Object& o) { return asDigitizer(o).descriptionUrl; }));
        t.push_back(computedTextType(Q_DIG_CAMERA_STATE, "CameraState", [](api::Object& o) {
            return asDigitizer(o).device->state().substr(0, 127); // a text's longest
        }));
        return t;
    }());
    return table;
}

CameraDigitizerObject::~CameraDigitizerObject() {
    cameraMap.reset(); // before the port and the camera it reads
}

std::shared_ptr<api::SystemObject> createSystem(int64_t number) {
    auto system = std::make_shared<CameraSystemObject>(&systemControlTypes());
    system->number = number;
    system->ownPort = api::makeObjectPort(*system);
    system->ownMap = std::make_unique<GenApi::CNodeMapRef>();
    system->ownMap->_LoadXMLFromString(
        GenICam::gcstring(api::embeddedDescription("QsysControl_cameras.xml")));
    if (!system->ownMap->_Connect(system->ownPort.get()))
        api::fail(Q_ERR_ALLOCATION, "The system's description has no port named Device.");
    return system;
}

std::shared_ptr<api::DigitizerObject>
createDigitizer(const std::shared_ptr<CameraSystemObject>& system, int64_t deviceNumber,
                std::string_view format) {
    std::vector<CameraInfo> known;
    bool discovered = false;
    {
        api::LibraryLock lock(api::libraryMutex());
        known = system->cameras;
        discovered = system->discovered;
    }
    bool fresh = false;
    auto discover = [&] {
        known = discoverCameras();
        discovered = fresh = true;
    };
    const std::string name = format == "DEFAULT" ? std::string() : std::string(format);
    auto named = [&]() -> const CameraInfo* {
        for (const CameraInfo& c : known)
            if (namesCamera(c, name)) return &c;
        return nullptr;
    };

    const CameraInfo* listedCamera = nullptr;
    std::unique_ptr<Camera> camera;
    if (!name.empty()) {
        // Aravis resolves identifiers, user names and addresses by itself,
        // without a full discovery; a serial number needs the list.
        if (discovered) listedCamera = named();
        if (!listedCamera) camera = Camera::open(name);
        if (!listedCamera && !camera) {
            if (!fresh) discover();
            listedCamera = named();
        }
        if (!listedCamera && !camera)
            api::fail(Q_ERR_CAMERA, "No camera named \"" + name + "\".", listed(known));
    } else {
        if (!discovered) discover();
        if (deviceNumber >= static_cast<int64_t>(known.size()))
            api::fail(Q_ERR_OUT_OF_RANGE, "Invalid device number.",
                      "Device number " + std::to_string(deviceNumber) + " names no camera. " +
                          listed(known));
        listedCamera = &known[static_cast<std::size_t>(deviceNumber)];
    }
    if (!camera) camera = Camera::open(listedCamera->id);
    if (!camera)
        api::fail(Q_ERR_CAMERA, "The camera could not be opened.",
                  listedCamera->id + " did not answer.");

    auto digitizer = std::make_shared<CameraDigitizerObject>(&digitizerControlTypes());
    digitizer->owner = system->id;
    digitizer->format = std::string(format);
    digitizer->deviceNumber = listedCamera ? listedCamera - known.data() : -1;
    digitizer->info = camera->info();
    if (listedCamera) {
        std::string userName = digitizer->info.userName;
        digitizer->info = *listedCamera;
        digitizer->info.userName = userName;
    }
    digitizer->device = std::move(camera);

    ServedDescription served = digitizer->device->description();
    digitizer->descriptionUrl = served.url;
    digitizer->descriptionSize = static_cast<int64_t>(served.bytes.size());
    digitizer->descriptionZipped = served.zipped;
    GenApi::CNodeMapFactory factory(served.zipped ? GenApi::ContentType_ZippedXml
                                                  : GenApi::ContentType_Xml,
                                    served.bytes.data(), served.bytes.size());
    digitizer->cameraMap = std::make_unique<GenApi::CNodeMapRef>();
    digitizer->cameraMap->_Attach(factory.CreateNodeMap("Device"));
    digitizer->port = std::make_unique<CameraPort>(digitizer->device);
    if (!digitizer->cameraMap->_Connect(digitizer->port.get()))
        api::fail(Q_ERR_CAMERA, "The camera's description has no port named Device.",
                  digitizer->descriptionUrl);

    if (fresh) {
        api::LibraryLock lock(api::libraryMutex());
        system->cameras = known;
        system->discovered = true;
    }
    return digitizer;
}

bool readCamera(api::DigitizerObject& digitizer, uint64_t address, void* buffer,
                std::size_t length) {
    auto* d = dynamic_cast<CameraDigitizerObject*>(&digitizer);
    if (!d) return false;
    d->device->read(address, buffer, length);
    return true;
}

bool writeCamera(api::DigitizerObject& digitizer, uint64_t address, const void* buffer,
                 std::size_t length) {
    auto* d = dynamic_cast<CameraDigitizerObject*>(&digitizer);
    if (!d) return false;
    d->device->write(address, buffer, length);
    return true;
}

} // namespace qorvis::cameras
