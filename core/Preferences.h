#pragma once

#include "core/AppState.h"

#include <string>
#include <string_view>

namespace k470 {

/// The store of the five preferences: named texts, names without regard to case.
class PreferenceStore {
public:
    virtual ~PreferenceStore() = default;
    /// @return the value's text; "" when it is missing or the store cannot be read
    virtual std::string GetKeyValue(std::string_view name) const = 0;
    /// @return whether the value was stored
    virtual bool UpdateKey(std::string_view name, std::string_view text) = 0;
};

/// Reads the preferences into the state. A missing or empty one gets its default; a text that is no number
/// reads as 0. Language, port and grid rows outside their range (0 to 1, 0 to 255, 1 to 100) count as
/// missing. Port 0 is none: opening it fails until another is chosen.
void LoadPreferences(AppState &state, const PreferenceStore &store);

/// Writes the preferences from the state. A value that cannot be written is lost silently.
void SavePreferences(const AppState &state, PreferenceStore &store);

/// Brings a new state up to a default codeplug: preferences, tone list, file name, band limits, channel
/// count, new image with its snapshot.
/// @param appFolder the program's folder; a separator is appended when it lacks one
void StartState(AppState &state, const PreferenceStore &store, std::string appFolder);

} // namespace k470
