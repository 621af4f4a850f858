// Device files through the GenApi file streams, over the simulated camera's
// file access protocol.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "sim/sim_camera.h"

using namespace GenApi;
using qorvis::sim::SimulatedCamera;

namespace {

using Camera = qorvis::sim::ConnectedSimulatedCamera;

std::vector<char> pattern(size_t n, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<char> bytes(n);
    for (char& b : bytes) b = static_cast<char>(random());
    return bytes;
}

std::vector<char> download(INodeMap* map, const char* file) {
    IDevFileStream in(map, file);
    EXPECT_TRUE(in.is_open());
    std::vector<char> out;
    char chunk[2048];
    while (in) {
        in.read(chunk, sizeof chunk);
        out.insert(out.end(), chunk, chunk + in.gcount());
    }
    in.close();
    return out;
}

} // namespace

TEST(DeviceFiles, SurviveARoundTripByteForByte) {
    Camera camera;
    for (size_t size : {size_t{0}, size_t{1}, size_t{2048}, size_t{5000}, size_t{1} << 20}) {
        SCOPED_TRACE(size);
        std::vector<char> data = pattern(size, static_cast<unsigned>(size));
        {
            ODevFileStream out(camera.map._Ptr(), "UserSet2");
            ASSERT_TRUE(out.is_open());
            // Uneven pieces cross the device's buffer boundaries.
            size_t done = 0;
            for (size_t piece = 1; done < size; piece = piece * 3 + 7) {
                size_t n = std::min(piece, size - done);
                out.write(data.data() + done, static_cast<std::streamsize>(n));
                done += n;
            }
            out.close();
        }
        auto stored = camera.device.fileContents("UserSet2");
        ASSERT_TRUE(stored.has_value());
        EXPECT_EQ(stored->size(), size);
        EXPECT_TRUE(size == 0 || std::memcmp(data.data(), stored->data(), size) == 0);
        EXPECT_EQ(download(camera.map._Ptr(), "UserSet2"), data);
        EXPECT_FALSE(camera.device.fileIsOpen("UserSet2"));
    }
}

TEST(DeviceFiles, ARewriteReplacesTheWholeFile) {
    Camera camera;
    std::vector<char> longer = pattern(3000, 1), shorter = pattern(10, 2);
    for (const auto* data : {&longer, &shorter}) {
        ODevFileStream out(camera.map._Ptr(), "LUTFile");
        out.write(data->data(), static_cast<std::streamsize>(data->size()));
        out.close();
    }
    EXPECT_EQ(download(camera.map._Ptr(), "LUTFile"), shorter);
}

TEST(DeviceFiles, TheDeviceLogReadsButRefusesWriting) {
    Camera camera;
    std::vector<char> log = download(camera.map._Ptr(), "DeviceLog");
    EXPECT_FALSE(log.empty());
    try {
        ODevFileStream out(camera.map._Ptr(), "DeviceLog");
        FAIL() << "opening the log for writing must fail";
    } catch (const GenICam::GenericException& e) {
        EXPECT_NE(std::string(e.GetDescription()).find("Open of 'DeviceLog'"), std::string::npos) << e.what();
    }
    // The refusal left nothing half-open: the log still reads.
    EXPECT_EQ(download(camera.map._Ptr(), "DeviceLog"), log);
}

TEST(DeviceFiles, AFailedOperationNamesItself) {
    Camera camera;
    FileProtocolAdapter adapter;
    ASSERT_TRUE(adapter.attach(camera.map._Ptr()));
    char buffer[16];
    // Reading a file that is not open is refused by the device.
    try {
        adapter.read(buffer, 0, sizeof buffer, "UserSet1");
        FAIL() << "reading a closed file must fail";
    } catch (const GenICam::GenericException& e) {
        EXPECT_NE(std::string(e.GetDescription()).find("Read on 'UserSet1' failed"), std::string::npos) << e.what();
    }
    EXPECT_TRUE(adapter.openFile("UserSet1", std::ios_base::in));
    try {
        adapter.openFile("UserSet1", std::ios_base::in);
        FAIL() << "a second open must fail";
    } catch (const GenICam::GenericException& e) {
        EXPECT_NE(std::string(e.GetDescription()).find("Open on 'UserSet1' failed"), std::string::npos) << e.what();
    }
    EXPECT_TRUE(adapter.closeFile("UserSet1"));
}

TEST(DeviceFiles, NodeMapsWithoutFileAccessOpenNothing) {
    CNodeMapRef map;
    map._LoadXMLFromString(
        "<RegisterDescription ModelName=\"M\" VendorName=\"V\" StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" "
        "SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" MinorVersion=\"0\" "
        "SubMinorVersion=\"0\" ProductGuid=\"0\" VersionGuid=\"0\" xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">"
        "<Category Name=\"Root\"/><Port Name=\"Device\"/></RegisterDescription>");
    IDevFileStream in(map._Ptr(), "UserSet1");
    EXPECT_FALSE(in.is_open());
    EXPECT_TRUE(in.fail());
}
