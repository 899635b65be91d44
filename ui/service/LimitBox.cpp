#include "ui/service/LimitBox.h"

#include "ui/shared/CellEditor.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QValidator>

#include <algorithm>

namespace k470 {

namespace {

bool IsDigit(QChar c) {
    return c >= '0' && c <= '9';
}

/// Admits digits and the characters of one text.
class DigitValidator : public QValidator {
public:
    DigitValidator(QString admitted, QObject *parent) : QValidator(parent), admitted_(std::move(admitted)) {}

    State validate(QString &input, int &) const override {
        const bool admitted = std::all_of(input.cbegin(), input.cend(),
                                          [this](QChar c) { return IsDigit(c) || admitted_.contains(c); });
        return admitted ? Acceptable : Invalid;
    }

private:
    QString admitted_;
};

} // namespace

LimitBox::LimitBox(QWidget *parent) : QLineEdit(parent) {
    setContextMenuPolicy(Qt::NoContextMenu);
    setAttribute(Qt::WA_InputMethodEnabled, false);
}

void LimitBox::SetLimit(const QString &text) {
    setText(text);
    const QValidator *before = validator();
    setValidator(new DigitValidator(text, this));
    delete before;
}

void LimitBox::LeaveForNext() {
    focusNextPrevChild(true);
}

void LimitBox::keyPressEvent(QKeyEvent *event) {
    bool swallow = false;
    emit KeyPressed(event, swallow);
    if (!swallow)
        QLineEdit::keyPressEvent(event);
}

void LimitBox::focusInEvent(QFocusEvent *event) {
    QLineEdit::focusInEvent(event);
    enteredByMouse_ = event->reason() == Qt::MouseFocusReason;
    if (LeavesForGood(*event))
        emit FocusTaken();
}

void LimitBox::focusOutEvent(QFocusEvent *event) {
    QLineEdit::focusOutEvent(event);
    if (LeavesForGood(*event))
        emit FocusLeft();
}

/// The press that brought the focus has set the caret since.
void LimitBox::mouseReleaseEvent(QMouseEvent *event) {
    QLineEdit::mouseReleaseEvent(event);
    if (enteredByMouse_ && !hasSelectedText())
        emit FocusTaken();
    enteredByMouse_ = false;
}

} // namespace k470
