#include "ui/main/RadioPanel.h"

#include "core/Bands.h"
#include "ui/shared/Texts.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>

namespace k470 {

namespace {

constexpr TextPair ModelCaption{"Model Information", "机型信息"};
constexpr TextPair FunctionCaption{"Function Setup", "功能设定"};
constexpr auto FullWidthColon = "：";
constexpr TextPair Notice{"For authorised service of K470 radios.", "供 K470 对讲机授权维护使用。"};

std::size_t IndexOf(const SettingShape &shape) {
    return static_cast<std::size_t>(&shape - SettingShapes.data());
}

/// A caption as an accessible name: without the colon that leads to the control.
QString SpokenName(QString caption) {
    return caption.remove(FullWidthColon);
}

/// Writes list texts by position, so that a selection stays where it is.
void WriteEntries(QComboBox *combo, const std::vector<std::string> &texts) {
    const QStringList entries = ToQt(texts);
    const int kept = std::min(combo->count(), static_cast<int>(entries.size()));
    for (int position = 0; position < kept; ++position)
        combo->setItemText(position, entries[position]);
    combo->addItems(entries.mid(kept));
}

void SelectQuietly(QComboBox *combo, int position) {
    const QSignalBlocker quiet(combo);
    combo->setCurrentIndex(position);
}

} // namespace

RadioPanel::RadioPanel(AppState &state, QWidget *parent)
    : QWidget(parent), state_(state), frame3_(new QGroupBox(this)), frame4_(new QGroupBox(this)),
      labels_(SettingShapes.size()), combos_(SettingShapes.size()), checks_(SettingShapes.size()) {
    frame3_->setObjectName("Frame3");
    frame4_->setObjectName("Frame4");
    MakeModelFrame();
    MakeFunctionFrame();
    auto *notice = new QLabel(this);
    notice->setObjectName("Label3");
    notice->setWordWrap(true);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(frame3_);
    layout->addWidget(frame4_);
    layout->addStretch();
    layout->addWidget(notice);
}

void RadioPanel::MakeModelFrame() {
    auto *grid = new QGridLayout(frame3_);
    grid->setColumnStretch(1, 1);
    label2_ = new QLabel(frame3_);
    label2_->setObjectName("Label2");
    cobFreq_ = new QComboBox(frame3_);
    cobFreq_->setObjectName("CobFreq");
    label2_->setBuddy(cobFreq_);
    grid->addWidget(label2_, 0, 0);
    grid->addWidget(cobFreq_, 0, 1);
    connect(cobFreq_, &QComboBox::activated, this, &RadioPanel::BandClicked);

    const SettingShape &count = SettingAt(Address::ChannelCount);
    QComboBox *combo = MakeCombo(count, frame3_);
    grid->addWidget(labels_[IndexOf(count)], 1, 0);
    grid->addWidget(combo, 1, 1);
    connect(combo, &QComboBox::activated, this, &RadioPanel::ChannelCountClicked);
}

void RadioPanel::MakeFunctionFrame() {
    auto *grid = new QGridLayout(frame4_);
    grid->setColumnStretch(1, 1);
    int row = 0;
    for (const SettingShape &shape : SettingShapes) {
        if (shape.address == Address::ChannelCount)
            continue;
        if (!shape.IsCheckBox()) {
            QComboBox *combo = MakeCombo(shape, frame4_);
            grid->addWidget(labels_[IndexOf(shape)], row, 0);
            grid->addWidget(combo, row, 1);
        } else {
            grid->addWidget(MakeCheck(shape, frame4_), row, 0, 1, 2);
        }
        ++row;
    }
}

QComboBox *RadioPanel::MakeCombo(const SettingShape &shape, QWidget *frame) {
    auto *label = new QLabel(frame);
    label->setObjectName(shape.label);
    auto *combo = new QComboBox(frame);
    combo->setObjectName(shape.control);
    combo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    label->setBuddy(combo);
    labels_[IndexOf(shape)] = label;
    combos_[IndexOf(shape)] = combo;
    return combo;
}

QCheckBox *RadioPanel::MakeCheck(const SettingShape &shape, QWidget *frame) {
    auto *check = new QCheckBox(frame);
    check->setObjectName(shape.control);
    checks_[IndexOf(shape)] = check;
    return check;
}

void RadioPanel::ApplyBandCaptions() {
    const Language language = state_.language;
    frame3_->setTitle(PickText(language, ModelCaption));
    label2_->setText(ResText(language, Text::Frequency) + FullWidthColon);
    cobFreq_->setAccessibleName(SpokenName(label2_->text()));
    state_.previousBand = state_.currentBand;
    std::vector<std::string> texts;
    for (std::size_t position = 0; position < BandPositions; ++position)
        texts.push_back(BandText(position, language));
    const QSignalBlocker quiet(cobFreq_);
    WriteEntries(cobFreq_, texts);
    findChild<QLabel *>("Label3")->setText(PickText(language, Notice));
}

void RadioPanel::ApplySettingCaptions() {
    frame4_->setTitle(PickText(state_.language, FunctionCaption));
    for (const SettingShape &shape : SettingShapes) {
        const QString caption = ToQt(SettingCaption(shape, state_.language));
        const std::size_t i = IndexOf(shape);
        if (checks_[i] != nullptr) {
            checks_[i]->setText(caption);
            continue;
        }
        labels_[i]->setText(caption);
        combos_[i]->setAccessibleName(SpokenName(caption));
        if (shape.address == Address::WorkingChannel)
            continue; // its list follows the channel count
        const QSignalBlocker quiet(combos_[i]);
        WriteEntries(combos_[i], shape.entries(state_.language));
    }
}

void RadioPanel::SelectBand(int position) {
    SelectQuietly(cobFreq_, position);
}

void RadioPanel::ShowSetting(const SettingShape &shape) {
    const std::size_t i = IndexOf(shape);
    const std::uint8_t byte = state_.image[shape.address];
    if (checks_[i] != nullptr)
        checks_[i]->setChecked(shape.toEntry(byte) != 0);
    else if (shape.address == Address::WorkingChannel)
        SelectQuietly(combos_[i], WorkingChannelEntry(byte, combos_[i]->count()));
    else
        SelectQuietly(combos_[i], shape.toEntry(byte));
}

void RadioPanel::CollectSetting(const SettingShape &shape) {
    const std::size_t i = IndexOf(shape);
    const int entry = checks_[i] != nullptr ? (checks_[i]->isChecked() ? 1 : 0) : combos_[i]->currentIndex();
    if (const auto byte = shape.toByte(entry))
        state_.image[shape.address] = *byte;
}

int RadioPanel::ChannelCountEntry() const {
    return combos_[IndexOf(SettingAt(Address::ChannelCount))]->currentIndex();
}

void RadioPanel::RebuildWorkingChannels(int channels) {
    QComboBox *combo = combos_[IndexOf(SettingAt(Address::WorkingChannel))];
    const QSignalBlocker quiet(combo);
    combo->clear();
    WriteEntries(combo, NumberEntries(channels));
    combo->setCurrentIndex(channels > 0 ? 0 : NoEntry);
}

} // namespace k470
