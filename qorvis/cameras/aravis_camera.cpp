// qorvis_aravis.so: Aravis's device layer behind Camera, a module the
// library opens on first use (camera.cpp). Register offsets are the
// standards' own: the GigE Vision bootstrap registers and the USB3 Vision
// technology agnostic bootstrap register map (ABRM).
#include <arv.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <thread>

#include "cameras/camera.h"

#include "api/errors.h"
#include "qorvis.h"

namespace qorvis::cameras {

namespace {

// Aravis's interface list and device opening are process-wide state.
std::mutex& aravisMutex() {
    static auto* mutex = new std::mutex;
    return *mutex;
}

std::string text(const char* value) {
    return value ? value : "";
}

std::string lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

std::string hex(uint64_t value) {
    char buffer[24];
    std::snprintf(buffer, sizeof buffer, "0x%llx", static_cast<unsigned long long>(value));
    return buffer;
}

// GigE Vision bootstrap registers.
namespace gev {
constexpr uint64_t kMacAddress = 0x0008; // 2 bytes of high word, then 4
constexpr uint64_t kCurrentIp = 0x0024;
constexpr uint64_t kManufacturer = 0x0048, kModel = 0x0068, kSerial = 0x00d8, kUserName = 0x00e8;
constexpr std::size_t kNameSize = 32, kSerialSize = 16;
constexpr uint64_t kFirstUrl = 0x0200;
constexpr std::size_t kUrlSize = 512;
} // namespace gev

// USB3 Vision ABRM.
namespace u3v {
constexpr uint64_t kManufacturer = 0x0004, kModel = 0x0044, kSerial = 0x0144, kUserName = 0x0184;
constexpr std::size_t kTextSize = 64;
} // namespace u3v

// Errors after which the camera is not expected to answer again.
bool meansLost(const GError* error) {
    return error->domain == ARV_DEVICE_ERROR && (error->code == ARV_DEVICE_ERROR_TIMEOUT ||
                                                 error->code == ARV_DEVICE_ERROR_NOT_CONNECTED ||
                                                 error->code == ARV_DEVICE_ERROR_TRANSFER_ERROR);
}

// "Local:name;address;length[?SchemaVersion=...]": the file's name and where
// it lies in the camera's memory (hexadecimal).
bool parseLocalUrl(const std::string& url, std::string& name, uint64_t& address, uint64_t& length) {
    if (lower(url.substr(0, 6)) != "local:") return false;
    std::string rest = url.substr(6);
    size_t first = rest.find(';');
    size_t second = first == std::string::npos ? first : rest.find(';', first + 1);
    if (second == std::string::npos) return false;
    name = rest.substr(0, first);
    char* end = nullptr;
    address = std::strtoull(rest.c_str() + first + 1, &end, 16);
    if (end != rest.c_str() + second) return false;
    length = std::strtoull(rest.c_str() + second + 1, &end, 16);
    return length > 0 && (*end == '\0' || *end == '?');
}


class AravisCamera final : public Camera {
public:
    AravisCamera(ArvDevice* device, const std::string& name);
    ~AravisCamera() override;

    void read(uint64_t address, void* buffer, std::size_t length) override;
    void write(uint64_t address, const void* buffer, std::size_t length) override;
    ServedDescription description() override;
    const CameraInfo& info() const override { return info_; }
    bool lost() const override { return lost_; }
    std::string state() const override;
    uint64_t reads() const override { return reads_; }
    uint64_t writes() const override { return writes_; }

private:
    // Owns the reference Aravis gave; let go on a thread of its own for a
    // lost camera (see the destructor).
    struct Device {
        ArvDevice* device = nullptr;
        ~Device() {
            if (device) g_object_unref(device);
        }
    };
    [[noreturn]] void failed(GError* error, const char* operation, uint64_t address,
                             std::size_t length);
    void markLost(const std::string& reason);
    std::string readText(uint64_t address, std::size_t length);

    std::unique_ptr<Device> device_;
    CameraInfo info_;
    mutable std::mutex mutex_; // one access at a time; guards lostReason_
    std::atomic<bool> lost_{false};
    std::string lostReason_;
    std::atomic<uint64_t> reads_{0};
    std::atomic<uint64_t> writes_{0};
};


std::vector<CameraInfo> discover() {
    std::lock_guard<std::mutex> lock(aravisMutex());
    arv_update_device_list();
    std::vector<CameraInfo> cameras;
    for (unsigned i = 0; i < arv_get_n_devices(); ++i) {
        CameraInfo c;
        c.id = text(arv_get_device_id(i));
        c.vendor = text(arv_get_device_vendor(i));
        c.model = text(arv_get_device_model(i));
        c.serial = text(arv_get_device_serial_nbr(i));
        c.protocol = text(arv_get_device_protocol(i));
        c.address = text(arv_get_device_address(i));
        c.physicalAddress = text(arv_get_device_physical_id(i));
        cameras.push_back(std::move(c));
    }
    return cameras;
}

std::unique_ptr<Camera> open(const std::string& name) {
    ArvDevice* device = nullptr;
    {
        std::lock_guard<std::mutex> lock(aravisMutex());
        GError* error = nullptr;
        device = arv_open_device(name.c_str(), &error);
        if (error) {
            const bool notFound =
                error->domain == ARV_DEVICE_ERROR && error->code == ARV_DEVICE_ERROR_NOT_FOUND;
            std::string message = error->message;
            g_error_free(error);
            if (device) g_object_unref(device);
            if (notFound) return nullptr;
            api::fail(Q_ERR_CAMERA, "The camera could not be opened.", name + ": " + message);
        }
    }
    if (!device) return nullptr;
    return std::make_unique<AravisCamera>(device, name);
}

std::string version() {
    return "Aravis " + std::to_string(arv_get_major_version()) + "." +
           std::to_string(arv_get_minor_version()) + "." + std::to_string(arv_get_micro_version());
}

AravisCamera::AravisCamera(ArvDevice* device, const std::string& name)
    : device_(std::make_unique<Device>()) {
    device_->device = device;
    info_.id = name;
    ArvDevice* d = device_->device;
    if (ARV_IS_GV_DEVICE(d)) {
        info_.protocol = "GigEVision";
        info_.vendor = readText(gev::kManufacturer, gev::kNameSize);
        info_.model = readText(gev::kModel, gev::kNameSize);
        info_.serial = readText(gev::kSerial, gev::kSerialSize);
        info_.userName = readText(gev::kUserName, gev::kSerialSize);
        uint8_t ip[4] = {}, mac[8] = {};
        read(gev::kCurrentIp, ip, sizeof ip);
        read(gev::kMacAddress, mac, sizeof mac);
        char buffer[32];
        std::snprintf(buffer, sizeof buffer, "%u.%u.%u.%u", ip[0], ip[1], ip[2], ip[3]);
        info_.address = buffer;
        std::snprintf(buffer, sizeof buffer, "%02x:%02x:%02x:%02x:%02x:%02x", mac[2], mac[3],
                      mac[4], mac[5], mac[6], mac[7]);
        info_.physicalAddress = buffer;
    } else if (ARV_IS_UV_DEVICE(d)) {
        info_.protocol = "USB3Vision";
        info_.vendor = readText(u3v::kManufacturer, u3v::kTextSize);
        info_.model = readText(u3v::kModel, u3v::kTextSize);
        info_.serial = readText(u3v::kSerial, u3v::kTextSize);
        info_.userName = readText(u3v::kUserName, u3v::kTextSize);
    }
}

AravisCamera::~AravisCamera() {
    // Aravis takes leave of a camera it controls (a register write); a lost
    // one would keep the caller for the whole time-out, so it is let go on a
    // thread of its own.
    if (lost_) std::thread([device = std::move(device_)] {}).detach();
}

std::string AravisCamera::readText(uint64_t address, std::size_t length) {
    std::string value(length, '\0');
    read(address, value.data(), length);
    value.resize(strnlen(value.c_str(), length));
    return value;
}

void AravisCamera::read(uint64_t address, void* buffer, std::size_t length) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (lost_) api::fail(Q_ERR_CAMERA, "Camera not responding.", lostReason_);
    if (length == 0) return;
    ++reads_;
    GError* error = nullptr;
    if (!arv_device_read_memory(device_->device, address, static_cast<guint32>(length), buffer,
                                &error))
        failed(error, "read", address, length);
}

void AravisCamera::write(uint64_t address, const void* buffer, std::size_t length) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (lost_) api::fail(Q_ERR_CAMERA, "Camera not responding.", lostReason_);
    if (length == 0) return;
    ++writes_;
    GError* error = nullptr;
    bool done = false;
    // GigE Vision cameras need not support memory writes, but every one
    // writes an aligned 32-bit register (big-endian on the wire).
    if (ARV_IS_GV_DEVICE(device_->device) && length == 4 && address % 4 == 0) {
        const auto* b = static_cast<const uint8_t*>(buffer);
        guint32 value = guint32{b[0]} << 24 | guint32{b[1]} << 16 | guint32{b[2]} << 8 | b[3];
        done = arv_device_write_register(device_->device, address, value, &error);
    } else {
        std::string copy(static_cast<const char*>(buffer), length); // Aravis takes a mutable buffer
        done = arv_device_write_memory(device_->device, address, static_cast<guint32>(length),
                                       copy.data(), &error);
    }
    if (!done) failed(error, "write", address, length);
}

void AravisCamera::failed(GError* error, const char* operation, uint64_t address,
                          std::size_t length) {
    std::string message = error ? error->message : "no answer";
    const bool lost = !error || meansLost(error);
    if (error) g_error_free(error);
    std::string where =
        std::string(operation) + " of " + std::to_string(length) + " bytes at " + hex(address);
    if (lost) {
        markLost(info_.id + " did not answer (" + message + ", " + where +
                 "); allocate the digitizer again once the camera is back.");
        api::fail(Q_ERR_CAMERA, "Camera not responding.", lostReason_);
    }
    api::fail(Q_ERR_CAMERA, "Camera access refused.", message + ": " + where + ".");
}

void AravisCamera::markLost(const std::string& reason) {
    lostReason_ = reason;
    lost_ = true;
}

std::string AravisCamera::state() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return lost_ ? "Not responding: " + lostReason_ : "Answering";
}

ServedDescription AravisCamera::description() {
    ServedDescription d;
    if (ARV_IS_GV_DEVICE(device_->device)) {
        d.url = readText(gev::kFirstUrl, gev::kUrlSize);
        std::string name;
        uint64_t address = 0, length = 0;
        // A zipped file is read as it is (Aravis keeps only the text it
        // unzipped); a plain one is the text Aravis read when it opened the
        // camera.
        if (parseLocalUrl(d.url, name, address, length) && lower(name).ends_with(".zip")) {
            // Reads come in whole 32-bit words.
            std::string bytes((length + 3) / 4 * 4, '\0');
            read(address, bytes.data(), bytes.size());
            bytes.resize(length);
            d.bytes = std::move(bytes);
            d.zipped = true;
            return d;
        }
    }
    // Plain, or kept elsewhere (a USB3 Vision manifest, a file or web
    // address): as Aravis fetched it when the camera was opened, unzipped.
    std::lock_guard<std::mutex> lock(mutex_);
    size_t size = 0;
    const char* xml = arv_device_get_genicam_xml(device_->device, &size);
    if (!xml || size == 0)
        api::fail(Q_ERR_CAMERA, "No camera description.",
                  info_.id + " serves no GenICam description.");
    d.bytes.assign(xml, size);
    return d;
}

} // namespace

} // namespace qorvis::cameras

extern "C" __attribute__((visibility("default"))) const qorvis::cameras::AravisLayer*
QorvisAravisLayer() {
    static const qorvis::cameras::AravisLayer layer{qorvis::cameras::discover, qorvis::cameras::open,
                                                   qorvis::cameras::version};
    return &layer;
}
