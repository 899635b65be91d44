#include "ui/main/frmAbout.h"

#include "ui/shared/Texts.h"

#include <QGridLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>

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
constexpr int PictureSize = 64;
constexpr int SmallPictureSize = 24;
constexpr int Margin = 20;

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

QLabel *MakePicture(const char *name, int size, QWidget *parent) {
    auto *picture = new QLabel(parent);
    picture->setObjectName(name);
    picture->setPixmap(QIcon(":/icons/k470.svg").pixmap(QSize(size, size), parent->devicePixelRatioF()));
    return picture;
}

} // namespace

frmAbout::frmAbout(AppState &state, QWidget *owner) : QDialog(owner) {
    setObjectName("frmAbout");
    setWindowTitle(PickText(state.language, Caption) + ToQt(ModelWord));
    auto *text = new QLabel(AboutLines(state.language), this);
    text->setObjectName("Label1");
    auto *notice = new QLabel(PickText(state.language, Notice), this);
    notice->setObjectName("Label2");
    auto *ok = new QPushButton(PickText(state.language, OkCaption), this);
    ok->setObjectName("Command1");
    ok->setDefault(true);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);

    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(Margin, Margin, Margin, Margin);
    grid->setHorizontalSpacing(Margin);
    grid->setVerticalSpacing(Margin);
    grid->addWidget(MakePicture("Image1", PictureSize, this), 0, 0, Qt::AlignTop);
    grid->addWidget(text, 0, 1);
    grid->addWidget(MakePicture("Image2", SmallPictureSize, this), 1, 0, Qt::AlignHCenter | Qt::AlignTop);
    grid->addWidget(notice, 1, 1);
    grid->addWidget(ok, 2, 0, 1, 2, Qt::AlignRight);
    grid->setSizeConstraint(QLayout::SetFixedSize);
}

} // namespace k470
