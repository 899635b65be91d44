#include "ui/service/frmAdv.h"

#include "ui/shared/CellEditor.h"
#include "ui/shared/FlexGrid.h"
#include "ui/shared/Keys.h"
#include "ui/shared/Texts.h"
#include "ui/shared/ThemedIcon.h"
#include "ui/shared/Twips.h"

#include <QLineEdit>
#include <QPushButton>

#include <algorithm>

namespace k470 {

namespace {

constexpr int ClientWidth = 12210; // twips, as all below
constexpr int ClientHeight = 2055;
constexpr Place GridPlace{120, 120, TuneGridWidth, TuneGridHeight};
constexpr Place OkPlace{4838, 1560, 1095, 375};
constexpr Place CancelPlace{6278, 1560, 1095, 375};
constexpr int EditorTop = 30; // of the editor in its cell
constexpr int EditorInset = 80;

constexpr QSize CellEdges(5, 1); // pixels of a cell that its text leaves free
constexpr auto WidestCaption = "555M";

constexpr TextPair Caption{" Tune", " 电调"};
constexpr TextPair Levels{"Tuning levels", "电调值"};
constexpr QRgb CaptionColour = qRgb(19, 58, 149);
constexpr QRgb ZeroColour = qRgb(255, 0, 0);

TuneLevel LevelOfRow(int row) {
    return row == SquelchRow ? TuneLevel::Squelch : TuneLevel::Noise;
}

} // namespace

frmAdv::frmAdv(AppState &state, QWidget *owner)
    : ServiceDialog("frmAdv", ClientWidth, ClientHeight, EscapeKey::DoesNothing, owner), state_(state),
      tunGrid_(new FlexGrid(1, 1, this)), txtTun_(NewCellTextBox(tunGrid_, FilterLevelKey)),
      editor_(new CellEditor(tunGrid_, txtTun_)) {
    tunGrid_->setObjectName("TunGrid");
    txtTun_->setObjectName("TxtTun");
    connect(tunGrid_, &FlexGrid::CellKeyPressed, this, &frmAdv::TunGrid_KeyPress);
    connect(tunGrid_, &FlexGrid::CellMouseUp, this, &frmAdv::TunGrid_MouseUp);
    connect(editor_, &CellEditor::KeyPressed, this, &frmAdv::TxtTun_KeyPress);
    connect(editor_, &CellEditor::FocusLeft, this, &frmAdv::TxtTun_Validate);
    const auto *ok = AddButton("cmdOK", PickText(state.language, OkCaption), OkPlace);
    const auto *cancel = AddButton("Command2", PickText(state.language, CancelCaption), CancelPlace);
    connect(ok, &QPushButton::clicked, this, &frmAdv::cmdOK_Click);
    connect(cancel, &QPushButton::clicked, this, &frmAdv::Command2_Click);
    Form_Load();
}

void frmAdv::Form_Load() {
    setWindowIcon(ThemedIcon(":/icons/k470.svg", palette()));
    setWindowTitle(ToQt(ModelWord) + PickText(state_.language, Caption));
    tunGrid_->setAccessibleName(PickText(state_.language, Levels));
    tuneData_ = LoadTuneData(state_.image);
    RefreshTun();
    RefreshFace();
    RefreshTunDatas();
    tunGrid_->setFocus();
}

void frmAdv::RefreshTun() {
    layout_ = LayOutTuning(state_.bandLow, state_.bandHigh);
    tunGrid_->setGeometry(PlaceInPixels(GridPlace, this));
    tunGrid_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    tunGrid_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    tunGrid_->SetCols(TuneCols);
    tunGrid_->SetRows(TuneRows);
    tunGrid_->SetColWidth(0, TuneCaptionWidth);
    for (int row = 0; row < TuneRows; ++row)
        tunGrid_->SetCellColor(row, 0, QColor(CaptionColour));
    for (int col = 1; col < TuneCols; ++col) {
        const TuneColumn &column = ColumnAt(layout_, col);
        tunGrid_->SetCellColor(TuneCaptionRow, col, QColor(CaptionColour));
        tunGrid_->SetCellText(TuneCaptionRow, col, ToQt(column.caption));
        tunGrid_->SetColWidth(col, column.width);
        for (int row = SquelchRow; row < TuneRows; ++row)
            tunGrid_->SetCellEnabled(row, col, TuneIndex(LevelOfRow(row), column.segment).has_value());
    }
    FitCells();
    const TuneCell first = NextTuneCell(layout_, {SquelchRow, 0});
    tunGrid_->SetCurrent(first.row, first.col);
}

/// The stated widths and heights add up to the size of the grid and leave nothing for its frame. What the
/// frame takes, and what whole pixels add, is spread over the cells, so that the last ones are not cut.
void frmAdv::FitCells() {
    const int frame = 2 * tunGrid_->frameWidth();
    const int height = tunGrid_->height() - frame;
    const int width = tunGrid_->width() - frame - TwipsToPixels(TuneCaptionWidth, this);
    const auto part = [](int whole, int count, int i) { return whole * (i + 1) / count - whole * i / count; };
    constexpr int TwipsPerInch = 1440;
    for (int row = 0; row < TuneRows; ++row)
        tunGrid_->SetRowHeight(row, part(height, TuneRows, row) * TwipsPerInch / tunGrid_->logicalDpiY());
    if (layout_.segmentCount > 0) {
        const QSize caption(width / layout_.segmentCount, height / TuneRows);
        tunGrid_->setFont(FittingFont(tunGrid_->font(), WidestCaption, caption - CellEdges));
    }
    for (int col = 1; col <= layout_.segmentCount; ++col)
        if (tunGrid_->ColWidth(col) > 0)
            tunGrid_->setColumnWidth(col - 1, part(width, layout_.segmentCount, col - 1));
}

void frmAdv::RefreshFace() {
    tunGrid_->SetCellText(SquelchRow, 0, "SQ");
    tunGrid_->SetCellText(NoiseRow, 0, "Noise");
}

void frmAdv::RefreshTunDatas() {
    for (int col = 1; col <= layout_.segmentCount; ++col)
        for (int row = SquelchRow; row < TuneRows; ++row)
            tunGrid_->SetCellText(
                row, col, ToQt(GetTuneText(tuneData_, LevelOfRow(row), ColumnAt(layout_, col).segment)));
}

void frmAdv::ReadTuneGrid() {
    for (int col = 1; col <= layout_.segmentCount; ++col)
        for (int row = SquelchRow; row < TuneRows; ++row)
            SetTuneText(tuneData_, LevelOfRow(row), ColumnAt(layout_, col).segment,
                        FromQt(tunGrid_->CellText(row, col)));
}

void frmAdv::TunGrid_KeyPress(const QString &text) {
    if (text == "\r") {
        BeginTunEdit();
    } else if (text.size() == 1 && FilterLevelKey("", false, text.front().toLatin1())) {
        BeginTunEdit();
        if (editor_->IsOpen())
            txtTun_->setText(text);
    }
}

void frmAdv::TunGrid_MouseUp(Qt::MouseButton button) {
    if (button == Qt::LeftButton)
        BeginTunEdit();
}

void frmAdv::BeginTunEdit() {
    const int row = tunGrid_->Row();
    const int col = tunGrid_->Col();
    if (!tunGrid_->IsCellSelectable(row, col))
        return;
    txtTun_->setAccessibleName(tunGrid_->CellText(row, 0) + " " + tunGrid_->CellText(TuneCaptionRow, col));
    PlaceEditor(tunGrid_->CellRect(row, col));
}

/// The stated place is not in the middle of the cell; margins let the text stay where it is in the grid.
void frmAdv::PlaceEditor(const QRect &cell) {
    const int top = TwipsToPixels(EditorTop, this);
    const int inset = TwipsToPixels(EditorInset, this);
    txtTun_->setTextMargins(inset, std::max(0, inset - 2 * top), 0, 0);
    txtTun_->setText(tunGrid_->CellText(tunGrid_->Row(), tunGrid_->Col()));
    editor_->Open({cell.left(), cell.top() + top, cell.width() - inset, cell.height() - inset});
    txtTun_->selectAll();
}

void frmAdv::TxtTun_KeyPress(const QKeyEvent &key, bool &swallow) {
    if (!IsEnter(key))
        return;
    swallow = true;
    TxtTun_Validate();
    tunGrid_->setFocus();
    MoveOn();
}

void frmAdv::MoveOn() {
    const TuneCell next = NextTuneCell(layout_, {tunGrid_->Row(), tunGrid_->Col()});
    tunGrid_->SetCurrent(next.row, next.col);
}

void frmAdv::TxtTun_Validate() {
    editor_->Close();
    const std::string level = NormalizeTuneLevel(FromQt(txtTun_->text()));
    const auto ground = level == "0" ? std::optional(QColor(ZeroColour)) : std::nullopt;
    tunGrid_->SetCellBackColor(editor_->Row(), editor_->Col(), ground);
    tunGrid_->SetCellText(editor_->Row(), editor_->Col(), ToQt(level));
}

void frmAdv::CommitOpenEditors() {
    if (editor_->IsOpen())
        TxtTun_Validate();
}

void frmAdv::mousePressEvent(QMouseEvent *) {
    Form_Click();
}

void frmAdv::Form_Click() {
    if (!editor_->IsOpen())
        return;
    CommitOpenEditors();
    tunGrid_->setFocus();
}

void frmAdv::cmdOK_Click() {
    CommitOpenEditors();
    ReadTuneGrid();
    StoreTuneData(state_.image, tuneData_);
    accept();
}

void frmAdv::Command2_Click() {
    reject();
}

} // namespace k470
