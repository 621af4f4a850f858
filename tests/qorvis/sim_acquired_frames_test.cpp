// The frames a frame grabber behind the simulated camera receives: counted
// while an acquisition runs, from the moment the delayed start completes.
#include <gtest/gtest.h>

#include <chrono>

#include "GenApi/GenApi.h"
#include "sim/sim_camera.h"

namespace {

using namespace std::chrono_literals;
using qorvis::sim::ManualClock;
using qorvis::sim::SimulatedCamera;

TEST(SimCameraAcquiredFrames, CountOnlyWhileAcquiring) {
    ManualClock clock;
    SimulatedCamera camera(clock.clock());
    GenApi::CNodeMapRef map;
    map._LoadXMLFromString(GenICam::gcstring(SimulatedCamera::descriptionXml()));
    ASSERT_TRUE(map._Connect(&camera));
    GenApi::CCommandPtr start = map._GetNode("AcquisitionStart"), stop = map._GetNode("AcquisitionStop");
    GenApi::CFloatPtr rate = map._GetNode("AcquisitionFrameRate");

    clock.advance(10s); // the sensor runs before any acquisition: nothing received
    EXPECT_EQ(camera.acquiredFrames(), 0u);
    start->Execute();
    clock.advance(300ms); // the start completes now
    EXPECT_EQ(camera.acquiredFrames(), 0u);
    clock.advance(1s);
    EXPECT_EQ(camera.acquiredFrames(), 30u) << "30 frames/s for one second";
    rate->SetValue(10.0); // a new rate applies from the moment it is written
    clock.advance(1s);
    EXPECT_EQ(camera.acquiredFrames(), 40u);
    stop->Execute();
    clock.advance(5s);
    EXPECT_EQ(camera.acquiredFrames(), 40u);
    start->Execute();
    clock.advance(300ms + 500ms);
    EXPECT_EQ(camera.acquiredFrames(), 45u) << "a second acquisition adds to the first";
    GenApi::CCommandPtr(map._GetNode("DeviceReset"))->Execute();
    EXPECT_EQ(camera.acquiredFrames(), 0u) << "a reset restarts the count";
}

} // namespace
