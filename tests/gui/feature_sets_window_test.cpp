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

#include "browser/understanding_window.h"
#include "controls/column_tree_widget.h"
#include "gui_support.h"
#include "inspect/feature_sets_window.h"
#include "inspect/file_transfer.h"

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
    quillon_gui_test::CameraWindow w(clock);
    CTessel& window = w.window;
    AnsweringDialog files;
    RecordingMessages messages;
    window.SetDialogPlatform({&files, &messages});
    window.show();
    // A right click on the tree opens the menu with its entries.
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
    EXPECT_EQ(shown, (QStringList{kWhyAction, kSlicesAction, kSessionCodeAction, "",
                                  kSaveFeaturesText, kLoadFeaturesText, kCompareFeaturesText}));

    QTemporaryDir dir;
    files.answer = dir.filePath("camera.txt").toStdString();
    Trigger(window, kSaveFeaturesText);
    std::string edited = FileText(files.answer);
    EXPECT_NE(edited.find("\nGain[GainSelector=AnalogAll] = 6\n"), std::string::npos) << edited;
    EXPECT_TRUE(messages.texts.empty());
    edited.replace(edited.find("\nWidth = 1280\n"), 14, "\nWidth = 640\n");
    edited.replace(edited.find("\nHeight = 1024\n"), 15, "\nHeight = 4000\n");
    files.answer = dir.filePath("edited.txt").toStdString();
    std::ofstream(files.answer) << edited;
    // The differences in a list; a double click selects the feature's row.
    Trigger(window, kCompareFeaturesText);
    auto* differences = window.findChild<FeatureSetDifferencesWindow*>(kDifferencesWindowName);
    ASSERT_TRUE(differences);
    ASSERT_EQ(differences->list().topLevelItemCount(), 2);
    QTreeWidgetItem* width = differences->list().topLevelItem(0);
    EXPECT_EQ(width->text(0) + " " + width->text(1) + " " + width->text(2), "Width 1280 640");
    emit differences->list().itemDoubleClicked(width, 0);
    EXPECT_EQ(window.tree().SelectedItem(), w.Feature("Width"));

    Trigger(window, kLoadFeaturesText);
    ASSERT_EQ(messages.texts.size(), 1u);
    EXPECT_EQ(messages.texts[0].substr(0, messages.texts[0].find('\n')),
              "Load features: edited.txt: 1 applied, 354 unchanged, 1 refused, 2 passes");
    EXPECT_NE(messages.texts[0].find("refused: Height = 4000: out of range"), std::string::npos);
    EXPECT_EQ(w.Value(w.Feature("Width")), "640") << "the tree shows what the device now holds";
    std::ofstream(files.answer) << "Width = 640\nWidth 16\n";
    Trigger(window, kLoadFeaturesText);
    EXPECT_EQ(
        messages.texts.at(1),
        "Load features: edited.txt:2: expected 'Name = value', a '# comment' or a '[Caption]'");
}
