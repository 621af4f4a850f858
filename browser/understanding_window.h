// The tree's context-menu entries that help understand a feature: "Why can't
// I edit this?", "Every selector slice..." and "Copy session as code". Each
// Add...Action puts one entry in the menu; its action opens a small window
// over what inspect/ computes.
#pragma once

#include <QDialog>

#include <string>
#include <vector>

#include "inspect/selector_slices.h"
#include "inspect/session_code.h"
#include "types/feature_row.h"

class QMenu;
class QPlainTextEdit;
class QTableWidget;

namespace quillon::browser {

inline constexpr const char* kWhyAction = "Why can't I edit this?";
inline constexpr const char* kSlicesAction = "Every selector slice...";
inline constexpr const char* kSessionCodeAction = "Copy session as code";

// A read-only text in a small window: the explanation, or the session code.
class TextWindow : public QDialog {
    Q_OBJECT

public:
    TextWindow(const QString& title, const std::string& text, QWidget* parent);
    QString text() const;

private:
    QPlainTextEdit* text_ = nullptr;
};

// One table per slice table, each under its caption, and a button that
// copies them all as tab-separated text. A selector that cannot be switched
// shows the reason instead.
class SlicesWindow : public QDialog {
    Q_OBJECT

public:
    SlicesWindow(GenApi::INode* selector, QWidget* parent);
    const std::vector<inspect::SliceTable>& tables() const { return tables_; }
    std::vector<QTableWidget*> tableWidgets() const { return widgets_; }
    // What the copy button puts on the clipboard.
    std::string CopyText() const;

private:
    std::vector<inspect::SliceTable> tables_;
    std::vector<QTableWidget*> widgets_;
};

// The entries; a row without a feature (or a feature that is no selector,
// or an empty session) leaves its entry disabled.
void AddWhyAction(QMenu& menu, QWidget& owner, const FeatureRow* row);
void AddSlicesAction(QMenu& menu, QWidget& owner, const FeatureRow* row);
// Copies the session's text to the clipboard and shows it.
void AddSessionCodeAction(QMenu& menu, QWidget& owner, const inspect::SessionCode& code);

} // namespace quillon::browser
