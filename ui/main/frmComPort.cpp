#include "ui/main/frmComPort.h"

#include "ui/main/DialogButtons.h"
#include "ui/shared/Texts.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace k470 {

namespace {

constexpr TextPair Caption{"Set COM", "串口设置"};
constexpr TextPair PortCaption{"Comm Port", "串口"};
constexpr int PortWidth = 150;

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
    combo1_->setObjectName("Combo1");
    combo1_->setAccessibleName(label->text());
    combo1_->setMinimumWidth(PortWidth);
    connect(combo1_, &QComboBox::currentIndexChanged, this,
            [this](int index) { combo1_->setToolTip(combo1_->itemData(index, Qt::ToolTipRole).toString()); });

    auto *line = new QHBoxLayout;
    line->addWidget(label);
    line->addWidget(combo1_, 1);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(line);
    layout->addLayout(MakeDialogButtons(this, state.language, [this] { cmdOK_Click(); }));
    layout->setSizeConstraint(QLayout::SetFixedSize);
    FillPorts(table);
}

void frmComPort::FillPorts(const ComPortTable &table) {
    state_.comPortList = EnumComPorts(table);
    if (state_.comPortList.front().empty())
        return;
    for (std::size_t i = 0; i < state_.comPortList.size(); ++i) {
        combo1_->addItem(ToQt(state_.comPortList[i]));
        combo1_->setItemData(static_cast<int>(i), ToolTipOf(table[i]), Qt::ToolTipRole);
    }
    const int current = combo1_->findText(ToQt(ComPortName(state_.portNumber)));
    combo1_->setCurrentIndex(-1); // so that the first entry too counts as a change
    combo1_->setCurrentIndex(current >= 0 ? current : 0);
}

/// With nothing usable selected the click is ignored.
void frmComPort::cmdOK_Click() {
    const auto number = PortNumberFromName(FromQt(combo1_->currentText()));
    if (!number)
        return;
    state_.portNumber = *number;
    accept();
}

} // namespace k470
