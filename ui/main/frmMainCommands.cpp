#include "link/QtComPorts.h"
#include "ui/main/LanguageForm.h"
#include "ui/main/frmAbout.h"
#include "ui/main/frmComPort.h"
#include "ui/main/frmMain.h"
#include "ui/main/frmclone.h"
#include "ui/service/frmAdv.h"
#include "ui/shared/Messages.h"
#include "ui/shared/Texts.h"

#include <QFileDialog>

#include <cstdio>

namespace k470 {

void frmMain::tlbActions_ButtonClick(const ToolButton &button) {
    TransferFocus();
    (this->*button.command)();
}

// The file commands end an open edit themselves.
void frmMain::mnuFile_New_Click() {
    files_.New();
}

void frmMain::mnuFile_Open_Click() {
    files_.Open();
}

void frmMain::mnuFile_Save_Click() {
    files_.Save();
}

void frmMain::mnuFile_SaveAs_Click() {
    files_.SaveAs();
}

void frmMain::mnuFile_Exit_Click() {
    TransferFocus();
    close();
}

void frmMain::OpenNamed(const std::string &path) {
    const auto failure = files_.OpenNamed(path);
    if (!failure || failure->kind != LoadFailure::Kind::Unreadable)
        return;
    std::fprintf(stderr, "k470: %s: %s\n", path.c_str(), failure->text.c_str());
    constexpr TextPair CannotOpen{"Cannot open ", "无法打开 "};
    ShowMessage(std::string(Pick(state_.language, CannotOpen)) + path + "\n" + failure->text,
                Icon::Exclamation, ModelWord);
}

void frmMain::mnuRead_Click() {
    TransferFocus();
    TransferWith(CloneMode::Read, Text::ReadQuestion);
}

void frmMain::mnuWrite_Click() {
    TransferFocus();
    CommitEdits();
    PrepareForWrite(state_.image);
    TransferWith(CloneMode::Write, Text::WriteQuestion);
}

void frmMain::TransferWith(CloneMode mode, int question) {
    const QString text =
        ResText(state_.language, question) + "\n" + ResText(state_.language, Text::ContinueQuestion);
    const auto answer =
        k470::ShowMessage(this, QMessageBox::Question, "", text, QMessageBox::Ok | QMessageBox::Cancel);
    if (answer != QMessageBox::Ok)
        return;
    state_.cloneMode = mode;
    frmclone window(state_, SystemComPorts, this);
    connect(&window, &frmclone::PortChanged, this, &frmMain::ShowPort);
    connect(&window, &frmclone::ImageRead, this, &frmMain::ShowImage);
    window.exec();
}

void frmMain::mnuPort_Click() {
    TransferFocus();
    frmComPort(state_, SystemComPorts(), this).exec();
    ShowPort();
}

void frmMain::mnuLanguage_Click() {
    TransferFocus();
    CommitEdits();
    LanguageForm(state_, this).exec();
    RefreshAll();
}

void frmMain::mnuAdvanded_Click() {
    TransferFocus();
    CommitEdits();
    frmAdv(state_, this).exec();
}

void frmMain::mnuHelp_About_Click() {
    TransferFocus();
    frmAbout(state_, this).exec();
}

// --- what the file commands ask ---

FileCommandView::SaveAnswer frmMain::AskSaveFirst(std::string_view text) {
    const auto answer = k470::ShowMessage(this, QMessageBox::Warning, "", ToQt(text),
                                          QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
    if (answer == QMessageBox::Yes)
        return SaveAnswer::Yes;
    return answer == QMessageBox::No ? SaveAnswer::No : SaveAnswer::Cancel;
}

bool frmMain::ConfirmClearAll(std::string_view text, std::string_view title) {
    return k470::ShowMessage(this, QMessageBox::Warning, ToQt(title), ToQt(text),
                             QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Cancel) == QMessageBox::Ok;
}

void frmMain::ShowMessage(std::string_view text, Icon icon, std::string_view title) {
    k470::ShowMessage(this, icon == Icon::Critical ? QMessageBox::Critical : QMessageBox::Warning,
                      ToQt(title), ToQt(text));
}

std::optional<std::string> frmMain::ChooseOpenFile() {
    QFileDialog dialog(this);
    dialog.setObjectName("FileDialog");
    dialog.setNameFilter(ToQt(FileFilter));
    dialog.setFileMode(QFileDialog::ExistingFile);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return FromQt(dialog.selectedFiles().front());
}

std::optional<std::string> frmMain::ChooseSaveFile(const std::string &proposed) {
    QFileDialog dialog(this);
    dialog.setObjectName("FileDialog");
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilter(ToQt(FileFilter));
    dialog.setDefaultSuffix(ToQt(FileExtension.substr(1)));
    dialog.selectFile(ToQt(proposed));
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return FromQt(dialog.selectedFiles().front());
}

} // namespace k470
