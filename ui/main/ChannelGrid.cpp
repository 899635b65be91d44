#include "ui/main/ChannelGrid.h"

#include "ui/shared/Texts.h"

#include <QSignalBlocker>

namespace k470 {

namespace {

constexpr int HeaderHeight = 500; // twips
constexpr int HeaderPoints = 10;
constexpr int NumberPoints = 12;
constexpr QRgb HeaderColour = qRgb(0x13, 0x3A, 0x95);
constexpr QRgb NumberColour = qRgb(0, 0, 0xFF);

} // namespace

ChannelGrid::ChannelGrid(QWidget *parent) : FlexGrid(1, 0, parent) {
    setObjectName("ChannelGrid");
}

void ChannelGrid::LayOut(int rows) {
    SetRows(rows);
    SetCols(GridCols);
    SetRowHeight(0, HeaderHeight);
    for (int col = 0; col < GridCols; ++col) {
        SetColWidth(col, ChannelColumns[static_cast<std::size_t>(col)].width);
        SetCellColor(0, col, QColor(HeaderColour));
        SetCellFontSize(0, col, HeaderPoints);
    }
    for (int row = 1; row < rows; ++row)
        SetCellColor(row, ColNumber, QColor(NumberColour));
}

void ChannelGrid::SetChannelRows(int rows) {
    // Rows that go and the first cell that becomes current may scroll the grid; that ends no edit and takes
    // no focus.
    const QSignalBlocker quiet(this);
    SetRows(rows);
    SetCols(GridCols);
    for (int row = 1; row < rows; ++row) {
        SetCellText(row, ColNumber, QString::number(row));
        SetCellFontSize(row, ColNumber, NumberPoints);
    }
    SetCurrent(1, 1);
}

void ChannelGrid::SetHeaders(Language language) {
    for (int col = 0; col < GridCols; ++col)
        SetCellText(0, col, ToQt(ColumnHeader(col, language)));
}

RowTexts ChannelGrid::TextsOf(int row) const {
    RowTexts texts;
    for (int col = ColRxFreq; col < GridCols; ++col)
        texts[static_cast<std::size_t>(col)] = FromQt(CellText(row, col));
    return texts;
}

void ChannelGrid::SetTexts(int row, const RowTexts &texts) {
    for (int col = ColRxFreq; col < GridCols; ++col)
        SetCellText(row, col, ToQt(texts[static_cast<std::size_t>(col)]));
}

void ChannelGrid::CorrectColumn(int row) {
    const int entered = EnteredColumn(TextsOf(row), Col());
    if (entered != Col())
        SetCurrent(row, entered);
}

void ChannelGrid::AdvanceFromFrequency(int row, int col) {
    SetCurrent(row, col + 1);
}

void ChannelGrid::AdvanceFromChoice(int row, int col) {
    do {
        if (col == ColRxTone && CellText(row, ColTxTone).isEmpty()) {
            col = ColPower;
        } else if (col == GridCols - 1) {
            col = ColRxFreq;
            row = row == Rows() - 1 ? 1 : row + 1;
        } else {
            ++col;
        }
    } while (ColWidth(col) == 0);
    SetCurrent(row, col);
}

} // namespace k470
