// Node changes reaching the rows: the changed-node set, the 100 ms tick that
// rewrites exactly the changed rows, and the polling thread.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "browser/feature_polling.h"
#include "browser_support.h"
#include "qorvis.h"
#include "sim/sim_camera.h"

using namespace quillon::browser;
using namespace std::chrono_literals;
using quillon_browser_test::Browser;
using quillon_browser_test::Entry;
using quillon_browser_test::InlineMap;

namespace {

const char* const kLive = R"(
  <Category Name="Root"><pFeature>Live</pFeature></Category>
  <Category Name="Live"><pFeature>Value</pFeature><pFeature>Twice</pFeature><pFeature>Other</pFeature>
    <pFeature>Polled</pFeature></Category>
  <IntReg Name="Reg"><Address>0x10</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Integer Name="Value"><pValue>Reg</pValue></Integer>
  <IntSwissKnife Name="Twice"><pVariable Name="V">Value</pVariable><Formula>V*2</Formula></IntSwissKnife>
  <Integer Name="Other"><Value>5</Value></Integer>
  <IntReg Name="Polled"><Address>0x30</Address><Length>4</Length><AccessMode>RO</AccessMode>
    <pPort>Device</pPort><PollingTime>100</PollingTime><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
)";

std::string PollingTimes(int first, int second) {
    auto reg = [](const char* name, int address, int time) {
        return std::string("<IntReg Name=\"") + name + "\"><Address>" + std::to_string(address) +
               "</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>Device</"
               "pPort><PollingTime>" +
               std::to_string(time) +
               "</PollingTime><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>";
    };
    return "<Category Name=\"Root\"/>" + reg("Fast", 0, first) + reg("Slow", 4, second) +
           "<IntReg Name=\"Gone\"><Address>8</Address><Length>4</Length><AccessMode>RO</AccessMode>"
           "<pPort>Device</pPort><PollingTime>10</PollingTime><pIsImplemented>Zero</pIsImplemented>"
           "<Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg><Integer "
           "Name=\"Zero\"><Value>0</Value></Integer>";
}

struct Changes : ::testing::Test {
    InlineMap map{kLive};
    Browser browser;
    void SetUp() override { browser.model.Build({Entry(map.nodeMap())}, kGuru); }
    std::string Item(const char* name) { return browser.Text(name); }
};

} // namespace

TEST_F(Changes, AWriteMarksEveryDependentRowAndTheTickRewritesExactlyThose) {
    // Mark every item so that a rewrite shows.
    for (const auto& row : browser.model.featureRows())
        browser.tree.SetItemText(row.treeItem, "stale");
    GenApi::CIntegerPtr value(map.node("Value"));
    value->SetValue(21);
    value->SetValue(22);
    EXPECT_EQ(browser.changes.Snapshot(),
              (std::set<GenApi::INode*>{map.node("Value"), map.node("Twice")}));
    EXPECT_EQ(browser.timer.starts, 1);
    EXPECT_EQ(browser.timer.lastInterval, 100);
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_ENABLE);
    browser.changes.Tick(browser.model);
    EXPECT_EQ(Item("Value") + "|" + Item("Twice") + "|" + Item("Other") + "|" + Item("Polled"),
              "Value \t 22|Twice \t 44|stale|stale");
    EXPECT_TRUE(browser.changes.Snapshot().empty());
    QOR_INT printing = -1; // the tick leaves the library's error printing as it found it
    QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, &printing);
    EXPECT_EQ(printing, Q_PRINT_ENABLE);
    // A tick without work stops the timer; the next change starts it again.
    EXPECT_EQ(browser.timer.kills, 0);
    browser.changes.Tick(browser.model);
    EXPECT_EQ(browser.timer.kills, 1);
    EXPECT_FALSE(browser.changes.TimerRunning());
    value->SetValue(3);
    EXPECT_EQ(browser.timer.starts, 2);
    // While the rows are rebuilt, changes are ignored.
    browser.changes.Tick(browser.model);
    browser.changes.SetBusy(true);
    value->SetValue(4);
    EXPECT_TRUE(browser.changes.Snapshot().empty());
}

TEST(PollingPeriod, SmallestImplementedPollingTimeWithA500MsFloor) {
    InlineMap fast{PollingTimes(200, 2000)}, slow{PollingTimes(800, 2000)};
    InlineMap none{"<Category Name=\"Root\"/><Integer Name=\"I\"><Value>1</Value></Integer>"};
    EXPECT_EQ(SmallestPollingTime(*fast.nodeMap()),
              200); // the unimplemented 10 ms node does not count
    EXPECT_EQ(SmallestPollingTime(*none.nodeMap()), -1);
    qorvis::sim::ConnectedSimulatedCamera camera; // its frame counter asks for 250 ms
    for (auto [maps, period] : {std::pair{std::vector{fast.nodeMap()}, 500},
                                {{slow.nodeMap()}, 800},
                                {{slow.nodeMap(), fast.nodeMap()}, 500},
                                {{camera.nodeMap()}, 500},
                                {{none.nodeMap()}, 0}}) {
        GenICamPollingNodes polling;
        for (GenApi::INodeMap* map : maps)
            polling.AddNodeMap(map);
        polling.Start();
        EXPECT_EQ(polling.IsRunning() ? polling.Period() : 0, period);
    }
}

TEST(PollingThread, StopsPromptlyRestartsAndIsJoinedByItsDestructor) {
    InlineMap slow{PollingTimes(800, 2000)};
    GenICamPollingNodes polling;
    polling.AddNodeMap(slow.nodeMap());
    polling.Start();
    polling.Start(); // restarts the running thread
    EXPECT_TRUE(polling.IsRunning());
    const auto before = std::chrono::steady_clock::now();
    polling.Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 200ms); // does not sit out the 800 ms wait
    EXPECT_FALSE(polling.IsRunning());
    polling.Stop(); // stopping twice is harmless
    polling.Start();
    // The destructor stops and joins the running thread.
}

TEST_F(Changes, PollingDeliversChangesOfPolledNodesToTheRows) {
    GenICamPollingNodes polling;
    polling.AddNodeMap(map.nodeMap());
    polling.Start();
    map.port.Write("\x07\0\0\0", 0x30, 4);
    const auto deadline = std::chrono::steady_clock::now() + 3s;
    while (browser.changes.Snapshot().empty() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(20ms);
    polling.Stop();
    EXPECT_EQ(browser.changes.Snapshot(), (std::set<GenApi::INode*>{map.node("Polled")}));
    browser.changes.Tick(browser.model);
    EXPECT_EQ(Item("Polled"), "Polled \t 7");
}

TEST(LibraryPollingSetting, DigitizerAndSystemKeepTheirOwnSetting) {
    QOR_ID app = 0, sys = 0, dig = 0;
    QappAlloc(QOR_TEXT(""), &app);
    QsysAlloc(app, Q_SYSTEM_SIMULATED, 0, Q_DEFAULT, &sys);
    QdigAlloc(sys, 0, QOR_TEXT(""), Q_DEFAULT, &dig);
    EXPECT_FALSE(LibraryPollingEnabled(Q_DIGITIZER_OBJECT, dig));
    SetLibraryPolling(Q_DIGITIZER_OBJECT, dig, true);
    EXPECT_TRUE(LibraryPollingEnabled(Q_DIGITIZER_OBJECT, dig));
    EXPECT_FALSE(LibraryPollingEnabled(Q_SYSTEM_OBJECT, sys));
    SetLibraryPolling(Q_SYSTEM_OBJECT, sys, true);
    SetLibraryPolling(Q_DIGITIZER_OBJECT, dig, false);
    EXPECT_TRUE(LibraryPollingEnabled(Q_SYSTEM_OBJECT, sys));
    EXPECT_FALSE(LibraryPollingEnabled(Q_DIGITIZER_OBJECT, dig));
    EXPECT_FALSE(LibraryPollingEnabled(Q_SEQUENCE_OBJECT, sys)); // no such setting for other kinds
    QdigFree(dig);
    QsysFree(sys);
    QappFree(app);
}
