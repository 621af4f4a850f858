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
using quillon_browser_test::InlineMap;

namespace {

// A read-only register polled every `ms` milliseconds (-1: not at all).
std::string Polled(const std::string& name, int address, int ms, const char* extra = "") {
    return "<IntReg Name=\"" + name + "\"><Address>" + std::to_string(address) +
           "</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>Device</pPort>" +
           (ms < 0 ? "" : "<PollingTime>" + std::to_string(ms) + "</PollingTime>") + extra +
           "<Endianess>LittleEndian</Endianess></IntReg>";
}

struct Changes : ::testing::Test {
    InlineMap map{R"(
      <Category Name="Root"><pFeature>Live</pFeature></Category>
      <Category Name="Live"><pFeature>Value</pFeature><pFeature>Twice</pFeature><pFeature>Other</pFeature>
        <pFeature>Polled</pFeature></Category>
      <Integer Name="Value"><Value>0</Value></Integer>
      <IntSwissKnife Name="Twice"><pVariable Name="V">Value</pVariable><Formula>V*2</Formula></IntSwissKnife>
      <Integer Name="Other"><Value>5</Value></Integer>)" +
                  Polled("Polled", 0x30, 100)};
    quillon_browser_test::Browser browser;
    void SetUp() override {
        browser.model.Build({quillon_browser_test::Entry(map.nodeMap())}, kGuru);
    }
    std::string Item(const char* name) { return browser.Text(name); }
};

} // namespace

TEST_F(Changes, AWriteMarksEveryDependentRowAndTheTickRewritesExactlyThose) {
    for (const auto& row : browser.model.featureRows()) // so that a rewrite shows
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

TEST_F(Changes, ThePollingThreadDeliversChangesOfPolledNodesToTheRows) {
    GenICamPollingNodes polling;
    polling.AddNodeMap(map.nodeMap());
    polling.Start();
    polling.Start(); // restarts the running thread
    map.port.Write("\x07\0\0\0", 0x30, 4);
    const auto deadline = std::chrono::steady_clock::now() + 3s;
    while (browser.changes.Snapshot().empty() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(20ms);
    polling.Stop();
    EXPECT_FALSE(polling.IsRunning());
    polling.Stop(); // stopping twice is harmless
    EXPECT_EQ(browser.changes.Snapshot(), (std::set<GenApi::INode*>{map.node("Polled")}));
    browser.changes.Tick(browser.model);
    EXPECT_EQ(Item("Polled"), "Polled \t 7");
    polling.Start(); // the destructor stops and joins the running thread
}

TEST(PollingPeriod, SmallestImplementedPollingTimeWithA500MsFloor) {
    // The unimplemented 10 ms node does not count.
    const std::string gone =
        Polled("Gone", 8, 10, "<pIsImplemented>Zero</pIsImplemented>") +
        "<Integer Name=\"Zero\"><Value>0</Value></Integer><Category Name=\"Root\"/>";
    InlineMap fast{Polled("A", 0, 200) + Polled("B", 4, 2000) + gone};
    InlineMap slow{Polled("A", 0, 800) + Polled("B", 4, 2000) + gone};
    InlineMap none{Polled("A", 0, -1) + gone.substr(gone.find("<Integer"))};
    EXPECT_EQ(SmallestPollingTime(*fast.nodeMap()), 200);
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
