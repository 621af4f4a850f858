// The "File Access Control" dialog: the device file list, its description,
// the transfer buttons and a progress bar over a FileTransferSession. The
// transfer thread's progress and button calls are posted to the GUI thread.
#pragma once

#include <QDialog>

#include <atomic>
#include <memory>
#include <string>

#include "inspect/file_transfer.h"

class QComboBox;
class QLabel;
class QProgressBar;
class QPushButton;

namespace quillon::inspect {

inline constexpr const char* kFileAccessCaption = "File Access Control";

// QFileDialog: Save for a download, Open for an upload; names without an
// extension get `suffix`.
class QtFileDialog final : public FileDialog {
public:
    explicit QtFileDialog(QWidget* parent, const char* suffix = "bin")
        : parent_(parent), suffix_(suffix) {}
    std::string Choose(Kind kind, const std::string& initialName) override;

private:
    QWidget* parent_;
    const char* suffix_;
};

// A QMessageBox, opened on the GUI thread whichever thread asks.
class QtMessageDisplay final : public MessageDisplay {
public:
    explicit QtMessageDisplay(QWidget* parent) : parent_(parent) {}
    void Show(const std::string& text, const std::string& caption, MessageIcon icon) override;

private:
    QWidget* parent_;
};

class FileAccessWindow final : public QDialog, private ProgressIndicator, private TransferButtons {
    Q_OBJECT

public:
    // `fileDialog` and `messages` null: the Qt ones. The list is filled and
    // the first file selected at once.
    FileAccessWindow(GenApi::INodeMap* nodeMap, FileDialog* fileDialog = nullptr, MessageDisplay* messages = nullptr,
                     QWidget* parent = nullptr);
    ~FileAccessWindow() override;

    FileTransferSession& session() { return *session_; }
    QComboBox& fileCombo() { return *fileCombo_; }
    QLabel& description() { return *description_; }
    QPushButton& uploadButton() { return *upload_; }
    QPushButton& downloadButton() { return *download_; }
    QProgressBar& progressBar() { return *progress_; }

protected:
    void reject() override;

private:
    // ProgressIndicator and TransferButtons, called from either thread.
    void SetRange(int32_t lower, int32_t upper) override;
    void SetPosition(int32_t position) override;
    void SetStep(int32_t step) override;
    void Step() override;
    void Show(bool visible) override;
    void EnableDownload(bool enabled) override;
    void EnableUpload(bool enabled) override;
    void EnableFileList(bool enabled) override;
    template <typename F> void OnGuiThread(F f);

    std::unique_ptr<FileDialog> ownDialog_;
    std::unique_ptr<MessageDisplay> ownMessages_;
    QComboBox* fileCombo_ = nullptr;
    QLabel* description_ = nullptr;
    QPushButton* upload_ = nullptr;
    QPushButton* download_ = nullptr;
    QProgressBar* progress_ = nullptr;
    std::atomic<int32_t> step_{1};
    std::unique_ptr<FileTransferSession> session_;
};

} // namespace quillon::inspect
