#pragma once

#include "core/MemoryImage.h"
#include "resources/StringTable.h"

#include <cstdint>
#include <string>
#include <vector>

namespace k470 {

inline constexpr std::uint8_t DefaultGridRows = 17;
inline constexpr std::uint8_t MaxGridRows = MaxChannels + 1;
inline constexpr std::uint8_t DefaultPortNumber = 1;
inline constexpr double DefaultBandLow = 400;
inline constexpr double DefaultBandHigh = 480;
inline constexpr const char *UntitledFileName = "Untitled";

/// Direction of a clone session.
enum class CloneMode : std::uint8_t { Read = 0, Write = 1 };

/// Everything that lives as long as the program and is shared by its windows. Made once in main and handed on
/// by reference; tests and the command line make their own.
struct AppState {
    MemoryImage image{};
    MemoryImage snapshot{}; ///< the image at the last TakeSnapshot

    Language language = Language::Chinese; ///< LanguageFlag
    std::uint8_t portNumber = DefaultPortNumber;
    std::uint8_t gridRows = DefaultGridRows;        ///< channel count + 1, 1 to 100
    std::uint8_t gridRowsLaidOut = DefaultGridRows; ///< the gridRows that the channel grid was laid out for
    double bandLow = DefaultBandLow;                ///< MHz
    double bandHigh = DefaultBandHigh;              ///< MHz
    std::string currentFileName = UntitledFileName;
    std::string appFolder; ///< the program's folder, ends in a separator
    std::vector<std::string> toneList;
    std::vector<std::string> comPortList;
    CloneMode cloneMode = CloneMode::Read;

    std::uint8_t currentBand = 0;  ///< position just chosen in the band list
    std::uint8_t previousBand = 0; ///< position of the band in force
    bool refreshDone = false;      ///< false while RefreshData selects the band

    std::uint8_t currentRow = 1; ///< current cell of the channel grid
    std::uint8_t currentCol = 1;
};

/// Replaces the image by a new codeplug with the state's band limits and as many channels as the state has
/// grid rows for; takes a snapshot.
void StartImage(AppState &state);

/// Makes band limits and grid rows those of the image, after another one has come into the state. A channel
/// count of 100 or more keeps the grid rows. The snapshot stays: a file that was opened gets one, a read
/// none.
void FollowImage(AppState &state);

} // namespace k470
