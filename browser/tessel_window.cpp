#include "browser/tessel_window.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPixmap>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "GenApi/GenApi.h"
#include "browser/browser_title.h"
#include "controls/column_tree_widget.h"
#include "inspect/file_access_window.h"
#include "inspect/find_window.h"
#include "inspect/property_text.h"
#include "inspect/snippet_generator.h"
#include "qorvis.h"

namespace quillon::browser {

namespace {

QString ToQString(const std::string& text) { return QString::fromStdString(text); }

// The core writes the box text with CR LF line ends; the text box wants LF.
QString BoxText(const std::string& text) {
    QString out = ToQString(text);
    out.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    return out;
}

} // namespace

QtSettingsStore::QtSettingsStore() : settings_(QStringLiteral("Torvex"), QStringLiteral("Quillon")) {}

std::optional<int32_t> QtSettingsStore::Read(const std::string& key, const std::string& name) const {
    const QVariant value = settings_.value(ToQString(key + "/" + name));
    bool ok = false;
    const int number = value.toInt(&ok);
    if (!value.isValid() || !ok) return std::nullopt;
    return number;
}

void QtSettingsStore::Write(const std::string& key, const std::string& name, int32_t value) {
    settings_.setValue(ToQString(key + "/" + name), value);
}

QtChangeTimer::QtChangeTimer(std::function<void()> tick) {
    QObject::connect(&timer_, &QTimer::timeout, std::move(tick));
}

void QtChangeTimer::Start(int intervalMs) {
    // Runs at once on the timer's thread, queued from any other.
    QMetaObject::invokeMethod(&timer_, [this, intervalMs] { timer_.start(intervalMs); });
}

void QtChangeTimer::Kill() {
    QMetaObject::invokeMethod(&timer_, [this] { timer_.stop(); });
}

CTessel::CTessel(BrowserSetup setup, SettingsStore* store, QWidget* parent) : QDialog(parent) {
    if (!store) {
        ownStore_ = std::make_unique<QtSettingsStore>();
        store = ownStore_.get();
    }
    timer_ = std::make_unique<QtChangeTimer>([this] {
        if (session_) session_->changes().Tick(session_->model());
    });

    auto* layout = new QVBoxLayout(this);
    auto* top = new QHBoxLayout;
    top->addWidget(new QLabel(QString::fromUtf8(kLevelLabel), this));
    levelCombo_ = new QComboBox(this);
    top->addWidget(levelCombo_);
    pollingCheck_ = new QCheckBox(QString::fromUtf8(kPollingText), this);
    top->addWidget(pollingCheck_);
    findButton_ = new QPushButton(QStringLiteral("Find"), this);
    findButton_->setAutoDefault(false); // Enter belongs to the in-place editors
    top->addWidget(findButton_);
    top->addStretch(1);
    layout->addLayout(top);

    tree_ = new controls::ColumnTreeWidget(this);
    tree_->SetWritableQuery([this](TreeItem item) { return Writable(item); });
    tree_->installEventFilter(this);
    tree_->viewport()->installEventFilter(this);
    layout->addWidget(tree_, 3);

    layout->addWidget(new QLabel(QString::fromUtf8(kPropertiesLabel), this));
    propertyBox_ = new QPlainTextEdit(this);
    propertyBox_->setReadOnly(true);
    propertyBox_->setLineWrapMode(QPlainTextEdit::NoWrap);
    layout->addWidget(propertyBox_, 2);

    errorLabel_ = new QLabel(QString::fromUtf8(kErrorLabel), this);
    errorBox_ = new QPlainTextEdit(this);
    errorBox_->setReadOnly(true);
    errorBox_->setMaximumHeight(4 * errorBox_->fontMetrics().height());
    errorLabel_->hide();
    errorBox_->hide();
    layout->addWidget(errorLabel_);
    layout->addWidget(errorBox_);

    findWindow_ = new inspect::FindWindow(this);
    findWindow_->setWindowFlag(Qt::Tool);
    connect(findWindow_, &inspect::FindWindow::ItemChosen, this, [this](inspect::TreeItemHandle item) {
        // The finder hands back the tree's own handles.
        tree_->SelectItem(const_cast<TreeItem>(item));
    });
    connect(findButton_, &QPushButton::clicked, this, [this] { ShowFindDialog(); });

    for (const NodeMapEntry& entry : setup.entries) {
        auto polling = std::make_unique<GenICamPollingNodes>();
        polling->AddNodeMap(entry.context.nodeMap);
        polling_.push_back(std::move(polling));
    }
    session_ = std::make_unique<BrowserSession>(std::move(setup), *tree_, *timer_, *store);
    for (auto& polling : polling_) session_->AddPolling(*polling);

    connect(levelCombo_, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (index >= 0 && index < static_cast<int>(kLevelChoices.size()))
            ChangeLevel(kLevelChoices[static_cast<size_t>(index)].level);
    });
    connect(pollingCheck_, &QCheckBox::toggled, this, [this](bool on) { session_->SetPolling(on); });
    connect(tree_, &controls::ColumnTreeWidget::SelectionChanged, this, [this] { ShowProperties(); });

    session_->Initialise(*this);
}

CTessel::~CTessel() {
    // A transfer must end before the node maps it uses can go.
    delete fileAccess_;
    // No poll pass may call into the rows while they are released.
    for (auto& polling : polling_) polling->Stop();
    session_->Destroy();
    session_.reset();
}

void CTessel::SetPollingCheck(bool checked) {
    const QSignalBlocker block(pollingCheck_);
    pollingCheck_->setChecked(checked);
}

void CTessel::FillLevelCombo(int level) {
    const QSignalBlocker block(levelCombo_);
    levelCombo_->clear();
    for (const LevelChoice& choice : kLevelChoices) {
        levelCombo_->addItem(QString::fromUtf8(choice.text));
        if (choice.level == level) levelCombo_->setCurrentIndex(levelCombo_->count() - 1);
    }
}

void CTessel::HideEditors() {} // the window has no in-place editors yet

void CTessel::UpdateControls() {
    ShowProperties();
    tree_->viewport()->update();
}

void CTessel::SetTitle(const std::string& title) { setWindowTitle(ToQString(title)); }

void CTessel::SetToolTips() {
    pollingCheck_->setToolTip(QString::fromUtf8(kPollingTip));
    levelCombo_->setToolTip(QString::fromUtf8(kLevelTip));
    findButton_->setToolTip(QString::fromUtf8(kFindTip));
}

void CTessel::ShowError(const std::string& text) {
    errorBox_->setPlainText(BoxText(text));
    errorLabel_->show();
    errorBox_->show();
}

bool CTessel::IsDialogVisible() const { return isVisible(); }

void CTessel::ShowFindDialog() {
    auto rows = [](const std::deque<FeatureRow>& from) {
        std::vector<inspect::FindRow> out;
        for (const FeatureRow& r : from)
            if (r.treeItem) out.push_back({r.label, r.node ? std::string(r.node->GetName()) : r.label, r.treeItem});
        return out;
    };
    findWindow_->Fill(rows(session_->model().featureRows()), rows(session_->model().categoryRows()), session_->title());
    findWindow_->show();
    findWindow_->raise();
    findWindow_->activateWindow();
}

void CTessel::HideFindDialog() {
    if (findWindow_) findWindow_->hide();
}

inspect::FileAccessWindow* CTessel::fileAccessWindow() const { return fileAccess_; }

bool CTessel::OpenFileAccess(TreeItem item) {
    const FeatureRow* row = session_->model().RowForItem(item);
    if (!row || !row->isFileAccessCategory || !row->context.nodeMap) return false;
    if (!fileAccess_) {
        fileAccess_ = new inspect::FileAccessWindow(row->context.nodeMap, nullptr, nullptr, this);
        fileAccess_->setAttribute(Qt::WA_DeleteOnClose);
    }
    fileAccess_->open();
    return true;
}

BrowserSettings CTessel::CurrentSettings() const {
    BrowserSettings s;
    s.posX = x();
    s.posY = y();
    s.width = width();
    s.height = height();
    s.slidderPos = tree_->NameColumnWidth();
    s.userLevel = SelectedLevel();
    return s;
}

void CTessel::MoveWindow(int32_t x, int32_t y, int32_t width, int32_t height) {
    move(x, y);
    resize(width, height);
}

void CTessel::ResizeWindow(int32_t width, int32_t height) { resize(width, height); }

int32_t CTessel::TreeClientWidth() const {
    // Lay the children out for the new size before the tree is measured; a
    // hidden window has not done so yet.
    layout()->setGeometry(rect());
    return tree_->width() - 2 * tree_->frameWidth();
}

void CTessel::SetColumnWidths(int32_t name, int32_t value) { tree_->SetColumnWidths(name, value); }

int CTessel::SelectedLevel() const {
    const int index = levelCombo_->currentIndex();
    if (index < 0 || index >= static_cast<int>(kLevelChoices.size())) return kInitialLevel;
    return kLevelChoices[static_cast<size_t>(index)].level;
}

void CTessel::ChangeLevel(int level) {
    {
        const QSignalBlocker block(levelCombo_);
        for (size_t i = 0; i < kLevelChoices.size(); ++i)
            if (kLevelChoices[i].level == level) levelCombo_->setCurrentIndex(static_cast<int>(i));
    }
    session_->ChangeLevel(level);
    // The rebuild replaced every tree item the find list points at.
    if (findWindow_->isVisible()) ShowFindDialog();
}

bool CTessel::ForwardKey(QKeyEvent* event) {
    Key key = Key::Other;
    if (event->key() == Qt::Key_F5) key = Key::F5;
    else if (event->key() == Qt::Key_F) key = Key::F;
    if (key == Key::Other) return false;
    const bool ctrl = event->modifiers().testFlag(Qt::ControlModifier);
    return session_->OnKeyDown(key, ctrl, tree_->VisibleItemsFromFirst());
}

bool CTessel::eventFilter(QObject* watched, QEvent* event) {
    if (watched == tree_ && event->type() == QEvent::KeyPress && ForwardKey(static_cast<QKeyEvent*>(event)))
        return true;
    if (watched == tree_->viewport() && event->type() == QEvent::MouseButtonDblClick &&
        OpenFileAccess(tree_->ItemAt(static_cast<QMouseEvent*>(event)->position().toPoint())))
        return true;
    return QDialog::eventFilter(watched, event);
}

void CTessel::keyPressEvent(QKeyEvent* event) {
    if (!ForwardKey(event)) QDialog::keyPressEvent(event);
}

void CTessel::closeEvent(QCloseEvent* event) {
    // A hidden dialog is not ended by QDialog; the session still saves.
    if (!isVisible()) session_->Close();
    QDialog::closeEvent(event);
}

void CTessel::done(int result) {
    session_->Close();
    QDialog::done(result);
}

bool CTessel::Writable(TreeItem item) {
    if (!session_) return false;
    const FeatureRow* row = session_->model().RowForItem(item);
    if (!row || !row->node) return false;
    try {
        return GenApi::IsWritable(row->node->GetAccessMode());
    } catch (const GenICam::GenericException&) {
        return false;
    }
}

void CTessel::ShowProperties() {
    const FeatureRow* row = session_ ? session_->model().RowForItem(tree_->SelectedItem()) : nullptr;
    if (!row || !row->node) {
        propertyBox_->clear();
        return;
    }
    const ErrorPrintingOff quiet;
    try {
        const std::string name = row->node->GetName().c_str();
        const std::string typed = inspect::FeaturePropertyText(row->node, name, row->properties);
        const int64_t kind = row->context.objectKind ? row->context.objectKind : Q_DIGITIZER_OBJECT;
        const inspect::SnippetTexts snippets =
            inspect::GenerateSnippets(row->node, inspect::MakeSnippetRequest(row->node, kind));
        propertyBox_->setPlainText(BoxText(inspect::PropertyBoxText(typed, snippets.ShownPieces())));
    } catch (const GenICam::GenericException& e) {
        propertyBox_->clear();
        ShowError(e.GetDescription());
    }
}

bool SaveWindowImage(QWidget& window, const QString& path) {
    window.show();
    // Let the window lay out and paint before it is grabbed.
    for (int i = 0; i < 3; ++i) QApplication::processEvents();
    const QPixmap image = window.grab();
    return !image.isNull() && image.save(path, "PNG");
}

} // namespace quillon::browser
