// The browser window over the simulated camera as a user drives it: polling
// live values, a file round trip through the file access dialog, resizing and
// scrolling the tree, and the placement and level kept between sessions.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTimer>

#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "GenApi/GenApi.h"
#include "browser/tessel_window.h"
#include "controls/column_tree_layout.h"
#include "controls/column_tree_widget.h"
#include "gui_support.h"
#include "inspect/file_access_window.h"
#include "sim/sim_camera.h"

using namespace quillon::browser;
using namespace std::chrono_literals;

namespace {

// Processes events until `done` holds or `limit` has passed; answers `done`.
bool WaitFor(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() >= end) return false;
        QApplication::processEvents();
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

// The window over a simulated camera, with its settings in `store`.
struct Browser {
    qorvis::sim::ConnectedSimulatedCamera camera;
    CTessel window;
    explicit Browser(MemorySettingsStore& store)
        : window(BrowserSetup{{quillon_gui_test::EntryOf(camera.nodeMap())}, 0, {}, false},
                 &store) {}
    TreeItem Feature(const char* name) { return quillon_gui_test::FeatureItem(window, name); }
    TreeItem Labelled(const char* label) {
        return quillon_gui_test::ItemWhere(
            window, [label](const FeatureRow& r) { return r.label == label; });
    }
    std::string Text(TreeItem item) { return window.tree().ItemText(item); }
    int ValueColumnWidth() { return window.tree().findChild<QHeaderView*>()->sectionSize(1); }
};

TEST(TesselScenarios, PollingUpdatesLiveRowsUntilUnchecked) {
    MemorySettingsStore store;
    Browser b(store);
    b.window.show();
    const TreeItem temperature = b.Feature("DeviceTemperature");
    const TreeItem uptime = b.Feature("DeviceUptime");
    ASSERT_NE(temperature, kTopLevel);
    ASSERT_NE(uptime, kTopLevel);
    const std::string before = b.Text(temperature);
    const std::string uptimeBefore = b.Text(uptime);

    // The sensor warms up by several hundredths of a degree a second in its
    // first minute; the row is polled every second and redrawn on a 100 ms tick.
    b.window.pollingCheck().click();
    ASSERT_TRUE(b.window.pollingCheck().isChecked());
    EXPECT_TRUE(WaitFor([&] { return b.Text(temperature) != before; }, 2000ms)) << before;
    EXPECT_TRUE(WaitFor([&] { return b.Text(uptime) != uptimeBefore; }, 2500ms)) << uptimeBefore;

    // Unchecked: the tick already under way may still land, then nothing moves,
    // although uptime would have advanced within this time.
    b.window.pollingCheck().click();
    ASSERT_FALSE(b.window.pollingCheck().isChecked());
    WaitFor([] { return false; }, 300ms);
    const std::string stoppedTemperature = b.Text(temperature);
    const std::string stoppedUptime = b.Text(uptime);
    EXPECT_FALSE(WaitFor(
        [&] {
            return b.Text(temperature) != stoppedTemperature || b.Text(uptime) != stoppedUptime;
        },
        1500ms))
        << b.Text(temperature) << " / " << b.Text(uptime);
}

// Answers the Qt file dialogs and message boxes the file access dialog opens:
// every file dialog chooses `path`, every message box is read and confirmed.
struct DialogAnswerer {
    std::string path;
    std::vector<QFileDialog::AcceptMode> modes;
    std::vector<std::string> messages;
    QTimer timer;
    DialogAnswerer() {
        QObject::connect(&timer, &QTimer::timeout, [this] {
            for (QWidget* w : QApplication::topLevelWidgets()) {
                if (!w->isVisible()) continue;
                if (auto* files = qobject_cast<QFileDialog*>(w)) {
                    if (files->property("answered").toBool()) continue;
                    files->setProperty("answered", true);
                    modes.push_back(files->acceptMode());
                    files->selectFile(QString::fromStdString(path));
                    // Accepted once this slot has returned: a timer's slot is
                    // not run again inside a loop it started, so a box the
                    // file dialog opens would never be answered.
                    QTimer::singleShot(0, files, [files] {
                        static_cast<QDialog*>(files)->accept(); // QFileDialog::accept, protected there
                    });
                } else if (auto* box = qobject_cast<QMessageBox*>(w)) {
                    messages.push_back(box->windowTitle().toStdString() + ": " +
                                       box->text().toStdString());
                    box->accept();
                }
            }
        });
        timer.start(10);
    }
};

std::vector<uint8_t> ReadLocal(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

TEST(TesselScenarios, FileRoundTripThroughTheFileAccessDialog) {
    MemorySettingsStore store;
    Browser b(store);
    b.window.show();
    const TreeItem category = quillon_gui_test::ItemWhere(
        b.window, [](const FeatureRow& r) { return r.isFileAccessCategory; });
    ASSERT_NE(category, kTopLevel);
    ASSERT_TRUE(b.window.OpenFileAccess(category));
    quillon::inspect::FileAccessWindow* dialog = b.window.fileAccessWindow();
    ASSERT_NE(dialog, nullptr);
    const int userSet2 = dialog->fileCombo().findText(QStringLiteral("UserSet2"));
    ASSERT_GE(userSet2, 0);
    dialog->fileCombo().setCurrentIndex(userSet2);

    // More than two transfer chunks, the last one partial.
    std::vector<uint8_t> content(5000);
    for (size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<uint8_t>((i * 131 + 7) % 251);
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const std::string local = dir.filePath(QStringLiteral("upload.bin")).toStdString();
    std::ofstream(local, std::ios::binary)
        .write(reinterpret_cast<const char*>(content.data()),
               static_cast<std::streamsize>(content.size()));

    DialogAnswerer answers;
    answers.path = local;
    ASSERT_TRUE(dialog->uploadButton().isEnabled());
    dialog->uploadButton().click(); // returns once the file dialog is answered
    dialog->session().WaitForTransfer();
    ASSERT_TRUE(WaitFor([&] { return !answers.messages.empty(); }, 5000ms));
    EXPECT_EQ(answers.messages.front(), "Success: " + local + " uploaded successfully.");
    EXPECT_EQ(b.camera.device.fileContents("UserSet2"), content);
    EXPECT_FALSE(b.camera.device.fileIsOpen("UserSet2"));

    // And back from the device into another file.
    answers.path = dir.filePath(QStringLiteral("download.bin")).toStdString();
    ASSERT_TRUE(WaitFor([&] { return dialog->downloadButton().isEnabled(); }, 1000ms));
    dialog->downloadButton().click();
    dialog->session().WaitForTransfer();
    ASSERT_TRUE(WaitFor([&] { return answers.messages.size() == 2; }, 5000ms));
    EXPECT_EQ(answers.messages.back(), "Success: " + answers.path + " downloaded successfully.");
    EXPECT_EQ(ReadLocal(answers.path), content);
    EXPECT_EQ(answers.modes, (std::vector{QFileDialog::AcceptOpen, QFileDialog::AcceptSave}));
    EXPECT_TRUE(dialog->progressBar().isHidden());
}

TEST(TesselScenarios, ResizingAndScrollingTheTree) {
    MemorySettingsStore store;
    store.Write(kSettingsKey, kWidth, 900);
    store.Write(kSettingsKey, kHeight, 400);
    store.Write(kSettingsKey, kSlidderPos, 200);
    Browser b(store);
    b.window.show();
    auto& tree = b.window.tree();
    ASSERT_EQ(tree.NameColumnWidth(), 200);

    // Narrower than the name column plus what the value column keeps.
    b.window.resize(300, 400);
    ASSERT_TRUE(WaitFor(
        [&] { return tree.viewport()->width() < 200 + quillon::controls::kMinLastColumnWidth; },
        1000ms));
    EXPECT_GE(b.ValueColumnWidth(), quillon::controls::kMinLastColumnWidth);
    EXPECT_EQ(tree.NameColumnWidth(), 200);

    // Both columns, and at least 300 pixels past the name column, are reachable.
    QScrollBar& h = *tree.horizontalScrollBar();
    EXPECT_EQ(h.minimum(), 0);
    EXPECT_GE(h.maximum() + tree.viewport()->width(),
              tree.NameColumnWidth() + quillon::controls::kTreeColumnReach);
    EXPECT_GE(h.maximum() + tree.viewport()->width(),
              tree.NameColumnWidth() + b.ValueColumnWidth() - 1);
    const QHeaderView& header = *tree.findChild<QHeaderView*>();
    h.triggerAction(QAbstractSlider::SliderToMaximum);
    EXPECT_GT(h.value(), 0);
    EXPECT_EQ(header.offset(), h.value()) << "the header scrolls with the rows";
    h.setValue(10);
    h.triggerAction(QAbstractSlider::SliderSingleStepSub); // one 15-pixel line from 10
    EXPECT_EQ(h.value(), 0);
    EXPECT_EQ(header.offset(), 0);

    // Vertical scrolling moves the first visible row, the rows' rectangles
    // and what lies under a point together.
    const std::vector<TreeItem> top = tree.VisibleItemsFromFirst();
    QScrollBar& v = *tree.verticalScrollBar();
    ASSERT_GT(v.maximum(), 3) << "the tree is taller than the window";
    const TreeItem fourth = top[3];
    const QRect before = tree.ItemRect(fourth);
    EXPECT_EQ(before.top(), 3 * tree.RowPixels());
    v.setValue(3);
    const std::vector<TreeItem> scrolled = tree.VisibleItemsFromFirst();
    EXPECT_EQ(scrolled, std::vector<TreeItem>(top.begin() + 3, top.end()));
    EXPECT_EQ(tree.ItemRect(fourth), before.translated(0, -3 * tree.RowPixels()));
    EXPECT_EQ(tree.ItemAt(tree.ItemRect(scrolled[2]).center()), scrolled[2]);
    EXPECT_TRUE(tree.ItemRect(top[0]).bottom() < 0) << "a row scrolled off lies above the viewport";
}

void Fill(MemorySettingsStore& store, int32_t x, int32_t y, int32_t width, int32_t height,
          int32_t name, int32_t level) {
    store.Write(kSettingsKey, kPosX, x);
    store.Write(kSettingsKey, kPosY, y);
    store.Write(kSettingsKey, kWidth, width);
    store.Write(kSettingsKey, kHeight, height);
    store.Write(kSettingsKey, kSlidderPos, name);
    store.Write(kSettingsKey, kUserLevel, level);
}

TEST(TesselScenarios, PlacementColumnsAndLevelComeBackFromTheSettings) {
    {
        MemorySettingsStore store;
        Fill(store, 40, 60, 700, 500, 150, kStandard);
        Browser b(store);
        EXPECT_EQ(b.window.pos(), QPoint(40, 60));
        EXPECT_EQ(b.window.size(), QSize(700, 500));
        EXPECT_EQ(b.window.tree().NameColumnWidth(), 150);
        EXPECT_EQ(b.window.levelCombo().currentIndex(), 0);
        EXPECT_EQ(b.window.session().userLevel(), kStandard);
        EXPECT_EQ(b.Labelled("LUT Control"), kTopLevel)
            << "an Expert category is not shown at Standard";
        EXPECT_NE(b.Feature("Width"), kTopLevel);
    }
    MemorySettingsStore unplaced;
    const QPoint systemPlace = Browser(unplaced).window.pos();
    {
        // A name column wider than the tree leaves 20 pixels of the client
        // width; a negative position is not applied.
        MemorySettingsStore store;
        Fill(store, -5, 20, 640, 480, 5000, kGuru);
        Browser b(store);
        EXPECT_EQ(b.window.pos(), systemPlace);
        EXPECT_EQ(b.window.size(), QSize(640, 480));
        EXPECT_EQ(b.window.tree().NameColumnWidth(), b.window.TreeClientWidth() - kColumnMargin);
        EXPECT_NE(b.Labelled("LUT Control"), kTopLevel);
    }
    {
        MemorySettingsStore store;
        Fill(store, 10, 10, 80, 480, 150, kGuru);
        Browser b(store);
        EXPECT_EQ(b.window.size(), QSize(kDefaultWidth, kDefaultHeight));
    }

    // Closing saves where the user left the window; the next one opens there.
    MemorySettingsStore store;
    {
        Browser b(store);
        b.window.show();
        b.window.move(70, 90);
        b.window.resize(610, 560);
        b.window.tree().SetColumnWidths(230, 360);
        b.window.levelCombo().setCurrentIndex(1);
        EXPECT_EQ(b.window.session().userLevel(), kAdvanced);
        WaitFor([] { return false; }, 50ms); // let the window manager apply the geometry
        b.window.close();
    }
    EXPECT_EQ(store.Read(kSettingsKey, kPosX), 70);
    EXPECT_EQ(store.Read(kSettingsKey, kPosY), 90);
    EXPECT_EQ(store.Read(kSettingsKey, kWidth), 610);
    EXPECT_EQ(store.Read(kSettingsKey, kHeight), 560);
    EXPECT_EQ(store.Read(kSettingsKey, kSlidderPos), 230);
    EXPECT_EQ(store.Read(kSettingsKey, kUserLevel), kAdvanced);
    EXPECT_FALSE(store.Has(kSeparateSettingsKey, kWidth));
    Browser again(store);
    EXPECT_EQ(again.window.geometry(), QRect(70, 90, 610, 560));
    EXPECT_EQ(again.window.tree().NameColumnWidth(), 230);
    EXPECT_EQ(again.window.levelCombo().currentIndex(), 1);
}

} // namespace
