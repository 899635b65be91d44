#include "ui/service/frmSetFreqRange.h"

#include "core/Bands.h"
#include "core/Channels.h"
#include "core/NumberText.h"
#include "ui/service/LimitBox.h"
#include "ui/shared/Keys.h"
#include "ui/shared/Messages.h"
#include "ui/shared/Texts.h"
#include "ui/shared/Twips.h"

#include <QFrame>
#include <QLabel>
#include <QPushButton>

namespace k470 {

namespace {

constexpr int ClientWidth = 4200; // twips, as all below
constexpr int ClientHeight = 2115;
constexpr Place FramePlace{240, 120, 3735, 1215};
constexpr Place OkPlace{833, 1560, 1095, 375};
constexpr Place CancelPlace{2273, 1560, 1095, 375};
constexpr int LabelTop = 240; // in the frame

constexpr TextPair Caption{"Custom", "自定义"};
constexpr const char *Unit = " (MHz)";

struct LimitControls {
    const char *label;
    TextPair caption;
    const char *box;
    Place place; // of the box in the frame
};
constexpr std::array<LimitControls, 2> Limits{{
    {"LblFreq(0)", {"Min", "下限"}, "TxtFreq(0)", {360, 600, 975, 270}},
    {"LblFreq(1)", {"Max", "上限"}, "TxtFreq(1)", {2280, 600, 975, 270}},
}};

} // namespace

frmSetFreqRange::frmSetFreqRange(AppState &state, QWidget *owner)
    : ServiceDialog("frmSetFreqRange", ClientWidth, ClientHeight, EscapeKey::DoesNothing, owner),
      state_(state) {
    auto *frame = new QFrame(this);
    frame->setObjectName("Frame1");
    frame->setFrameStyle(QFrame::StyledPanel);
    frame->setGeometry(PlaceInPixels(FramePlace, this));
    for (std::size_t i = 0; i < Limits.size(); ++i)
        AddLimit(i, frame);
    const auto *ok = AddButton("cmdOK", PickText(state.language, OkCaption), OkPlace);
    const auto *cancel = AddButton("cmdCancel", PickText(state.language, CancelCaption), CancelPlace);
    connect(ok, &QPushButton::clicked, this, &frmSetFreqRange::cmdOK_Click);
    connect(cancel, &QPushButton::clicked, this, &frmSetFreqRange::cmdCancel_Click);
    Form_Load();
    txtFreq_[0]->setFocus(Qt::TabFocusReason);
}

void frmSetFreqRange::Form_Load() {
    setWindowTitle(PickText(state_.language, Caption));
    for (std::size_t i = 0; i < Limits.size(); ++i) {
        lblFreq_[i]->setText(PickText(state_.language, Limits[i].caption) + Unit);
        txtFreq_[i]->setAccessibleName(lblFreq_[i]->text());
    }
    txtFreq_[0]->SetLimit(ToQt(ShortestDecimal(state_.bandLow)));
    txtFreq_[1]->SetLimit(ToQt(ShortestDecimal(state_.bandHigh)));
}

void frmSetFreqRange::AddLimit(std::size_t index, QWidget *frame) {
    const LimitControls &controls = Limits[index];
    auto *label = new QLabel(frame);
    label->setObjectName(controls.label);
    label->move(TwipsToPixels(controls.place.left, this), TwipsToPixels(LabelTop, this));
    auto *box = new LimitBox(frame);
    box->setObjectName(controls.box);
    box->setGeometry(PlaceInPixels(controls.place, this));
    connect(box, &LimitBox::FocusTaken, this, [this, index] { TxtFreq_GotFocus(index); });
    connect(box, &LimitBox::KeyPressed, this,
            [this, index](const QKeyEvent *key, bool &swallow) { TxtFreq_KeyPress(index, key, swallow); });
    connect(box, &LimitBox::FocusLeft, this, &frmSetFreqRange::TxtFreq_Validate);
    lblFreq_[index] = label;
    txtFreq_[index] = box;
}

double frmSetFreqRange::Limit(std::size_t index) const {
    return NumericPrefix(FromQt(txtFreq_[index]->text()));
}

void frmSetFreqRange::TxtFreq_GotFocus(std::size_t index) {
    constexpr int SelectedCharacters = 3;
    txtFreq_[index]->setSelection(0, SelectedCharacters);
}

/// Digits, Backspace, the keys that move the caret and chords pass.
void frmSetFreqRange::TxtFreq_KeyPress(std::size_t index, const QKeyEvent *key, bool &swallow) {
    const QChar c = key->text().isEmpty() ? QChar() : key->text().front();
    const bool isDigit = c >= '0' && c <= '9';
    const bool isText = IsPrintable(*key) && !IsChord(*key);
    swallow = IsEnter(*key) || key->key() == Qt::Key_Escape || (isText && !isDigit);
    if (IsEnter(*key))
        txtFreq_[index]->LeaveForNext();
}

void frmSetFreqRange::TxtFreq_Validate() {
    for (std::size_t i = 0; i < txtFreq_.size(); ++i) {
        if (Limit(i) < LowestFrequency)
            txtFreq_[i]->SetLimit(ToQt(ShortestDecimal(LowestFrequency)));
        else if (Limit(i) > HighestFrequency)
            txtFreq_[i]->SetLimit(ToQt(ShortestDecimal(HighestFrequency)));
    }
}

bool frmSetFreqRange::ConfirmErase() {
    const auto answer =
        ShowMessage(this, QMessageBox::Information, "", ResText(state_.language, Text::DataCleared),
                    QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Cancel);
    return answer == QMessageBox::Ok;
}

void frmSetFreqRange::cmdOK_Click() {
    TxtFreq_Validate(); // the access key of a button leaves the focus where it is
    const Band limits{Limit(0), Limit(1)};
    if (!IsSpanAllowed(limits)) {
        const int id = Text::RangeRefused + static_cast<int>(state_.language);
        ShowMessage(this, QMessageBox::NoIcon, ToQt(ModelWord), ToQt(LoadResString(id)));
        return;
    }
    if (limits.low != state_.bandLow || limits.high != state_.bandHigh) {
        if (!ConfirmErase())
            return;
        ChangeBand(state_, CustomBand, limits);
        emit BandChanged();
    }
    accept();
}

void frmSetFreqRange::cmdCancel_Click() {
    reject();
}

} // namespace k470
