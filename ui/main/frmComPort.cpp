#include "ui/main/frmComPort.h"

#include "ui/main/DialogButtons.h"
#include "ui/shared/Texts.h"
#include "ui/shared/Twips.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace k470 {

namespace {

constexpr TextPair Caption{"Set COM", "串口设置"};
constexpr TextPair PortCaption{"Comm Port", "串口"};
constexpr TextPair NoPort{"No serial port found", "未找到串口"};

constexpr int ListWidth = 2700; // twips
constexpr int Margin = 240;

QString ToolTipOf(const ComPort &port) {
    return ToQt(port.description.empty() ? port.device : port.device + "\n" + port.description);
}

} // namespace

frmComPort::frmComPort(AppState &state, const ComPortTable &table, QWidget *owner)
    : QDialog(owner), state_(state), label1_(new QLabel(this)), combo1_(new QComboBox(this)) {
    setObjectName("frmComPort");
    label1_->setObjectName("Label1");
    label1_->setBuddy(combo1_);
    combo1_->setObjectName("Combo1");
    combo1_->setMinimumWidth(TwipsToPixels(ListWidth, this));
    connect(combo1_, &QComboBox::currentIndexChanged, this, &frmComPort::Combo1_Click);
    LayOut();
    Form_Load(table);
}

void frmComPort::Form_Load(const ComPortTable &table) {
    setWindowTitle(PickText(state_.language, Caption));
    label1_->setText(PickText(state_.language, PortCaption));
    combo1_->setAccessibleName(label1_->text());
    combo1_->setPlaceholderText(PickText(state_.language, NoPort)); // shown while the list is empty
    FillPorts(table);
}

void frmComPort::FillPorts(const ComPortTable &table) {
    if (EnumComPorts(state_, table).front().empty())
        return;
    for (const ComPort &port : table) {
        combo1_->addItem(ToQt(ComPortName(port.number)));
        combo1_->setItemData(combo1_->count() - 1, ToolTipOf(port), Qt::ToolTipRole);
    }
    const int current = combo1_->findText(ToQt(ComPortName(state_.portNumber)));
    combo1_->setCurrentIndex(current >= 0 ? current : 0);
}

void frmComPort::LayOut() {
    const int margin = TwipsToPixels(Margin, this);
    auto *line = new QHBoxLayout;
    line->setSpacing(margin);
    line->addWidget(label1_);
    line->addWidget(combo1_, 1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(margin);
    layout->addLayout(line);
    layout->addLayout(MakeDialogButtons(
        this, state_.language, [this] { cmdOK_Click(); }, [this] { cmdCancel_Click(); }));
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

void frmComPort::Combo1_Click(int index) {
    combo1_->setToolTip(combo1_->itemData(index, Qt::ToolTipRole).toString());
}

void frmComPort::cmdOK_Click() {
    const auto number = PortNumberFromName(FromQt(combo1_->currentText()));
    if (!number) {
        combo1_->setFocus(); // it says why
        return;
    }
    state_.portNumber = *number;
    accept();
}

void frmComPort::cmdCancel_Click() {
    reject();
}

} // namespace k470
