#include "files/FileCommands.h"
#include "tests/FakeCommandView.h"
#include "tests/fuzz/Require.h"

#include <sys/mman.h>
#include <unistd.h>

namespace k470 {
namespace {

/// A file in memory that holds the bytes. @return its path
std::string FileOf(const std::uint8_t *data, std::size_t size) {
    static const int file = ::memfd_create("codeplug", 0);
    Require(::ftruncate(file, 0) == 0);
    Require(::pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
    return "/proc/self/fd/" + std::to_string(file);
}

void Check(const std::string &path) {
    AppState state;
    state.language = Language::English;
    NewImage(state);
    const MemoryImage before = state.image;
    FakeCommandView view(state);
    const bool failed = FileCommands(state, view).OpenNamed(path).has_value();
    Require(failed ? view.log.ends_with(": Incorrect File Type.\n") : view.log.starts_with("ShowImage "));
    Require(!ImageModified(state));
    Require(state.gridRows >= 1 && state.gridRows <= MaxGridRows);
    if (failed)
        return Require(state.image == before);
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
