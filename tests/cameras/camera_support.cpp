#include "camera_support.h"

#include <arv.h>
#include <sys/wait.h>
#include <zip.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "../support/private_network.h"
#include "browser/text_tree.h"
#include "browser/tree_model.h"

namespace camera_test {

namespace {

std::string& reason() {
    static std::string text = "the private network was not set up";
    return text;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

// A folder of this process's own for the files the fake camera serves.
const std::string& scratch() {
    static const std::string path = [] {
        char name[] = "/tmp/quillon_cameras_XXXXXX";
        return std::string(mkdtemp(name) ? name : "/tmp");
    }();
    return path;
}

std::string zipped(const std::string& xmlPath) {
    static std::string content; // alive until zip_close has read it
    content = readFile(xmlPath);
    std::string path = scratch() + "/test_camera.zip";
    int error = 0;
    zip_t* archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    zip_source_t* source = zip_source_buffer(archive, content.data(), content.size(), 0);
    zip_file_add(archive, "test_camera.xml", source, ZIP_FL_OVERWRITE);
    zip_close(archive);
    return path;
}

} // namespace

void EnterPrivateNetwork(char** argv) {
    reason() = quillon_test_support::EnterPrivateNetwork(argv);
    if (!reason().empty()) reason() += "; GigE Vision tests skipped";
}

const std::string& NoPrivateNetwork() {
    return reason();
}

std::string FixturePath() {
    return QUILLON_CAMERA_FIXTURE;
}

FakeCamera::FakeCamera(const std::string& description, bool zip)
    : description_(description), zipped_(zip) {
    served_ = zip ? zipped(description) : description;
    Start();
}

FakeCamera::~FakeCamera() {
    Stop();
}

void FakeCamera::Start() {
    camera_ = arv_gv_fake_camera_new_full("127.0.0.1", "GV01",
                                          served_.empty() ? nullptr : served_.c_str());
    if (zipped_) {
        char url[512] = {};
        std::snprintf(url, sizeof url, "Local:test_camera.zip;10000;%zx", Served().size());
        SetMemory(0x200, std::string(url, sizeof url));
    }
}

void FakeCamera::Stop() {
    if (camera_) g_object_unref(camera_);
    camera_ = nullptr;
}

uint32_t FakeCamera::Register(uint32_t address) const {
    guint32 value = 0;
    arv_fake_camera_read_register(arv_gv_fake_camera_get_fake_camera(camera_), address, &value);
    return value;
}

void FakeCamera::SetRegister(uint32_t address, uint32_t value) {
    arv_fake_camera_write_register(arv_gv_fake_camera_get_fake_camera(camera_), address, value);
}

std::string FakeCamera::Memory(uint32_t address, uint32_t size) const {
    std::string bytes(size, '\0');
    arv_fake_camera_read_memory(arv_gv_fake_camera_get_fake_camera(camera_), address, size,
                                bytes.data());
    return bytes;
}

void FakeCamera::SetMemory(uint32_t address, const std::string& bytes) {
    arv_fake_camera_write_memory(arv_gv_fake_camera_get_fake_camera(camera_), address,
                                 static_cast<guint32>(bytes.size()), bytes.data());
}

std::string FakeCamera::Served() const {
    if (!served_.empty()) return readFile(served_);
    size_t size = 0;
    const char* xml =
        arv_fake_camera_get_genicam_xml(arv_gv_fake_camera_get_fake_camera(camera_), &size);
    return std::string(xml, size);
}

CameraSystem::CameraSystem(const char* camera) {
    QappAlloc(QOR_TEXT(""), &app);
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
    QsysAlloc(app, Q_SYSTEM_CAMERAS, Q_DEFAULT, Q_DEFAULT, &sys);
    if (camera) QdigAlloc(sys, Q_DEFAULT, camera, Q_DEFAULT, &dig);
}

CameraSystem::~CameraSystem() {
    if (dig) QdigFree(dig);
    QsysFree(sys);
    QappFree(app);
}

GenApi::INodeMap* CameraSystem::CameraMap() const {
    return reinterpret_cast<GenApi::INodeMap*>(Inquire(Q_GC_NODE_MAP));
}

quillon::browser::NodeMapContext CameraSystem::Context() const {
    quillon::browser::NodeMapContext context;
    context.nodeMap = CameraMap();
    context.objectKind = Q_DIGITIZER_OBJECT;
    context.object = dig;
    return context;
}

int64_t CameraSystem::Inquire(QOR_INT64 type) const {
    QOR_INT64 value = 0;
    QdigInquire(dig, type, &value);
    return value;
}

std::string CameraSystem::InquireText(QOR_INT64 type) const {
    std::vector<char> text(static_cast<size_t>(Inquire(type + Q_STRING_SIZE)) + 1, '\0');
    QdigInquire(dig, type, text.data());
    return text.data();
}

std::string TreeText(const std::vector<quillon::browser::NodeMapEntry>& entries) {
    quillon::browser::TextTree sink;
    quillon::browser::FeatureTreeModel model(sink, nullptr);
    model.Build(entries, quillon::browser::kGuru);
    return sink.Print();
}

Outcome Quillon(const std::string& arguments, bool withStderr, const std::string& environment) {
    Outcome run;
    std::string command = "env " + environment + " " + QUILLON_EXECUTABLE + " " + arguments +
                          (withStderr ? " 2>&1" : " 2>/dev/null");
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return run;
    std::array<char, 4096> chunk;
    size_t n;
    while ((n = fread(chunk.data(), 1, chunk.size(), pipe)) > 0)
        run.out.append(chunk.data(), n);
    int raw = pclose(pipe);
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return run;
}

bool Has(const std::string& text, const std::string& piece) {
    return text.find(piece) != std::string::npos;
}

} // namespace camera_test
