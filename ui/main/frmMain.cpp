#include "ui/main/frmMain.h"

#include "core/Bands.h"
#include "core/ChannelRows.h"
#include "core/Settings.h"
#include "core/Title.h"
#include "link/QtComPorts.h"
#include "ui/main/ChannelEditors.h"
#include "ui/main/LanguageForm.h"
#include "ui/main/RadioPanel.h"
#include "ui/main/frmAbout.h"
#include "ui/main/frmComPort.h"
#include "ui/main/frmclone.h"
#include "ui/service/frmAdv.h"
#include "ui/service/frmMemoryMap.h"
#include "ui/service/frmSetFreqRange.h"
#include "ui/shared/FlexGrid.h"
#include "ui/shared/Messages.h"
#include "ui/shared/Texts.h"
#include "ui/shared/ThemedIcon.h"
#include "ui/shared/Twips.h"
#include "ui/shared/Wheel.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QFileDialog>
#include <QFrame>
#include <QHBoxLayout>
#include <QHelpEvent>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QSignalBlocker>
#include <QStatusBar>
#include <QToolBar>
#include <QToolTip>

#include <cstdio>

namespace k470 {

namespace {

constexpr int HeaderHeight = 500; // twips
constexpr int HeaderPoints = 10;
constexpr int NumberPoints = 12;
constexpr QRgb HeaderColour = qRgb(0x13, 0x3A, 0x95);
constexpr QRgb NumberColour = qRgb(0, 0, 0xFF);

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
constexpr int ToolIconSize = 24;

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
    MakeStatusBar();
    // The session may end the program without another word.
    connect(qGuiApp, &QGuiApplication::commitDataRequest, this, &frmMain::Form_Unload, Qt::DirectConnection);
    Form_Load();
}

void frmMain::Form_Load() {
    StartState(state_, store_, FromQt(QCoreApplication::applicationDirPath()));
    editors_->FillToneList();
    LayOutGrid();
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
    grid_ = new FlexGrid(1, 0, frame1_);
    grid_->setObjectName("ChannelGrid");
    auto *layout = new QHBoxLayout(frame1_);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(grid_);
    editors_ = new ChannelEditors(state_, grid_);
    connect(grid_, &FlexGrid::CellMouseUp, this, &frmMain::ChannelGrid_MouseUp);
}

void frmMain::LayOutGrid() {
    grid_->SetRows(state_.gridRows);
    grid_->SetCols(GridCols);
    grid_->SetRowHeight(0, HeaderHeight);
    for (int col = 0; col < GridCols; ++col) {
        grid_->SetColWidth(col, ChannelColumns[static_cast<std::size_t>(col)].width);
        grid_->SetCellColor(0, col, QColor(HeaderColour));
        grid_->SetCellFontSize(0, col, HeaderPoints);
    }
    for (int row = 1; row < state_.gridRows; ++row)
        grid_->SetCellColor(row, ColNumber, QColor(NumberColour));
}

void frmMain::MakeMenus() {
    for (const MenuItem &item : MenuTable) {
        auto *menu = item.menu != nullptr ? findChild<QMenu *>(item.menu) : nullptr;
        if (menu == nullptr) {
            menuBar()->addMenu(new QMenu(this))->menu()->setObjectName(item.name);
            continue;
        }
        QAction *action = item.command != nullptr ? menu->addAction(QString()) : menu->addSeparator();
        action->setObjectName(item.name);
        if (item.command == nullptr)
            continue;
        action->setShortcut(QKeySequence(item.shortcut));
        connect(action, &QAction::triggered, this, item.command);
    }
}

void frmMain::MakeToolbar() {
    auto *toolbar = new QToolBar(this);
    toolbar->setObjectName("tlbActions");
    toolbar->setMovable(false);
    toolbar->setIconSize(QSize(ToolIconSize, ToolIconSize));
    addToolBar(toolbar);
    for (const ToolButton &button : ToolTable) {
        QAction *action = toolbar->addAction(QString());
        action->setObjectName(QString("tlbActions_") + button.key);
        connect(action, &QAction::triggered, this, [this, &button] { tlbActions_ButtonClick(button); });
        const bool endsGroup = qstrcmp(button.key, "Print") == 0 || qstrcmp(button.key, "Write") == 0;
        if (endsGroup)
            toolbar->addSeparator();
        if (auto *widget = toolbar->widgetForAction(action))
            widget->setFocusPolicy(Qt::TabFocus);
    }
    PaintToolbar();
}

void frmMain::PaintToolbar() {
    for (const ToolButton &button : ToolTable) {
        auto *action = findChild<QAction *>(QString("tlbActions_") + button.key);
        action->setIcon(ThemedIcon(QString(":/icons/%1.svg").arg(QString(button.key).toLower()), palette()));
    }
}

void frmMain::MakeStatusBar() {
    statusBar()->setObjectName("MSBar");
    statusBar()->setSizeGripEnabled(true);
    constexpr std::array<int, 4> Stretch{2, 2, 4, 1};
    for (std::size_t i = 0; i < panels_.size(); ++i) {
        panels_[i] = new QLabel(statusBar());
        panels_[i]->setObjectName(QString("MSBar(%1)").arg(i + 1));
        statusBar()->addWidget(panels_[i], Stretch[i]);
    }
    panels_[1]->installEventFilter(this);
    panels_[3]->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    time_.setObjectName("Time");
    connect(&time_, &QTimer::timeout, this, &frmMain::Time_Timer);
    time_.start(1);
    Time_Timer();
}

/// The tick comes every millisecond; all but one in a thousand end at the comparison.
void frmMain::Time_Timer() {
    const std::time_t now = std::time(nullptr);
    if (now == shownTime_)
        return;
    shownTime_ = now;
    std::tm local{};
    localtime_r(&now, &local);
    panels_[3]->setText(QString::asprintf("%02d:%02d:%02d", local.tm_hour, local.tm_min, local.tm_sec));
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
    for (const MenuItem &item : MenuTable) {
        const QString caption = PickText(state_.language, item.caption);
        if (item.menu == nullptr)
            findChild<QMenu *>(item.name)->setTitle(caption);
        else if (item.command != nullptr)
            findChild<QAction *>(item.name)->setText(caption);
    }
    for (const ToolButton &button : ToolTable) {
        auto *action = findChild<QAction *>(QString("tlbActions_") + button.key);
        action->setText(PickText(state_.language, button.toolTip));
        action->setToolTip(PickText(state_.language, button.toolTip));
    }
    panel_->ApplyBandCaptions();
    panel_->ApplySettingCaptions();
    constexpr TextPair Channels{"Channels", "信道"};
    grid_->setAccessibleName(PickText(state_.language, Channels));
    ApplyStatedWidths(); // captions of another length may want another panel width
}

void frmMain::SetGridHeaders() {
    for (int col = 0; col < GridCols; ++col)
        grid_->SetCellText(0, col, ToQt(ColumnHeader(col, state_.language)));
}

std::string frmMain::BuildTitle() {
    panels_[0]->setText(ToQt(BandCaption(state_)));
    return CaptionText(state_);
}

void frmMain::ShowTitle() {
    // For the toolkit "[*]" is the place of a mark for changes; twice, it is a text like any other.
    setWindowTitle(ToQt(BuildTitle()).replace("[*]", "[*][*]"));
}

void frmMain::ShowPort() {
    panels_[1]->setText(ToQt(PortText(state_)));
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
    // Rows that go and the first cell that becomes current may scroll the grid; that ends no edit and takes
    // no focus.
    const QSignalBlocker quiet(grid_);
    grid_->SetRows(state_.gridRows);
    grid_->SetCols(GridCols);
    for (int row = 1; row < state_.gridRows; ++row) {
        grid_->SetCellText(row, ColNumber, QString::number(row));
        grid_->SetCellFontSize(row, ColNumber, NumberPoints);
    }
    grid_->SetCurrent(1, 1);
    state_.currentRow = 1;
    state_.currentCol = 1;
}

void frmMain::RefreshChData() {
    for (int row = 1; row < state_.gridRows; ++row)
        editors_->SetRow(row, RowFromRecord(state_.image, row - 1, state_.language));
}

void frmMain::StoreChannels() {
    editors_->EndOpenEdit();
    for (int row = 1; row < state_.gridRows; ++row)
        StoreRow(state_.image, row - 1, editors_->Row(row), state_.language);
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

void frmMain::tlbActions_ButtonClick(const ToolButton &button) {
    TransferFocus();
    (this->*button.command)();
}

// The file commands end an open edit themselves.
void frmMain::mnuFile_New_Click() {
    files_.New();
}

void frmMain::mnuFile_Open_Click() {
    files_.Open();
}

void frmMain::mnuFile_Save_Click() {
    files_.Save();
}

void frmMain::mnuFile_SaveAs_Click() {
    files_.SaveAs();
}

void frmMain::mnuFile_Exit_Click() {
    TransferFocus();
    close();
}

void frmMain::OpenNamed(const std::string &path) {
    const auto failure = files_.OpenNamed(path);
    if (!failure || failure->kind != LoadFailure::Kind::Unreadable)
        return;
    std::fprintf(stderr, "k470: %s: %s\n", path.c_str(), failure->text.c_str());
    constexpr TextPair CannotOpen{"Cannot open ", "无法打开 "};
    ShowMessage(std::string(Pick(state_.language, CannotOpen)) + path + "\n" + failure->text,
                Icon::Exclamation, ModelWord);
}

void frmMain::mnuRead_Click() {
    TransferFocus();
    TransferWith(CloneMode::Read, Text::ReadQuestion);
}

void frmMain::mnuWrite_Click() {
    TransferFocus();
    CommitEdits();
    PrepareForWrite(state_.image);
    TransferWith(CloneMode::Write, Text::WriteQuestion);
}

void frmMain::TransferWith(CloneMode mode, int question) {
    const QString text =
        ResText(state_.language, question) + "\n" + ResText(state_.language, Text::ContinueQuestion);
    const auto answer =
        k470::ShowMessage(this, QMessageBox::Question, "", text, QMessageBox::Ok | QMessageBox::Cancel);
    if (answer != QMessageBox::Ok)
        return;
    state_.cloneMode = mode;
    frmclone window(state_, SystemComPorts, this);
    connect(&window, &frmclone::PortChanged, this, &frmMain::ShowPort);
    connect(&window, &frmclone::ImageRead, this, &frmMain::ShowImage);
    window.exec();
}

void frmMain::mnuPort_Click() {
    TransferFocus();
    frmComPort(state_, SystemComPorts(), this).exec();
    ShowPort();
}

void frmMain::mnuLanguage_Click() {
    TransferFocus();
    CommitEdits();
    LanguageForm(state_, this).exec();
    RefreshAll();
}

void frmMain::mnuAdvanded_Click() {
    TransferFocus();
    CommitEdits();
    frmAdv(state_, this).exec();
}

void frmMain::mnuHelp_About_Click() {
    TransferFocus();
    frmAbout(state_, this).exec();
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

QString frmMain::PortToolTip() {
    const ComPortTable table = SystemComPorts();
    const ComPort *port = FindComPort(table, state_.portNumber);
    if (port == nullptr)
        return {};
    return ToQt(port->description.empty() ? port->device : port->device + "\n" + port->description);
}

FileCommandView::SaveAnswer frmMain::AskSaveFirst(std::string_view text) {
    const auto answer = k470::ShowMessage(this, QMessageBox::Warning, "", ToQt(text),
                                          QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
    if (answer == QMessageBox::Yes)
        return SaveAnswer::Yes;
    return answer == QMessageBox::No ? SaveAnswer::No : SaveAnswer::Cancel;
}

bool frmMain::ConfirmClearAll(std::string_view text, std::string_view title) {
    return k470::ShowMessage(this, QMessageBox::Warning, ToQt(title), ToQt(text),
                             QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Cancel) == QMessageBox::Ok;
}

void frmMain::ShowMessage(std::string_view text, Icon icon, std::string_view title) {
    k470::ShowMessage(this, icon == Icon::Critical ? QMessageBox::Critical : QMessageBox::Warning,
                      ToQt(title), ToQt(text));
}

std::optional<std::string> frmMain::ChooseOpenFile() {
    QFileDialog dialog(this);
    dialog.setObjectName("FileDialog");
    dialog.setNameFilter(ToQt(FileFilter));
    dialog.setFileMode(QFileDialog::ExistingFile);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return FromQt(dialog.selectedFiles().front());
}

std::optional<std::string> frmMain::ChooseSaveFile(const std::string &proposed) {
    QFileDialog dialog(this);
    dialog.setObjectName("FileDialog");
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilter(ToQt(FileFilter));
    dialog.setDefaultSuffix(ToQt(FileExtension.substr(1)));
    dialog.selectFile(ToQt(proposed));
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return FromQt(dialog.selectedFiles().front());
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

bool frmMain::eventFilter(QObject *watched, QEvent *event) {
    if (watched == panels_[1] && event->type() == QEvent::ToolTip) {
        QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), PortToolTip(), panels_[1]);
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

} // namespace k470
