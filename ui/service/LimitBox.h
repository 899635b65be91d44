#pragma once

#include <QLineEdit>

namespace k470 {

/// A text box for a band limit in MHz. Digits are typed; what else the limit that was set contains, such as
/// the point of 136.5, may stay. Enter moves the focus on as Tab does.
class LimitBox : public QLineEdit {
    Q_OBJECT

public:
    explicit LimitBox(QWidget *parent);

    void SetLimit(const QString &text);

signals:
    /// The focus went to another control of the window.
    void FocusLeft();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void SelectNumber();

    bool enteredByMouse_ = false;
};

} // namespace k470
