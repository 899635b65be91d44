#include "ui/main/frmAbout.h"

#include "ui/shared/Texts.h"
#include "ui/shared/ThemedIcon.h"
#include "ui/shared/Twips.h"

#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QStringList>

namespace k470 {

namespace {

constexpr TextPair Caption{"About  ", "关于  "};
constexpr TextPair Product{" Programming Software", " 编程软件"};
constexpr TextPair Version{"Version  ", "版本  "};
constexpr TextPair UsedFor{" Programming Software used for ", "编程软件用于  "};
constexpr TextPair UsedForEnd{"", "机型"};
constexpr auto VersionNumber = "1.01";
constexpr TextPair Notice{
    "© 2026 the K470 Programming Software maintainers.\nFree software under the MIT licence, "
    "without warranty.",
    "© 2026 K470 编程软件维护者。\n自由软件，遵循 MIT 许可证，不提供任何担保。"};

constexpr int PictureSize = 960; // twips
constexpr int SmallPictureSize = 480;
constexpr int Margin = 300;

QString AboutLines(Language language) {
    const QString model = ToQt(ModelWord);
    const QStringList lines{model + PickText(language, Product),
                            "",
                            "",
                            PickText(language, Version) + VersionNumber,
                            "",
                            model + PickText(language, UsedFor) + model + PickText(language, UsedForEnd)};
    return lines.join("\r\n");
}

QLabel *MakePicture(const char *name, const QString &resourcePath, int twips, QWidget *parent) {
    const int size = TwipsToPixels(twips, parent);
    auto *picture = new QLabel(parent);
    picture->setObjectName(name);
    picture->setPixmap(
        ThemedIcon(resourcePath, parent->palette()).pixmap(QSize(size, size), parent->devicePixelRatioF()));
    return picture;
}

QLabel *MakeText(const char *name, QWidget *parent) {
    auto *label = new QLabel(parent);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    return label;
}

} // namespace

frmAbout::frmAbout(const AppState &state, QWidget *owner)
    : QDialog(owner), image1_(MakePicture("Image1", ":/icons/k470.svg", PictureSize, this)),
      image2_(MakePicture("Image2", ":/icons/read.svg", SmallPictureSize, this)),
      label1_(MakeText("Label1", this)), label2_(MakeText("Label2", this)), command1_(new QPushButton(this)) {
    setObjectName("frmAbout");
    command1_->setObjectName("Command1");
    command1_->setDefault(true);
    connect(command1_, &QPushButton::clicked, this, &frmAbout::Command1_Click);
    LayOut();
    Form_Load(state.language);
}

void frmAbout::Form_Load(Language language) {
    setWindowTitle(PickText(language, Caption) + ToQt(ModelWord));
    label1_->setText(AboutLines(language));
    label2_->setText(PickText(language, Notice));
    command1_->setText(PickText(language, OkCaption));
}

void frmAbout::LayOut() {
    auto *rule = new QFrame(this);
    rule->setFrameStyle(QFrame::HLine | QFrame::Plain);
    rule->setEnabled(false); // dimmed, on any ground
    const int margin = TwipsToPixels(Margin, this);
    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(margin, margin, margin, margin);
    grid->setSpacing(margin);
    grid->addWidget(image1_, 0, 0, Qt::AlignCenter);
    grid->addWidget(label1_, 0, 1);
    grid->addWidget(rule, 1, 0, 1, 2);
    grid->addWidget(image2_, 2, 0, Qt::AlignCenter);
    grid->addWidget(label2_, 2, 1);
    grid->addWidget(command1_, 3, 0, 1, 2, Qt::AlignRight);
    grid->setSizeConstraint(QLayout::SetFixedSize);
}

void frmAbout::Command1_Click() {
    accept();
}

} // namespace k470
