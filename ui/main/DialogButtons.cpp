#include "ui/main/DialogButtons.h"

#include "ui/shared/Texts.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QPushButton>

namespace k470 {

QHBoxLayout *MakeDialogButtons(QDialog *dialog, Language language, const std::function<void()> &onOk,
                               const std::function<void()> &onCancel) {
    auto *ok = new QPushButton(PickText(language, OkCaption), dialog);
    ok->setObjectName("cmdOK");
    ok->setDefault(true);
    QObject::connect(ok, &QPushButton::clicked, dialog, onOk);
    auto *cancel = new QPushButton(PickText(language, CancelCaption), dialog);
    cancel->setObjectName("cmdCancel");
    QObject::connect(cancel, &QPushButton::clicked, dialog, onCancel);
    auto *row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(ok);
    row->addWidget(cancel);
    return row;
}

} // namespace k470
