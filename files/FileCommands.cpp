#include "files/FileCommands.h"

#include "core/AppState.h"

#include <utility>

namespace k470 {

namespace {

constexpr std::string_view ErrorTitle = "Error";

} // namespace

FileCommands::FileCommands(AppState &state, FileCommandView &view) : state_(state), view_(view) {
}

void FileCommands::New() {
    view_.TransferFocus();
    view_.CommitEdits();
    if (!view_.ConfirmClearAll(Res(state_.language, Text::AllCleared), Res(state_.language, Text::Alert)))
        return;
    NewImage(state_);
    view_.RefreshChData();
    view_.RefreshData();
}

void FileCommands::Open() {
    view_.TransferFocus();
    if (ImageModified(state_)) {
        const auto answer = view_.AskSaveFirst(Res(state_.language, Text::SaveFirst));
        if (answer == FileCommandView::SaveAnswer::Cancel)
            return;
        // A save that failed has said so, and the open dialog can still be cancelled.
        if (answer == FileCommandView::SaveAnswer::Yes)
            SaveCommitted();
    }
    if (const auto path = view_.ChooseOpenFile())
        OpenNamed(*path);
}

void FileCommands::Save() {
    view_.TransferFocus();
    view_.CommitEdits();
    SaveCommitted();
}

void FileCommands::SaveAs() {
    view_.TransferFocus();
    view_.CommitEdits();
    view_.TransferFocus();
    SaveUnderChosenName(state_.currentFileName);
}

std::optional<LoadFailure> FileCommands::OpenNamed(const std::string &path) {
    if (auto failure = ReadCodeplug(path, state_.image)) {
        if (failure->kind != LoadFailure::Kind::Unreadable)
            ShowWrongType(failure->kind);
        return failure;
    }
    TakeSnapshot(state_);
    FollowImage(state_);
    view_.ShowImage();
    return std::nullopt;
}

void FileCommands::SaveCommitted() {
    view_.TransferFocus();
    if (state_.currentFileName == UntitledFileName)
        SaveUnderChosenName(UntitledFileName + std::string(FileExtension));
    else
        WriteCurrentFile();
}

void FileCommands::SaveUnderChosenName(const std::string &proposed) {
    auto path = view_.ChooseSaveFile(proposed);
    if (!path)
        return;
    state_.currentFileName = WithFileExtension(std::move(*path));
    WriteCurrentFile();
}

void FileCommands::WriteCurrentFile() {
    if (const auto failure = WriteCodeplug(state_.currentFileName, state_.image))
        view_.ShowMessage(*failure, FileCommandView::Icon::Exclamation, ModelWord);
}

void FileCommands::ShowWrongType(LoadFailure::Kind kind) {
    view_.ShowMessage(Res(state_.language, Text::WrongFileType), FileCommandView::Icon::Critical,
                      kind == LoadFailure::Kind::NotPacked ? ErrorTitle : ModelWord);
}

} // namespace k470
