#include "browser/understanding_window.h"

#include <QApplication>
#include <QClipboard>
#include <QFontDatabase>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QTableWidget>
#include <QVBoxLayout>

#include "GenICam/exceptions.h"
#include "browser/browser_session.h"
#include "inspect/access_explanation.h"

namespace quillon::browser {

namespace {

QString ToQString(const std::string& text) {
    return QString::fromStdString(text);
}

// Small windows of their own, above the browser, gone when closed.
void ShowOwned(QDialog* window) {
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->setWindowFlag(Qt::Tool);
    window->show();
    window->raise();
}

QTableWidget* MakeTable(const inspect::SliceTable& table, QWidget* parent) {
    auto* widget = new QTableWidget(static_cast<int>(table.rows.size()),
                                    static_cast<int>(table.features.size()) + 1, parent);
    QStringList headings{ToQString(table.selector)};
    for (const std::string& feature : table.features)
        headings << ToQString(feature);
    widget->setHorizontalHeaderLabels(headings);
    widget->verticalHeader()->hide();
    widget->setEditTriggers(QAbstractItemView::NoEditTriggers);
    for (size_t r = 0; r < table.rows.size(); ++r)
        for (size_t c = 0; c < table.rows[r].size(); ++c)
            widget->setItem(static_cast<int>(r), static_cast<int>(c),
                            new QTableWidgetItem(ToQString(table.rows[r][c])));
    widget->resizeColumnsToContents();
    // Short tables take their own height; long ones scroll in 12 rows.
    const int shown = std::min<int>(widget->rowCount(), 12);
    widget->setMinimumHeight(widget->horizontalHeader()->height() +
                             shown * widget->verticalHeader()->defaultSectionSize() + 4);
    return widget;
}

} // namespace

TextWindow::TextWindow(const QString& title, const std::string& text, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(title);
    auto* layout = new QVBoxLayout(this);
    text_ = new QPlainTextEdit(this);
    text_->setReadOnly(true);
    text_->setLineWrapMode(QPlainTextEdit::NoWrap);
    text_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    text_->setPlainText(ToQString(text));
    layout->addWidget(text_);
    resize(720, 360);
}

QString TextWindow::text() const {
    return text_->toPlainText();
}

SlicesWindow::SlicesWindow(GenApi::INode* selector, QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("Slices of ") + QString::fromUtf8(selector->GetName().c_str()));
    auto* layout = new QVBoxLayout(this);
    auto* area = new QScrollArea(this);
    area->setWidgetResizable(true);
    auto* content = new QWidget(area);
    auto* tables = new QVBoxLayout(content);
    try {
        const ErrorPrintingOff quiet;
        tables_ = inspect::ReadSlices(selector);
    } catch (const GenICam::GenericException& e) {
        tables->addWidget(new QLabel(QString::fromUtf8(e.GetDescription()), content));
    }
    for (const inspect::SliceTable& table : tables_) {
        if (!table.caption.empty())
            tables->addWidget(new QLabel(ToQString(table.caption), content));
        widgets_.push_back(MakeTable(table, content));
        tables->addWidget(widgets_.back());
    }
    tables->addStretch(1);
    area->setWidget(content);
    layout->addWidget(area);
    auto* copy = new QPushButton(QStringLiteral("Copy as text"), this);
    copy->setEnabled(!tables_.empty());
    connect(copy, &QPushButton::clicked, this,
            [this] { QApplication::clipboard()->setText(ToQString(CopyText())); });
    layout->addWidget(copy, 0, Qt::AlignRight);
    resize(640, 420);
}

std::string SlicesWindow::CopyText() const {
    return inspect::SlicesText(tables_, inspect::SliceLayout::Tabs);
}

void AddWhyAction(QMenu& menu, QWidget& owner, const FeatureRow* row) {
    GenApi::INode* node = row ? row->node : nullptr;
    QAction* action = menu.addAction(QString::fromUtf8(kWhyAction));
    action->setEnabled(node && node->GetPrincipalInterfaceType() != GenApi::intfICategory);
    QObject::connect(action, &QAction::triggered, &owner, [node, &owner] {
        const ErrorPrintingOff quiet;
        const std::string text = inspect::ExplanationText(inspect::ExplainAccess(node));
        ShowOwned(new TextWindow(
            QStringLiteral("Why: ") + QString::fromUtf8(node->GetName().c_str()), text, &owner));
    });
}

void AddSlicesAction(QMenu& menu, QWidget& owner, const FeatureRow* row) {
    GenApi::INode* node = row ? row->node : nullptr;
    QAction* action = menu.addAction(QString::fromUtf8(kSlicesAction));
    action->setEnabled(inspect::IsSliceable(node));
    QObject::connect(action, &QAction::triggered, &owner,
                     [node, &owner] { ShowOwned(new SlicesWindow(node, &owner)); });
}

void AddSessionCodeAction(QMenu& menu, QWidget& owner, const inspect::SessionCode& code) {
    QAction* action = menu.addAction(QString::fromUtf8(kSessionCodeAction));
    action->setEnabled(!code.empty());
    QObject::connect(action, &QAction::triggered, &owner, [&code, &owner] {
        const std::string text = code.Text();
        QApplication::clipboard()->setText(ToQString(text));
        ShowOwned(new TextWindow(QStringLiteral("Session as code (copied)"), text, &owner));
    });
}

} // namespace quillon::browser
