#pragma once

#include "core/ChannelRows.h"
#include "ui/shared/FlexGrid.h"

namespace k470 {

/// The grid of channels: a header row, and row r for channel r - 1. Its texts are the working copy of the
/// channels. It knows nothing of editors and of the image.
class ChannelGrid : public FlexGrid {
    Q_OBJECT

public:
    explicit ChannelGrid(QWidget *parent);

    /// Gives the grid its columns, sizes and colours. Rows that are added later keep the plain colour.
    /// @param rows channels and header row
    void LayOut(int rows);
    /// Numbers the rows and makes the first cell current, telling nobody.
    void SetChannelRows(int rows);
    void SetHeaders(Language language);

    /// The texts of a grid row. @param row 1 and up
    RowTexts TextsOf(int row) const;
    void SetTexts(int row, const RowTexts &texts);

    /// Makes another cell of the row current when the current column cannot be entered in it.
    void CorrectColumn(int row);
    /// Makes the cell current that follows a frequency or a choice after Enter.
    void AdvanceFromFrequency(int row, int col);
    void AdvanceFromChoice(int row, int col);
};

} // namespace k470
