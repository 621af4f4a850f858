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
#include "browser/inplace_editing.h"
#include "controls/imaging_edit_widget.h"
#include "inspect/register_editing.h"
#include "inspect/session_code.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QMenu;
class QPushButton;
class QSlider;

namespace quillon::controls {
class ColumnTreeWidget;
class CMyComboBox;
class CCustomButton;
class CMyButton;
class CMyToolTip;
class Int64SpinBox;
} // namespace quillon::controls
namespace quillon::inspect {
class FindWindow;
class FileAccessWindow;
class FileDialog;
class MessageDisplay;
} // namespace quillon::inspect

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

// The controls keep their numeric ids as object names.
inline constexpr const char* kCloseButtonId = "1010";
inline constexpr const char* kPropertyTextId = "1013";
inline constexpr const char* kErrorTextId = "1014";

// The in-place editors over the value column of the selected row.
struct InPlaceEditors {
    controls::CImagingEdit* edit = nullptr;      // floats, strings, address-like integers
    controls::Int64SpinBox* spin = nullptr;      // integers
    QSlider* slider = nullptr;                   // integers whose range suits one
    controls::CMyComboBox* combo = nullptr;      // enumerations
    controls::CCustomButton* check = nullptr;    // booleans
    controls::CMyButton* execute = nullptr;      // commands: "Execute()"
    controls::CMyButton* registerEdit = nullptr; // registers: opens the memory viewer
};

// The platform dialogs that the window's own actions open; null: Qt's.
struct DialogPlatform {
    inspect::FileDialog* fileDialog = nullptr;
    inspect::MessageDisplay* messages = nullptr;
};

class CTessel : public QDialog, public BrowserView {
    Q_OBJECT

public:
    // `store` null: the settings live in QSettings. The window starts the
    // session at once (tree, title, stored settings).
    explicit CTessel(BrowserSetup setup, SettingsStore* store = nullptr, QWidget* parent = nullptr);
    ~CTessel() override;

    // The dialog's template: 1000 for the browser, 1001 for the embedded child.
    virtual int TemplateId() const { return 1000; }

    BrowserSession& session() { return *session_; }
    controls::ColumnTreeWidget& tree() { return *tree_; }
    QComboBox& levelCombo();
    QCheckBox& pollingCheck() { return *pollingCheck_; }
    controls::CImagingEdit& propertyBox() { return *propertyBox_; }
    controls::CImagingEdit& errorBox() { return *errorBox_; }
    QPushButton& findButton();
    QPushButton& closeButton();
    const InPlaceEditors& editors() const { return editors_; }
    const controls::CMyToolTip& toolTip() const { return *toolTip_; }
    // The editor plan of the row being edited (kind None when no editor shows).
    const EditorPlan& editorPlan() const { return plan_; }
    // The memory viewer that the register button opens; null restores the
    // window's own hex editor.
    void SetMemoryViewer(inspect::MemoryViewer* viewer) { viewer_ = viewer; }
    // Commits `text` for the row being edited, as the editors do.
    void CommitText(const std::string& text);
    inspect::FindWindow& findWindow() { return *findWindow_; }
    // The open file access dialog, or null.
    inspect::FileAccessWindow* fileAccessWindow() const;
    // A double-click on the "File Access Control" category row, or Enter
    // while it is selected, opens the file access dialog for that row's node
    // map; false for any other row.
    bool OpenFileAccess(TreeItem item);
    // The tree's context menu for the row `item` (kTopLevel: no row); a right
    // click selects the row and shows it.
    void FillTreeMenu(QMenu& menu, TreeItem item);
    // Every value committed and command executed in this window, in order.
    const inspect::SessionCode& sessionCode() const { return sessionCode_; }
    void SetDialogPlatform(DialogPlatform platform) { dialogPlatform_ = platform; }
    const DialogPlatform& dialogPlatform() const { return dialogPlatform_; }

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
    bool ScheduleBuildSlice() override;
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
    std::optional<bool> BooleanValue(TreeItem item);
    std::optional<std::string> RowToolTip(TreeItem item, int area);
    void MakeEditors();
    void ShowEditor();   // for the selected row
    void PlaceEditors(); // over the selected row's value cell
    void AfterWrite(FeatureRow& row);
    void ToggleBooleanOf(TreeItem item);
    void RunActionButton();
    void ShowTreeMenu(QPoint at); // in viewport coordinates

    std::unique_ptr<SettingsStore> ownStore_;
    std::unique_ptr<QtChangeTimer> timer_;
    std::vector<std::unique_ptr<GenICamPollingNodes>> polling_;
    controls::ColumnTreeWidget* tree_ = nullptr;
    controls::CMyComboBox* levelCombo_ = nullptr;
    QCheckBox* pollingCheck_ = nullptr;
    controls::CImagingEdit* propertyBox_ = nullptr;
    QLabel* errorLabel_ = nullptr;
    controls::CImagingEdit* errorBox_ = nullptr;
    controls::CMyButton* findButton_ = nullptr;
    controls::CMyButton* closeButton_ = nullptr;
    controls::CMyToolTip* toolTip_ = nullptr;
    InPlaceEditors editors_;
    TreeItem editing_ = kTopLevel; // the row the editors belong to
    EditorPlan plan_;
    inspect::MemoryViewer* viewer_ = nullptr;
    DialogPlatform dialogPlatform_;
    inspect::FindWindow* findWindow_ = nullptr;
    QPointer<inspect::FileAccessWindow> fileAccess_;
    inspect::SessionCode sessionCode_;
    std::unique_ptr<BrowserSession> session_;
};

// The browser as a child of a host's own window: template 1001, without
// the close button; it refreshes its tree whenever it is shown.
class GenicamControllerChild : public CTessel {
    Q_OBJECT

public:
    explicit GenicamControllerChild(QWidget* parent);
    GenicamControllerChild(BrowserSetup setup, QWidget* parent, SettingsStore* store = nullptr);
    int TemplateId() const override { return 1001; }

protected:
    void showEvent(QShowEvent* event) override;
};

// Shows `window`, lets it lay out and paint, and saves its image as PNG.
bool SaveWindowImage(QWidget& window, const QString& path);

} // namespace quillon::browser
