// What a user does in a browser window, for the C lifecycle test: a find
// (Ctrl+F, a name, Enter) that selects the "File Access Control" row, then
// Enter on it and a download through the file access dialog, whose file
// dialog and message box are answered. Loaded with dlopen beside
// libquillon.so; it reaches the window only through Qt (the process's one
// QApplication) and the controls' object names and texts.
#include <QApplication>
#include <QDialog>
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
#include <functional>
#include <string>

namespace {

bool WaitFor(const std::function<bool()>& done, int milliseconds) {
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() > milliseconds) return false;
        QApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return true;
}

// Answers every file dialog with `path` and confirms every message box.
class Answerer {
public:
    explicit Answerer(const QString& path) {
        QObject::connect(&timer_, &QTimer::timeout, [this, path] {
            for (QWidget* w : QApplication::topLevelWidgets()) {
                if (!w->isVisible()) continue;
                if (auto* files = qobject_cast<QFileDialog*>(w)) {
                    files->selectFile(path);
                    static_cast<QDialog*>(files)->accept();
                } else if (auto* box = qobject_cast<QMessageBox*>(w)) {
                    ++messages;
                    box->accept();
                }
            }
        });
        timer_.start(5);
    }
    int messages = 0;

private:
    QTimer timer_;
};

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
    if (find->isVisible()) return false;

    QTest::keyClick(tree, Qt::Key_Return);
    QPointer<QDialog> files = DialogTitled(browser, QStringLiteral("File Access Control"));
    QPushButton* download = nullptr;
    if (files)
        for (QPushButton* button : files->findChildren<QPushButton*>())
            if (button->text() == QStringLiteral("Download from Camera")) download = button;
    if (!download || !files->isVisible()) return false;
    Answerer answers(path);
    download->click(); // returns once the file dialog was answered
    const bool done = WaitFor([&] { return answers.messages > 0 && download->isEnabled(); }, 20000);
    files->reject();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return done;
}

} // namespace

extern "C" {

// Drives the browser whose window handle is `window`; 1 when every step went
// as a user would see it.
__attribute__((visibility("default"))) int quillon_drive_window(int64_t window, const char* path) {
    QWidget* browser = QWidget::find(static_cast<WId>(window));
    return browser && Drive(browser, QString::fromUtf8(path)) ? 1 : 0;
}

// The next modal browser, once its loop runs, is driven and then closed;
// `*result` becomes 1 when every step went well. Needs an application
// object that lives on (a controller without window keeps it).
__attribute__((visibility("default"))) int quillon_drive_next_modal(const char* path, int* result) {
    if (!qApp) return 0;
    *result = 0;
    const QString local = QString::fromUtf8(path);
    QTimer::singleShot(0, qApp, [local, result] {
        QWidget* browser = QApplication::activeModalWidget();
        if (!browser) return;
        *result = Drive(browser, local) ? 1 : 0;
        browser->close();
    });
    return 1;
}

// Empties Qt's pixmap cache, which keeps the icons of every file dialog
// (each has icons of its own) up to its limit of 10 MiB: heap measurements
// then see what the browser keeps, not what that cache holds.
__attribute__((visibility("default"))) void quillon_drop_qt_caches() {
    QPixmapCache::clear();
}

} // extern "C"
