// The dialog over real node maps: start-up order, a failing description,
// level change and refresh, the F5 and Ctrl+F keys, closing and destroying.

#include "browser/browser_session.h"
#include "browser_support.h"

using namespace quillon::browser;
using quillon_browser_test::Entry;
using quillon_browser_test::InlineMap;
using quillon_browser_test::ManualTimer;

namespace {

const char* const kLevels = R"(
  <Category Name="Root"><pFeature>Main</pFeature></Category>
  <Category Name="Main"><pFeature>Basic</pFeature><pFeature>Deep</pFeature></Category>
  <IntReg Name="BasicReg"><Address>0x0</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Integer Name="Basic"><Visibility>Beginner</Visibility><pValue>BasicReg</pValue></Integer>
  <IntReg Name="DeepReg"><Address>0x4</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Integer Name="Deep"><Visibility>Guru</Visibility><pValue>DeepReg</pValue></Integer>
)";

int64_t ErrorPrinting() {
    QOR_INT printing = -1;
    QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, &printing);
    return printing;
}

// Records the calls as words, with what matters at the time of each.
struct RecordingView : BrowserView {
    BrowserSession* session = nullptr;
    std::string calls, title;
    std::vector<std::string> errors;
    bool visible = true;
    int level = -1;
    int32_t width = 0, nameColumn = 0;
    void SetPollingCheck(bool) override { calls += "polling "; }
    void FillLevelCombo(int l) override { calls += "combo ", level = l; }
    void HideEditors() override { calls += session->busy() ? "hide(busy) " : "hide "; }
    void UpdateControls() override {
        calls += ErrorPrinting() == Q_PRINT_DISABLE ? "update(quiet) " : "update ";
    }
    void SetTitle(const std::string& t) override { calls += "title ", title = t; }
    void SetToolTips() override { calls += "tips "; }
    void ShowError(const std::string& text) override { errors.push_back(text); }
    bool IsDialogVisible() const override { return visible; }
    void ShowFindDialog() override { calls += "showFind "; }
    void HideFindDialog() override { calls += "hideFind "; }
    BrowserSettings CurrentSettings() const override {
        return {11, 22, width, 33, nameColumn, level};
    }
    void MoveWindow(int32_t, int32_t, int32_t w, int32_t) override { calls += "move ", width = w; }
    void ResizeWindow(int32_t w, int32_t) override { calls += "resize ", width = w; }
    int32_t TreeClientWidth() const override { return width - 20; }
    void SetColumnWidths(int32_t name, int32_t) override { calls += "columns ", nameColumn = name; }
    int SelectedLevel() const override { return level; }
    void ChangeLevel(int l) override {
        calls += "level ", level = l;
        session->ChangeLevel(l);
    }
};

struct Dialog {
    TextTree tree;
    ManualTimer timer;
    MemorySettingsStore store;
    RecordingView view;
    BrowserSession session;
    // `storedLevel`: the level the separate settings hold when the dialog starts.
    explicit Dialog(GenApi::INodeMap* map, std::string titleOverride = {}, bool separate = false,
                    std::optional<int> storedLevel = {})
        : session(BrowserSetup{{Entry(map)}, 5, std::move(titleOverride), separate}, tree, timer,
                  store) {
        view.session = &session;
        if (storedLevel) store.Write(kSeparateSettingsKey, kUserLevel, *storedLevel);
        // Read only by a dialog without settings of its own.
        store.Write(kSettingsKey, kWidth, 900);
        store.Write(kSettingsKey, kHeight, 700);
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_ENABLE);
        session.Initialise(view);
    }
    TreeItem Item(const char* name) {
        for (const auto& row : session.model().featureRows())
            if (row.node->GetName() == name) return row.treeItem;
        return kTopLevel;
    }
};

} // namespace

TEST(BrowserSession, StartsAtGuruQuietlyAndAppliesTheStoredLevelLast) {
    InlineMap map{kLevels};
    Dialog dialog(map.nodeMap());
    EXPECT_EQ(dialog.view.calls,
              "polling combo hide update(quiet) title hideFind tips resize columns ");
    EXPECT_EQ(dialog.session.model().userLevel(), kGuru);
    EXPECT_EQ(ErrorPrinting(), Q_PRINT_ENABLE);
    EXPECT_EQ(dialog.view.title, "Quillon (Q_DEV5)"); // no node map names the device
    Dialog stored(map.nodeMap(), "Host title", true, kStandard);
    EXPECT_EQ(stored.view.title, "Host title");
    EXPECT_EQ(stored.view.width, 520);
    EXPECT_EQ(stored.view.calls.substr(stored.view.calls.size() - 31),
              "level hide(busy) update(quiet) ");
    EXPECT_EQ(stored.Item("Deep"), kTopLevel);
    // A description that fails shows the engine's text alone, also on refresh.
    InlineMap rootless{"<Integer Name=\"Lone\"><Value>1</Value></Integer>"};
    Dialog failing(rootless.nodeMap());
    failing.session.Refresh();
    EXPECT_EQ(failing.view.errors, std::vector<std::string>(2, "NULL pointer dereferenced"));
    EXPECT_FALSE(failing.session.busy());
}

TEST(BrowserSession, ALevelChangeRebuildsWhileBusyMovesTheCallbacksAndKeepsPolling) {
    InlineMap map{kLevels +
                  std::string("<IntReg Name=\"Polled\"><Address>8</Address><Length>4</Length>"
                              "<AccessMode>RO</AccessMode><pPort>Device</pPort><PollingTime>100"
                              "</PollingTime></IntReg>")};
    Dialog dialog(map.nodeMap());
    GenICamPollingNodes polling;
    polling.AddNodeMap(map.nodeMap());
    dialog.session.AddPolling(polling);
    dialog.view.calls.clear();
    dialog.session.ChangeLevel(kStandard);
    EXPECT_EQ(dialog.view.calls, "hide(busy) update(quiet) ");
    EXPECT_FALSE(dialog.session.busy() || polling.IsRunning());
    EXPECT_EQ(dialog.tree.size(), 2u); // Main and Basic: the old items are gone
    // Only the rows of the new tree report changes.
    GenApi::CIntegerPtr(map.node("Deep"))->SetValue(3);
    EXPECT_TRUE(dialog.session.changes().Snapshot().empty());
    GenApi::CIntegerPtr(map.node("Basic"))->SetValue(4);
    EXPECT_EQ(dialog.session.changes().Snapshot(), (std::set<GenApi::INode*>{map.node("Basic")}));
    // Refresh stays at the level and shows what the device holds now.
    map.node("Basic")->InvalidateNode();
    map.port.Write("\x4d\0\0\0", 0, 4);
    dialog.session.SetPolling(true);
    dialog.session.Refresh();
    EXPECT_EQ(dialog.session.model().userLevel(), kStandard);
    EXPECT_EQ(TextTree::At(dialog.Item("Basic")).text, "Basic \t 77");
    EXPECT_TRUE(polling.IsRunning() && dialog.session.Polling());
    dialog.session.SetPolling(false);
    EXPECT_FALSE(polling.IsRunning());
}

TEST(BrowserSession, KeysAndClosing) {
    InlineMap map{kLevels};
    Dialog dialog(map.nodeMap(), {}, true);
    GenApi::CIntegerPtr basic(map.node("Basic")), deep(map.node("Deep"));
    basic->SetValue(1);
    deep->SetValue(1);
    map.port.Write("\x09\0\0\0\x09\0\0\0", 0, 8); // behind the node map's back
    // F5 reads the visible rows anew (only "Deep" here) and is not consumed; Ctrl+F5 is not the
    // key.
    EXPECT_FALSE(dialog.session.OnKeyDown(Key::F5, true, {dialog.Item("Basic")}));
    EXPECT_FALSE(dialog.session.OnKeyDown(Key::F5, false, {dialog.Item("Deep"), kTopLevel}));
    EXPECT_EQ(deep->GetValue() * 10 + basic->GetValue(), 91);
    // Ctrl+F opens the find window only while the dialog is visible.
    dialog.view.calls.clear();
    dialog.view.visible = false;
    EXPECT_FALSE(dialog.session.OnKeyDown(Key::F, true, {}));
    dialog.view.visible = true;
    EXPECT_FALSE(dialog.session.OnKeyDown(Key::F, false, {}) ||
                 dialog.session.OnKeyDown(Key::Other, true, {}));
    EXPECT_TRUE(dialog.session.OnKeyDown(Key::F, true, {}));
    // Closing saves under the dialog's own key and hides the find window.
    dialog.session.Close();
    EXPECT_EQ(dialog.view.calls, "showFind hideFind ");
    // clang-format off
    const std::pair<const char*, int> saved[] = {
        {kPosX, 11}, {kPosY, 22}, {kWidth, 520}, {kHeight, 33}, {kSlidderPos, 250}, {kUserLevel, kGuru}};
    // clang-format on
    for (auto [name, value] : saved)
        EXPECT_EQ(dialog.store.Read(kSeparateSettingsKey, name), value) << name;
    EXPECT_FALSE(dialog.store.Has(kSettingsKey, kPosX));
    // Destroying saves too, and releases the rows, their callbacks and the timer.
    basic->SetValue(2); // arms the change timer
    dialog.view.level = kAdvanced;
    dialog.session.Destroy();
    EXPECT_EQ(dialog.store.Read(kSeparateSettingsKey, kUserLevel), kAdvanced);
    EXPECT_FALSE(dialog.timer.running || dialog.session.busy());
    EXPECT_TRUE(dialog.session.model().featureRows().empty() && dialog.tree.size() == 0);
    dialog.session.changes().Tick(dialog.session.model());
    basic->SetValue(3);
    EXPECT_TRUE(dialog.session.changes().Snapshot().empty());
}
