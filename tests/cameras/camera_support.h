// What the camera tests share: a private network namespace with only the
// loopback interface (so discovery broadcasts never leave the machine),
// Aravis's fake GigE Vision camera served on 127.0.0.1 inside it, and the
// camera system's objects over it.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "qorvis.h"
#include "types/feature_row.h"

typedef struct _ArvGvFakeCamera ArvGvFakeCamera;

namespace camera_test {

// Called first in main: unless already there, re-executes the process in a
// new network namespace (root only) with lo up. Afterwards the reason the
// tests cannot run is empty, or says why namespaces are not available.
void EnterPrivateNetwork(char** argv);
const std::string& NoPrivateNetwork();

// Aravis's fake GigE Vision camera on 127.0.0.1, as long as it lives.
class FakeCamera {
public:
    // Serves Aravis's own description, or `description` (a file), zipped
    // when asked (the camera's URL then names a .zip file).
    explicit FakeCamera(const std::string& description = {}, bool zipped = false);
    ~FakeCamera();
    FakeCamera(const FakeCamera&) = delete;
    FakeCamera& operator=(const FakeCamera&) = delete;

    // The camera goes away (unplugged) or comes back with fresh memory.
    void Stop();
    void Start();
    // The camera's own memory, bypassing the network: what it holds, and
    // changes it makes by itself. Registers are big-endian 32-bit values.
    uint32_t Register(uint32_t address) const;
    void SetRegister(uint32_t address, uint32_t value);
    std::string Memory(uint32_t address, uint32_t size) const;
    void SetMemory(uint32_t address, const std::string& bytes);
    // The description file as served.
    std::string Served() const;

private:
    std::string description_;
    bool zipped_;
    std::string served_; // the file the camera serves
    ArvGvFakeCamera* camera_ = nullptr;
};

// The test fixture description (tests/cameras/fixtures/test_camera.xml).
std::string FixturePath();

// The camera system, discovered or not, and a digitizer on the named camera.
struct CameraSystem {
    explicit CameraSystem(const char* camera = "127.0.0.1");
    ~CameraSystem();
    CameraSystem(const CameraSystem&) = delete;
    CameraSystem& operator=(const CameraSystem&) = delete;
    GenApi::INodeMap* CameraMap() const;
    quillon::browser::NodeMapContext Context() const;
    int64_t Inquire(QOR_INT64 type) const;
    std::string InquireText(QOR_INT64 type) const;
    QOR_ID app = 0, sys = 0, dig = 0;
};

// The feature tree at guru level as `quillon tree` prints it.
std::string TreeText(const std::vector<quillon::browser::NodeMapEntry>& entries);

struct Outcome {
    std::string out;
    int status = -1;
};
// Runs the quillon command (standard error merged unless told otherwise),
// with `environment` changes as env(1) takes them.
Outcome Quillon(const std::string& arguments, bool withStderr = true,
                const std::string& environment = {});

bool Has(const std::string& text, const std::string& piece);

} // namespace camera_test

#define REQUIRE_PRIVATE_NETWORK()                                                                  \
    if (!camera_test::NoPrivateNetwork().empty()) GTEST_SKIP() << camera_test::NoPrivateNetwork()
