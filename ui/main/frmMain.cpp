#include "ui/main/frmMain.h"

#include "core/Bands.h"
#include "core/ChannelRows.h"
#include "core/Settings.h"
#include "core/Title.h"
#include "ui/main/ChannelEditors.h"
#include "ui/main/ChannelGrid.h"
#include "ui/main/RadioPanel.h"
#include "ui/main/StatusBar.h"
#include "ui/main/frmclone.h"
#include "ui/service/frmMemoryMap.h"
#include "ui/service/frmSetFreqRange.h"
#include "ui/shared/Messages.h"
#include "ui/shared/Texts.h"
#include "ui/shared/Twips.h"
#include "ui/shared/Wheel.h"

#include <QApplication>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QScreen>
#include <QTimer>

namespace k470 {

namespace {

/// Widths in twips of the window and of what holds the grid; from WideRows rows on there is a scroll bar
/// beside it.
struct WindowWidths {
    int window;
    int frame;
    int grid;
};
constexpr std::uint8_t WideRows = 24;
constexpr WindowWidths NarrowLayout{13100, 9275, 9250};
constexpr WindowWidths WideLayout{13300, 9535, 9460};
constexpr int NormalHeight = 10350; // twips: the menus, the bars and as many rows as fit without a scroll bar
constexpr int LeastHeight = 6900;
constexpr int FrameRoom = 48;   // pixels of the screen's height for a title bar and borders
constexpr int EndInterval = 50; // ms between two looks whether a write is done
constexpr int Margin = 8;       // pixels

/// The normal height, or less where the screen has no room for it. The system's frame round the window is not
/// known before it is shown.
int StartHeight(const QWidget &window) {
    const int room = window.screen()->availableGeometry().height() - FrameRoom;
    return std::min(TwipsToPixels(NormalHeight, &window), room);
}

constexpr auto MemoryMapKeys = Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier;

} // namespace

frmMain::frmMain(AppState &state, PreferenceStore &store)
    : state_(state), store_(store), files_(state, *this) {
    setObjectName("frmMain");
    KeepWheelFromClosedLists();
    setContextMenuPolicy(Qt::NoContextMenu); // the toolkit's own offers but to hide the toolbar
    setWindowIcon(QIcon(":/icons/k470.svg"));
    MakeMenus();
    MakeToolbar();
    MakeCentre();
    statusBar_ = new StatusBar(state_, this);
    setStatusBar(statusBar_);
    // The session may end the program without another word.
    connect(qGuiApp, &QGuiApplication::commitDataRequest, this, &frmMain::Form_Unload, Qt::DirectConnection);
    Form_Load();
}

void frmMain::Form_Load() {
    StartState(state_, store_, FromQt(QCoreApplication::applicationDirPath()));
    editors_->FillToneList();
    grid_->LayOut(state_.gridRows);
    resize(width(), StartHeight(*this));
    RefreshChannelOP();
    RefreshAll();
    grid_->setFocus();
}

void frmMain::MakeCentre() {
    auto *central = new QWidget(this);
    setCentralWidget(central);
    MakeGrid();
    panel_ = new RadioPanel(state_, central);
    connect(panel_, &RadioPanel::BandClicked, this, &frmMain::CobFreq_Click);
    connect(panel_, &RadioPanel::ChannelCountClicked, this, &frmMain::Combo1_Click);
    centre_ = new QHBoxLayout(central);
    centre_->setContentsMargins(Margin, Margin, Margin, Margin);
    centre_->addWidget(frame1_, 1);
    centre_->addWidget(panel_);
}

void frmMain::MakeGrid() {
    frame1_ = new QFrame(centralWidget());
    frame1_->setObjectName("Frame1");
    grid_ = new ChannelGrid(frame1_);
    auto *layout = new QHBoxLayout(frame1_);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(grid_);
    editors_ = new ChannelEditors(state_, grid_);
    connect(grid_, &FlexGrid::CellMouseUp, this, &frmMain::ChannelGrid_MouseUp);
}

void frmMain::RefreshAll() {
    InstallToolkitLanguage(state_.language);
    ApplyCaptions();
    SetGridHeaders();
    RefreshChData();
    RefreshData();
    ShowTitle();
    ShowPort();
}

void frmMain::ApplyCaptions() {
    ApplyMenuCaptions();
    panel_->ApplyBandCaptions();
    panel_->ApplySettingCaptions();
    constexpr TextPair Channels{"Channels", "信道"};
    grid_->setAccessibleName(PickText(state_.language, Channels));
    ApplyStatedWidths(); // captions of another length may want another panel width
}

void frmMain::SetGridHeaders() {
    grid_->SetHeaders(state_.language);
}

std::string frmMain::BuildTitle() {
    statusBar_->ShowBand();
    return CaptionText(state_);
}

void frmMain::ShowTitle() {
    // For the toolkit "[*]" is the place of a mark for changes; twice, it is a text like any other.
    setWindowTitle(ToQt(BuildTitle()).replace("[*]", "[*][*]"));
}

void frmMain::ShowPort() {
    statusBar_->ShowPort();
}

void frmMain::TransferFocus() {
    editors_->TransferFocus();
}

/// Gives frame and grid the widths stated for the number of rows; the panel beside them takes the rest of the
/// window, which grows when the panel's captions ask for more.
void frmMain::ApplyStatedWidths() {
    const WindowWidths &widths = state_.gridRows < WideRows ? NarrowLayout : WideLayout;
    const int frameWidth = TwipsToPixels(widths.frame, this);
    const int rest = TwipsToPixels(widths.window, this) - frameWidth - 2 * Margin;
    const int panelWidth = std::max(rest - Margin, panel_->sizeHint().width());
    frame1_->setMinimumWidth(frameWidth);
    panel_->setFixedWidth(panelWidth);
    centre_->setSpacing(std::max(rest - panelWidth, Margin));
    const int frameRest = TwipsToPixels(widths.frame - widths.grid, this);
    frame1_->layout()->setContentsMargins(0, 0, frameRest, 0);
    setMinimumHeight(TwipsToPixels(LeastHeight, this));
}

void frmMain::RefreshChannelOP() {
    if (!isMinimized() && !isMaximized()) {
        ApplyStatedWidths();
        // Without this the window would still have the least width of the layout before.
        centre_->activate();
        layout()->activate();
        const WindowWidths &widths = state_.gridRows < WideRows ? NarrowLayout : WideLayout;
        resize(TwipsToPixels(widths.window, this), height());
    }
    grid_->SetChannelRows(state_.gridRows);
    state_.currentRow = 1;
    state_.currentCol = 1;
}

void frmMain::RefreshChData() {
    for (int row = 1; row < state_.gridRows; ++row)
        grid_->SetTexts(row, RowFromRecord(state_.image, row - 1, state_.language));
}

void frmMain::StoreChannels() {
    editors_->EndOpenEdit();
    for (int row = 1; row < state_.gridRows; ++row)
        StoreRow(state_.image, row - 1, grid_->TextsOf(row), state_.language);
}

void frmMain::OpenCellEditor() {
    editors_->OpenCellEditor();
}

void frmMain::setChannelRx(std::uint8_t chNum, const QString &text) {
    editors_->setChannelRx(chNum, text);
}

void frmMain::setChannelTx(std::uint8_t chNum, const QString &text) {
    editors_->setChannelTx(chNum, text);
}

void frmMain::RefreshData() {
    RefreshBand();
    for (const SettingShape &shape : SettingShapes) {
        panel_->ShowSetting(shape);
        if (shape.address == Address::ChannelCount)
            Combo1_Click();
    }
}

void frmMain::RefreshBand() {
    state_.refreshDone = false;
    state_.previousBand = FindBand(state_.bandLow, state_.bandHigh);
    panel_->SelectBand(state_.previousBand);
    CobFreq_Click(state_.previousBand);
    state_.refreshDone = true;
}

void frmMain::CobFreq_Click(int position) {
    state_.currentBand = static_cast<std::uint8_t>(position);
    if (state_.currentBand == CustomBand) {
        if (state_.refreshDone)
            AskCustomRange();
        return;
    }
    if (state_.currentBand == state_.previousBand)
        return;
    constexpr TextPair Question{"Change frequency channel list will remove,sure?",
                                "改变频段将清除频道列表,确定吗?"};
    const auto answer =
        k470::ShowMessage(this, QMessageBox::Information, "", PickText(state_.language, Question),
                          QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Cancel);
    if (answer != QMessageBox::Ok) {
        state_.currentBand = state_.previousBand;
        panel_->SelectBand(state_.previousBand);
        return;
    }
    ChangeBand(state_, state_.currentBand, StandardBands[state_.currentBand]);
    ShowChangedBand();
}

void frmMain::AskCustomRange() {
    frmSetFreqRange dialog(state_, this);
    connect(&dialog, &frmSetFreqRange::BandChanged, this, &frmMain::ShowChangedBand);
    dialog.exec();
}

/// The band has changed, which erases the channels.
void frmMain::ShowChangedBand() {
    RefreshChData();
    ShowTitle();
}

void frmMain::Combo1_Click() {
    const auto rows = static_cast<std::uint8_t>(panel_->ChannelCountEntry() + 2);
    if (rows != state_.gridRows) {
        StoreChannels();
        state_.gridRows = rows;
        RefreshChannelOP();
        RefreshChData();
        state_.gridRowsLaidOut = state_.gridRows;
    }
    panel_->RebuildWorkingChannels(rows - 1);
}

void frmMain::CollectSettings() {
    for (const SettingShape &shape : SettingShapes) {
        panel_->CollectSetting(shape);
        if (shape.address == Address::ChannelCount)
            state_.gridRows = static_cast<std::uint8_t>(state_.image[shape.address] + 1);
    }
}

void frmMain::CommitEdits() {
    StoreChannels();
    CollectSettings();
    FixWorkingChannel(state_.image);
    TakeSnapshot(state_);
}

void frmMain::ChannelGrid_MouseUp(Qt::MouseButton button, Qt::KeyboardModifiers modifiers) {
    if (button != Qt::RightButton || modifiers != MemoryMapKeys)
        return;
    TransferFocus();
    CommitEdits();
    frmMemoryMap(state_, this).exec();
}

void frmMain::ShowImage() {
    if (state_.gridRows != state_.gridRowsLaidOut) {
        RefreshChannelOP();
        state_.gridRowsLaidOut = state_.gridRows;
    }
    RefreshChData();
    RefreshData();
    ShowTitle();
}

void frmMain::Form_Unload() {
    SavePreferences(state_, store_);
}

void frmMain::EndProgram(int exitCode) {
    if (isVisible())
        Form_Unload(); // at once: whoever ends the program may not wait for long
    EndAfterWrite(exitCode);
}

void frmMain::EndAfterWrite(int exitCode) {
    // A radio that has got a part of its lines holds a mixture of old and new, which only the rest of them
    // mends, and the rest takes seconds. Where the transfer window is not in front a message stands over it:
    // the write is done, or needs the user. A read leaves no trace in the radio.
    const bool writes = state_.cloneMode == CloneMode::Write &&
                        qobject_cast<frmclone *>(QApplication::activeModalWidget()) != nullptr;
    if (writes)
        QTimer::singleShot(EndInterval, this, [this, exitCode] { EndAfterWrite(exitCode); });
    else
        QCoreApplication::exit(exitCode); // of every event loop, those of dialogs included
}

void frmMain::closeEvent(QCloseEvent *event) {
    Form_Unload();
    QMainWindow::closeEvent(event);
}

void frmMain::changeEvent(QEvent *event) {
    if (event->type() == QEvent::PaletteChange && panel_ != nullptr)
        PaintToolbar();
    QMainWindow::changeEvent(event);
}

} // namespace k470
