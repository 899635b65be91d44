#pragma once

#include "core/AppState.h"
#include "ui/service/ServiceDialog.h"

#include <array>

class QKeyEvent;
class QLabel;

namespace k470 {

class LimitBox;

/// What the range dialog asks of the main window when the band has changed.
class RangeHost {
public:
    virtual ~RangeHost() = default;
    /// Shows the channels of the image.
    virtual void RefreshChData() = 0;
    /// Shows caption and band.
    virtual void ShowTitle() = 0;
};

/// The custom frequency range: limits of 130 to 490 MHz, 1 to 100 MHz apart. Once confirmed they become the
/// band in force, which erases the channels.
class frmSetFreqRange : public ServiceDialog {
    Q_OBJECT

public:
    frmSetFreqRange(AppState &state, RangeHost &host, QWidget *owner);

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
    RangeHost &host_;
    std::array<QLabel *, 2> lblFreq_{}; ///< low, high
    std::array<LimitBox *, 2> txtFreq_{};
};

} // namespace k470
