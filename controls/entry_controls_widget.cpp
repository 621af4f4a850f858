#include "controls/entry_controls_widget.h"

#include <QLineEdit>
#include <QPainter>

#include "controls/column_tree_paint.h"
#include "controls/entry_rules.h"

namespace quillon::controls {

void PaintCheckIcon(QPainter& painter, QPoint topLeft, int resource) {
    const bool checked = resource == kIconCheckedWritable || resource == kIconCheckedReadOnly;
    const bool writable = resource == kIconCheckedWritable || resource == kIconUncheckedWritable;
    const QRect box(topLeft + QPoint(2, 2), QSize(kIconSize - 5, kIconSize - 5));
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.fillRect(box, writable ? QColor(255, 255, 255) : QColor(224, 224, 224));
    painter.setPen(writable ? QColor(64, 64, 64) : QColor(160, 160, 160));
    painter.drawRect(box);
    if (checked) {
        QPen tick(writable ? QColor(0, 0, 0) : QColor(128, 128, 128));
        tick.setWidth(2);
        painter.setPen(tick);
        painter.drawLine(box.left() + 2, box.center().y(), box.center().x() - 1, box.bottom() - 3);
        painter.drawLine(box.center().x() - 1, box.bottom() - 3, box.right() - 2, box.top() + 3);
    }
    painter.restore();
}

CMyComboBox::CMyComboBox(QWidget* parent) : QComboBox(parent) {
    setEditable(false);
}

CCustomButton::CCustomButton(QWidget* parent) : QAbstractButton(parent) {
    setFocusPolicy(Qt::NoFocus);
}

void CCustomButton::SetValue(short value) {
    value_ = value;
    update();
}

QSize CCustomButton::sizeHint() const {
    return QSize(kIconSize, kIconSize);
}

void CCustomButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    // No frame and no focus rectangle: the icon alone.
    PaintCheckIcon(painter, QPoint(-2, 1), CustomButtonIcon(value_));
}

CMyButton::CMyButton(const QString& text, QWidget* parent) : QPushButton(text, parent) {
    setAutoDefault(false);
}

void CMyToolTip::AddTool(QWidget* control, const QString& text) {
    tools_.push_back({control, text});
    if (control) control->setToolTip(active_ ? text : QString());
}

void CMyToolTip::Activate(bool active) {
    active_ = active;
    for (const Tool& tool : tools_)
        if (tool.control) tool.control->setToolTip(active ? tool.text : QString());
}

Int64SpinBox::Int64SpinBox(QWidget* parent) : QAbstractSpinBox(parent) {
    setKeyboardTracking(false);
    setAccelerated(true);
}

void Int64SpinBox::SetRange(int64_t minimum, int64_t maximum, int64_t increment) {
    minimum_ = minimum;
    maximum_ = std::max(minimum, maximum);
    increment_ = std::max<int64_t>(1, increment);
}

void Int64SpinBox::SetValue(int64_t value) {
    value_ = value;
    lineEdit()->setText(QString::number(value));
}

void Int64SpinBox::stepBy(int steps) {
    // Saturating steps: the range may span all of int64.
    int64_t delta = 0, next = 0;
    if (__builtin_mul_overflow(static_cast<int64_t>(steps), increment_, &delta) ||
        __builtin_add_overflow(value_, delta, &next))
        next = steps > 0 ? maximum_ : minimum_;
    SetValue(std::clamp(next, minimum_, maximum_));
    emit Stepped(value_);
}

QAbstractSpinBox::StepEnabled Int64SpinBox::stepEnabled() const {
    StepEnabled enabled = StepNone;
    if (value_ > minimum_) enabled |= StepDownEnabled;
    if (value_ < maximum_) enabled |= StepUpEnabled;
    return enabled;
}

QValidator::State Int64SpinBox::validate(QString&, int&) const {
    return QValidator::Acceptable;
}

} // namespace quillon::controls
