#pragma once

#include "core/AppState.h"
#include "ui/service/ServiceDialog.h"

#include <array>

class QGroupBox;

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
    void AddLimit(std::size_t index, QWidget *frame, double limit);
    void TxtFreq_Validate();
    double Limit(std::size_t index) const;
    bool ConfirmErase();
    void Apply();

    AppState &state_;
    RangeHost &host_;
    std::array<LimitBox *, 2> txtFreq_{}; ///< low, high
};

} // namespace k470
