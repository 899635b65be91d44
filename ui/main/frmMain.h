#pragma once

#include "core/AppState.h"
#include "core/Preferences.h"
#include "files/FileCommands.h"
#include "ui/main/MenuTable.h"

#include <QMainWindow>

#include <array>

class QFrame;
class QHBoxLayout;

namespace k470 {

class ChannelEditors;
class ChannelGrid;
class RadioPanel;
class StatusBar;

/// The main window, which is the program: the channel grid and its editors, band and settings, menus, toolbar
/// and status bar. It decodes its controls from the image of the state and encodes them back into it.
class frmMain : public QMainWindow, private FileCommandView {
    Q_OBJECT

public:
    /// Loads the preferences into the state, makes a new codeplug and paints everything.
    /// @param store read here and written when the window closes or the session ends
    frmMain(AppState &state, PreferenceStore &store);

    /// Opens a codeplug file as the Open command does after its dialog; one that cannot be read gets a
    /// message too, as nobody has seen its name in a dialog.
    void OpenNamed(const std::string &path);

    /// Writes the preferences and ends the program without a question, whatever dialog or message is open. A
    /// write to the radio under way is carried on first, until it is done or would ask the user something.
    void EndProgram(int exitCode);

    void TransferFocus() override;
    void RefreshAll();
    /// Shows the band in panel 1 of the status bar. @return CaptionText, which is to become the caption
    std::string BuildTitle();
    void RefreshChannelOP();
    void RefreshChData() override;
    void RefreshData() override;
    void StoreChannels();
    /// Opens the editor of the channel grid's current cell.
    void OpenCellEditor();
    /// Sets a frequency of a grid row as typed; "" empties the row, or its transmit side. Warns of a
    /// frequency outside the band.
    /// @param chNum 1 and up
    void setChannelRx(std::uint8_t chNum, const QString &text);
    void setChannelTx(std::uint8_t chNum, const QString &text);

protected:
    void closeEvent(QCloseEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    static const std::array<MenuItem, 18> MenuTable;
    static const std::array<ToolButton, 8> ToolTable;

    void Form_Load();
    void Form_Unload();
    void EndAfterWrite(int exitCode);
    void mnuFile_New_Click();
    void mnuFile_Open_Click();
    void mnuFile_Save_Click();
    void mnuFile_SaveAs_Click();
    void mnuFile_Exit_Click();
    void mnuRead_Click();
    void mnuWrite_Click();
    void mnuPort_Click();
    void mnuLanguage_Click();
    void mnuAdvanded_Click();
    void mnuHelp_About_Click();
    void tlbActions_ButtonClick(const ToolButton &button);
    /// The user chose from the band list, be it the position that was selected already.
    void CobFreq_Click(int position);
    /// The user chose from Combo1(3), the channel count. The other lists of the array wait for the commit.
    void Combo1_Click();
    /// The right button; the left one is the editors'.
    void ChannelGrid_MouseUp(Qt::MouseButton button, Qt::KeyboardModifiers modifiers);

    void MakeGrid();
    void MakeCentre();
    void MakeMenus();
    void MakeToolbar();
    void ApplyStatedWidths();
    void PaintToolbar();

    void ShowPort();
    void ApplyCaptions();
    void ApplyMenuCaptions();
    void SetGridHeaders();
    void CollectSettings();
    void CommitEdits() override;
    void ShowTitle();

    void RefreshBand();
    void AskCustomRange();
    void ShowChangedBand();
    void TransferWith(CloneMode mode, int question);

    void ShowImage() override;
    SaveAnswer AskSaveFirst(std::string_view text) override;
    bool ConfirmClearAll(std::string_view text, std::string_view title) override;
    void ShowMessage(std::string_view text, Icon icon, std::string_view title) override;
    std::optional<std::string> ChooseOpenFile() override;
    std::optional<std::string> ChooseSaveFile(const std::string &proposed) override;

    AppState &state_;
    PreferenceStore &store_;
    FileCommands files_;
    QFrame *frame1_ = nullptr;
    ChannelGrid *grid_ = nullptr;
    ChannelEditors *editors_ = nullptr;
    RadioPanel *panel_ = nullptr;
    QHBoxLayout *centre_ = nullptr;
    StatusBar *statusBar_ = nullptr;
};

} // namespace k470
