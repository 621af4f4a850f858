// What the camera tests share: Aravis's fake GigE Vision camera on 127.0.0.1,
// the camera system over it, and the quillon command.
#pragma once

#include <arv.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <zip.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <tuple>

#include "GenApi/GenApi.h"
#include "browser/text_tree.h"
#include "browser/tree_model.h"
#include "qorvis.h"

namespace camera_test {

// Why the tests cannot run (set by main; empty inside a private network).
inline std::string noPrivateNetwork = "the private network was not set up";

inline std::string ReadFile(const std::string& path) {
    std::ostringstream s;
    s << std::ifstream(path, std::ios::binary).rdbuf();
    return s.str();
}

// The fake camera, as long as it lives. It serves Aravis's own description or
// `file`, zipped when asked (its URL then names a .zip file).
class FakeCamera {
public:
    explicit FakeCamera(const std::string& file = {}, bool zipped = false)
        : zipped_(zipped), served_(file) {
        if (zipped) {
            served_ = "/tmp/quillon_camera_" + std::to_string(getpid()) + ".zip";
            zip_t* archive = zip_open(served_.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
            zip_file_add(archive, "test_camera.xml", zip_source_file(archive, file.c_str(), 0, -1),
                         0);
            zip_close(archive);
        }
        Start();
    }
    ~FakeCamera() {
        Stop();
        if (zipped_) std::remove(served_.c_str());
    }
    // The camera goes away (unplugged), or comes back with fresh memory.
    void Stop() {
        if (camera_) g_object_unref(camera_);
        camera_ = nullptr;
    }
    void Start() {
        camera_ = arv_gv_fake_camera_new_full("127.0.0.1", "GV01",
                                              served_.empty() ? nullptr : served_.c_str());
        char url[512] = {};
        std::snprintf(url, sizeof url, "Local:test_camera.zip;10000;%zx", Served().size());
        if (zipped_) SetMemory(0x200, std::string(url, sizeof url));
    }
    // The camera's own memory, bypassing the network. Registers are big-endian words.
    uint32_t Register(uint32_t address) const {
        guint32 value = 0;
        arv_fake_camera_read_register(fake(), address, &value);
        return value;
    }
    void SetRegister(uint32_t address, uint32_t value) {
        arv_fake_camera_write_register(fake(), address, value);
    }
    std::string Memory(uint32_t address, uint32_t size) const {
        std::string bytes(size, '\0');
        arv_fake_camera_read_memory(fake(), address, size, bytes.data());
        return bytes;
    }
    void SetMemory(uint32_t address, const std::string& bytes) {
        arv_fake_camera_write_memory(fake(), address, static_cast<guint32>(bytes.size()),
                                     bytes.data());
    }
    std::string Served() const { // the description file
        if (!served_.empty()) return ReadFile(served_);
        size_t size = 0;
        const char* xml = arv_fake_camera_get_genicam_xml(fake(), &size);
        return std::string(xml, size);
    }

private:
    ArvFakeCamera* fake() const { return arv_gv_fake_camera_get_fake_camera(camera_); }
    bool zipped_;
    std::string served_;
    ArvGvFakeCamera* camera_ = nullptr;
};

// The camera system, and a digitizer on the named camera (none for null).
struct CameraSystem {
    explicit CameraSystem(const char* camera = "127.0.0.1") {
        QappAlloc(QOR_TEXT(""), &app);
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
        QsysAlloc(app, Q_SYSTEM_CAMERAS, Q_DEFAULT, Q_DEFAULT, &sys);
        if (camera) QdigAlloc(sys, Q_DEFAULT, camera, Q_DEFAULT, &dig);
    }
    ~CameraSystem() {
        if (dig) QdigFree(dig);
        QsysFree(sys);
        QappFree(app);
    }
    int64_t Inquire(QOR_INT64 type) const { return QdigInquire(dig, type, nullptr); }
    GenApi::INodeMap* CameraMap() const {
        return reinterpret_cast<GenApi::INodeMap*>(Inquire(Q_GC_NODE_MAP));
    }
    quillon::browser::NodeMapContext Context() const {
        quillon::browser::NodeMapContext context;
        std::tie(context.nodeMap, context.objectKind, context.object) =
            std::tuple(CameraMap(), Q_DIGITIZER_OBJECT, dig);
        return context;
    }
    QOR_ID app = 0, sys = 0, dig = 0;
};

// The feature tree of one node map at guru level, as `quillon tree` prints it.
inline std::string TreeText(GenApi::INodeMap* map) {
    quillon::browser::TextTree sink;
    quillon::browser::FeatureTreeModel model(sink, nullptr);
    quillon::browser::NodeMapEntry entry;
    entry.context.nodeMap = map;
    model.Build({entry}, quillon::browser::kGuru);
    return sink.Print();
}

struct Outcome {
    std::string out;
    int status = -1;
};
// The quillon command, with standard error unless told otherwise.
inline Outcome Quillon(const std::string& arguments, bool withStderr = true) {
    Outcome run;
    FILE* pipe = popen(
        (QUILLON_EXECUTABLE " " + arguments + (withStderr ? " 2>&1" : " 2>/dev/null")).c_str(),
        "r");
    char chunk[4096];
    for (size_t n; (n = fread(chunk, 1, sizeof chunk, pipe)) > 0;)
        run.out.append(chunk, n);
    int raw = pclose(pipe);
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return run;
}

inline bool Has(const std::string& text, const std::string& piece) {
    return text.find(piece) != std::string::npos;
}

} // namespace camera_test

#define REQUIRE_PRIVATE_NETWORK()                                                                  \
    if (!camera_test::noPrivateNetwork.empty()) GTEST_SKIP() << camera_test::noPrivateNetwork
