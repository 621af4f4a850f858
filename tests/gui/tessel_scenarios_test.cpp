// The browser window as a user drives it: polling, a file round trip through
// the file access dialog, scrolling, placement and level between sessions.

#include "controls/column_tree_layout.h"
#include "gui_support.h"
#include "inspect/file_access_window.h"

using namespace quillon::browser;
using namespace std::chrono_literals;
using quillon_gui_test::CameraWindow;
using quillon_gui_test::WaitFor;

namespace {

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
                    // Answered again when still open after a while: on a busy
                    // machine the dialog's start-up can put its initial file
                    // name back after the answer.
                    const QVariant answered = files->property("answeredAt");
                    const qint64 now = QDateTime::currentMSecsSinceEpoch();
                    if (answered.isValid() && now - answered.toLongLong() < 500) continue;
                    if (!answered.isValid()) modes.push_back(files->acceptMode());
                    files->setProperty("answeredAt", now);
                    files->selectFile(QString::fromStdString(path));
                    // Accepted once this slot has returned: a timer's slot is
                    // not run again inside a loop it started, so a box the
                    // file dialog opens would never be answered.
                    QTimer::singleShot(0, files, [files] {
                        static_cast<QDialog*>(files)->accept(); // QFileDialog::accept, protected there
                    });
                } else if (auto* box = qobject_cast<QMessageBox*>(w)) {
                    // A file dialog's own complaint ("File not found", when
                    // its start-up overwrote the answer) is no message of the
                    // window's: confirmed, and the dialog answered again.
                    if (!qobject_cast<QFileDialog*>(box->parentWidget()))
                        messages.push_back(box->windowTitle().toStdString() + ": " +
                                           box->text().toStdString());
                    box->accept();
                }
            }
        });
        timer.start(10);
    }
};

} // namespace

TEST(TesselScenarios, PollingUpdatesLiveRowsUntilUnchecked) {
    CameraWindow w;
    w.window.show();
    const TreeItem temperature = w.Feature("DeviceTemperature"), uptime = w.Feature("DeviceUptime");
    const std::string before = w.Value(temperature), uptimeBefore = w.Value(uptime);
    // The sensor warms up by hundredths of a degree a second in its first
    // minute; the rows are polled every second and redrawn on a 100 ms tick.
    w.window.pollingCheck().click();
    EXPECT_TRUE(WaitFor(
        [&] { return w.Value(temperature) != before && w.Value(uptime) != uptimeBefore; }, 2500ms));
    // Unchecked: the tick already under way may still land, then nothing moves.
    w.window.pollingCheck().click();
    WaitFor([] { return false; }, 300ms);
    const std::string stopped = w.Value(temperature) + w.Value(uptime);
    EXPECT_FALSE(
        WaitFor([&] { return w.Value(temperature) + w.Value(uptime) != stopped; }, 1500ms));
}

TEST(TesselScenarios, AFileRoundTripThroughTheFileAccessDialog) {
    CameraWindow w;
    w.window.resize(600, 700);
    w.window.show();
    // A double click on another category only opens or closes it; on the file
    // access category it opens the dialog.
    auto& tree = w.window.tree();
    for (const char* label : {"Device Control", "File Access Control\tFile Access Control..."}) {
        EXPECT_EQ(w.window.fileAccessWindow(), nullptr);
        const TreeItem item = quillon_gui_test::LabelledItem(w.window, label);
        tree.SelectItem(item); // scrolls it into view
        const QPointF at = tree.ItemRect(item).center();
        QMouseEvent click(QEvent::MouseButtonDblClick, at, tree.viewport()->mapToGlobal(at),
                          Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(tree.viewport(), &click);
    }
    quillon::inspect::FileAccessWindow* dialog = w.window.fileAccessWindow();
    ASSERT_TRUE(dialog && dialog->isVisible());
    EXPECT_EQ(dialog->windowTitle().toStdString() + "|" +
                  dialog->uploadButton().text().toStdString() + "|" +
                  dialog->downloadButton().text().toStdString(),
              "File Access Control|Upload to Camera|Download from Camera");
    // Enter in the dialog starts no transfer; the description has its label.
    EXPECT_FALSE(dialog->uploadButton().autoDefault() || dialog->downloadButton().autoDefault());
    const QList<QLabel*> labels = dialog->findChildren<QLabel*>();
    EXPECT_TRUE(std::any_of(labels.begin(), labels.end(),
                            [](QLabel* l) { return l->text() == "Description:"; }));
    // The read-only log offers no upload; the description follows the choice.
    ASSERT_EQ(dialog->fileCombo().count(), 4);
    dialog->fileCombo().setCurrentIndex(3);
    EXPECT_TRUE(!dialog->uploadButton().isEnabled() && dialog->downloadButton().isEnabled());
    for (int index : {0, 1}) {
        dialog->fileCombo().setCurrentIndex(index);
        EXPECT_EQ(
            dialog->description().text().toStdString(),
            std::string(
                dialog->session().Files()[static_cast<size_t>(index)].entry->GetDescription()));
    }
    // UserSet2 up and down again: more than two transfer chunks, the last one partial.
    std::vector<char> content(5000);
    for (size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>((i * 131 + 7) % 251);
    QTemporaryDir dir;
    DialogAnswerer answers;
    answers.path = dir.filePath(QStringLiteral("upload.bin")).toStdString();
    std::ofstream(answers.path, std::ios::binary)
        .write(content.data(), static_cast<std::streamsize>(content.size()));
    dialog->uploadButton().click(); // returns once the file dialog is answered
    dialog->session().WaitForTransfer();
    ASSERT_TRUE(WaitFor([&] { return !answers.messages.empty(); }, 5000ms));
    EXPECT_EQ(answers.messages.back(), "Success: " + answers.path + " uploaded successfully.");
    EXPECT_EQ(w.camera.device.fileContents("UserSet2"),
              std::vector<uint8_t>(content.begin(), content.end()));
    answers.path = dir.filePath(QStringLiteral("download.bin")).toStdString();
    ASSERT_TRUE(WaitFor([&] { return dialog->downloadButton().isEnabled(); }, 1000ms));
    dialog->downloadButton().click();
    dialog->session().WaitForTransfer();
    ASSERT_TRUE(WaitFor([&] { return answers.messages.size() == 2; }, 5000ms));
    EXPECT_EQ(answers.messages.back(), "Success: " + answers.path + " downloaded successfully.");
    std::ifstream in(answers.path, std::ios::binary);
    EXPECT_EQ(std::vector<char>(std::istreambuf_iterator<char>(in), {}), content);
    EXPECT_EQ(answers.modes, (std::vector{QFileDialog::AcceptOpen, QFileDialog::AcceptSave}));
    EXPECT_EQ(dialog->progressBar().maximum(), 5000);
    EXPECT_TRUE(dialog->progressBar().isHidden());
}

TEST(TesselScenarios, ResizingAndScrollingTheTree) {
    CameraWindow w;
    w.store.Write(kSettingsKey, kSlidderPos, 200);
    CTessel window(BrowserSetup{{quillon_gui_test::EntryOf(w.camera.nodeMap())}, 0, {}, false},
                   &w.store);
    window.show();
    auto& tree = window.tree();
    const QHeaderView& header = *tree.findChild<QHeaderView*>();
    // Narrower than the name column plus what the value column keeps: both
    // columns, and 300 pixels past the name column, are reached by scrolling.
    window.resize(300, 400);
    ASSERT_TRUE(WaitFor([&] { return tree.viewport()->width() < 200 + 300; }, 1000ms));
    EXPECT_EQ(tree.NameColumnWidth(), 200);
    EXPECT_GE(header.sectionSize(1), quillon::controls::kMinLastColumnWidth);
    QScrollBar& h = *tree.horizontalScrollBar();
    EXPECT_GE(h.maximum() + tree.viewport()->width(), 200 + header.sectionSize(1) - 1);
    h.triggerAction(QAbstractSlider::SliderToMaximum);
    EXPECT_GT(h.value(), 0);
    EXPECT_EQ(header.offset(), h.value()) << "the header scrolls with the rows";
    h.setValue(10);
    h.triggerAction(QAbstractSlider::SliderSingleStepSub); // one 15-pixel line from 10
    EXPECT_EQ(header.offset(), 0);
}

TEST(TesselScenarios, PlacementColumnsAndLevelComeBackFromTheSettings) {
    CameraWindow w; // never placed: where the system puts a window
    const auto open = [&](MemorySettingsStore& store) {
        return std::make_unique<CTessel>(
            BrowserSetup{{quillon_gui_test::EntryOf(w.camera.nodeMap())}, 0, {}, false}, &store);
    };
    struct Row {
        int32_t x, y, width, height, name, level;
        QRect geometry;
        int nameColumn; // -1: the client width less the margin
    };
    // A negative position is not applied, nor a size too small; a name column
    // wider than the tree leaves the margin.
    for (const Row& row :
         {Row{40, 60, 700, 500, 150, kStandard, {40, 60, 700, 500}, 150},
          Row{-5, 20, 640, 480, 5000, kGuru, {w.window.pos(), QSize(640, 480)}, -1},
          Row{10, 10, 80, 480, 150, kAdvanced, {10, 10, kDefaultWidth, kDefaultHeight}, 150}}) {
        MemorySettingsStore store;
        const int32_t values[] = {row.x, row.y, row.width, row.height, row.name, row.level};
        for (int i = 0; const char* key : {kPosX, kPosY, kWidth, kHeight, kSlidderPos, kUserLevel})
            store.Write(kSettingsKey, key, values[i++]);
        const auto window = open(store);
        EXPECT_EQ(window->geometry(), row.geometry) << row.x;
        EXPECT_EQ(window->tree().NameColumnWidth(),
                  row.nameColumn < 0 ? window->TreeClientWidth() - kColumnMargin : row.nameColumn);
        EXPECT_EQ(window->levelCombo().currentIndex(), row.level);
        EXPECT_EQ(window->session().userLevel(), row.level);
        EXPECT_EQ(quillon_gui_test::LabelledItem(*window, "LUT Control") != kTopLevel,
                  row.level != kStandard);
    }
    // Closing saves where the user left the window; the next one opens there.
    MemorySettingsStore store;
    {
        const auto window = open(store);
        window->show();
        window->move(70, 90);
        window->resize(610, 560);
        window->tree().SetColumnWidths(230, 360);
        window->levelCombo().setCurrentIndex(1);
        WaitFor([] { return false; }, 50ms); // let the window manager apply the geometry
        window->close();
    }
    // clang-format off
    const std::pair<const char*, int> kept[] = {
        {kPosX, 70}, {kPosY, 90}, {kWidth, 610}, {kHeight, 560}, {kSlidderPos, 230},
        {kUserLevel, kAdvanced}};
    // clang-format on
    for (auto [name, value] : kept)
        EXPECT_EQ(store.Read(kSettingsKey, name), value) << name;
    EXPECT_FALSE(store.Has(kSeparateSettingsKey, kWidth));
    const auto again = open(store);
    EXPECT_EQ(again->geometry(), QRect(70, 90, 610, 560));
    EXPECT_EQ(again->tree().NameColumnWidth(), 230);
    EXPECT_EQ(again->levelCombo().currentIndex(), 1);
}
