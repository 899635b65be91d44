#pragma once

#include "core/AppState.h"
#include "core/Settings.h"

#include <QWidget>

#include <vector>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;

namespace k470 {

/// The frames beside the channel grid: the band and the channel count, and the function settings. Holds the
/// controls; what a choice does is the main window's.
class RadioPanel : public QWidget {
    Q_OBJECT

public:
    explicit RadioPanel(AppState &state, QWidget *parent);

    /// Writes every caption and list text in the language of the state; selections stay.
    /// The band part also makes the band just chosen the one in force in the state's previousBand.
    void ApplyBandCaptions();
    void ApplySettingCaptions();

    /// Selects a position of the band list without raising BandClicked.
    void SelectBand(int position);
    /// Selects the list position that a setting's byte shows, without raising ChannelCountClicked.
    void ShowSetting(const SettingShape &shape);
    /// Writes what a setting's control shows into its byte.
    void CollectSetting(const SettingShape &shape);
    /// Position selected in the channel count list, NoEntry when nothing is.
    int ChannelCountEntry() const;
    /// Rebuilds the working-channel list for that many channels and selects the first.
    void RebuildWorkingChannels(int channels);

signals:
    /// The user chose from the band list, be it the position that was selected already.
    void BandClicked(int position);
    void ChannelCountClicked();

private:
    void MakeModelFrame();
    void MakeFunctionFrame();
    QComboBox *MakeCombo(const SettingShape &shape, QWidget *frame);
    QCheckBox *MakeCheck(const SettingShape &shape, QWidget *frame);

    AppState &state_;
    QGroupBox *frame3_;
    QGroupBox *frame4_;
    QLabel *label2_ = nullptr;
    QComboBox *cobFreq_ = nullptr;
    // In the order of SettingShapes; a setting has a list or a check box.
    std::vector<QLabel *> labels_;
    std::vector<QComboBox *> combos_;
    std::vector<QCheckBox *> checks_;
};

} // namespace k470
