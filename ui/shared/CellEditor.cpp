#include "ui/shared/CellEditor.h"

#include "ui/shared/FlexGrid.h"
#include "ui/shared/Texts.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QValidator>

namespace k470 {

namespace {

constexpr int CellFrame = 1; // pixels round the current cell, which stay visible

/// Applies a key filter to a whole text, so that what comes from the clipboard or an input method meets it
/// too.
class FilterValidator : public QValidator {
public:
    FilterValidator(CellEditor::KeyFilter filter, QObject *parent) : QValidator(parent), filter_(filter) {}

    State validate(QString &input, int &) const override {
        std::string accepted;
        for (const QChar c : input) {
            const auto entered = filter_(accepted, false, c.toLatin1());
            if (!entered || !c.isPrint()) // the filter lets the Backspace key pass, but no text holds one
                return Invalid;
            accepted += *entered;
        }
        input = ToQt(accepted);
        return Acceptable;
    }

private:
    CellEditor::KeyFilter filter_;
};

} // namespace

bool LeavesForGood(const QFocusEvent &event) {
    return event.reason() != Qt::ActiveWindowFocusReason && event.reason() != Qt::PopupFocusReason &&
           event.reason() != Qt::MenuBarFocusReason;
}

CellEditor::CellEditor(FlexGrid *grid, KeyFilter filter) : QLineEdit(grid->parentWidget()), grid_(grid) {
    setValidator(new FilterValidator(filter, this));
    setAttribute(Qt::WA_InputMethodEnabled, false); // letters are digits here, not the start of a word
    setFrame(false);
    setAlignment(Qt::AlignCenter);
    setContextMenuPolicy(Qt::NoContextMenu);
    hide();
}

void CellEditor::Open(const QRect &place) {
    row_ = grid_->Row();
    col_ = grid_->Col();
    savedCellText_ = grid_->CellText(row_, col_);
    isOpen_ = true;
    setFont(grid_->font());
    setGeometry(place);
    const QRect inFrame = grid_->CellRect(row_, col_).adjusted(CellFrame, CellFrame, -CellFrame, -CellFrame);
    setMask(inFrame.intersected(place).translated(-place.topLeft()));
    setText(savedCellText_);
    show();
    raise();
    selectAll();
    setFocus();
}

bool CellEditor::IsOpen() const {
    return isOpen_;
}

int CellEditor::Row() const {
    return row_;
}

int CellEditor::Col() const {
    return col_;
}

QString CellEditor::EndEdit() {
    isOpen_ = false; // the focus that hiding takes away must not be reported
    hide();
    return text();
}

void CellEditor::Abandon() {
    if (!isOpen_)
        return;
    EndEdit();
    grid_->SetCellText(row_, col_, savedCellText_);
    grid_->setFocus();
}

void CellEditor::keyPressEvent(QKeyEvent *event) {
    bool swallow = false;
    emit KeyPressed(event->key(), swallow);
    if (!swallow)
        QLineEdit::keyPressEvent(event);
}

void CellEditor::focusOutEvent(QFocusEvent *event) {
    QLineEdit::focusOutEvent(event);
    if (isOpen_ && LeavesForGood(*event))
        emit FocusLeft();
}

} // namespace k470
