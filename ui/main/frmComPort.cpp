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
    : QDialog(owner), state_(state), combo1_(new QComboBox(this)) {
    setObjectName("frmComPort");
    setWindowTitle(PickText(state.language, Caption));
    auto *label = new QLabel(PickText(state.language, PortCaption), this);
    label->setObjectName("Label1");
    label->setBuddy(combo1_);
    MakeList(label->text());
    LayOut(label);
    FillPorts(table);
}

void frmComPort::MakeList(const QString &accessibleName) {
    combo1_->setObjectName("Combo1");
    combo1_->setAccessibleName(accessibleName);
    combo1_->setMinimumWidth(TwipsToPixels(ListWidth, this));
    combo1_->setPlaceholderText(PickText(state_.language, NoPort)); // shown while the list is empty
    connect(combo1_, &QComboBox::currentIndexChanged, this,
            [this](int index) { combo1_->setToolTip(combo1_->itemData(index, Qt::ToolTipRole).toString()); });
}

void frmComPort::FillPorts(const ComPortTable &table) {
    state_.comPortList = EnumComPorts(table);
    if (state_.comPortList.front().empty())
        return;
    for (const ComPort &port : table) {
        combo1_->addItem(ToQt(ComPortName(port.number)));
        combo1_->setItemData(combo1_->count() - 1, ToolTipOf(port), Qt::ToolTipRole);
    }
    const int current = combo1_->findText(ToQt(ComPortName(state_.portNumber)));
    combo1_->setCurrentIndex(current >= 0 ? current : 0);
}

void frmComPort::LayOut(QWidget *label) {
    const int margin = TwipsToPixels(Margin, this);
    auto *line = new QHBoxLayout;
    line->setSpacing(margin);
    line->addWidget(label);
    line->addWidget(combo1_, 1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(margin);
    layout->addLayout(line);
    layout->addLayout(MakeDialogButtons(this, state_.language, [this] { cmdOK_Click(); }));
    layout->setSizeConstraint(QLayout::SetFixedSize);
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

} // namespace k470
