#include "ui/service/frmMemoryMap.h"

#include "core/HexCells.h"
#include "core/NumberText.h"
#include "ui/shared/CellEditor.h"
#include "ui/shared/FlexGrid.h"
#include "ui/shared/Keys.h"
#include "ui/shared/Texts.h"
#include "ui/shared/Twips.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPalette>
#include <QPushButton>
#include <QScrollBar>

#include <algorithm>

namespace k470 {

namespace {

constexpr int ClientWidth = 8370; // twips, as all below
constexpr int ClientHeight = 5115;
constexpr int GridLeft = 105;
constexpr int GridTop = 120;
constexpr int GridWidth = 8175;
constexpr int RowHeight = 240;
constexpr Place AddressPlace{105, 4590, 1095, 300};
constexpr Place EqualsPlace{1320, 4600, 120, 280};
constexpr Place ValuePlace{1560, 4560, 1095, 300};
constexpr Place OkPlace{6000, 4560, 1100, 350};
constexpr Place CancelPlace{7173, 4560, 1100, 350};

constexpr int Rows = LineCount + 1;
constexpr int Cols = LineSize + 1;
constexpr int VisibleRows = 17;
constexpr int ExtraWidth = -2; // pixels that the grid differs from its design width
constexpr int ExtraHeight = 7; // pixels that it is higher than its visible rows
constexpr int FrameLine = 1;   // pixels of each line of its frame
constexpr std::size_t LongestLineCaption = 3;

constexpr QSize CellEdges(5, 1); // pixels of a cell that its text leaves free

constexpr TextPair Memory{"Memory", "存储器"};
constexpr TextPair AddressName{"Address", "地址"};
constexpr TextPair ValueName{"Value", "数值"};

int ColumnTwips(int parts) {
    return static_cast<int>(RoundHalfEven(parts * GridWidth / 19.0));
}

QString HexNumber(int number) {
    return QString::number(number, 16).toUpper();
}

} // namespace

frmMemoryMap::frmMemoryMap(AppState &state, QWidget *owner)
    : ServiceDialog("frmMemoryMap", ClientWidth, ClientHeight, EscapeKey::Cancels, owner), state_(state),
      msgMemory_(new FlexGrid(1, 1, this)), txtMemory_(NewCellTextBox(msgMemory_, FilterHexKey)),
      editor_(new CellEditor(msgMemory_, txtMemory_)), lblAddr_(new QLabel(this)),
      lblValue_(new QLabel(this)) {
    MakeGrid();
    MakeLabels();
    const auto *ok = AddButton("cmdOK", "&OK", OkPlace);
    const auto *cancel = AddButton("cmdCancel", "&Cancel", CancelPlace);
    connect(ok, &QPushButton::clicked, this, &frmMemoryMap::cmdOK_Click);
    connect(cancel, &QPushButton::clicked, this, &frmMemoryMap::cmdCancel_Click);
    ConnectEvents();
    Form_Load();
}

void frmMemoryMap::Form_Load() {
    setWindowTitle("Memory Map");
    FillGrid();
    msgMemory_->SetCurrent(1, 1);
    msgMemory_->setFocus();
}

void frmMemoryMap::MakeGrid() {
    const QSize cell(TwipsToPixels(ColumnTwips(1), this), TwipsToPixels(RowHeight, this));
    msgMemory_->setObjectName("msgMemory");
    msgMemory_->setAccessibleName(PickText(state_.language, Memory));
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSize(QFontInfo(msgMemory_->font()).pointSize());
    msgMemory_->setFont(FittingFont(font, HexCellText(0xFF).c_str(), cell - CellEdges));
    MakeFrame();
    msgMemory_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    msgMemory_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    msgMemory_->SetCols(Cols);
    msgMemory_->SetRows(Rows);
    for (int row = 0; row < Rows; ++row)
        msgMemory_->SetRowHeight(row, RowHeight);
    msgMemory_->SetColWidth(0, ColumnTwips(2));
    for (int col = 1; col < Cols; ++col)
        msgMemory_->SetColWidth(col, ColumnTwips(1));
    // A style with a broad scroll bar needs more than the stated width.
    const int needed = TwipsToPixels(ColumnTwips(2), this) + static_cast<int>(LineSize) * cell.width() +
                       2 * msgMemory_->frameWidth() + msgMemory_->verticalScrollBar()->sizeHint().width();
    msgMemory_->setGeometry(TwipsToPixels(GridLeft, this), TwipsToPixels(GridTop, this),
                            std::max(TwipsToPixels(GridWidth, this) + ExtraWidth, needed),
                            VisibleRows * cell.height() + ExtraHeight);
    txtMemory_->setObjectName("txtMemory");
}

/// The grid is drawn three-dimensional: three lines of frame take up what it is higher than its rows. Their
/// shades follow the window's ground, also where a dark theme states none.
void frmMemoryMap::MakeFrame() {
    msgMemory_->setFrameStyle(QFrame::Box | QFrame::Sunken);
    msgMemory_->setLineWidth(FrameLine);
    msgMemory_->setMidLineWidth(FrameLine);
    const QPalette shades(palette().color(QPalette::Window));
    QPalette framed;
    for (const auto role : {QPalette::Light, QPalette::Mid, QPalette::Dark})
        framed.setColor(role, shades.color(role));
    msgMemory_->setPalette(framed);
}

void frmMemoryMap::MakeLabels() {
    auto *equals = new QLabel("=", this);
    equals->setObjectName("Label1");
    equals->setGeometry(PlaceInPixels(EqualsPlace, this));
    lblAddr_->setObjectName("lblAddr");
    lblAddr_->setGeometry(PlaceInPixels(AddressPlace, this));
    lblAddr_->setAccessibleName(PickText(state_.language, AddressName));
    lblValue_->setObjectName("LblValue");
    lblValue_->setGeometry(PlaceInPixels(ValuePlace, this));
    lblValue_->setAccessibleName(PickText(state_.language, ValueName));
    // The three do not stand at the same height, their texts do: on the middle line of the first.
    const int middle = lblAddr_->y() + lblAddr_->height() / 2;
    for (QLabel *label : {lblAddr_, equals, lblValue_}) {
        const int below = 2 * (middle - label->y()) - label->height(); // of the label's own middle, doubled
        label->setContentsMargins(0, std::max(below, 0), 0, std::max(-below, 0));
        label->setAlignment(Qt::AlignVCenter | (label == lblAddr_ ? Qt::AlignRight : Qt::AlignLeft));
    }
}

void frmMemoryMap::FillGrid() {
    for (int row = 1; row < Rows; ++row) {
        const auto line = Line(state_.image, row - 1);
        msgMemory_->SetCellText(row, 0, HexNumber(row - 1));
        for (int col = 1; col < Cols; ++col)
            msgMemory_->SetCellText(row, col, ToQt(HexCellText(line[static_cast<std::size_t>(col - 1)])));
    }
    for (int col = 1; col < Cols; ++col)
        msgMemory_->SetCellText(0, col, HexNumber(col - 1));
}

void frmMemoryMap::ConnectEvents() {
    connect(msgMemory_, &FlexGrid::CellEntered, this, &frmMemoryMap::msgMemory_EnterCell);
    connect(msgMemory_, &FlexGrid::CellKeyPressed, this, &frmMemoryMap::msgMemory_KeyDown);
    connect(msgMemory_, &FlexGrid::CellMouseUp, this, &frmMemoryMap::msgMemory_MouseUp);
    connect(msgMemory_, &FlexGrid::Scrolled, this, &frmMemoryMap::msgMemory_Scroll);
    connect(editor_, &CellEditor::KeyPressed, this, &frmMemoryMap::txtMemory_KeyPress);
    connect(editor_, &CellEditor::FocusLeft, this, &frmMemoryMap::txtMemory_Validate);
    connect(editor_, &CellEditor::FocusLeft, this, &frmMemoryMap::txtMemory_LostFocus);
    msgMemory_->installEventFilter(this);
}

void frmMemoryMap::msgMemory_EnterCell() {
    const int row = msgMemory_->Row();
    const int col = msgMemory_->Col();
    lblAddr_->setText(msgMemory_->CellText(row, 0).left(LongestLineCaption) +
                      msgMemory_->CellText(0, col).right(1));
    lblValue_->setText(QString::number(HexCellByte(FromQt(msgMemory_->CellText(row, col)))));
}

void frmMemoryMap::msgMemory_KeyDown(const QString &text) {
    if (text == "\r") {
        BeginMemEdit(msgMemory_->Row(), msgMemory_->Col());
    } else if (text.size() == 1) {
        const auto digit = FilterHexKey("", false, text.front().toLatin1());
        if (!digit)
            return;
        BeginMemEdit(msgMemory_->Row(), msgMemory_->Col());
        if (editor_->IsOpen())
            txtMemory_->setText(QChar::fromLatin1(*digit));
    }
}

void frmMemoryMap::msgMemory_MouseUp(Qt::MouseButton button) {
    if (button == Qt::LeftButton)
        BeginMemEdit(msgMemory_->Row(), msgMemory_->Col());
}

/// The editor must not stay open over a cell that has scrolled away.
void frmMemoryMap::msgMemory_Scroll() {
    editor_->Abandon();
}

/// The grid hands texts on, which do not tell the keypad's separator from a comma.
bool frmMemoryMap::eventFilter(QObject *watched, QEvent *event) {
    if (watched == msgMemory_ && event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (key->key() == Qt::Key_Comma && key->modifiers() == Qt::KeypadModifier) {
            BeginMemEdit(msgMemory_->Row(), msgMemory_->Col());
            return true;
        }
    }
    return ServiceDialog::eventFilter(watched, event);
}

void frmMemoryMap::BeginMemEdit(int row, int col) {
    if (!msgMemory_->SetCurrent(row, col))
        return;
    txtMemory_->setAccessibleName(lblAddr_->text());
    txtMemory_->setText(msgMemory_->CellText(row, col));
    editor_->Open(msgMemory_->CellRect(row, col));
    txtMemory_->selectAll();
}

void frmMemoryMap::txtMemory_KeyPress(const QKeyEvent &key, bool &swallow) {
    if (!IsEnter(key))
        return;
    swallow = true;
    EndMemEdit();
    msgMemory_->setFocus();
    MoveOn();
}

void frmMemoryMap::MoveOn() {
    const int row = msgMemory_->Row();
    const int col = msgMemory_->Col();
    if (col < Cols - 1)
        msgMemory_->SetCurrent(row, col + 1);
    else if (row < Rows - 1)
        msgMemory_->SetCurrent(row + 1, 1);
}

void frmMemoryMap::txtMemory_Validate() {
    const std::string text = CompleteHexCell(FromQt(txtMemory_->text()));
    msgMemory_->SetCellText(editor_->Row(), editor_->Col(), ToQt(text));
    msgMemory_EnterCell();
}

void frmMemoryMap::txtMemory_LostFocus() {
    editor_->Close();
}

void frmMemoryMap::EndMemEdit() {
    txtMemory_Validate();
    editor_->Close();
}

void frmMemoryMap::cmdOK_Click() {
    if (editor_->IsOpen())
        EndMemEdit();
    for (int row = 1; row < Rows; ++row) {
        const auto line = Line(state_.image, row - 1);
        for (int col = 1; col < Cols; ++col)
            line[static_cast<std::size_t>(col - 1)] = HexCellByte(FromQt(msgMemory_->CellText(row, col)));
    }
    accept();
}

void frmMemoryMap::cmdCancel_Click() {
    reject();
}

} // namespace k470
