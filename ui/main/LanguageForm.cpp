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

LanguageForm::LanguageForm(AppState &state, QWidget *owner) : QDialog(owner) {
    setObjectName("LanguageForm");
    setWindowTitle(PickText(state.language, Caption));
    auto *label = new QLabel(PickText(state.language, ModeCaption), this);
    label->setObjectName("lblLang");
    auto *languages = new QComboBox(this);
    languages->setObjectName("cboLang");
    languages->addItem(ResText(state.language, Text::English));
    languages->addItem(ResText(state.language, Text::Chinese));
    languages->setCurrentIndex(static_cast<int>(state.language));
    languages->setMinimumWidth(TwipsToPixels(ListWidth, this));
    languages->setAccessibleName(label->text());
    label->setBuddy(languages);

    const int margin = TwipsToPixels(Margin, this);
    auto *line = new QHBoxLayout;
    line->setSpacing(margin);
    line->addWidget(label);
    line->addWidget(languages, 1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(margin);
    layout->addLayout(line);
    layout->addLayout(MakeDialogButtons(this, state.language, [this, languages, &state] {
        state.language = static_cast<Language>(languages->currentIndex());
        accept();
    }));
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

} // namespace k470
