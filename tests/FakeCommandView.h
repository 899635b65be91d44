#pragma once

#include "core/AppState.h"
#include "files/FileCommands.h"

#include <string>

namespace k470 {

/// A main window without a window: notes what it is told, a line a call, and gives prepared answers.
class FakeCommandView : public FileCommandView {
public:
    explicit FakeCommandView(AppState &state) : state_(state) {}

    SaveAnswer AskSaveFirst(std::string_view text) override {
        Note("AskSaveFirst", text);
        return saveFirst;
    }
    bool ConfirmClearAll(std::string_view text, std::string_view title) override {
        Note("ConfirmClearAll", title, text);
        return clearAll;
    }
    void ShowMessage(std::string_view text, Icon icon, std::string_view title) override {
        Note(icon == Icon::Critical ? "Critical" : "Exclamation", title, text);
    }
    std::optional<std::string> ChooseOpenFile() override {
        Note("ChooseOpenFile");
        return openFile;
    }
    std::optional<std::string> ChooseSaveFile(const std::string &proposed) override {
        Note("ChooseSaveFile", proposed);
        return saveFile;
    }
    void TransferFocus() override { Note("TransferFocus"); }
    void CommitEdits() override {
        Note("CommitEdits");
        state_.image[0] = committed;
        TakeSnapshot(state_);
    }
    void RefreshChData() override { Note("RefreshChData"); }
    void RefreshData() override { Note("RefreshData"); }
    void ShowImage() override { Note("ShowImage", std::to_string(state_.gridRows)); }

    SaveAnswer saveFirst = SaveAnswer::Cancel;
    bool clearAll = false;
    std::optional<std::string> openFile;
    std::optional<std::string> saveFile;
    std::uint8_t committed = 0x77; ///< what the pending edits put into byte 0
    std::string log;

private:
    void Note(std::string_view call, std::string_view first = {}, std::string_view second = {}) {
        log.append(call).append(first.empty() ? "" : " ").append(first);
        log.append(second.empty() ? "" : ": ").append(second).append("\n");
    }

    AppState &state_;
};

} // namespace k470
