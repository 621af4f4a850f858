// The tree's context menu: why a row can't be edited, a selector's slices,
// the session as code, and feature sets saved, compared and loaded.

#include "browser/understanding_window.h"
#include "gui_support.h"
#include "inspect/feature_sets_window.h"
#include "inspect/file_transfer.h"

using namespace quillon::browser;
using namespace quillon::inspect;

namespace {

// Right-clicks the row and chooses `entry` in the menu that opens; answers
// the menu's entries, the chosen one marked "*" when it was enabled.
QString Choose(CTessel& window, TreeItem item, const char* entry) {
    QString entries;
    QTimer::singleShot(0, [&] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        for (QAction* action : menu->actions()) {
            const bool chosen = action->text() == QString::fromUtf8(entry) && action->isEnabled();
            entries += action->text() + (chosen ? "*|" : "|");
            if (chosen) action->trigger();
        }
        menu->close();
    });
    QWidget* cells = window.tree().viewport();
    const QPoint at = window.tree().ValueCellRect(item).center();
    QContextMenuEvent click(QContextMenuEvent::Mouse, at, cells->mapToGlobal(at));
    QApplication::sendEvent(cells, &click);
    return entries;
}

struct Platform final : FileDialog, MessageDisplay {
    std::string answer;
    std::vector<std::string> texts;
    std::string Choose(Kind, const std::string&) override { return answer; }
    void Show(const std::string& text, const std::string& caption, MessageIcon) override {
        texts.push_back(caption + ": " + text);
    }
};

} // namespace

TEST(TreeMenu, ExplainsSlicesAndCopiesTheSessionAsCode) {
    quillon_gui_test::CameraWindow w(Q_DIGITIZER_OBJECT);
    CTessel& window = w.window;
    window.resize(700, 800);
    window.show();
    QApplication::processEvents();
    const TreeItem width = w.Feature("Width"), selector = w.Feature("GainSelector");
    // A right click selects the row; nothing is edited yet, and the row selects nothing.
    const TreeItem vendor = w.Feature("DeviceVendorName");
    const QString entries = QString(kWhyAction) + "|" + kSlicesAction + "|" + kSessionCodeAction +
                            "||" + kSaveFeaturesText + "|" + kLoadFeaturesText + "|" +
                            kCompareFeaturesText + "|";
    EXPECT_EQ(Choose(window, vendor, kSessionCodeAction) + Choose(window, vendor, kSlicesAction),
              entries + entries);
    EXPECT_EQ(window.tree().SelectedItem(), vendor);

    window.tree().SelectItem(width);
    window.CommitText("640");
    GenApi::CIntegerPtr(w.camera.nodeMap()->GetNode("TLParamsLocked"))->SetValue(1);
    Choose(window, width, kWhyAction);
    auto* why = window.findChild<TextWindow*>();
    ASSERT_NE(why, nullptr);
    EXPECT_TRUE(why->text().startsWith("Width is read-only now: TLParamsLocked = 1"))
        << why->text().toStdString();

    window.tree().SelectItem(selector);
    window.CommitText("DigitalAll");
    Choose(window, selector, kSlicesAction);
    auto* slices = window.findChild<SlicesWindow*>();
    ASSERT_NE(slices, nullptr);
    EXPECT_EQ(slices->windowTitle().toStdString(), "Slices of GainSelector");
    slices->findChild<QPushButton*>()->click();
    EXPECT_EQ(QApplication::clipboard()->text().toStdString(),
              "GainSelector\tGain\nAll\t0\nAnalogAll\t6\nDigitalAll\t1.5\n");
    EXPECT_EQ(std::string(
                  GenApi::CEnumerationPtr(w.camera.nodeMap()->GetNode("GainSelector"))->ToString()),
              "DigitalAll");
    Choose(window, selector, kSessionCodeAction);
    const std::string code = QApplication::clipboard()->text().toStdString();
    EXPECT_NE(code.find("// 1. Width = 640\n\t{\n\t\tQOR_INT64 WidthInpx = 640;\n"),
              std::string::npos)
        << code;
    EXPECT_NE(code.find("}\n\t// 2. GainSelector = DigitalAll\n"), std::string::npos) << code;
}

TEST(TreeMenu, SavesComparesAndLoadsFeatureSets) {
    qorvis::sim::ManualClock clock; // values that move with time stay put
    quillon_gui_test::CameraWindow w(clock);
    Platform platform;
    w.window.SetDialogPlatform({&platform, &platform});
    w.window.show();
    const TreeItem width = w.Feature("Width");
    QTemporaryDir dir;
    platform.answer = dir.filePath("camera.txt").toStdString();
    Choose(w.window, width, kSaveFeaturesText);
    std::ifstream in(platform.answer);
    std::string edited{std::istreambuf_iterator<char>(in), {}};
    EXPECT_NE(edited.find("\nGain[GainSelector=AnalogAll] = 6\n"), std::string::npos) << edited;
    edited.replace(edited.find("\nWidth = 1280\n"), 14, "\nWidth = 640\n");
    edited.replace(edited.find("\nHeight = 1024\n"), 15, "\nHeight = 4000\n");
    platform.answer = dir.filePath("edited.txt").toStdString();
    std::ofstream(platform.answer) << edited;
    // The differences in a list; a double click selects the feature's row.
    Choose(w.window, width, kCompareFeaturesText);
    auto* differences = w.window.findChild<FeatureSetDifferencesWindow*>(kDifferencesWindowName);
    ASSERT_TRUE(differences);
    ASSERT_EQ(differences->list().topLevelItemCount(), 2);
    QTreeWidgetItem* row = differences->list().topLevelItem(0);
    EXPECT_EQ(row->text(0) + " " + row->text(1) + " " + row->text(2), "Width 1280 640");
    w.window.tree().SelectItem(w.Feature("Height"));
    emit differences->list().itemDoubleClicked(row, 0);
    EXPECT_EQ(w.window.tree().SelectedItem(), width);
    EXPECT_TRUE(platform.texts.empty());
    Choose(w.window, width, kLoadFeaturesText);
    ASSERT_EQ(platform.texts.size(), 1u);
    EXPECT_EQ(platform.texts[0].substr(0, platform.texts[0].find('\n')),
              "Load features: edited.txt: 1 applied, 354 unchanged, 1 refused, 2 passes");
    EXPECT_NE(platform.texts[0].find("refused: Height = 4000: out of range"), std::string::npos);
    EXPECT_EQ(w.Value(w.Feature("Width")), "640") << "the tree shows the device's value";
    std::ofstream(platform.answer) << "Width = 640\nWidth 16\n";
    Choose(w.window, width, kLoadFeaturesText);
    EXPECT_EQ(
        platform.texts.at(1),
        "Load features: edited.txt:2: expected 'Name = value', a '# comment' or a '[Caption]'");
}
