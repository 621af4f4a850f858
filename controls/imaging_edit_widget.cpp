#include "controls/imaging_edit_widget.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QTextBlock>
#include <QTextCursor>

#include <algorithm>

namespace quillon::controls {

namespace {

std::string NormalisedLineEnds(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r') {
            out += '\n';
            if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
        } else {
            out += text[i];
        }
    }
    return out;
}

// The QString position of a byte offset into UTF-8 text.
int QtPosition(const std::string& text, size_t offset) {
    return static_cast<int>(QString::fromUtf8(text.data(), static_cast<qsizetype>(offset)).size());
}

} // namespace

CImagingEdit::CImagingEdit(QWidget* parent) : QTextEdit(parent) {
    setAcceptRichText(false);
    connect(this, &QTextEdit::textChanged, this, [this] {
        if (hasFocus()) changedByUser_ = true;
    });
}

void CImagingEdit::MakeSingleLine() {
    setLineWrapMode(QTextEdit::NoWrap);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    document()->setDocumentMargin(1);
}

void CImagingEdit::SetText(const std::string& text, bool highlightLabels) {
    const std::string plain = NormalisedLineEnds(text);
    setPlainText(QString::fromStdString(plain));
    QTextCursor cursor(document());
    if (highlightLabels) {
        QTextCharFormat bold;
        bold.setFontWeight(QFont::Bold);
        for (const TextRange& r : BoldLabelRanges(plain)) {
            cursor.setPosition(QtPosition(plain, r.start));
            cursor.setPosition(QtPosition(plain, r.start + r.length), QTextCursor::KeepAnchor);
            cursor.mergeCharFormat(bold);
        }
        const qreal dpi = screen() ? screen()->logicalDotsPerInchX() : 96.0;
        const qreal indent = kHangingIndentTwips * dpi / 1440.0;
        for (size_t offset : HangingIndentOffsets(plain)) {
            cursor.setPosition(QtPosition(plain, offset));
            QTextBlockFormat format = cursor.blockFormat();
            format.setLeftMargin(indent);
            format.setTextIndent(-indent);
            cursor.setBlockFormat(format);
        }
    } else {
        cursor.select(QTextCursor::Document);
        QTextBlockFormat format;
        format.setLeftMargin(0);
        format.setTextIndent(0);
        cursor.mergeBlockFormat(format);
    }
    changedByUser_ = false;
}

bool CImagingEdit::event(QEvent* e) {
    // Tab would otherwise be taken for focus changes before keyPressEvent.
    if (e->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(e);
        if ((key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab) && WantsAllKeys(flags_)) {
            keyPressEvent(key);
            return true;
        }
    }
    return QTextEdit::event(e);
}

void CImagingEdit::keyPressEvent(QKeyEvent* e) {
    if (e->matches(QKeySequence::Copy)) copy();
    EditKey key = EditKey::Other;
    switch (e->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        key = EditKey::Enter;
        break;
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
        key = EditKey::Tab;
        break;
    case Qt::Key_Up:
        key = EditKey::Up;
        break;
    case Qt::Key_Down:
        key = EditKey::Down;
        break;
    default:
        break;
    }
    const bool shift = e->modifiers().testFlag(Qt::ShiftModifier) || e->key() == Qt::Key_Backtab;
    switch (DecideEditKey(key, shift, flags_, parentWidget() != nullptr)) {
    case EditKeyAction::Commit: {
        emit CommitRequested();
        QTextCursor cursor = textCursor();
        cursor.movePosition(QTextCursor::End);
        setTextCursor(cursor);
        return;
    }
    // QTextEdit refuses to pass the focus on while editable; the widget's own rule does.
    case EditKeyAction::NextControl:
        QWidget::focusNextPrevChild(true);
        return;
    case EditKeyAction::PreviousControl:
        QWidget::focusNextPrevChild(false);
        return;
    case EditKeyAction::TreeAndPlatform:
        if (QWidget* tree =
                window()->findChild<QWidget*>(QString::fromLatin1(kTreeHostObjectName))) {
            QKeyEvent copyEvent(e->type(), e->key(), e->modifiers());
            QCoreApplication::sendEvent(tree, &copyEvent);
        }
        break;
    case EditKeyAction::Platform:
        break;
    }
    QTextEdit::keyPressEvent(e);
}

void CImagingEdit::focusOutEvent(QFocusEvent* e) {
    if (inFocusLoss_) return;
    inFocusLoss_ = true;
    QTextEdit::focusOutEvent(e);
    emit FocusLost(changedByUser_);
    changedByUser_ = false;
    inFocusLoss_ = false;
}

} // namespace quillon::controls
