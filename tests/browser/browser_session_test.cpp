// The dialog's behaviour over real node maps: start-up order, level change and
// refresh, the F5 and Ctrl+F keys, and saving on close and destroy.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "browser/browser_session.h"
#include "browser/browser_title.h"
#include "browser_support.h"
#include "qorvis.h"
#include "sim/sim_camera.h"

using namespace quillon::browser;
using quillon_browser_test::Entry;
using quillon_browser_test::InlineMap;
using quillon_browser_test::ManualTimer;

namespace {

const char* const kLevels = R"(
  <Category Name="Root"><pFeature>Main</pFeature></Category>
  <Category Name="Main"><pFeature>Basic</pFeature><pFeature>Deep</pFeature></Category>
  <IntReg Name="BasicReg"><Address>0x0</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Cachable>WriteThrough</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Integer Name="Basic"><Visibility>Beginner</Visibility><pValue>BasicReg</pValue></Integer>
  <IntReg Name="DeepReg"><Address>0x4</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Cachable>WriteThrough</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Integer Name="Deep"><Visibility>Guru</Visibility><pValue>DeepReg</pValue></Integer>
)";

int64_t ErrorPrinting() {
    QOR_INT printing = -1;
    QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, &printing);
    return printing;
}

struct RecordingView : BrowserView {
    BrowserSession* session = nullptr;
    std::vector<std::string> calls;
    std::vector<bool> busyAtHideEditors;
    std::vector<int64_t> printingAtUpdate;
    std::vector<std::string> errors;
    std::string title;
    bool visible = true;
    int level = -1;
    int32_t width = 0, height = 0, nameColumn = 0;

    void Call(std::string name) { calls.push_back(std::move(name)); }
    void SetPollingCheck(bool) override { Call("polling"); }
    void FillLevelCombo(int l) override {
        Call("combo");
        level = l;
    }
    void HideEditors() override {
        Call("hideEditors");
        busyAtHideEditors.push_back(session->busy());
    }
    void UpdateControls() override {
        Call("update");
        printingAtUpdate.push_back(ErrorPrinting());
    }
    void SetTitle(const std::string& t) override {
        Call("title");
        title = t;
    }
    void SetToolTips() override { Call("tips"); }
    void ShowError(const std::string& text) override { errors.push_back(text); }
    bool IsDialogVisible() const override { return visible; }
    void ShowFindDialog() override { Call("showFind"); }
    void HideFindDialog() override { Call("hideFind"); }
    BrowserSettings CurrentSettings() const override { return {11, 22, width, height, nameColumn, level}; }
    void MoveWindow(int32_t, int32_t, int32_t w, int32_t h) override {
        Call("move");
        width = w, height = h;
    }
    void ResizeWindow(int32_t w, int32_t h) override {
        Call("resize");
        width = w, height = h;
    }
    int32_t TreeClientWidth() const override { return width - 20; }
    void SetColumnWidths(int32_t name, int32_t) override {
        Call("columns");
        nameColumn = name;
    }
    int SelectedLevel() const override { return level; }
    void ChangeLevel(int l) override {
        Call("level");
        level = l;
        session->ChangeLevel(l);
    }
};

struct Dialog {
    quillon::browser::TextTree tree;
    ManualTimer timer;
    MemorySettingsStore store;
    RecordingView view;
    BrowserSession session;
    Dialog(std::vector<NodeMapEntry> entries, std::string titleOverride = {}, bool separate = false)
        : session(BrowserSetup{std::move(entries), 5, std::move(titleOverride), separate}, tree, timer, store) {
        view.session = &session;
    }
    bool Shown(const char* name) {
        for (const auto& row : session.model().featureRows())
            if (std::strcmp(row.node->GetName(), name) == 0 && row.treeItem) return true;
        return false;
    }
    TreeItem Item(const char* name) {
        for (const auto& row : session.model().featureRows())
            if (std::strcmp(row.node->GetName(), name) == 0) return row.treeItem;
        return kTopLevel;
    }
};

struct PrintingOn : ::testing::Test {
    void SetUp() override { QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_ENABLE); }
};
using BrowserSessionStart = PrintingOn;
using BrowserSessionLevel = PrintingOn;

} // namespace

TEST_F(BrowserSessionStart, BuildsAtGuruTitlesAndLoadsSettingsLast) {
    qorvis::sim::ConnectedSimulatedCamera camera;
    Dialog dialog({Entry(camera.nodeMap(), "Camera")});
    dialog.session.Initialise(dialog.view);

    EXPECT_EQ(dialog.view.calls, (std::vector<std::string>{"polling", "combo", "hideEditors", "update", "title",
                                                           "hideFind", "tips", "resize", "columns"}));
    EXPECT_EQ(dialog.view.level, kGuru);
    EXPECT_EQ(dialog.session.userLevel(), kGuru);
    EXPECT_EQ(dialog.session.model().userLevel(), kGuru);
    EXPECT_FALSE(dialog.session.model().featureRows().empty());
    EXPECT_EQ(dialog.view.title, "Torvex TVX1280M (Q_DEV5) Features");
    EXPECT_TRUE(dialog.view.errors.empty());
    // Printing is off while the tree is built and restored afterwards.
    EXPECT_EQ(dialog.view.printingAtUpdate, (std::vector<int64_t>{Q_PRINT_DISABLE}));
    EXPECT_EQ(ErrorPrinting(), Q_PRINT_ENABLE);
}

TEST_F(BrowserSessionStart, StoredLevelRebuildsAfterTheFirstBuildAndOverrideWinsTheTitle) {
    InlineMap map{kLevels};
    Dialog dialog({Entry(map.nodeMap())}, "Host title", true);
    dialog.store.Write(SettingsKey(true), "UserLevel", kStandard);
    dialog.store.Write(SettingsKey(false), "Width", 900); // the other key is not read
    dialog.session.Initialise(dialog.view);

    EXPECT_EQ(dialog.view.title, "Host title");
    EXPECT_EQ(dialog.view.width, 520);
    const auto& calls = dialog.view.calls;
    ASSERT_GE(calls.size(), 3u);
    EXPECT_EQ(std::vector<std::string>(calls.end() - 3, calls.end()),
              (std::vector<std::string>{"level", "hideEditors", "update"}));
    EXPECT_EQ(dialog.session.model().userLevel(), kStandard);
    EXPECT_TRUE(dialog.Shown("Basic"));
    EXPECT_FALSE(dialog.Shown("Deep"));
}

TEST_F(BrowserSessionStart, AFailingDescriptionGoesToTheErrorBox) {
    InlineMap rootless{"<Integer Name=\"Lone\"><Value>1</Value></Integer>"};
    Dialog dialog({Entry(rootless.nodeMap())});
    dialog.session.Initialise(dialog.view);
    // The description alone, as every other handler shows it.
    EXPECT_EQ(dialog.view.errors, std::vector<std::string>{"NULL pointer dereferenced"});
    EXPECT_EQ(dialog.view.title, "Quillon (Q_DEV5)");
    EXPECT_FALSE(dialog.session.busy());

    dialog.session.Refresh();
    EXPECT_EQ(dialog.view.errors, std::vector<std::string>(2, "NULL pointer dereferenced"));
    EXPECT_FALSE(dialog.session.busy());
    EXPECT_EQ(ErrorPrinting(), Q_PRINT_ENABLE);
}

TEST_F(BrowserSessionLevel, ChangeRebuildsWhileBusyAndMovesTheCallbacks) {
    InlineMap map{kLevels};
    Dialog dialog({Entry(map.nodeMap())});
    dialog.session.Initialise(dialog.view);
    ASSERT_TRUE(dialog.Shown("Deep"));
    dialog.view.busyAtHideEditors.clear();
    dialog.view.printingAtUpdate.clear();

    dialog.session.ChangeLevel(kStandard);
    EXPECT_EQ(dialog.view.busyAtHideEditors, (std::vector<bool>{true}));
    EXPECT_EQ(dialog.view.printingAtUpdate, (std::vector<int64_t>{Q_PRINT_DISABLE}));
    EXPECT_FALSE(dialog.session.busy());
    EXPECT_EQ(dialog.session.userLevel(), kStandard);
    EXPECT_FALSE(dialog.Shown("Deep"));
    EXPECT_EQ(dialog.tree.size(), 2u); // Main and Basic: the old items are gone

    // Only the rows of the new tree report changes.
    GenApi::CIntegerPtr(map.node("Deep"))->SetValue(3);
    EXPECT_TRUE(dialog.session.changes().Snapshot().empty());
    GenApi::CIntegerPtr(map.node("Basic"))->SetValue(4);
    EXPECT_EQ(dialog.session.changes().Snapshot(), (std::set<GenApi::INode*>{map.node("Basic")}));

    // Refresh stays at the chosen level and shows the device's current values.
    map.node("Basic")->InvalidateNode();
    const uint32_t raw = 77;
    map.port.Write(&raw, 0, 4);
    dialog.session.Refresh();
    EXPECT_EQ(dialog.session.model().userLevel(), kStandard);
    EXPECT_EQ(quillon::browser::TextTree::At(dialog.Item("Basic")).text, "Basic \t 77");
}

TEST_F(BrowserSessionLevel, RebuildLeavesStoppedPollingStopped) {
    qorvis::sim::ConnectedSimulatedCamera camera;
    Dialog dialog({Entry(camera.nodeMap())});
    GenICamPollingNodes polling;
    polling.AddNodeMap(camera.nodeMap());
    dialog.session.AddPolling(polling);
    dialog.session.Initialise(dialog.view);

    dialog.session.ChangeLevel(kAdvanced);
    EXPECT_FALSE(polling.IsRunning());
    dialog.session.SetPolling(true);
    ASSERT_TRUE(polling.IsRunning());
    dialog.session.ChangeLevel(kGuru);
    EXPECT_TRUE(polling.IsRunning());
    dialog.session.SetPolling(false);
    EXPECT_FALSE(polling.IsRunning());
}

TEST(BrowserSessionKeys, F5InvalidatesOnlyTheVisibleRows) {
    InlineMap map{kLevels};
    Dialog dialog({Entry(map.nodeMap())});
    dialog.session.Initialise(dialog.view);
    GenApi::CIntegerPtr basic(map.node("Basic")), deep(map.node("Deep"));
    basic->SetValue(1);
    deep->SetValue(1);
    const uint32_t changed = 9;
    map.port.Write(&changed, 0, 4); // behind the node map's back
    map.port.Write(&changed, 4, 4);
    ASSERT_EQ(basic->GetValue(), 1); // cached

    // Ctrl+F5 is not the refresh key.
    EXPECT_FALSE(dialog.session.OnKeyDown(Key::F5, true, {dialog.Item("Basic"), dialog.Item("Deep")}));
    EXPECT_EQ(basic->GetValue(), 1);

    // Only "Deep" is visible (scrolled past "Basic"); the key is not consumed.
    EXPECT_FALSE(dialog.session.OnKeyDown(Key::F5, false, {dialog.Item("Deep"), kTopLevel}));
    EXPECT_EQ(deep->GetValue(), 9);
    EXPECT_EQ(basic->GetValue(), 1);
}

TEST(BrowserSessionKeys, CtrlFOpensFindOnlyWhileVisible) {
    InlineMap map{kLevels};
    Dialog dialog({Entry(map.nodeMap())});
    dialog.session.Initialise(dialog.view);
    dialog.view.calls.clear();

    dialog.view.visible = false;
    EXPECT_FALSE(dialog.session.OnKeyDown(Key::F, true, {}));
    dialog.view.visible = true;
    EXPECT_FALSE(dialog.session.OnKeyDown(Key::F, false, {}));
    EXPECT_FALSE(dialog.session.OnKeyDown(Key::Other, true, {}));
    EXPECT_TRUE(dialog.view.calls.empty());
    EXPECT_TRUE(dialog.session.OnKeyDown(Key::F, true, {}));
    EXPECT_EQ(dialog.view.calls, (std::vector<std::string>{"showFind"}));
}

TEST(BrowserSessionEnd, CloseAndDestroySaveAndDestroyReleasesTheRows) {
    InlineMap map{kLevels};
    Dialog dialog({Entry(map.nodeMap())}, {}, true);
    dialog.session.Initialise(dialog.view);
    dialog.view.calls.clear();

    dialog.session.Close();
    const std::string key = SettingsKey(true);
    EXPECT_EQ(dialog.store.Read(key, "PosX"), 11);
    EXPECT_EQ(dialog.store.Read(key, "Width"), 520);
    EXPECT_EQ(dialog.store.Read(key, "SlidderPos"), (520 - 20) / 2);
    EXPECT_EQ(dialog.store.Read(key, "UserLevel"), kGuru);
    EXPECT_EQ(dialog.view.calls, (std::vector<std::string>{"hideFind"}));
    EXPECT_FALSE(dialog.store.Has(SettingsKey(false), "PosX"));

    GenApi::CIntegerPtr(map.node("Basic"))->SetValue(2); // arms the change timer
    ASSERT_TRUE(dialog.timer.running);
    dialog.view.level = kAdvanced;
    dialog.session.Destroy();
    EXPECT_EQ(dialog.store.Read(key, "UserLevel"), kAdvanced);
    EXPECT_FALSE(dialog.timer.running);
    EXPECT_TRUE(dialog.session.model().featureRows().empty());
    EXPECT_EQ(dialog.tree.size(), 0u);
    EXPECT_FALSE(dialog.session.busy());
    // No callback is left on the node map.
    dialog.session.changes().Tick(dialog.session.model());
    GenApi::CIntegerPtr(map.node("Basic"))->SetValue(3);
    EXPECT_TRUE(dialog.session.changes().Snapshot().empty());
}
