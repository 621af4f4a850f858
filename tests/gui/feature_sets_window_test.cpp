// The tree's feature-set entries in the browser window over the simulated
// camera, with the file dialog and the message box answered by the test.
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeWidget>

#include <fstream>
#include <sstream>

#include "GenApi/GenApi.h"
#include "browser/tessel_window.h"
#include "browser/understanding_window.h"
#include "controls/column_tree_widget.h"
#include "gui_support.h"
#include "inspect/feature_sets_window.h"
#include "inspect/file_transfer.h"
#include "sim/sim_camera.h"

using namespace quillon::browser;
using namespace quillon::inspect;

namespace {

struct AnsweringDialog final : FileDialog {
    std::string answer;
    std::string Choose(Kind, const std::string&) override { return answer; }
};

struct RecordingMessages final : MessageDisplay {
    std::vector<std::string> texts;
    void Show(const std::string& text, const std::string& caption, MessageIcon) override {
        texts.push_back(caption + ": " + text);
    }
};

void Trigger(CTessel& window, const char* entry) {
    QMenu menu;
    window.FillTreeMenu(menu, kTopLevel);
    for (QAction* action : menu.actions())
        if (action->text() == QString::fromUtf8(entry)) return action->trigger();
    ADD_FAILURE() << entry << " is not in the menu";
}

std::string FileText(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

} // namespace

TEST(FeatureSetsWindow, SavesLoadsAndComparesThroughTheTreeMenu) {
    qorvis::sim::ManualClock clock; // values that move with time stay put
    qorvis::sim::ConnectedSimulatedCamera camera(clock.clock());
    MemorySettingsStore store;
    CTessel window(BrowserSetup{{quillon_gui_test::EntryOf(camera.nodeMap())}, 0, {}, false},
                   &store);
    AnsweringDialog files;
    RecordingMessages messages;
    window.SetDialogPlatform({&files, &messages});
    window.show();

    // A right click on the tree opens the menu with the three entries.
    QStringList shown;
    QTimer::singleShot(0, [&shown] {
        if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
            for (QAction* action : menu->actions())
                shown << action->text();
            menu->close();
        }
    });
    QContextMenuEvent click(QContextMenuEvent::Mouse, QPoint(20, 20), QPoint(20, 20));
    QApplication::sendEvent(window.tree().viewport(), &click);
    shown.removeAll(QString()); // the separator
    EXPECT_EQ(shown, (QStringList{kWhyAction, kSlicesAction, kSessionCodeAction, kSaveFeaturesText,
                                  kLoadFeaturesText, kCompareFeaturesText}));

    QTemporaryDir dir;
    files.answer = dir.filePath("camera.txt").toStdString();
    Trigger(window, kSaveFeaturesText);
    const std::string saved = FileText(files.answer);
    EXPECT_NE(saved.find("\nGain[GainSelector=AnalogAll] = 6\n"), std::string::npos) << saved;
    EXPECT_TRUE(messages.texts.empty());

    std::string edited = saved;
    edited.replace(edited.find("\nWidth = 1280\n"), 14, "\nWidth = 640\n");
    edited.replace(edited.find("\nHeight = 1024\n"), 15, "\nHeight = 4000\n");
    files.answer = dir.filePath("edited.txt").toStdString();
    std::ofstream(files.answer) << edited;
    Trigger(window, kCompareFeaturesText);
    auto* differences = window.findChild<FeatureSetDifferencesWindow*>(kDifferencesWindowName);
    ASSERT_TRUE(differences);
    ASSERT_EQ(differences->list().topLevelItemCount(), 2);
    QTreeWidgetItem* width = differences->list().topLevelItem(0);
    EXPECT_EQ(width->text(0) + " " + width->text(1) + " " + width->text(2), "Width 1280 640");
    emit differences->list().itemDoubleClicked(width, 0);
    EXPECT_EQ(window.tree().SelectedItem(), quillon_gui_test::FeatureItem(window, "Width"));

    Trigger(window, kLoadFeaturesText);
    ASSERT_EQ(messages.texts.size(), 1u);
    EXPECT_EQ(messages.texts[0].substr(0, messages.texts[0].find('\n')),
              "Load features: edited.txt: 1 applied, 354 unchanged, 1 refused, 2 passes");
    EXPECT_NE(messages.texts[0].find("refused: Height = 4000: out of range"), std::string::npos);
    const std::string row = window.tree().ItemText(quillon_gui_test::FeatureItem(window, "Width"));
    EXPECT_EQ(row.substr(row.find('\t')), "\t 640") << "the tree shows what the device now holds";

    std::ofstream(files.answer) << "Width = 640\nWidth 16\n";
    Trigger(window, kLoadFeaturesText);
    ASSERT_EQ(messages.texts.size(), 2u);
    EXPECT_EQ(
        messages.texts[1],
        "Load features: edited.txt:2: expected 'Name = value', a '# comment' or a '[Caption]'");
}
