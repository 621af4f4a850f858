// The file access dialog over the simulated camera: the file list, a
// download through the dialog's button, and opening it from the browser.
#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QMouseEvent>
#include <QProgressBar>
#include <QPushButton>
#include <QTemporaryDir>

#include <fstream>
#include <iterator>
#include <mutex>
#include <vector>

#include "GenApi/GenApi.h"
#include "browser/tessel_window.h"
#include "controls/column_tree_widget.h"
#include "gui_support.h"
#include "inspect/file_access_window.h"
#include "sim/sim_camera.h"

using namespace quillon::inspect;

namespace {

struct AnsweringDialog final : FileDialog {
    std::string answer;
    std::vector<Kind> asked;
    std::string Choose(Kind kind, const std::string&) override {
        asked.push_back(kind);
        return answer;
    }
};

// Called from the transfer thread; read after the transfer has ended.
struct RecordingMessages final : MessageDisplay {
    std::mutex mutex;
    std::vector<std::string> texts;
    void Show(const std::string& text, const std::string& caption, MessageIcon) override {
        const std::lock_guard<std::mutex> lock(mutex);
        texts.push_back(caption + ": " + text);
    }
};

int IndexOf(FileAccessWindow& window, const char* symbolic) {
    const auto& files = window.session().Files();
    for (size_t i = 0; i < files.size(); ++i)
        if (std::string(GenApi::CEnumEntryPtr(files[i].entry)->GetSymbolic()) == symbolic)
            return static_cast<int>(i);
    return -1;
}

TEST(FileAccessWindow, DownloadsTheSelectedDeviceFileThroughTheButton) {
    qorvis::sim::ConnectedSimulatedCamera camera;
    std::vector<uint8_t> content(5000);
    for (size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<uint8_t>((i * 37 + 11) % 253);
    ASSERT_TRUE(camera.device.setFileContents("UserSet2", content));
    AnsweringDialog dialog;
    RecordingMessages messages;
    FileAccessWindow window(camera.nodeMap(), &dialog, &messages);
    window.show();

    EXPECT_EQ(window.windowTitle().toStdString(), "File Access Control");
    EXPECT_EQ(window.uploadButton().text().toStdString(), "Upload to Camera");
    EXPECT_EQ(window.downloadButton().text().toStdString(), "Download from Camera");
    EXPECT_TRUE(window.progressBar().isHidden());
    ASSERT_EQ(window.fileCombo().count(), static_cast<int>(window.session().Files().size()));
    ASSERT_GT(window.fileCombo().count(), 1);
    EXPECT_EQ(window.description().text().toStdString(),
              std::string(window.session().Files()[0].entry->GetDescription()));

    const int userSet2 = IndexOf(window, "UserSet2");
    ASSERT_GT(userSet2, 0);
    window.fileCombo().setCurrentIndex(userSet2);
    EXPECT_EQ(window.session().CurrentFile(), static_cast<size_t>(userSet2));
    EXPECT_EQ(window.description().text().toStdString(),
              std::string(
                  window.session().Files()[static_cast<size_t>(userSet2)].entry->GetDescription()));

    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const std::string target = dir.filePath(QStringLiteral("user set 2.bin")).toStdString();
    dialog.answer = target;
    ASSERT_TRUE(window.downloadButton().isEnabled());
    window.downloadButton().click();
    window.session().WaitForTransfer();
    QApplication::processEvents(); // the transfer thread's progress and button calls

    ASSERT_EQ(dialog.asked, std::vector<FileDialog::Kind>{FileDialog::Kind::Save});
    std::ifstream in(target, std::ios::binary);
    const std::vector<uint8_t> local{std::istreambuf_iterator<char>(in),
                                     std::istreambuf_iterator<char>()};
    EXPECT_EQ(local, content);
    ASSERT_EQ(messages.texts.size(), 1u);
    EXPECT_EQ(messages.texts[0], "Success: " + target + " downloaded successfully.");
    EXPECT_EQ(window.progressBar().maximum(), 5000);
    EXPECT_EQ(window.progressBar().value(), 5000);
    EXPECT_TRUE(window.progressBar().isHidden()) << "the bar shows only during a transfer";
    EXPECT_TRUE(window.downloadButton().isEnabled());

    // The read-only log disables the upload.
    window.fileCombo().setCurrentIndex(IndexOf(window, "DeviceLog"));
    EXPECT_FALSE(window.uploadButton().isEnabled());
    EXPECT_TRUE(window.downloadButton().isEnabled());
}

TEST(FileAccessWindow, DoubleClickOnTheFileAccessCategoryOpensIt) {
    using namespace quillon::browser;
    qorvis::sim::ConnectedSimulatedCamera camera;
    MemorySettingsStore store;
    CTessel window(BrowserSetup{{quillon_gui_test::EntryOf(camera.nodeMap())}, 0, {}, false},
                   &store);
    window.resize(600, 700);
    window.show();
    auto& tree = window.tree();
    TreeItem category = kTopLevel;
    TreeItem other = kTopLevel;
    for (const FeatureRow& row : window.session().model().categoryRows()) {
        if (row.isFileAccessCategory)
            category = row.treeItem;
        else if (row.treeItem && row.node && !other)
            other = row.treeItem;
    }
    ASSERT_NE(category, kTopLevel);
    auto doubleClick = [&](TreeItem item) {
        tree.SelectItem(item); // scrolls it into view
        const QPointF at = tree.ItemRect(item).center();
        QMouseEvent click(QEvent::MouseButtonDblClick, at, tree.viewport()->mapToGlobal(at),
                          Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(tree.viewport(), &click);
    };
    ASSERT_NE(other, kTopLevel);
    doubleClick(other);
    EXPECT_EQ(window.fileAccessWindow(), nullptr) << "another category only expands or collapses";

    doubleClick(category);
    FileAccessWindow* dialog = window.fileAccessWindow();
    ASSERT_NE(dialog, nullptr);
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_EQ(dialog->windowTitle().toStdString(), "File Access Control");
    EXPECT_GT(dialog->fileCombo().count(), 0);
}

} // namespace
