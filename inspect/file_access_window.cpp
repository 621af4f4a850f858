#include "inspect/file_access_window.h"

#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QThread>
#include <QVBoxLayout>

namespace quillon::inspect {

std::string QtFileDialog::Choose(Kind kind, const std::string& initialName) {
    QFileDialog dialog(parent_);
    dialog.setAcceptMode(kind == Kind::Save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(kind == Kind::Save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    dialog.setDefaultSuffix(QString::fromLatin1(suffix_));
    dialog.setOption(QFileDialog::DontConfirmOverwrite);
    dialog.selectFile(QString::fromStdString(initialName));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
    return dialog.selectedFiles().front().toStdString();
}

void QtMessageDisplay::Show(const std::string& text, const std::string& caption, MessageIcon icon) {
    const QString qText = QString::fromStdString(text);
    const QString qCaption = QString::fromStdString(caption);
    const QMessageBox::Icon qIcon = icon == MessageIcon::Exclamation ? QMessageBox::Warning : QMessageBox::NoIcon;
    QPointer<QWidget> parent = parent_;
    // The transfer thread reports its end; a box may only be opened on the
    // GUI thread, and that thread may be waiting for the transfer, so the
    // box is queued rather than waited for.
    QMetaObject::invokeMethod(
        qApp,
        [parent, qText, qCaption, qIcon] {
            // On the heap: a parent deleted while the box runs takes it along.
            QPointer<QMessageBox> box =
                new QMessageBox(qIcon, qCaption, qText, QMessageBox::Ok, parent);
            box->exec();
            delete box.data();
        },
        QThread::currentThread() == qApp->thread() ? Qt::DirectConnection : Qt::QueuedConnection);
}

FileAccessWindow::FileAccessWindow(GenApi::INodeMap* nodeMap, FileDialog* fileDialog, MessageDisplay* messages,
                                   QWidget* parent)
    : QDialog(parent) {
    if (!fileDialog) {
        ownDialog_ = std::make_unique<QtFileDialog>(this);
        fileDialog = ownDialog_.get();
    }
    if (!messages) {
        ownMessages_ = std::make_unique<QtMessageDisplay>(this);
        messages = ownMessages_.get();
    }
    setWindowTitle(QString::fromUtf8(kFileAccessCaption));

    auto* layout = new QVBoxLayout(this);
    auto* group = new QGroupBox(QStringLiteral("File selector"), this);
    auto* grid = new QGridLayout(group);
    grid->addWidget(new QLabel(QStringLiteral("File selector:"), group), 0, 0);
    fileCombo_ = new QComboBox(group);
    grid->addWidget(fileCombo_, 0, 1);
    grid->addWidget(new QLabel(QStringLiteral("Description:"), group), 1, 0, Qt::AlignTop);
    description_ = new QLabel(group);
    description_->setWordWrap(true);
    grid->addWidget(description_, 1, 1);
    grid->setColumnStretch(1, 1);
    layout->addWidget(group);

    auto* buttons = new QHBoxLayout;
    upload_ = new QPushButton(QStringLiteral("Upload to Camera"), this);
    download_ = new QPushButton(QStringLiteral("Download from Camera"), this);
    // Neither button may close the dialog on Enter.
    upload_->setAutoDefault(false);
    download_->setAutoDefault(false);
    buttons->addWidget(upload_);
    buttons->addWidget(download_);
    layout->addLayout(buttons);
    progress_ = new QProgressBar(this);
    progress_->hide();
    layout->addWidget(progress_);

    session_ = std::make_unique<FileTransferSession>(
        nodeMap, FileTransferPlatform{*fileDialog, *messages, *this, *this});
    description_->setText(QString::fromStdString(session_->FillFileList()));
    for (const DeviceFile& file : session_->Files()) fileCombo_->addItem(QString::fromStdString(file.displayName));

    connect(fileCombo_, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (index >= 0) description_->setText(QString::fromStdString(session_->SelectFile(static_cast<size_t>(index))));
    });
    connect(download_, &QPushButton::clicked, this, [this] { session_->StartDownload(); });
    connect(upload_, &QPushButton::clicked, this, [this] { session_->StartUpload(); });
}

FileAccessWindow::~FileAccessWindow() {
    // The transfer thread calls back into this window until it has ended.
    session_->Cancel();
    session_.reset();
}

void FileAccessWindow::reject() {
    session_->Cancel();
    QDialog::reject();
}

template <typename F> void FileAccessWindow::OnGuiThread(F f) {
    // Queued calls keep their order and are dropped if the window goes first.
    QMetaObject::invokeMethod(this, std::move(f),
                              QThread::currentThread() == thread() ? Qt::DirectConnection : Qt::QueuedConnection);
}

void FileAccessWindow::SetRange(int32_t lower, int32_t upper) {
    OnGuiThread([this, lower, upper] { progress_->setRange(lower, upper); });
}
void FileAccessWindow::SetPosition(int32_t position) {
    OnGuiThread([this, position] { progress_->setValue(position); });
}
void FileAccessWindow::SetStep(int32_t step) { step_ = step; }
void FileAccessWindow::Step() {
    const int32_t step = step_;
    OnGuiThread([this, step] { progress_->setValue(progress_->value() + step); });
}
void FileAccessWindow::Show(bool visible) {
    OnGuiThread([this, visible] { progress_->setVisible(visible); });
}
void FileAccessWindow::EnableDownload(bool enabled) {
    OnGuiThread([this, enabled] { download_->setEnabled(enabled); });
}
void FileAccessWindow::EnableUpload(bool enabled) {
    OnGuiThread([this, enabled] { upload_->setEnabled(enabled); });
}
void FileAccessWindow::EnableFileList(bool enabled) {
    OnGuiThread([this, enabled] { fileCombo_->setEnabled(enabled); });
}

} // namespace quillon::inspect
