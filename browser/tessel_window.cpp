#include "browser/tessel_window.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QShowEvent>
#include <QSlider>
#include <QVBoxLayout>

#include "GenApi/GenApi.h"
#include "browser/browser_title.h"
#include "browser/property_box.h"
#include "browser/understanding_window.h"
#include "controls/column_tree_widget.h"
#include "controls/entry_controls_widget.h"
#include "controls/imaging_edit_widget.h"
#include "inspect/command_execution.h"
#include "inspect/feature_sets_window.h"
#include "inspect/file_access_window.h"
#include "inspect/find_window.h"
#include "inspect/value_commit.h"
#include "memview/memory_viewer.h"

namespace quillon::browser {

namespace {

QString ToQString(const std::string& text) {
    return QString::fromStdString(text);
}

// The find list's names of the tree's rows.
std::vector<inspect::FindRow> FindRows(const std::deque<FeatureRow>& rows) {
    std::vector<inspect::FindRow> out;
    for (const FeatureRow& r : rows)
        if (r.treeItem)
            out.push_back({r.label, r.node ? std::string(r.node->GetName()) : r.label, r.treeItem});
    return out;
}

// A magnifier for the find button, 16 x 16.
QIcon FindIcon() {
    QPixmap pixmap(16, 16);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(40, 40, 40), 2));
    painter.drawEllipse(QRectF(2, 2, 8, 8));
    painter.drawLine(QPointF(9, 9), QPointF(14, 14));
    return QIcon(pixmap);
}

} // namespace

QtSettingsStore::QtSettingsStore()
    : settings_(QStringLiteral("Torvex"), QStringLiteral("Quillon")) {}

std::optional<int32_t> QtSettingsStore::Read(const std::string& key,
                                             const std::string& name) const {
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
        if (session_) session_->Tick();
    });

    setObjectName(QString::number(TemplateId()));
    auto* layout = new QVBoxLayout(this);
    auto* top = new QHBoxLayout;
    top->addWidget(new QLabel(QString::fromUtf8(kLevelLabel), this));
    levelCombo_ = new controls::CMyComboBox(this);
    top->addWidget(levelCombo_);
    pollingCheck_ = new QCheckBox(QString::fromUtf8(kPollingText), this);
    top->addWidget(pollingCheck_);
    findButton_ = new controls::CMyButton(QString(), this);
    findButton_->setIcon(FindIcon());
    findButton_->setIconSize(QSize(16, 16));
    top->addWidget(findButton_);
    top->addStretch(1);
    layout->addLayout(top);

    tree_ = new controls::ColumnTreeWidget(this);
    tree_->setObjectName(QString::fromLatin1(controls::kTreeHostObjectName));
    controls::ColumnTreeWidget::RowQueries queries;
    queries.writable = [this](TreeItem item) { return Writable(item); };
    queries.boolean = [this](TreeItem item) { return BooleanValue(item); };
    queries.valueCovered = [this](TreeItem item) {
        return item == editing_ && plan_.kind != EditorKind::None;
    };
    queries.toolTip = [this](TreeItem item, controls::ToolTipArea area) {
        return RowToolTip(item, static_cast<int>(area));
    };
    tree_->SetRowQueries(std::move(queries));
    tree_->installEventFilter(this);
    tree_->viewport()->installEventFilter(this);
    layout->addWidget(tree_, 3);

    layout->addWidget(new QLabel(QString::fromUtf8(kPropertiesLabel), this));
    propertyBox_ = new controls::CImagingEdit(this);
    propertyBox_->setObjectName(QString::fromLatin1(kPropertyTextId));
    propertyBox_->setReadOnly(true);
    propertyBox_->setLineWrapMode(QTextEdit::NoWrap);
    propertyBox_->SetFlags({false, false});
    layout->addWidget(propertyBox_, 2);

    errorLabel_ = new QLabel(QString::fromUtf8(kErrorLabel), this);
    errorBox_ = new controls::CImagingEdit(this);
    errorBox_->setObjectName(QString::fromLatin1(kErrorTextId));
    errorBox_->setReadOnly(true);
    errorBox_->SetFlags({false, false});
    errorBox_->setMaximumHeight(4 * errorBox_->fontMetrics().height());
    errorLabel_->hide();
    errorBox_->hide();
    layout->addWidget(errorLabel_);
    layout->addWidget(errorBox_);

    auto* bottom = new QHBoxLayout;
    bottom->addStretch(1);
    closeButton_ = new controls::CMyButton(QStringLiteral("Close"), this);
    closeButton_->setObjectName(QString::fromLatin1(kCloseButtonId));
    connect(closeButton_, &QPushButton::clicked, this, &QWidget::close);
    bottom->addWidget(closeButton_);
    layout->addLayout(bottom);

    toolTip_ = new controls::CMyToolTip(this);
    MakeEditors();

    findWindow_ = new inspect::FindWindow(this);
    findWindow_->setWindowFlag(Qt::Tool);
    connect(findWindow_, &inspect::FindWindow::ItemChosen, this,
            [this](inspect::TreeItemHandle item) {
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
    for (auto& polling : polling_)
        session_->AddPolling(*polling);

    connect(levelCombo_, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (index >= 0 && index < static_cast<int>(kLevelChoices.size()))
            ChangeLevel(kLevelChoices[static_cast<size_t>(index)].level);
    });
    connect(pollingCheck_, &QCheckBox::toggled, this,
            [this](bool on) { session_->SetPolling(on); });
    connect(tree_, &controls::ColumnTreeWidget::SelectionChanged, this, [this] {
        ShowProperties();
        ShowEditor();
    });
    connect(tree_, &controls::ColumnTreeWidget::RowsMoved, this, [this] { PlaceEditors(); });
    connect(tree_, &controls::ColumnTreeWidget::BooleanToggleRequested, this,
            [this](TreeItem item) { ToggleBooleanOf(item); });

    session_->Initialise(*this);
}

CTessel::~CTessel() {
    // A transfer must end before the node maps it uses can go.
    delete fileAccess_;
    // No poll pass may call into the rows while they are released.
    for (auto& polling : polling_)
        polling->Stop();
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

QComboBox& CTessel::levelCombo() {
    return *levelCombo_;
}
QPushButton& CTessel::findButton() {
    return *findButton_;
}
QPushButton& CTessel::closeButton() {
    return *closeButton_;
}

void CTessel::MakeEditors() {
    QWidget* cells = tree_->viewport();
    editors_.edit = new controls::CImagingEdit(cells);
    editors_.edit->MakeSingleLine();
    editors_.edit->SetFlags({false, true});
    connect(editors_.edit, &controls::CImagingEdit::CommitRequested, this,
            [this] { CommitText(editors_.edit->toPlainText().toStdString()); });
    connect(editors_.edit, &controls::CImagingEdit::FocusLost, this, [this](bool changed) {
        if (changed) CommitText(editors_.edit->toPlainText().toStdString());
    });
    editors_.spin = new controls::Int64SpinBox(cells);
    connect(editors_.spin, &controls::Int64SpinBox::Stepped, this,
            [this](int64_t value) { CommitText(std::to_string(value)); });
    connect(editors_.spin, &QAbstractSpinBox::editingFinished, this, [this] {
        // Enter or focus loss; an unchanged text is no new value.
        const std::string text = editors_.spin->text().trimmed().toStdString();
        if (plan_.kind == EditorKind::Integer && text != plan_.text) CommitText(text);
    });
    editors_.slider = new QSlider(Qt::Horizontal, cells);
    editors_.slider->setTracking(false); // one write when the handle is let go
    connect(editors_.slider, &QSlider::valueChanged, this, [this](int position) {
        if (plan_.kind == EditorKind::Integer && plan_.slider &&
            position != SliderPosition(plan_, plan_.value))
            CommitText(std::to_string(SliderValue(plan_, position)));
    });
    editors_.combo = new controls::CMyComboBox(cells);
    connect(editors_.combo, &QComboBox::activated, this, [this](int index) {
        if (index >= 0 && static_cast<size_t>(index) < plan_.choices.size() &&
            index != plan_.current)
            CommitText(plan_.choices[static_cast<size_t>(index)]);
    });
    editors_.check = new controls::CCustomButton(cells);
    connect(editors_.check, &QAbstractButton::clicked, this, [this] { ToggleBooleanOf(editing_); });
    editors_.execute = new controls::CMyButton(QStringLiteral("Execute()"), cells);
    editors_.registerEdit = new controls::CMyButton(QStringLiteral("..."), cells);
    for (controls::CMyButton* button : {editors_.execute, editors_.registerEdit})
        connect(button, &QPushButton::clicked, this, [this] { RunActionButton(); });
    HideEditors();
}

void CTessel::HideEditors() {
    for (QWidget* editor : std::initializer_list<QWidget*>{
             editors_.edit, editors_.spin, editors_.slider, editors_.combo, editors_.check,
             editors_.execute, editors_.registerEdit})
        if (editor) editor->hide();
    editing_ = kTopLevel;
    plan_ = EditorPlan{};
}

void CTessel::ShowEditor() {
    HideEditors();
    if (!session_ || session_->busy()) return;
    FeatureRow* row = session_->model().RowForItem(tree_->SelectedItem());
    if (!row || !row->node) return;
    const ErrorPrintingOff quiet;
    try {
        plan_ = PlanEditor(*row);
    } catch (const GenICam::GenericException& e) {
        ShowError(ErrorBoxText(e));
        plan_ = EditorPlan{};
    }
    if (plan_.kind == EditorKind::None) return;
    editing_ = row->treeItem;
    switch (plan_.kind) {
    case EditorKind::Edit:
        editors_.edit->SetText(plan_.text, false);
        break;
    case EditorKind::Integer: {
        editors_.spin->SetRange(plan_.minimum, plan_.maximum, plan_.increment);
        editors_.spin->SetValue(plan_.value);
        plan_.text = editors_.spin->text().toStdString();
        if (plan_.slider) {
            const QSignalBlocker block(editors_.slider);
            editors_.slider->setRange(0, SliderPosition(plan_, plan_.maximum));
            editors_.slider->setValue(SliderPosition(plan_, plan_.value));
        }
        break;
    }
    case EditorKind::Combo: {
        const QSignalBlocker block(editors_.combo);
        editors_.combo->clear();
        for (const std::string& choice : plan_.choices)
            editors_.combo->addItem(ToQString(choice));
        editors_.combo->setCurrentIndex(plan_.current);
        break;
    }
    case EditorKind::Check:
        editors_.check->SetValue(plan_.checked ? 1 : 0);
        break;
    default:
        break;
    }
    PlaceEditors();
}

void CTessel::PlaceEditors() {
    if (plan_.kind == EditorKind::None) return;
    const QRect cell = tree_->ValueCellRect(editing_);
    auto place = [&](QWidget* editor, const QRect& at) {
        if (at.width() < 8) {
            editor->hide();
            return;
        }
        editor->setGeometry(at);
        editor->show();
    };
    switch (plan_.kind) {
    case EditorKind::Edit:
        place(editors_.edit, cell);
        break;
    case EditorKind::Integer:
        if (plan_.slider) {
            const int spinWidth = std::min(cell.width() / 2, 140);
            place(editors_.spin, QRect(cell.left(), cell.top(), spinWidth, cell.height()));
            place(editors_.slider, QRect(cell.left() + spinWidth + 4, cell.top(),
                                         cell.width() - spinWidth - 4, cell.height()));
        } else {
            place(editors_.spin, cell);
        }
        break;
    case EditorKind::Combo:
        place(editors_.combo, cell);
        break;
    case EditorKind::Check:
        place(editors_.check, QRect(cell.left() + controls::kValueIndent,
                                    cell.top() + (cell.height() - 16) / 2 - 1, 18, 18));
        break;
    case EditorKind::Command:
        place(editors_.execute,
              QRect(cell.left(), cell.top(), std::min(cell.width(), 100), cell.height()));
        break;
    case EditorKind::Register:
        place(editors_.registerEdit,
              QRect(cell.left(), cell.top(), std::min(cell.width(), 40), cell.height()));
        break;
    case EditorKind::None:
        break;
    }
}

void CTessel::CommitText(const std::string& text) {
    if (!session_ || session_->busy()) return;
    FeatureRow* row = session_->model().RowForItem(editing_);
    if (!row || !row->node) return;
    const ErrorPrintingOff quiet;
    try {
        const inspect::CommitResult result =
            inspect::CommitValue(row->node, row->node->GetName().c_str(), text, row->context);
        if (!result.written)
            ShowError(result.message);
        else
            sessionCode_.Record(row->node, row->context.objectKind);
    } catch (const GenICam::GenericException& e) {
        ShowError(ErrorBoxText(e));
    }
    AfterWrite(*row);
}

void CTessel::AfterWrite(FeatureRow& row) {
    session_->model().RewriteRowsOf(row.node);
    ShowProperties();
    // The editor shows what the device now holds (a refused text is replaced).
    const bool hadFocus = editors_.edit->hasFocus();
    ShowEditor();
    if (hadFocus && editors_.edit->isVisible()) editors_.edit->setFocus();
    tree_->viewport()->update();
}

void CTessel::ToggleBooleanOf(TreeItem item) {
    if (!session_ || session_->busy()) return;
    FeatureRow* row = session_->model().RowForItem(item);
    if (!row || !row->node || !Writable(item)) return;
    const ErrorPrintingOff quiet;
    try {
        if (const std::string message = ToggleBoolean(*row); !message.empty())
            ShowError(message);
        else
            sessionCode_.Record(row->node, row->context.objectKind);
    } catch (const GenICam::GenericException& e) {
        ShowError(ErrorBoxText(e));
    }
    AfterWrite(*row);
}

void CTessel::RunActionButton() {
    if (!session_ || session_->busy()) return;
    FeatureRow* row = session_->model().RowForItem(editing_);
    if (!row || !row->node) return;
    memview::QtMemoryViewer ownViewer(this);
    inspect::MemoryViewer& viewer = viewer_ ? *viewer_ : ownViewer;
    const ErrorPrintingOff quiet;
    const QPointer<CTessel> alive(this);
    // Failures are dropped here by design; the row shows what the device holds.
    const inspect::ActionOutcome outcome = inspect::RunAction(
        row->node, row->node->GetName().c_str(), row->context, session_->system(), viewer);
    // The viewer's event loop lets the host delete this window (and the node
    // maps it shows) meanwhile: nothing of it may be touched then.
    if (!alive) return;
    if (outcome == inspect::ActionOutcome::CommandExecuted ||
        outcome == inspect::ActionOutcome::RegisterWritten)
        sessionCode_.Record(row->node, row->context.objectKind);
    if (session_->model().RowForItem(editing_) == row) AfterWrite(*row);
}

void CTessel::UpdateControls() {
    ShowProperties();
    ShowEditor();
    // After a rebuild the find list must name the new tree items only.
    const FeatureTreeModel& model = session_->model();
    findWindow_->Update(FindRows(model.featureRows()), FindRows(model.categoryRows()));
    tree_->viewport()->update();
}

void CTessel::SetTitle(const std::string& title) {
    setWindowTitle(ToQString(title));
}

void CTessel::SetToolTips() {
    toolTip_->AddTool(editors_.execute, QString::fromUtf8(kCommandButtonTip));
    toolTip_->AddTool(editors_.registerEdit, QString::fromUtf8(kCommandButtonTip));
    toolTip_->AddTool(pollingCheck_, QString::fromUtf8(kPollingTip));
    toolTip_->AddTool(levelCombo_, QString::fromUtf8(kLevelTip));
    toolTip_->AddTool(findButton_, QString::fromUtf8(kFindTip));
    for (QWidget* editor : std::initializer_list<QWidget*>{
             editors_.edit, editors_.spin, editors_.slider, editors_.combo, editors_.check})
        toolTip_->AddTool(editor, QString());
    toolTip_->Activate(true);
}

void CTessel::ShowError(const std::string& text) {
    errorBox_->SetText(text, false);
    errorLabel_->show();
    errorBox_->show();
}

bool CTessel::IsDialogVisible() const {
    return isVisible();
}

void CTessel::ShowFindDialog() {
    const FeatureTreeModel& model = session_->model();
    findWindow_->Fill(FindRows(model.featureRows()), FindRows(model.categoryRows()),
                      session_->defaultTitle());
    findWindow_->show();
    findWindow_->raise();
    findWindow_->activateWindow();
}

bool CTessel::ScheduleBuildSlice() {
    // A zero timer runs once the events already queued (paints, keys) are handled.
    QTimer::singleShot(0, this, [this] { session_->ContinueBuild(); });
    return true;
}

void CTessel::HideFindDialog() {
    if (findWindow_) findWindow_->hide();
}

inspect::FileAccessWindow* CTessel::fileAccessWindow() const {
    return fileAccess_;
}

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

void CTessel::ResizeWindow(int32_t width, int32_t height) {
    resize(width, height);
}

int32_t CTessel::TreeClientWidth() const {
    // Lay the children out for the new size before the tree is measured; a
    // hidden window has not done so yet.
    layout()->setGeometry(rect());
    return tree_->width() - 2 * tree_->frameWidth();
}

void CTessel::SetColumnWidths(int32_t name, int32_t value) {
    tree_->SetColumnWidths(name, value);
}

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
}

bool CTessel::ForwardKey(QKeyEvent* event) {
    Key key = Key::Other;
    if (event->key() == Qt::Key_F5)
        key = Key::F5;
    else if (event->key() == Qt::Key_F)
        key = Key::F;
    if (key == Key::Other) return false;
    const bool ctrl = event->modifiers().testFlag(Qt::ControlModifier);
    return session_->OnKeyDown(key, ctrl, tree_->VisibleItemsFromFirst());
}

// Each group of entries comes from its own function: one line each here.
void CTessel::FillTreeMenu(QMenu& menu, TreeItem item) {
    const FeatureRow* row = session_->model().RowForItem(item);
    AddWhyAction(menu, *this, row);
    AddSlicesAction(menu, *this, row);
    AddSessionCodeAction(menu, *this, sessionCode_);
    menu.addSeparator();
    inspect::AddFeatureSetEntries(menu, *this, item);
}

// A right click selects the row it is on, then shows the menu for it.
void CTessel::ShowTreeMenu(QPoint at) {
    const TreeItem item = tree_->ItemAt(at);
    if (item) tree_->SelectItem(item);
    QMenu menu(this);
    FillTreeMenu(menu, item);
    menu.exec(tree_->viewport()->mapToGlobal(at));
}

bool CTessel::eventFilter(QObject* watched, QEvent* event) {
    if (watched == tree_ && event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (ForwardKey(key)) return true;
        // Enter on the selected row does what a double-click does.
        if ((key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) &&
            OpenFileAccess(tree_->SelectedItem()))
            return true;
    }
    if (watched == tree_->viewport() && event->type() == QEvent::ContextMenu) {
        ShowTreeMenu(static_cast<QContextMenuEvent*>(event)->pos());
        return true;
    }
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

std::optional<bool> CTessel::BooleanValue(TreeItem item) {
    if (!session_ || session_->busy()) return std::nullopt;
    const FeatureRow* row = session_->model().RowForItem(item);
    if (!row || !row->node) return std::nullopt;
    try {
        if (row->node->GetPrincipalInterfaceType() != GenApi::intfIBoolean ||
            !GenApi::IsReadable(row->node->GetAccessMode()))
            return std::nullopt;
        return GenApi::CBooleanPtr(row->node)->GetValue();
    } catch (const GenICam::GenericException&) {
        return std::nullopt;
    }
}

std::optional<std::string> CTessel::RowToolTip(TreeItem item, int area) {
    if (!session_) return std::nullopt;
    const FeatureRow* row = session_->model().RowForItem(item);
    if (!row || !row->node) return std::nullopt;
    try {
        const auto where = static_cast<controls::ToolTipArea>(area);
        const bool isEnumeration =
            row->node->GetPrincipalInterfaceType() == GenApi::intfIEnumeration;
        std::optional<std::string> entryTip;
        if (isEnumeration && where == controls::ToolTipArea::Value) {
            entryTip = std::string();
            if (GenApi::IsReadable(row->node->GetAccessMode()))
                if (GenApi::IEnumEntry* current =
                        GenApi::CEnumerationPtr(row->node)->GetCurrentEntry())
                    entryTip = current->GetNode()->GetToolTip().c_str();
        }
        return controls::ToolTipText(where, isEnumeration, entryTip,
                                     row->node->GetToolTip().c_str());
    } catch (const GenICam::GenericException&) {
        return std::string();
    }
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
    const FeatureRow* row =
        session_ ? session_->model().RowForItem(tree_->SelectedItem()) : nullptr;
    if (!row || !row->node) {
        propertyBox_->SetText({}, false);
        return;
    }
    const ErrorPrintingOff quiet;
    try {
        propertyBox_->SetText(PropertyBoxFor(session_->model(), *row), true);
    } catch (const GenICam::GenericException& e) {
        propertyBox_->SetText({}, false);
        ShowError(ErrorBoxText(e));
    }
}

GenicamControllerChild::GenicamControllerChild(QWidget* parent)
    : GenicamControllerChild(BrowserSetup{}, parent) {}

GenicamControllerChild::GenicamControllerChild(BrowserSetup setup, QWidget* parent,
                                               SettingsStore* store)
    : CTessel(std::move(setup), store, parent) {
    // A child inside the host's own window, which the host closes.
    setWindowFlags(Qt::Widget);
    setObjectName(QString::number(TemplateId()));
    closeButton().hide();
}

void GenicamControllerChild::showEvent(QShowEvent* event) {
    CTessel::showEvent(event);
    // Shown again inside the host: what the device holds may have changed.
    if (!event->spontaneous()) session().Refresh();
}

bool SaveWindowImage(QWidget& window, const QString& path) {
    window.show();
    // Let the window lay out and paint before it is grabbed.
    for (int i = 0; i < 3; ++i)
        QApplication::processEvents();
    const QPixmap image = window.grab();
    return !image.isNull() && image.save(path, "PNG");
}

} // namespace quillon::browser
