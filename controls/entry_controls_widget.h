// The small controls of the browser window: a combo box whose edit part
// cannot be typed into, a button drawn as a check icon, a plain push button,
// the tool tip registry, and a spin box over the full 64-bit range.
#pragma once

#include <QAbstractButton>
#include <QAbstractSpinBox>
#include <QComboBox>
#include <QObject>
#include <QPointer>
#include <QPushButton>

#include <cstdint>
#include <vector>

class QPainter;

namespace quillon::controls {

// Draws check icon `resource` (kIconChecked/Unchecked, Writable/ReadOnly)
// 16 x 16 with its top left at `topLeft`.
void PaintCheckIcon(QPainter& painter, QPoint topLeft, int resource);

// Choices only: nothing can be typed into its edit part.
class CMyComboBox : public QComboBox {
    Q_OBJECT

public:
    explicit CMyComboBox(QWidget* parent = nullptr);
};

// A button that is nothing but a check icon: checked for values above zero.
class CCustomButton : public QAbstractButton {
    Q_OBJECT

public:
    explicit CCustomButton(QWidget* parent = nullptr);
    void SetValue(short value);
    short value() const { return value_; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    short value_ = 0;
};

// A push button that never takes Enter for itself (Enter belongs to the
// in-place editors).
class CMyButton : public QPushButton {
    Q_OBJECT

public:
    explicit CMyButton(const QString& text, QWidget* parent = nullptr);
};

// The tool tips of a window's controls, switched on together.
class CMyToolTip : public QObject {
    Q_OBJECT

public:
    explicit CMyToolTip(QObject* parent = nullptr) : QObject(parent) {}
    void AddTool(QWidget* control, const QString& text);
    // Inactive tools keep their texts but show none.
    void Activate(bool active);
    bool active() const { return active_; }

private:
    struct Tool {
        QPointer<QWidget> control;
        QString text;
    };
    std::vector<Tool> tools_;
    bool active_ = false;
};

// An integer spin box over int64: steps by the increment within [min, max].
// Typed text is handed over as it stands; the commit checks it.
class Int64SpinBox : public QAbstractSpinBox {
    Q_OBJECT

public:
    explicit Int64SpinBox(QWidget* parent = nullptr);
    void SetRange(int64_t minimum, int64_t maximum, int64_t increment);
    void SetValue(int64_t value);
    int64_t value() const { return value_; }
    void stepBy(int steps) override;

signals:
    // An arrow, the wheel or Page Up/Down stepped to `value`.
    void Stepped(int64_t value);

protected:
    StepEnabled stepEnabled() const override;
    QValidator::State validate(QString& input, int& pos) const override;

private:
    int64_t value_ = 0, minimum_ = 0, maximum_ = 0, increment_ = 1;
};

} // namespace quillon::controls
