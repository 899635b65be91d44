#include "ui/main/ChannelEditors.h"

#include "core/Tones.h"
#include "ui/main/ChannelGrid.h"
#include "ui/shared/CellEditor.h"
#include "ui/shared/Keys.h"
#include "ui/shared/Messages.h"
#include "ui/shared/Texts.h"
#include "ui/shared/Twips.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QLineEdit>

namespace k470 {

namespace {

constexpr int MaxFrequencyLength = 9;
constexpr int TextInset = 20;    // twips by which the text box is smaller than its cell
constexpr int ComboOverlap = 20; // twips by which a combo box reaches over its cell
constexpr auto EnterKey = "\r";

constexpr int ToneEditor = 0;
constexpr int ChoiceEditor = 1;

/// Decides about a character of a frequency.
std::optional<char> FilterFrequencyKey(std::string_view, bool, char key) {
    const bool accepted = (key >= '0' && key <= '9') || key == '.' || key == ',';
    return accepted ? std::optional(key) : std::nullopt;
}

/// A key with a character that the grid tells nobody of.
bool IsSilentKey(const QKeyEvent &event) {
    return event.key() == Qt::Key_Backspace || event.key() == Qt::Key_Escape;
}

} // namespace

ChannelEditors::ChannelEditors(AppState &state, ChannelGrid *grid)
    : QObject(grid), state_(state), grid_(grid), txtChannel_(NewCellTextBox(grid, FilterFrequencyKey)),
      textEditor_(new CellEditor(grid, txtChannel_)) {
    txtChannel_->setObjectName("TxtChannel");
    txtChannel_->setMaxLength(MaxFrequencyLength);
    connect(textEditor_, &CellEditor::KeyPressed, this, &ChannelEditors::TxtChannel_KeyPress);
    connect(textEditor_, &CellEditor::FocusLeft, this, [this] { TxtChannel_Validate(Warning::Later); });
    for (const int index : {ToneEditor, ChoiceEditor})
        MakeCombo(index);
    // Every character of a tone passes the key filter: an input method would bring them past it.
    cboChannel_[ToneEditor]->setAttribute(Qt::WA_InputMethodEnabled, false);
    ConnectGrid();
}

void ChannelEditors::MakeCombo(int index) {
    auto *combo = new QComboBox(grid_->parentWidget());
    combo->setObjectName(QString("CboChannel(%1)").arg(index));
    combo->setEditable(true);
    combo->setCompleter(nullptr);
    combo->setInsertPolicy(QComboBox::NoInsert);
    combo->setMinimumWidth(0);
    combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    combo->lineEdit()->setContextMenuPolicy(Qt::NoContextMenu);
    combo->lineEdit()->setAcceptDrops(false);
    auto *editor = new CellEditor(grid_, combo);
    connect(editor, &CellEditor::KeyPressed, this,
            [this, index](const QKeyEvent &key, bool &swallow) { CboChannel_KeyPress(index, key, swallow); });
    connect(editor, &CellEditor::FocusLeft, this, [this, index] { CboChannel_Validate(index); });
    cboChannel_[static_cast<std::size_t>(index)] = combo;
    comboEditors_[static_cast<std::size_t>(index)] = editor;
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
    QComboBox *tones = cboChannel_[ToneEditor];
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
    const QString text = grid_->CellText(grid_->Row(), grid_->Col());
    switch (ChannelColumns[static_cast<std::size_t>(grid_->Col())].editor) {
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
    ShowEditor(textEditor_, txtChannel_);
    txtChannel_->selectAll();
}

void ChannelEditors::OpenToneEditor(const QString &text) {
    if (text.isEmpty())
        return; // a tone without its frequency
    QComboBox *tones = cboChannel_[ToneEditor];
    tones->setItemText(0, ResText(state_.language, Text::None));
    tones->setCurrentIndex(tones->findText(text));
    tones->setEditText(text);
    ShowEditor(comboEditors_[ToneEditor], tones);
    tones->lineEdit()->selectAll();
}

void ChannelEditors::OpenChoiceEditor(const QString &text) {
    QComboBox *choices = cboChannel_[ChoiceEditor];
    choices->clear();
    for (const std::string &choice : ColumnChoices(grid_->Col(), state_.language))
        choices->addItem(ToQt(choice));
    choices->setCurrentIndex(choices->findText(text));
    choices->setEditText(text);
    ShowEditor(comboEditors_[ChoiceEditor], choices);
    choices->lineEdit()->selectAll();
}

void ChannelEditors::ShowEditor(CellEditor *editor, QWidget *control) {
    const int row = grid_->Row();
    const int col = grid_->Col();
    control->setAccessibleName(grid_->CellText(0, col).simplified() + " " + grid_->CellText(row, ColNumber));
    editor->Open(PlaceOf(editor, row, col));
}

QRect ChannelEditors::PlaceOf(const CellEditor *editor, int row, int col) const {
    const QRect cell = grid_->CellRect(row, col);
    const int inset = TwipsToPixels(TextInset, grid_);
    const int overlap = TwipsToPixels(ComboOverlap, grid_);
    return editor == textEditor_ ? cell.adjusted(0, 0, -inset, -inset)
                                 : cell.adjusted(-overlap, -overlap, 0, overlap);
}

void ChannelEditors::EndOpenEdit() {
    if (textEditor_->IsOpen())
        TxtChannel_Validate();
    for (const int index : {ToneEditor, ChoiceEditor})
        if (comboEditors_[static_cast<std::size_t>(index)]->IsOpen())
            CboChannel_Validate(index);
}

void ChannelEditors::TransferFocus() {
    EndOpenEdit();
    grid_->setFocus();
}

void ChannelEditors::TxtChannel_Validate(Warning warning) {
    const QString typed = txtChannel_->text();
    textEditor_->Close();
    if (textEditor_->Col() == ColRxFreq)
        setChannelRx(textEditor_->Row(), typed, warning);
    else
        setChannelTx(textEditor_->Row(), typed, warning);
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
    CellEditor *editor = comboEditors_[static_cast<std::size_t>(index)];
    grid_->SetCellText(editor->Row(), editor->Col(), text);
    editor->Close();
}

void ChannelEditors::TxtChannel_KeyPress(const QKeyEvent &key, bool &swallow) {
    swallow = IsEnter(key) && !IsChord(key);
    if (!swallow)
        return; // the text box itself filters what other keys enter
    TxtChannel_Validate();
    grid_->setFocus();
    grid_->AdvanceFromFrequency(textEditor_->Row(), textEditor_->Col());
}

void ChannelEditors::CboChannel_KeyPress(int index, const QKeyEvent &key, bool &swallow) {
    if (IsEnter(key) && !IsChord(key)) {
        swallow = true;
        CboChannel_Validate(index);
        grid_->setFocus();
        const CellEditor *editor = comboEditors_[static_cast<std::size_t>(index)];
        grid_->AdvanceFromChoice(editor->Row(), editor->Col());
        return;
    }
    const bool isText = IsPrintable(key) && !IsChord(key);
    swallow = index == ToneEditor && (isText || key.matches(QKeySequence::Paste));
    if (swallow && isText)
        EnterToneKey(key.text().front().toLatin1());
}

void ChannelEditors::EnterToneKey(char key) {
    QLineEdit *edit = cboChannel_[ToneEditor]->lineEdit();
    const bool allSelected = edit->selectedText() == edit->text();
    if (const auto accepted = FilterToneKey(FromQt(edit->text()), allSelected, key))
        edit->insert(QString(QLatin1Char(*accepted)));
}

bool ChannelEditors::eventFilter(QObject *watched, QEvent *event) {
    if (watched == grid_ && event->type() == QEvent::Resize) {
        for (CellEditor *editor : {textEditor_, comboEditors_[ToneEditor], comboEditors_[ChoiceEditor]})
            if (editor->IsOpen())
                editor->Place(PlaceOf(editor, editor->Row(), editor->Col()));
    } else if (watched == grid_ && event->type() == QEvent::KeyPress) {
        if (IsSilentKey(*static_cast<QKeyEvent *>(event)))
            grid_->CorrectColumn(state_.currentRow);
    } else if (watched == grid_->parentWidget() && event->type() == QEvent::Wheel) {
        QCoreApplication::sendEvent(grid_->viewport(), event); // the editors leave it unused
        return true;
    }
    return false;
}

} // namespace k470
