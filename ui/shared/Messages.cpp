#include "ui/shared/Messages.h"

#include <QCoreApplication>
#include <QGridLayout>
#include <QLibraryInfo>
#include <QTranslator>

namespace k470 {

namespace {

constexpr int LeastWidth = 240; // pixels

} // namespace

QMessageBox::StandardButton ShowMessage(QWidget *owner, QMessageBox::Icon icon, const QString &title,
                                        const QString &text, QMessageBox::StandardButtons buttons,
                                        QMessageBox::StandardButton defaultButton) {
    // The toolkit fills a title that is quite empty with the program's name.
    QMessageBox box(icon, title.isEmpty() ? QString(" ") : title, text, buttons, owner);
    box.setObjectName("MessageBox");
    box.setTextFormat(Qt::PlainText);
    box.setDefaultButton(defaultButton);
    // Wide enough for a title: the shortest Chinese texts are not.
    if (auto *grid = qobject_cast<QGridLayout *>(box.layout()))
        grid->addItem(new QSpacerItem(LeastWidth, 0), grid->rowCount(), 0, 1, grid->columnCount());
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

void InstallToolkitLanguage(Language language) {
    constexpr auto Name = "k470ToolkitTexts";
    auto *application = QCoreApplication::instance();
    delete application->findChild<QTranslator *>(Name);
    if (language == Language::English)
        return; // the toolkit's own texts are English
    auto *translator = new QTranslator(application);
    translator->setObjectName(Name);
    const bool loaded = translator->load("qtbase_zh_CN", QLibraryInfo::path(QLibraryInfo::TranslationsPath));
    if (loaded)
        QCoreApplication::installTranslator(translator);
}

} // namespace k470
