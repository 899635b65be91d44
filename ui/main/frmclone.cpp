#include "ui/main/frmclone.h"

#include "link/CloneWarnings.h"
#include "link/MissingLines.h"
#include "ui/shared/Messages.h"
#include "ui/shared/Texts.h"
#include "ui/shared/Twips.h"

#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

namespace k470 {

namespace {

struct DirectionTexts {
    TextPair caption;
    TextPair completed;
};
constexpr DirectionTexts ReadTexts{{"Read data from radio", "从对讲机读取数据"},
                                   {"Reading completed!", "成功读完！"}};
constexpr DirectionTexts WriteTexts{{"Write data to radio", "向对讲机写入数据"},
                                    {"Writing completed!", "成功写完！"}};
constexpr TextPair RetryQuestion{"Check Connection. Retry or Cancel?", "检测连接。重试或取消？"};
constexpr TextPair ErrorTitle{"Error", "错误"};
constexpr TextPair SentenceGap{" ", ""};
constexpr auto OpenFailureTitle = "Error"; // in both languages

constexpr int BarWidth = 5100; // twips
constexpr int Margin = 300;

const DirectionTexts &TextsOf(CloneMode mode) {
    return mode == CloneMode::Read ? ReadTexts : WriteTexts;
}

} // namespace

frmclone::frmclone(AppState &state, std::function<ComPortTable()> comPorts, QWidget *owner)
    : QDialog(owner), state_(state), comPorts_(std::move(comPorts)), prgPercent_(new QProgressBar(this)),
      lblPercent_(new QLabel(this)), port_(comPorts_, this), session_(state, port_, timers_, *this) {
    setObjectName("frmclone");
    port_.setObjectName("MSComm1");
    for (QTimer *timer : {&timers_.SendTimer(), &timers_.OvertimeTimer()})
        timer->setParent(this); // so that they are found by name
    timers_.Drive([this] { tmrSend_Timer(); }, [this] { tmrOvertime_Timer(); });
    port_.OnReceived([this] { MSComm1_OnComm(); });
    Form_Load();
    LayOut();
}

frmclone::~frmclone() {
    Form_Unload();
}

void frmclone::Form_Load() {
    setWindowTitle(PickText(state_.language, TextsOf(state_.cloneMode).caption));
    const int maximum = state_.cloneMode == CloneMode::Read ? Clone::ReadMaximum : Clone::WriteMaximum;
    prgPercent_->setObjectName("prgPercent");
    prgPercent_->setTextVisible(false);
    prgPercent_->setRange(0, maximum);
    prgPercent_->setValue(0);
    prgPercent_->setFixedWidth(TwipsToPixels(BarWidth, this));
    prgPercent_->setAccessibleName(windowTitle());

    lblPercent_->setObjectName("lblPercent");
    lblPercent_->setTextFormat(Qt::PlainText);
    // As wide as its longest text, and in its place while hidden, so that the window never changes its size.
    lblPercent_->setText(ToQt(ProgressText(maximum, maximum, state_.language)));
    lblPercent_->setMinimumWidth(lblPercent_->sizeHint().width());
    QSizePolicy keepsItsPlace = lblPercent_->sizePolicy();
    keepsItsPlace.setRetainSizeWhenHidden(true);
    lblPercent_->setSizePolicy(keepsItsPlace);
    lblPercent_->setText(ToQt(InitialProgressText(state_.language)));
    lblPercent_->hide();
}

void frmclone::Form_Unload() {
    session_.Close();
}

void frmclone::LayOut() {
    const int margin = TwipsToPixels(Margin, this);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(margin / 2);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(lblPercent_);
    layout->addWidget(prgPercent_);
}

void frmclone::showEvent(QShowEvent *event) {
    QDialog::showEvent(event);
    if (started_)
        return;
    started_ = true;
    // Queued: the window stands before a message can come over it.
    QMetaObject::invokeMethod(this, &frmclone::TransferDatas, Qt::QueuedConnection);
}

void frmclone::TransferDatas() {
    if (isVisible()) // it may have been closed since
        session_.TransferDatas();
}

void frmclone::tmrSend_Timer() {
    session_.SendTick();
}

void frmclone::tmrOvertime_Timer() {
    session_.OvertimeTick();
}

void frmclone::MSComm1_OnComm() {
    session_.Received();
}

void frmclone::done(int result) {
    if (messageOpen_)
        return; // the session waits for the answer, inside one of its handlers
    const bool brokenOff = IsBrokenOff();
    Form_Unload();
    if (brokenOff)
        Ask(QMessageBox::Warning, ToQt(ModelWord),
            PickText(state_.language, MixtureText) + PickText(state_.language, SentenceGap) +
                PickText(state_.language, WriteAgainText));
    QDialog::done(result);
}

/// Whether closing the window now leaves a radio that has got some of the lines. Who cancels the question has
/// been told of the connection.
bool frmclone::IsBrokenOff() const {
    const CloneSession::Outcome outcome = session_.Result();
    return session_.LineSent() && outcome != CloneSession::Outcome::Completed &&
           outcome != CloneSession::Outcome::Cancelled;
}

QMessageBox::StandardButton frmclone::Ask(QMessageBox::Icon icon, const QString &title, const QString &text,
                                          QMessageBox::StandardButtons buttons) {
    messageOpen_ = true;
    const auto answer = ShowMessage(this, icon, title, text, buttons);
    messageOpen_ = false;
    return answer;
}

void frmclone::ShowPercentLabel() {
    lblPercent_->show();
}

void frmclone::ShowProgress(int value, int maximum) {
    prgPercent_->setMaximum(maximum);
    prgPercent_->setValue(value);
}

void frmclone::SetPercentLabel(const std::string &text) {
    lblPercent_->setText(ToQt(text));
}

void frmclone::ShowPortNumber() {
    emit PortChanged();
}

void frmclone::ShowOpenFailure(const PortFailure &failure) {
    Ask(QMessageBox::Warning, OpenFailureTitle, ToQt(PortFailureText(failure, state_.language)));
}

bool frmclone::AskRetry() {
    const auto answer =
        Ask(QMessageBox::Critical, PickText(state_.language, ErrorTitle),
            PickText(state_.language, RetryQuestion), QMessageBox::Retry | QMessageBox::Cancel);
    return answer == QMessageBox::Retry;
}

void frmclone::ShowCompleted() {
    Ask(QMessageBox::Information, ToQt(ModelWord),
        PickText(state_.language, TextsOf(state_.cloneMode).completed));
}

void frmclone::RefreshAfterRead() {
    emit ImageRead();
}

void frmclone::WarnMissingLines(const std::vector<int> &lines) {
    Ask(QMessageBox::Warning, ToQt(ModelWord), ToQt(MissingLinesText(lines, state_.language)));
}

void frmclone::WarnDisturbedWrite() {
    Ask(QMessageBox::Warning, ToQt(ModelWord), PickText(state_.language, DisturbedWriteText));
}

ComPortTable frmclone::ComPorts() {
    return comPorts_();
}

void frmclone::CloseWindow() {
    close();
}

} // namespace k470
