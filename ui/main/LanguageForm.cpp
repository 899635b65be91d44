#include "ui/main/LanguageForm.h"

#include "ui/main/DialogButtons.h"
#include "ui/shared/Texts.h"
#include "ui/shared/Twips.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace k470 {

namespace {

constexpr TextPair Caption{"Language File Setup", "语言设置"};
constexpr TextPair ModeCaption{"Language Mode", "语言模式"};

constexpr int ListWidth = 2100; // twips
constexpr int Margin = 240;

} // namespace

LanguageForm::LanguageForm(AppState &state, QWidget *owner)
    : QDialog(owner), state_(state), lblLang_(new QLabel(this)), cboLang_(new QComboBox(this)) {
    setObjectName("LanguageForm");
    lblLang_->setObjectName("lblLang");
    lblLang_->setBuddy(cboLang_);
    cboLang_->setObjectName("cboLang");
    cboLang_->setMinimumWidth(TwipsToPixels(ListWidth, this));
    LayOut();
    Form_Load();
}

void LanguageForm::Form_Load() {
    setWindowTitle(PickText(state_.language, Caption));
    lblLang_->setText(PickText(state_.language, ModeCaption));
    cboLang_->setAccessibleName(lblLang_->text());
    cboLang_->addItem(ResText(state_.language, Text::English));
    cboLang_->addItem(ResText(state_.language, Text::Chinese));
    cboLang_->setCurrentIndex(static_cast<int>(state_.language));
}

void LanguageForm::LayOut() {
    const int margin = TwipsToPixels(Margin, this);
    auto *line = new QHBoxLayout;
    line->setSpacing(margin);
    line->addWidget(lblLang_);
    line->addWidget(cboLang_, 1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(margin);
    layout->addLayout(line);
    layout->addLayout(MakeDialogButtons(
        this, state_.language, [this] { cmdOK_Click(); }, [this] { cmdCancel_Click(); }));
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

void LanguageForm::cmdOK_Click() {
    state_.language = static_cast<Language>(cboLang_->currentIndex());
    accept();
}

void LanguageForm::cmdCancel_Click() {
    reject();
}

} // namespace k470
