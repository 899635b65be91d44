#include "ui/shared/CellEditor.h"

#include "ui/shared/FlexGrid.h"
#include "ui/shared/Keys.h"
#include "ui/shared/Texts.h"

#include <QApplication>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QValidator>

namespace k470 {

namespace {

constexpr int CellFrame = 1; // pixels round the current cell

/// Applies a key filter to a whole text, so that what comes from the clipboard or an input method meets it
/// too.
class FilterValidator : public QValidator {
public:
    FilterValidator(KeyFilter filter, QObject *parent) : QValidator(parent), filter_(filter) {}

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
    KeyFilter filter_;
};

/// Whether the focus is in the control or in a list that it has opened. The first opening of a list moves the
/// focus into it for no reason that tells a list from another control.
bool HoldsFocus(const QWidget *control) {
    const QObject *holder = QApplication::focusWidget();
    while (holder != nullptr && holder != control)
        holder = holder->parent();
    return holder != nullptr;
}

} // namespace

bool LeavesForGood(const QFocusEvent &event) {
    return event.reason() != Qt::ActiveWindowFocusReason && event.reason() != Qt::PopupFocusReason &&
           event.reason() != Qt::MenuBarFocusReason;
}

QLineEdit *NewCellTextBox(FlexGrid *grid, KeyFilter filter) {
    auto *box = new QLineEdit(grid->parentWidget());
    box->setValidator(new FilterValidator(filter, box));
    box->setAttribute(Qt::WA_InputMethodEnabled, false); // characters are entered as they are typed
    box->setFrame(false);
    box->setAlignment(Qt::AlignCenter);
    box->setContextMenuPolicy(Qt::NoContextMenu);
    return box;
}

CellEditor::CellEditor(FlexGrid *grid, QWidget *control) : QObject(control), grid_(grid), control_(control) {
    control_->hide();
    control_->installEventFilter(this);
}

void CellEditor::Open(const QRect &place) {
    row_ = grid_->Row();
    col_ = grid_->Col();
    savedCellText_ = grid_->CellText(row_, col_);
    isOpen_ = true;
    control_->setFont(grid_->font());
    Place(place);
    control_->show();
    control_->raise();
    control_->setFocus();
}

void CellEditor::Place(const QRect &place) {
    control_->setGeometry(place);
    const QRect cell = grid_->CellRect(row_, col_);
    if (cell.contains(place)) {
        const QRect inFrame = cell.adjusted(CellFrame, CellFrame, -CellFrame, -CellFrame);
        control_->setMask(inFrame.intersected(place).translated(-place.topLeft()));
    }
}

void CellEditor::Close() {
    isOpen_ = false; // the focus that hiding takes away must not be reported
    control_->hide();
}

void CellEditor::Abandon() {
    if (!isOpen_)
        return;
    Close();
    grid_->SetCellText(row_, col_, savedCellText_);
    grid_->setFocus();
}

bool CellEditor::eventFilter(QObject *watched, QEvent *event) {
    if (watched != control_ || !isOpen_)
        return false;
    bool swallow = false;
    if (event->type() == QEvent::KeyPress) {
        const auto &key = *static_cast<QKeyEvent *>(event);
        swallow = key.key() == Qt::Key_Escape && !IsChord(key);
        if (swallow)
            Abandon();
        else
            emit KeyPressed(key, swallow);
    } else if (event->type() == QEvent::FocusOut && LeavesForGood(*static_cast<QFocusEvent *>(event)) &&
               !HoldsFocus(control_)) {
        emit FocusLeft();
    }
    return swallow;
}

} // namespace k470
