// CImagingEdit: the rich text box used for typing values in place and for
// the property text. Keys follow controls/entry_rules.h: Enter asks the
// parent to commit, Tab moves between controls when asked to, Up and Down
// also move the feature tree's selection.
#pragma once

#include <QTextEdit>

#include <string>

#include "controls/entry_rules.h"

namespace quillon::controls {

// Object name of the feature tree's host in the browser window (its control id).
inline constexpr const char* kTreeHostObjectName = "1008";

class CImagingEdit : public QTextEdit {
    Q_OBJECT

public:
    explicit CImagingEdit(QWidget* parent = nullptr);

    // Replaces the whole text (CR LF and CR become line ends). With
    // `highlightLabels` the property labels turn bold and every paragraph
    // holding "Name:" gets the hanging indent; without, the text is plain
    // with no indent. Either way the text no longer counts as typed.
    void SetText(const std::string& text, bool highlightLabels);

    void SetFlags(EditFlags flags) { flags_ = flags; }
    EditFlags flags() const { return flags_; }
    bool changedByUser() const { return changedByUser_; }

    // One line for in-place entry: no wrapping, no scroll bars.
    void MakeSingleLine();

signals:
    void CommitRequested();
    // The focus went elsewhere; `changed` tells whether the user had typed.
    void FocusLost(bool changed);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    bool event(QEvent* event) override;

private:
    EditFlags flags_;
    bool changedByUser_ = false;
    bool inFocusLoss_ = false;
};

} // namespace quillon::controls
