#include "ui/main/ChannelEditors.h"

#include "core/Tones.h"
#include "ui/main/ChannelGrid.h"
#include "ui/shared/CellEditor.h"
#include "ui/shared/Messages.h"
#include "ui/shared/Texts.h"
#include "ui/shared/Twips.h"

#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QRegularExpressionValidator>

namespace k470 {

namespace {

constexpr int MaxFrequencyLength = 9;
constexpr int TextInset = 20;    // twips by which the text box is smaller than its cell
constexpr int ComboOverlap = 20; // twips by which a combo box reaches over its cell
constexpr auto EnterKey = "\r";

constexpr int ToneEditor = 0;
constexpr int ChoiceEditor = 1;

/// A key as its character: Enter as "\r", Backspace as "\b", Escape as "\x1b", "" for keys without one.
QString KeyText(const QKeyEvent &event) {
    switch (event.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return EnterKey;
    default:
        return event.text();
    }
}

bool IsPrintable(const QString &text) {
    return !text.isEmpty() && text.front().isPrint();
}

/// A key with a character that the grid tells nobody of.
bool IsSilentKey(const QKeyEvent &event) {
    return event.key() == Qt::Key_Backspace || event.key() == Qt::Key_Escape;
}

/// Whether the focus is in the editor or in the list that it has opened. The first opening of a list moves
/// the focus into it for no reason that tells a list from another control.
bool HoldsFocus(const QWidget *editor) {
    const QObject *holder = QApplication::focusWidget();
    while (holder != nullptr && holder != editor)
        holder = holder->parent();
    return holder != nullptr;
}

} // namespace

ChannelEditors::ChannelEditors(AppState &state, ChannelGrid *grid)
    : QObject(grid), state_(state), grid_(grid), txtChannel_(new QLineEdit(grid->parentWidget())) {
    txtChannel_->setObjectName("TxtChannel");
    txtChannel_->setMaxLength(MaxFrequencyLength);
    // What comes without a key, from the clipboard or an input method, meets the same filter.
    txtChannel_->setValidator(new QRegularExpressionValidator(QRegularExpression("[0-9.,]*"), txtChannel_));
    txtChannel_->setFrame(false);
    txtChannel_->setAlignment(Qt::AlignCenter);
    txtChannel_->setContextMenuPolicy(Qt::NoContextMenu);
    txtChannel_->hide();
    txtChannel_->installEventFilter(this);
    for (std::size_t i = 0; i < cboChannel_.size(); ++i) {
        auto *combo = new QComboBox(grid->parentWidget());
        combo->setObjectName(QString("CboChannel(%1)").arg(i));
        combo->setEditable(true);
        combo->setCompleter(nullptr);
        combo->setInsertPolicy(QComboBox::NoInsert);
        combo->setMinimumWidth(0);
        combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        combo->lineEdit()->setContextMenuPolicy(Qt::NoContextMenu);
        combo->lineEdit()->setAcceptDrops(false);
        combo->hide();
        combo->installEventFilter(this);
        cboChannel_[i] = combo;
    }
    // Every character of a tone passes the key filter: an input method would bring them past it.
    cboChannel_[0]->setAttribute(Qt::WA_InputMethodEnabled, false);
    ConnectGrid();
}

void ChannelEditors::ConnectGrid() {
    connect(grid_, &FlexGrid::CellEntered, this, &ChannelEditors::ChannelGrid_EnterCell);
    connect(grid_, &FlexGrid::Scrolled, this, &ChannelEditors::ChannelGrid_Scroll);
    connect(grid_, &FlexGrid::CellKeyPressed, this, &ChannelEditors::ChannelGrid_KeyPress);
    connect(grid_, &FlexGrid::CellMouseUp, this, &ChannelEditors::ChannelGrid_MouseUp);
    grid_->installEventFilter(this);
    grid_->parentWidget()->installEventFilter(this);
}

void ChannelEditors::FillToneList() {
    QComboBox *tones = cboChannel_[0];
    tones->clear();
    tones->addItems(ToQt(state_.toneList)); // at once: each insertion costs time at the start
}

void ChannelEditors::ChannelGrid_EnterCell(int row, int col) {
    state_.currentRow = static_cast<std::uint8_t>(row);
    state_.currentCol = static_cast<std::uint8_t>(col);
}

void ChannelEditors::ChannelGrid_Scroll() {
    TransferFocus();
}

void ChannelEditors::ChannelGrid_MouseUp(Qt::MouseButton button) {
    if (button != Qt::LeftButton || grid_->Row() == 0)
        return;
    grid_->CorrectColumn(grid_->Row());
    OpenCellEditor();
}

void ChannelEditors::ChannelGrid_KeyPress(const QString &text) {
    if (grid_->Row() == 0)
        return;
    grid_->CorrectColumn(state_.currentRow);
    const bool startsNumber = text.size() == 1 && (text == "." || (text >= "0" && text <= "9"));
    if (text == EnterKey) {
        OpenCellEditor();
    } else if (startsNumber && (grid_->Col() == ColRxFreq || grid_->Col() == ColTxFreq)) {
        OpenCellEditor();
        txtChannel_->setText(text);
    }
}

void ChannelEditors::OpenCellEditor() {
    if (grid_->Row() == 0)
        return;
    EndOpenEdit();
    ChannelGrid_EnterCell(grid_->Row(), grid_->Col());
    row_ = grid_->Row();
    col_ = grid_->Col();
    const QString text = grid_->CellText(row_, col_);
    switch (ChannelColumns[static_cast<std::size_t>(col_)].editor) {
    case GridColumn::Editor::None:
        break;
    case GridColumn::Editor::Frequency:
        OpenTextEditor(text);
        break;
    case GridColumn::Editor::Tone:
        OpenToneEditor(text);
        break;
    case GridColumn::Editor::Choice:
        OpenChoiceEditor(text);
        break;
    }
}

void ChannelEditors::OpenTextEditor(const QString &text) {
    txtChannel_->setText(text);
    ShowEditor(txtChannel_);
    txtChannel_->selectAll();
}

void ChannelEditors::OpenToneEditor(const QString &text) {
    if (text.isEmpty())
        return; // a tone without its frequency
    QComboBox *tones = cboChannel_[0];
    tones->setItemText(0, ResText(state_.language, Text::None));
    tones->setCurrentIndex(tones->findText(text));
    tones->setEditText(text);
    ShowEditor(tones);
    tones->lineEdit()->selectAll();
}

void ChannelEditors::OpenChoiceEditor(const QString &text) {
    QComboBox *choices = cboChannel_[1];
    choices->clear();
    for (const std::string &choice : ColumnChoices(col_, state_.language))
        choices->addItem(ToQt(choice));
    choices->setCurrentIndex(choices->findText(text));
    choices->setEditText(text);
    ShowEditor(choices);
    choices->lineEdit()->selectAll();
}

void ChannelEditors::ShowEditor(QWidget *editor) {
    open_ = editor;
    editor->setAccessibleName(grid_->CellText(0, col_).simplified() + " " + grid_->CellText(row_, ColNumber));
    PlaceEditor();
    editor->show();
    editor->raise();
    editor->setFocus();
}

void ChannelEditors::PlaceEditor() {
    QRect place = grid_->CellRect(row_, col_);
    if (open_ == txtChannel_) {
        const int inset = TwipsToPixels(TextInset, grid_);
        place.adjust(0, 0, -inset, -inset);
    } else {
        const int overlap = TwipsToPixels(ComboOverlap, grid_);
        place.adjust(-overlap, -overlap, 0, overlap);
    }
    open_->setGeometry(place);
}

void ChannelEditors::HideEditor() {
    QWidget *editor = open_;
    open_ = nullptr; // the focus that hiding takes away must not end the edit once more
    if (editor != nullptr)
        editor->hide();
}

void ChannelEditors::AbandonEdit() {
    HideEditor();
    grid_->setFocus();
}

void ChannelEditors::EndOpenEdit() {
    if (open_ == txtChannel_)
        TxtChannel_Validate();
    else if (open_ == cboChannel_[0])
        CboChannel_Validate(ToneEditor);
    else if (open_ == cboChannel_[1])
        CboChannel_Validate(ChoiceEditor);
}

void ChannelEditors::TransferFocus() {
    EndOpenEdit();
    grid_->setFocus();
}

void ChannelEditors::TxtChannel_Validate(Warning warning) {
    const QString typed = txtChannel_->text();
    HideEditor();
    if (col_ == ColRxFreq)
        setChannelRx(row_, typed, warning);
    else
        setChannelTx(row_, typed, warning);
}

void ChannelEditors::setChannelRx(int row, const QString &typed, Warning warning) {
    RowTexts texts = grid_->TextsOf(row);
    if (SetRowRx(texts, FromQt(typed), state_))
        WarnOutOfRange(warning);
    grid_->SetTexts(row, texts);
}

void ChannelEditors::setChannelTx(int row, const QString &typed, Warning warning) {
    RowTexts texts = grid_->TextsOf(row);
    if (SetRowTx(texts, FromQt(typed), state_))
        WarnOutOfRange(warning);
    grid_->SetTexts(row, texts);
}

void ChannelEditors::WarnOutOfRange(Warning warning) {
    const auto show = [this] {
        ShowMessage(grid_->window(), QMessageBox::Warning, ResText(state_.language, Text::Caution),
                    ResText(state_.language, Text::OutOfRange));
    };
    if (warning == Warning::AtOnce)
        show();
    else // a focus change is under way: a message box now would get in between
        QMetaObject::invokeMethod(this, show, Qt::QueuedConnection);
}

void ChannelEditors::CboChannel_Validate(int index) {
    const QString typed = cboChannel_[static_cast<std::size_t>(index)]->currentText();
    const QString text = index == ToneEditor ? ToQt(NormalizeTone(FromQt(typed), state_.language)) : typed;
    grid_->SetCellText(row_, col_, text);
    HideEditor();
}

bool ChannelEditors::TxtChannel_KeyPress(const QString &key) {
    if (key == EnterKey) {
        TxtChannel_Validate();
        grid_->setFocus();
        grid_->AdvanceFromFrequency(row_, col_);
        return true;
    }
    if (!IsPrintable(key))
        return false;
    const QChar c = key.front();
    const bool accepted = (c >= '0' && c <= '9') || c == '.' || c == ',';
    return !accepted;
}

bool ChannelEditors::CboChannel_KeyPress(int index, const QString &key) {
    if (key == EnterKey) {
        CboChannel_Validate(index);
        grid_->setFocus();
        grid_->AdvanceFromChoice(row_, col_);
        return true;
    }
    if (index != ToneEditor || !IsPrintable(key))
        return false;
    QLineEdit *edit = cboChannel_[0]->lineEdit();
    const bool allSelected = edit->selectedText() == edit->text();
    const auto accepted = FilterToneKey(FromQt(edit->text()), allSelected, key.front().toLatin1());
    if (accepted)
        edit->insert(QString(QLatin1Char(*accepted)));
    return true;
}

bool ChannelEditors::EditorKey(QWidget *editor, int key, const QString &text) {
    if (key == Qt::Key_Escape) {
        AbandonEdit();
        return true;
    }
    if (editor == txtChannel_)
        return TxtChannel_KeyPress(text);
    return CboChannel_KeyPress(editor == cboChannel_[0] ? ToneEditor : ChoiceEditor, text);
}

bool ChannelEditors::eventFilter(QObject *watched, QEvent *event) {
    if (watched == grid_) {
        if (event->type() == QEvent::Resize && open_ != nullptr)
            PlaceEditor();
        if (event->type() == QEvent::KeyPress && IsSilentKey(*static_cast<QKeyEvent *>(event)))
            grid_->CorrectColumn(state_.currentRow);
        return false;
    }
    if (watched == grid_->parentWidget() && event->type() == QEvent::Wheel) {
        QCoreApplication::sendEvent(grid_->viewport(), event); // the editors leave it unused
        return true;
    }
    if (watched != open_)
        return false;
    if (event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (open_ == cboChannel_[0] && key->matches(QKeySequence::Paste))
            return true;
        if ((key->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) != 0)
            return false;
        return EditorKey(open_, key->key(), KeyText(*key));
    }
    if (event->type() == QEvent::FocusOut) {
        const bool leavesForGood = LeavesForGood(*static_cast<QFocusEvent *>(event)) && !HoldsFocus(open_);
        if (leavesForGood && open_ == txtChannel_)
            TxtChannel_Validate(Warning::Later);
        else if (leavesForGood)
            EndOpenEdit();
    }
    return false;
}

} // namespace k470
