#pragma once

#include "core/AppState.h"
#include "ui/service/ServiceDialog.h"

#include <array>

class QKeyEvent;
class QLabel;

namespace k470 {

class LimitBox;

/// The custom frequency range: limits of 130 to 490 MHz, 1 to 100 MHz apart. Once confirmed they become the
/// band in force, which erases the channels.
class frmSetFreqRange : public ServiceDialog {
    Q_OBJECT

public:
    frmSetFreqRange(AppState &state, QWidget *owner);

signals:
    /// The band in force is another one and the channels are erased, in state and image. The dialog is still
    /// open.
    void BandChanged();

private:
    void Form_Load();
    void TxtFreq_GotFocus(std::size_t index);
    void TxtFreq_KeyPress(std::size_t index, const QKeyEvent *key, bool &swallow);
    /// Corrects both limits, whichever box is left.
    void TxtFreq_Validate();
    void cmdOK_Click();
    void cmdCancel_Click();

    void AddLimit(std::size_t index, QWidget *frame);
    double Limit(std::size_t index) const;
    bool ConfirmErase();

    AppState &state_;
    std::array<QLabel *, 2> lblFreq_{}; ///< low, high
    std::array<LimitBox *, 2> txtFreq_{};
};

} // namespace k470
