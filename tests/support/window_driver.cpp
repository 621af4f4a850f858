// A user's find and download in a browser window, for the C lifecycle test:
// Ctrl+F, "File Access Control", Enter twice, then "Download from Camera" with
// its file dialog and message box answered. Loaded with dlopen beside
// libquillon.so, it reaches the window only through Qt and the controls' names.
#include <QApplication>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPixmapCache>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <cstdint>

namespace {

QDialog* DialogTitled(QWidget* browser, const QString& start) {
    for (QDialog* dialog : browser->findChildren<QDialog*>())
        if (dialog->windowTitle().startsWith(start)) return dialog;
    return nullptr;
}

bool Drive(QWidget* browser, const QString& path) {
    QWidget* tree = browser->findChild<QWidget*>(QStringLiteral("1008"));
    if (!tree) return false;
    QTest::keyClick(tree, Qt::Key_F, Qt::ControlModifier);
    QDialog* find = DialogTitled(browser, QStringLiteral("Find "));
    QLineEdit* query = find ? find->findChild<QLineEdit*>() : nullptr;
    if (!query || !find->isVisible()) return false;
    QTest::keyClicks(query, QStringLiteral("File Access Control"));
    QTest::keyClick(query, Qt::Key_Return);
    QTest::keyClick(tree, Qt::Key_Return);
    QPointer<QDialog> files = DialogTitled(browser, QStringLiteral("File Access Control"));
    QPushButton* download = nullptr;
    for (QPushButton* button : files ? files->findChildren<QPushButton*>() : QList<QPushButton*>())
        if (button->text() == QStringLiteral("Download from Camera")) download = button;
    if (find->isVisible() || !download) return false;

    int messages = 0;
    QTimer answers; // the file dialog and the message box run loops of their own
    QObject::connect(&answers, &QTimer::timeout, [&] {
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (auto* chooser = qobject_cast<QFileDialog*>(w); chooser && chooser->isVisible()) {
                chooser->selectFile(path);
                static_cast<QDialog*>(chooser)->accept();
            } else if (auto* box = qobject_cast<QMessageBox*>(w); box && box->isVisible()) {
                ++messages;
                box->accept();
            }
        }
    });
    answers.start(5);
    download->click(); // returns once the file dialog was answered
    QElapsedTimer clock;
    clock.start();
    while (!(messages > 0 && download->isEnabled()) && clock.elapsed() < 20000)
        QApplication::processEvents(QEventLoop::AllEvents, 5);
    files->reject();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return messages > 0;
}

} // namespace

extern "C" {

// Drives the browser of window handle `window`; 1 when every step went well.
__attribute__((visibility("default"))) int quillon_drive_window(int64_t window, const char* path) {
    QWidget* browser = QWidget::find(static_cast<WId>(window));
    return browser && Drive(browser, QString::fromUtf8(path)) ? 1 : 0;
}

// The next modal browser is driven once it runs its loop (`*result` 1 when
// every step went well), then closed. Needs an application object that lives on.
__attribute__((visibility("default"))) int quillon_drive_next_modal(const char* path, int* result) {
    if (!qApp) return 0;
    *result = 0;
    QTimer::singleShot(0, qApp, [local = QString::fromUtf8(path), result] {
        if (QWidget* browser = QApplication::activeModalWidget()) {
            *result = Drive(browser, local) ? 1 : 0;
            browser->close();
        }
    });
    return 1;
}

// Empties Qt's pixmap cache (the file dialogs' icons, up to 10 MiB), so that
// heap measurements see what the browser keeps.
__attribute__((visibility("default"))) void quillon_drop_qt_caches() {
    QPixmapCache::clear();
}

} // extern "C"
