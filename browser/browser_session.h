// The browser dialog's behaviour without its window: start-up, level change
// and refresh, the keys it handles, the polling switch, and saving on close
// and destroy. The GUI implements BrowserView and forwards its events here.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "GenICam/exceptions.h"
#include "browser/browser_settings.h"
#include "browser/feature_polling.h"
#include "browser/tree_model.h"
#include "types/feature_row.h"

namespace quillon::browser {

// Switches the imaging library's error printing off for its lifetime and
// restores the previous setting: failures met meanwhile reach the error box
// or a row's "Error" text, not the console.
class ErrorPrintingOff {
public:
    ErrorPrintingOff();
    ~ErrorPrintingOff();
    ErrorPrintingOff(const ErrorPrintingOff&) = delete;
    ErrorPrintingOff& operator=(const ErrorPrintingOff&) = delete;

private:
    int64_t saved_;
};

// The text of a GenICam exception in the "Error message:" box, wherever it
// was caught: its description, without the engine's source place that
// what() appends.
std::string ErrorBoxText(const GenICam::GenericException& e);

// What the session asks of the dialog's window.
class BrowserView : public SettingsTarget {
public:
    virtual void SetPollingCheck(bool checked) = 0;
    // Fills the combo with kLevelChoices in order and selects `level`.
    virtual void FillLevelCombo(int level) = 0;
    virtual void HideEditors() = 0;
    // Brings the controls in line with the session's data.
    virtual void UpdateControls() = 0;
    virtual void SetTitle(const std::string& title) = 0;
    // Gives the tool tips their texts (kCommandButtonTip, kPollingTip,
    // kLevelTip, kFindTip; empty for the other editors) and activates them.
    virtual void SetToolTips() = 0;
    virtual void ShowError(const std::string& text) = 0;
    virtual bool IsDialogVisible() const = 0;
    // Fills the find dialog's list and shows it.
    virtual void ShowFindDialog() = 0;
    // Hides the find dialog when it is visible.
    virtual void HideFindDialog() = 0;
    // The values saved on close and destroy.
    virtual BrowserSettings CurrentSettings() const = 0;
    // Asks for BrowserSession::ContinueBuild to be called once pending
    // events (paints, keys) are handled; false when the view cannot, and the
    // session then builds the rest of the tree at once.
    virtual bool ScheduleBuildSlice() { return false; }
};

// The keys the dialog looks at; everything else is Key::Other.
enum class Key { F5, F, Other };

// Invalidates the node of every row behind `visibleFromFirst` (the tree's
// visible items from the first visible one on), so the next read of each
// goes to the device. Items without a row or node are skipped.
void InvalidateVisibleRows(FeatureTreeModel& model, const std::vector<TreeItem>& visibleFromFirst);

// Whether the imaging library has polling enabled for the device: its
// digitizer entry decides, else its system entry; false without either.
bool LibraryPollingEnabledFor(const std::vector<NodeMapEntry>& entries);

struct BrowserSetup {
    std::vector<NodeMapEntry> entries;
    int64_t deviceNumber = 0;
    std::string titleOverride; // empty: the title is computed
    bool separateSettings = false;
    // The imaging library's system the host gave the browser (QorSystem, 0
    // for none): the dialog's own object, asked the system-level inquiries
    // such as whether commands complete asynchronously.
    int64_t system = 0;
};

class BrowserSession {
public:
    BrowserSession(BrowserSetup setup, TreeSink& tree, ChangeTimer& timer, SettingsStore& store);
    BrowserSession(const BrowserSession&) = delete;
    BrowserSession& operator=(const BrowserSession&) = delete;

    // A polling object of one entry (owned by the controller); re-collected
    // on every rebuild and switched by SetPolling.
    void AddPolling(GenICamPollingNodes& polling);

    // The dialog's start-up: error printing off meanwhile; polling check,
    // level combo at Guru, the tree, the title, find dialog hidden, tool
    // tips, and the stored settings (they may rebuild at another level);
    // last, polling starts when the library has it enabled for the device.
    // GenICam failures of the title or the tree go to the error box.
    void Initialise(BrowserView& view);

    // The tree of a large map is built in slices of time (the first longer,
    // so that the first paint has rows to show); between them the view
    // handles its events. ContinueBuild adds one slice, FinishBuild the rest.
    void ContinueBuild();
    void FinishBuild();

    // A new selection of the level combo: rebuilds the tree at `level`.
    void ChangeLevel(int level);
    // The refresh command: rebuilds at the current level.
    void Refresh();

    // A key-down; returns whether the dialog handled it (the GUI then stops
    // processing it). F5 invalidates the visible rows and is not handled;
    // Ctrl+F opens the find dialog only while the dialog is visible.
    bool OnKeyDown(Key key, bool ctrl, const std::vector<TreeItem>& visibleFromFirst);

    // The "Polling" check box: tells the library for the digitizer and system
    // entries, then starts or stops every polling object.
    void SetPolling(bool enabled);
    // Whether a polling object runs.
    bool Polling() const;

    // The change timer's tick: rewrites the changed rows.
    void Tick();

    // The dialog is closed: save, hide the find dialog.
    void Close();
    // The dialog is destroyed: save, hide the find dialog, stop the change
    // timer and release every row and callback.
    void Destroy();

    bool busy() const { return busy_; }
    int userLevel() const { return userLevel_; }
    const std::string& title() const { return title_; }
    const std::vector<NodeMapEntry>& entries() const { return setup_.entries; }
    // The title computed from the device, whatever the host gave: the find
    // window's caption follows it.
    const std::string& defaultTitle() const { return defaultTitle_; }
    int64_t system() const { return setup_.system; }
    FeatureTreeModel& model() { return model_; }
    ChangedNodeSet& changes() { return changes_; }

private:
    // Adds rows until `slice` has passed; true when the tree is complete. A
    // GenICam failure goes to the error box and ends the build.
    bool BuildFor(std::chrono::steady_clock::duration slice);
    // After a first slice: the rest later, or at once when the view cannot.
    void ScheduleRest();
    void Rebuild(int level);
    void SetBusy(bool busy);
    // A device that failed while rows were written (a row shows "Error")
    // tells why in the error box.
    void ShowAccessFailure();
    void Save();

    BrowserSetup setup_;
    SettingsStore& store_;
    BrowserView* view_ = nullptr; // set by Initialise
    ChangedNodeSet changes_;
    FeatureTreeModel model_;
    std::vector<GenICamPollingNodes*> polling_;
    std::recursive_mutex lock_; // held while the rows are rebuilt or released
    bool busy_ = false;
    int userLevel_ = kGuru;
    std::string title_;
    std::string defaultTitle_;
};

} // namespace quillon::browser
