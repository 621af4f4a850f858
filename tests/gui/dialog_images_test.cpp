// The find window and the file access dialog drawn and saved as PNG. With
// QUILLON_DIALOG_IMAGES_DIR set the images go there (the README's pictures
// in docs/images are made this way); otherwise to a temporary folder.
#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QLineEdit>
#include <QListView>
#include <QTemporaryDir>

#include <cstdlib>

#include "browser/tessel_window.h"
#include "gui_support.h"
#include "inspect/file_access_window.h"
#include "inspect/find_window.h"
#include "sim/sim_camera.h"

using namespace quillon::browser;

namespace {

QString ImageDir(const QTemporaryDir& temp) {
    const char* dir = std::getenv("QUILLON_DIALOG_IMAGES_DIR");
    return dir && *dir ? QString::fromLocal8Bit(dir) : temp.path();
}

void ExpectImage(const QString& path, const QWidget& window) {
    const QImage image(path);
    ASSERT_FALSE(image.isNull()) << path.toStdString();
    EXPECT_EQ(image.size(), window.size() * window.devicePixelRatio());
}

TEST(DialogImages, FindWindowAndFileAccessDialog) {
    QTemporaryDir temp;
    ASSERT_TRUE(temp.isValid());
    const QString dir = ImageDir(temp);
    qorvis::sim::ConnectedSimulatedCamera camera;
    MemorySettingsStore store;
    CTessel window(BrowserSetup{{quillon_gui_test::EntryOf(camera.nodeMap())}, 0, {}, false},
                   &store);
    window.ShowFindDialog();
    quillon::inspect::FindWindow& find = window.findWindow();
    find.resize(340, 360);
    find.queryEdit().setText(QStringLiteral("width"));
    emit find.queryEdit().textEdited(find.queryEdit().text());
    ASSERT_GT(find.nameList().model()->rowCount(), 0);
    const QString findPath = dir + QStringLiteral("/find.png");
    ASSERT_TRUE(SaveWindowImage(find, findPath));
    ExpectImage(findPath, find);

    quillon::inspect::FileAccessWindow files(camera.nodeMap());
    files.resize(420, files.sizeHint().height());
    const QString filesPath = dir + QStringLiteral("/file_access.png");
    ASSERT_TRUE(SaveWindowImage(files, filesPath));
    ExpectImage(filesPath, files);
}

} // namespace
