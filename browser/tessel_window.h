// The browser window: level combo, polling check box, the column tree, the
// property box and the error box over a BrowserSession. It only shows what
// the session and the inspection code compute and forwards the user's actions.
#pragma once

#include <QDialog>
#include <QPointer>
#include <QSettings>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "browser/browser_session.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QPlainTextEdit;
class QPushButton;

namespace quillon::controls {
class ColumnTreeWidget;
}
namespace quillon::inspect {
class FindWindow;
class FileAccessWindow;
}

namespace quillon::browser {

// The settings in the user's QSettings; key paths become QSettings groups.
class QtSettingsStore final : public SettingsStore {
public:
    QtSettingsStore();
    std::optional<int32_t> Read(const std::string& key, const std::string& name) const override;
    void Write(const std::string& key, const std::string& name, int32_t value) override;

private:
    mutable QSettings settings_;
};

// The change timer as a QTimer of the GUI thread; Start and Kill are posted
// to that thread because node callbacks call them from the polling thread.
class QtChangeTimer final : public ChangeTimer {
public:
    explicit QtChangeTimer(std::function<void()> tick);
    void Start(int intervalMs) override;
    void Kill() override;
    bool IsActive() const { return timer_.isActive(); }

private:
    QTimer timer_;
};

class CTessel : public QDialog, public BrowserView {
    Q_OBJECT

public:
    // `store` null: the settings live in QSettings. The window starts the
    // session at once (tree, title, stored settings).
    explicit CTessel(BrowserSetup setup, SettingsStore* store = nullptr, QWidget* parent = nullptr);
    ~CTessel() override;

    BrowserSession& session() { return *session_; }
    controls::ColumnTreeWidget& tree() { return *tree_; }
    QComboBox& levelCombo() { return *levelCombo_; }
    QCheckBox& pollingCheck() { return *pollingCheck_; }
    QPlainTextEdit& propertyBox() { return *propertyBox_; }
    QPlainTextEdit& errorBox() { return *errorBox_; }
    QPushButton& findButton() { return *findButton_; }
    inspect::FindWindow& findWindow() { return *findWindow_; }
    // The open file access dialog, or null.
    inspect::FileAccessWindow* fileAccessWindow() const;
    // A double-click on the "File Access Control" category row opens the file
    // access dialog for that row's node map; false for any other row.
    bool OpenFileAccess(TreeItem item);

    // BrowserView
    void SetPollingCheck(bool checked) override;
    void FillLevelCombo(int level) override;
    void HideEditors() override;
    void UpdateControls() override;
    void SetTitle(const std::string& title) override;
    void SetToolTips() override;
    void ShowError(const std::string& text) override;
    bool IsDialogVisible() const override;
    void ShowFindDialog() override;
    void HideFindDialog() override;
    BrowserSettings CurrentSettings() const override;
    void MoveWindow(int32_t x, int32_t y, int32_t width, int32_t height) override;
    void ResizeWindow(int32_t width, int32_t height) override;
    int32_t TreeClientWidth() const override;
    void SetColumnWidths(int32_t name, int32_t value) override;
    int SelectedLevel() const override;
    void ChangeLevel(int level) override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    // Every way the dialog ends (close box, Esc, a host's close) saves here.
    void done(int result) override;

private:
    bool ForwardKey(QKeyEvent* event); // true when the session handled it
    void ShowProperties();
    bool Writable(TreeItem item);

    std::unique_ptr<SettingsStore> ownStore_;
    std::unique_ptr<QtChangeTimer> timer_;
    std::vector<std::unique_ptr<GenICamPollingNodes>> polling_;
    controls::ColumnTreeWidget* tree_ = nullptr;
    QComboBox* levelCombo_ = nullptr;
    QCheckBox* pollingCheck_ = nullptr;
    QPlainTextEdit* propertyBox_ = nullptr;
    QLabel* errorLabel_ = nullptr;
    QPlainTextEdit* errorBox_ = nullptr;
    QPushButton* findButton_ = nullptr;
    inspect::FindWindow* findWindow_ = nullptr;
    QPointer<inspect::FileAccessWindow> fileAccess_;
    std::unique_ptr<BrowserSession> session_;
};

// Shows `window`, lets it lay out and paint, and saves its image as PNG.
bool SaveWindowImage(QWidget& window, const QString& path);

} // namespace quillon::browser
