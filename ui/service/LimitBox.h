#pragma once

#include <QLineEdit>

namespace k470 {

/// A text box for a band limit in MHz. It takes digits; what else the limit that was set contains, such as
/// the point of 136.5, may stay.
class LimitBox : public QLineEdit {
    Q_OBJECT

public:
    explicit LimitBox(QWidget *parent);

    void SetLimit(const QString &text);
    /// Moves the focus to the next control in the tab order.
    void LeaveForNext();

signals:
    /// The focus came from another control of the window; or the mouse button that brought it was released,
    /// which sets the caret, and nothing is selected.
    void FocusTaken();
    /// A key, before the box takes it. Who sets `swallow` keeps it from the box.
    void KeyPressed(const QKeyEvent *key, bool &swallow);
    /// The focus went to another control of the window.
    void FocusLeft();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    bool enteredByMouse_ = false;
};

} // namespace k470
