#include "inspect/feature_sets_window.h"

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QProgressDialog>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <memory>
#include <optional>

#include "browser/tessel_window.h"
#include "controls/column_tree_widget.h"
#include "inspect/feature_sets.h"
#include "inspect/file_access_window.h"
#include "inspect/file_transfer.h"

namespace quillon::inspect {

namespace {

constexpr const char* kSaveCaption = "Save features";
constexpr const char* kLoadCaption = "Load features";
constexpr const char* kCompareCaption = "Compare with file";

// A message box whose first line is the message and the rest its details
// (a load's report lists a line per written or refused feature).
class ReportBox final : public MessageDisplay {
public:
    explicit ReportBox(QWidget* parent) : parent_(parent) {}
    void Show(const std::string& text, const std::string& caption, MessageIcon icon) override {
        const size_t end = text.find('\n');
        QMessageBox box(icon == MessageIcon::Exclamation ? QMessageBox::Warning
                                                         : QMessageBox::Information,
                        QString::fromStdString(caption),
                        QString::fromStdString(text.substr(0, end)), QMessageBox::Ok, parent_);
        if (end != std::string::npos && end + 1 < text.size())
            box.setDetailedText(QString::fromStdString(text.substr(end + 1)));
        box.exec();
    }

private:
    QWidget* parent_;
};

// The window's platform dialogs, or Qt's own.
struct Platform {
    explicit Platform(browser::CTessel& window) : ownFiles(&window, "txt"), ownMessages(&window) {
        files = window.dialogPlatform().fileDialog ? window.dialogPlatform().fileDialog : &ownFiles;
        messages =
            window.dialogPlatform().messages ? window.dialogPlatform().messages : &ownMessages;
    }
    QtFileDialog ownFiles;
    ReportBox ownMessages;
    FileDialog* files;
    MessageDisplay* messages;
};

// A progress dialog with "Cancel", shown when a run takes longer than half a
// second; each step lets the window repaint and the button be pressed.
class Progress {
public:
    Progress(QWidget* parent, const char* label)
        : dialog_(QString::fromUtf8(label), QStringLiteral("Cancel"), 0, 1, parent) {
        dialog_.setWindowModality(Qt::WindowModal);
        dialog_.setMinimumDuration(500);
        dialog_.setAutoReset(false);
        dialog_.setValue(0);
    }
    FeatureSetProgress Callback() {
        return [this](size_t done, size_t total) {
            if (dialog_.maximum() != static_cast<int>(total))
                dialog_.setMaximum(static_cast<int>(total));
            dialog_.setValue(static_cast<int>(done));
            return !dialog_.wasCanceled();
        };
    }

private:
    QProgressDialog dialog_;
};

std::string fileNameOf(const std::string& path) {
    return QFileInfo(QString::fromStdString(path)).fileName().toStdString();
}

// The parsed file, or nothing after telling the user why not.
std::optional<FeatureSet> readFile(const std::string& path, MessageDisplay& messages,
                                   const char* caption) {
    try {
        ParsedFeatureSet parsed = ParseFeatureSet(ReadTextFile(path));
        if (!parsed.errors.empty())
            throw FeatureSetFileError(fileNameOf(path), std::move(parsed.errors));
        return std::move(parsed.set);
    } catch (const std::exception& e) {
        messages.Show(e.what(), caption, MessageIcon::Exclamation);
        return std::nullopt;
    }
}

void saveFeatures(browser::CTessel& window) {
    Platform platform(window);
    const std::string path = platform.files->Choose(FileDialog::Kind::Save, "features.txt");
    if (path.empty()) return;
    try {
        const browser::ErrorPrintingOff quiet;
        Progress progress(&window, "Reading the features...");
        ReadOptions options;
        options.progress = progress.Callback();
        const FeatureSet set = ReadFeatureSet(window.session().entries(), options);
        WriteTextFile(path, WriteFeatureSet(set));
    } catch (const FeatureSetCancelled&) {
        // Nothing was written.
    } catch (const std::exception& e) {
        platform.messages->Show(e.what(), kSaveCaption, MessageIcon::Exclamation);
    }
}

void loadFeatures(browser::CTessel& window) {
    Platform platform(window);
    const std::string path = platform.files->Choose(FileDialog::Kind::Open, {});
    if (path.empty()) return;
    const std::optional<FeatureSet> set = readFile(path, *platform.messages, kLoadCaption);
    if (!set) return;
    window.HideEditors();
    std::string text;
    bool refused = true;
    try {
        const browser::ErrorPrintingOff quiet;
        Progress progress(&window, "Writing the features...");
        LoadOptions options;
        options.progress = progress.Callback();
        const LoadReport report =
            LoadFeatureSet(*set, window.session().entries(), fileNameOf(path), options);
        text = report.Text(fileNameOf(path));
        refused = report.Refused() != 0;
    } catch (const std::exception& e) {
        text = e.what();
    }
    // Whatever was written, the tree shows what the device now holds.
    window.session().Refresh();
    platform.messages->Show(text, kLoadCaption,
                            refused ? MessageIcon::Exclamation : MessageIcon::None);
}

void compareWithFile(browser::CTessel& window) {
    Platform platform(window);
    const std::string path = platform.files->Choose(FileDialog::Kind::Open, {});
    if (path.empty()) return;
    const std::optional<FeatureSet> file = readFile(path, *platform.messages, kCompareCaption);
    if (!file) return;
    std::vector<FeatureDifference> differences;
    try {
        const browser::ErrorPrintingOff quiet;
        Progress progress(&window, "Reading the features...");
        ReadOptions options;
        options.progress = progress.Callback();
        differences =
            CompareFeatureSets(ReadFeatureSet(window.session().entries(), options), *file);
    } catch (const FeatureSetCancelled&) {
        return;
    } catch (const std::exception& e) {
        platform.messages->Show(e.what(), kCompareCaption, MessageIcon::Exclamation);
        return;
    }
    if (differences.empty()) {
        platform.messages->Show("The device holds every value of " + fileNameOf(path) + ".",
                                kCompareCaption, MessageIcon::None);
        return;
    }
    delete window.findChild<FeatureSetDifferencesWindow*>(
        QString::fromLatin1(kDifferencesWindowName));
    auto* list = new FeatureSetDifferencesWindow(window, std::move(differences), fileNameOf(path));
    list->setAttribute(Qt::WA_DeleteOnClose);
    list->show();
}

} // namespace

void AddFeatureSetEntries(QMenu& menu, browser::CTessel& window, browser::TreeItem) {
    browser::CTessel* target = &window;
    menu.addAction(QString::fromUtf8(kSaveFeaturesText), &window,
                   [target] { saveFeatures(*target); });
    menu.addAction(QString::fromUtf8(kLoadFeaturesText), &window,
                   [target] { loadFeatures(*target); });
    menu.addAction(QString::fromUtf8(kCompareFeaturesText), &window,
                   [target] { compareWithFile(*target); });
}

FeatureSetDifferencesWindow::FeatureSetDifferencesWindow(browser::CTessel& window,
                                                         std::vector<FeatureDifference> differences,
                                                         const std::string& fileName)
    : QDialog(&window), window_(window), differences_(std::move(differences)) {
    setObjectName(QString::fromLatin1(kDifferencesWindowName));
    setWindowTitle(QStringLiteral("Differences from ") + QString::fromStdString(fileName));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(
        new QLabel(QString::number(differences_.size()) +
                       QStringLiteral(" differences; a double-click selects the feature."),
                   this));
    list_ = new QTreeWidget(this);
    list_->setRootIsDecorated(false);
    list_->setHeaderLabels(
        {QStringLiteral("Feature"), QStringLiteral("Device"), QString::fromStdString(fileName)});
    const QString absent = QStringLiteral("(absent)");
    for (const FeatureDifference& d : differences_) {
        const std::string where = d.section.empty() ? "" : "[" + d.section + "] ";
        auto* item = new QTreeWidgetItem(
            QStringList{QString::fromStdString(where + (d.readOnly ? "# " : "") + d.key),
                        d.left ? QString::fromStdString(*d.left) : absent,
                        d.right ? QString::fromStdString(*d.right) : absent});
        list_->addTopLevelItem(item);
    }
    list_->header()->resizeSections(QHeaderView::ResizeToContents);
    connect(list_, &QTreeWidget::itemDoubleClicked, this,
            [this](QTreeWidgetItem* item) { SelectFeatureRow(list_->indexOfTopLevelItem(item)); });
    layout->addWidget(list_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    layout->addWidget(buttons);
    resize(640, 400);
}

bool FeatureSetDifferencesWindow::SelectFeatureRow(int index) {
    if (index < 0 || index >= static_cast<int>(differences_.size())) return false;
    const FeatureDifference& d = differences_[static_cast<size_t>(index)];
    const bool single = window_.session().entries().size() == 1;
    for (const browser::FeatureRow& row : window_.session().model().featureRows())
        if (row.treeItem && row.node && row.node->GetName() == d.name.c_str() &&
            (single || row.context.caption == d.section)) {
            window_.tree().SelectItem(row.treeItem);
            return true;
        }
    window_.ShowError(d.name + " has no row at this feature level.");
    return false;
}

} // namespace quillon::inspect
