#pragma once

#include "files/CodeplugFile.h"

#include <optional>
#include <string>
#include <string_view>

namespace k470 {

struct AppState;

/// What the file commands ask of the window. Texts come in the language of the program.
class FileCommandView {
public:
    enum class SaveAnswer { Yes, No, Cancel };
    enum class Icon { Exclamation, Critical };

    virtual ~FileCommandView() = default;

    /// Yes, No and Cancel, an exclamation icon, an empty title.
    virtual SaveAnswer AskSaveFirst(std::string_view text) = 0;
    /// OK and Cancel, an exclamation icon; Cancel is the default button. @return whether OK was pressed
    virtual bool ConfirmClearAll(std::string_view text, std::string_view title) = 0;
    /// An OK button.
    virtual void ShowMessage(std::string_view text, Icon icon, std::string_view title) = 0;

    /// The open dialog with FileFilter: no proposed name, existing files only.
    /// @return the chosen path; nothing when cancelled
    virtual std::optional<std::string> ChooseOpenFile() = 0;
    /// The save dialog with FileFilter. Asks before an existing file is overwritten, and asks it of the name
    /// as WithFileExtension completes it: the file is saved under that one without a further question.
    /// @return the chosen path; nothing when cancelled
    virtual std::optional<std::string> ChooseSaveFile(const std::string &proposed) = 0;

    /// Ends a cell edit in progress.
    virtual void TransferFocus() = 0;
    /// Controls into the image; takes a snapshot.
    virtual void CommitEdits() = 0;
    /// Channels from the image.
    virtual void RefreshChData() = 0;
    /// Band and settings from the image.
    virtual void RefreshData() = 0;
    /// The state has another image: its rows, channels, band, settings and caption.
    virtual void ShowImage() = 0;
};

/// The commands of the File menu, Exit excepted.
class FileCommands {
public:
    FileCommands(AppState &state, FileCommandView &view);

    void New();
    void Open();
    void Save();
    void SaveAs();

    /// Opens a file as Open does after its dialog, messages included.
    /// @return why it was not opened; nothing when it was. Unreadable is the one kind that showed no message
    std::optional<LoadFailure> OpenNamed(const std::string &path);

private:
    /// Save without the commit of pending edits.
    void SaveCommitted();
    void SaveUnderChosenName(const std::string &proposed);
    void WriteCurrentFile();
    void ShowWrongType(LoadFailure::Kind kind);

    AppState &state_;
    FileCommandView &view_;
};

} // namespace k470
