#include "browser/browser_session.h"

#include "GenApi/GenApi.h"
#include "browser/browser_title.h"
#include "qorvis.h"

namespace quillon::browser {

namespace {
// The first slice fills the first paint; later ones leave room for a
// keystroke's handling within one frame.
constexpr auto kFirstSlice = std::chrono::milliseconds(40);
constexpr auto kSlice = std::chrono::milliseconds(8);
} // namespace

ErrorPrintingOff::ErrorPrintingOff() {
    QOR_INT printing = Q_PRINT_ENABLE;
    QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, &printing);
    saved_ = printing;
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
}

ErrorPrintingOff::~ErrorPrintingOff() { QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, saved_); }

std::string ErrorBoxText(const GenICam::GenericException& e) {
    return e.GetDescription();
}

void InvalidateVisibleRows(FeatureTreeModel& model, const std::vector<TreeItem>& visibleFromFirst) {
    for (TreeItem item : visibleFromFirst) {
        FeatureRow* row = model.RowForItem(item);
        if (row && row->node) row->node->InvalidateNode();
    }
}

bool LibraryPollingEnabledFor(const std::vector<NodeMapEntry>& entries) {
    for (int64_t kind : {int64_t{Q_DIGITIZER_OBJECT}, int64_t{Q_SYSTEM_OBJECT}})
        for (const NodeMapEntry& entry : entries)
            if (entry.context.objectKind == kind && entry.context.object != 0)
                return LibraryPollingEnabled(kind, entry.context.object);
    return false;
}

BrowserSession::BrowserSession(BrowserSetup setup, TreeSink& tree, ChangeTimer& timer, SettingsStore& store)
    : setup_(std::move(setup)), store_(store), changes_(timer), model_(tree, &changes_) {}

void BrowserSession::AddPolling(GenICamPollingNodes& polling) { polling_.push_back(&polling); }

void BrowserSession::SetBusy(bool busy) {
    busy_ = busy;
    changes_.SetBusy(busy); // node changes during a rebuild would name released nodes' rows
}

void BrowserSession::Initialise(BrowserView& view) {
    view_ = &view;
    ErrorPrintingOff printingOff;
    std::string computed = DefaultTitle(setup_.deviceNumber);
    try {
        computed = DeviceTitle(setup_.entries, setup_.deviceNumber);
    } catch (const GenICam::GenericException& e) {
        view.ShowError(ErrorBoxText(e));
    }
    const bool polling = LibraryPollingEnabledFor(setup_.entries);
    view.SetPollingCheck(polling);
    userLevel_ = kInitialLevel;
    view.FillLevelCombo(userLevel_);
    SetBusy(false);
    view.HideEditors();
    {
        std::lock_guard guard(lock_);
        model_.StartBuild(setup_.entries, userLevel_);
    }
    const bool built = BuildFor(kFirstSlice);
    ShowAccessFailure();
    view.UpdateControls();
    defaultTitle_ = computed;
    title_ = setup_.titleOverride.empty() ? computed : setup_.titleOverride;
    view.SetTitle(title_);
    view.HideFindDialog();
    view.SetToolTips();
    if (!built) ScheduleRest();
    // Last: a stored level rebuilds the tree that was just built.
    LoadSettings(store_, setup_.separateSettings, view);
    // A box that shows checked polls.
    if (polling)
        for (GenICamPollingNodes* p : polling_)
            p->Start();
}

bool BrowserSession::BuildFor(std::chrono::steady_clock::duration slice) {
    try {
        std::lock_guard guard(lock_);
        return model_.ContinueBuild(slice == std::chrono::steady_clock::duration::max()
                                        ? std::chrono::steady_clock::time_point::max()
                                        : std::chrono::steady_clock::now() + slice);
    } catch (const GenICam::GenericException& e) {
        if (view_) view_->ShowError(ErrorBoxText(e));
        return true;
    }
}

void BrowserSession::ScheduleRest() {
    if (!view_ || !view_->ScheduleBuildSlice()) FinishBuild();
}

void BrowserSession::ContinueBuild() {
    if (!model_.building()) return;
    ErrorPrintingOff printingOff;
    const bool built = BuildFor(kSlice);
    ShowAccessFailure();
    if (!built) {
        ScheduleRest();
        return;
    }
    if (view_) view_->UpdateControls();
}

void BrowserSession::FinishBuild() {
    if (!model_.building()) return;
    ErrorPrintingOff printingOff;
    BuildFor(std::chrono::steady_clock::duration::max());
    ShowAccessFailure();
    if (view_) view_->UpdateControls();
}

void BrowserSession::Rebuild(int level) {
    ErrorPrintingOff printingOff;
    bool built = true;
    SetBusy(true);
    if (view_) view_->HideEditors();
    {
        std::lock_guard guard(lock_);
        model_.Clear();
        model_.StartBuild(setup_.entries, level);
        built = BuildFor(kFirstSlice);
        userLevel_ = level;
        // Only running polling restarts: Start collects the polled nodes anew.
        for (GenICamPollingNodes* polling : polling_)
            if (polling->IsRunning()) polling->Start();
    }
    SetBusy(false);
    model_.RewriteAll();
    ShowAccessFailure();
    if (view_) view_->UpdateControls();
    if (!built) ScheduleRest();
}

void BrowserSession::Tick() {
    changes_.Tick(model_);
    ShowAccessFailure();
}

void BrowserSession::ShowAccessFailure() {
    const std::string failure = model_.TakeAccessFailure();
    if (view_ && !failure.empty()) view_->ShowError(failure);
}

void BrowserSession::ChangeLevel(int level) { Rebuild(level); }

void BrowserSession::Refresh() { Rebuild(userLevel_); }

bool BrowserSession::OnKeyDown(Key key, bool ctrl, const std::vector<TreeItem>& visibleFromFirst) {
    if (key == Key::F5 && !ctrl) {
        InvalidateVisibleRows(model_, visibleFromFirst);
        return false; // the key goes on to the dialog's own processing
    }
    if (key == Key::F && ctrl && view_ && view_->IsDialogVisible()) {
        view_->ShowFindDialog();
        return true;
    }
    return false;
}

void BrowserSession::SetPolling(bool enabled) {
    for (const NodeMapEntry& entry : setup_.entries) {
        const int64_t kind = entry.context.objectKind;
        if ((kind == Q_DIGITIZER_OBJECT || kind == Q_SYSTEM_OBJECT) && entry.context.object != 0)
            SetLibraryPolling(kind, entry.context.object, enabled);
    }
    for (GenICamPollingNodes* polling : polling_) {
        if (enabled) polling->Start();
        else polling->Stop();
    }
}

bool BrowserSession::Polling() const {
    for (const GenICamPollingNodes* polling : polling_)
        if (polling->IsRunning()) return true;
    return false;
}

void BrowserSession::Save() {
    if (view_) SaveSettings(store_, setup_.separateSettings, view_->CurrentSettings());
}

void BrowserSession::Close() {
    Save();
    if (view_) view_->HideFindDialog();
}

void BrowserSession::Destroy() {
    Save();
    if (view_) view_->HideFindDialog();
    SetBusy(true);
    changes_.KillTimer();
    {
        std::lock_guard guard(lock_);
        model_.Clear();
    }
    SetBusy(false);
}

} // namespace quillon::browser
