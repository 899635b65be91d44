#include "files/FileCommands.h"
#include "tests/fuzz/Require.h"

#include "core/AppState.h"

#include <sys/mman.h>
#include <unistd.h>

namespace k470 {
namespace {

/// Counts messages; opening by name asks nothing.
class CountingView : public FileCommandView {
public:
    SaveAnswer AskSaveFirst(std::string_view) override { return SaveAnswer::Cancel; }
    bool ConfirmClearAll(std::string_view, std::string_view) override { return false; }
    void ShowMessage(std::string_view, Icon, std::string_view) override { ++messages; }
    std::optional<std::string> ChooseOpenFile() override { return std::nullopt; }
    std::optional<std::string> ChooseSaveFile(const std::string &) override { return std::nullopt; }
    void TransferFocus() override {}
    void CommitEdits() override {}
    void RefreshChannelOP() override {}
    void RefreshChData() override {}
    void RefreshData() override {}
    void ShowTitle() override { ++titles; }

    int messages = 0;
    int titles = 0;
};

/// A file in memory that holds the bytes. @return its path
std::string FileOf(const std::uint8_t *data, std::size_t size) {
    static const int file = ::memfd_create("codeplug", 0);
    Require(::ftruncate(file, 0) == 0);
    Require(::pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
    return "/proc/self/fd/" + std::to_string(file);
}

void Check(const std::string &path) {
    AppState state;
    NewImage(state);
    const MemoryImage before = state.image;
    CountingView view;
    const auto failure = FileCommands(state, view).OpenNamed(path);
    Require(view.messages == (failure ? 1 : 0));
    Require(view.titles == (failure ? 0 : 1));
    Require(!ImageModified(state));
    Require(state.gridRows >= 1 && state.gridRows <= MaxGridRows && state.gridRows == state.gridRowsLaidOut);
    if (failure) {
        Require(state.image == before);
        return;
    }
    MemoryImage again{};
    Require(!UnpackImage(PackImage(state.image), again));
    Require(again == state.image);
}

} // namespace
} // namespace k470

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    k470::Check(k470::FileOf(data, size));
    return 0;
}
