#include "ui/main/frmclone.h"

#include "ui/shared/Messages.h"
#include "ui/shared/Texts.h"

#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

namespace k470 {

namespace {

constexpr TextPair ReadCaption{"Read data from radio", "从对讲机读取数据"};
constexpr TextPair WriteCaption{"Write data to radio", "向对讲机写入数据"};
constexpr TextPair ReadDone{"Reading completed!", "成功读完！"};
constexpr TextPair WriteDone{"Writing completed!", "成功写完！"};
constexpr TextPair RetryQuestion{"Check Connection. Retry or Cancel?", "检测连接。重试或取消？"};
constexpr TextPair ErrorTitle{"Error", "错误"};
constexpr auto OpenFailureTitle = "Error";
constexpr int BarWidth = 320;
constexpr int Margin = 20;

} // namespace

frmclone::frmclone(AppState &state, CloneHost &host, QWidget *owner)
    : QDialog(owner), state_(state), host_(host), prgPercent_(new QProgressBar(this)),
      lblPercent_(new QLabel(this)), port_([&host] { return host.ComPorts(); }),
      session_(state, port_, timers_, *this) {
    setObjectName("frmclone");
    const bool reading = state.cloneMode == CloneMode::Read;
    setWindowTitle(PickText(state.language, reading ? ReadCaption : WriteCaption));
    prgPercent_->setObjectName("prgPercent");
    prgPercent_->setTextVisible(false);
    prgPercent_->setRange(0, reading ? Clone::ReadMaximum : Clone::WriteMaximum);
    prgPercent_->setFixedWidth(BarWidth);
    prgPercent_->setAccessibleName(windowTitle());
    lblPercent_->setObjectName("lblPercent");
    lblPercent_->setText(ToQt(InitialProgressText(state.language)));
    QSizePolicy keepsItsPlace = lblPercent_->sizePolicy();
    keepsItsPlace.setRetainSizeWhenHidden(true);
    lblPercent_->setSizePolicy(keepsItsPlace);
    lblPercent_->hide();

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(Margin, Margin, Margin, Margin);
    layout->setSpacing(Margin / 2);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(lblPercent_);
    layout->addWidget(prgPercent_);
    timers_.Drive(session_);
}

frmclone::~frmclone() {
    session_.Close();
}

void frmclone::showEvent(QShowEvent *event) {
    QDialog::showEvent(event);
    if (started_)
        return;
    started_ = true;
    // The window stands before a message box can come over it.
    QMetaObject::invokeMethod(
        this, [this] { session_.TransferDatas(); }, Qt::QueuedConnection);
}

void frmclone::done(int result) {
    session_.Close();
    QDialog::done(result);
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
    host_.ShowPort();
}

void frmclone::ShowOpenFailure(const PortFailure &failure) {
    ShowMessage(this, QMessageBox::Warning, OpenFailureTitle,
                ToQt(PortFailureText(failure, state_.language)));
}

bool frmclone::AskRetry() {
    return ShowMessage(this, QMessageBox::Critical, PickText(state_.language, ErrorTitle),
                       PickText(state_.language, RetryQuestion),
                       QMessageBox::Retry | QMessageBox::Cancel) == QMessageBox::Retry;
}

void frmclone::ShowCompleted() {
    const bool reading = state_.cloneMode == CloneMode::Read;
    ShowMessage(this, QMessageBox::Information, ToQt(ModelWord),
                PickText(state_.language, reading ? ReadDone : WriteDone));
}

void frmclone::RefreshAfterRead() {
    host_.RefreshAfterRead();
}

void frmclone::WarnMissingLines(const std::vector<int> &lines) {
    ShowMessage(this, QMessageBox::Warning, ToQt(ModelWord), ToQt(MissingLinesText(lines, state_.language)));
}

std::vector<std::string> frmclone::EnumComPorts() {
    return k470::EnumComPorts(host_.ComPorts());
}

void frmclone::CloseWindow() {
    close();
}

} // namespace k470
