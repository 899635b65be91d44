#include "core/Preferences.h"

#include "core/NumberText.h"
#include "core/Tones.h"

namespace k470 {

namespace {

constexpr std::string_view KeyBandLow = "Model-FreqL";
constexpr std::string_view KeyBandHigh = "Model-FreqH";
constexpr std::string_view KeyLanguage = "Language";
constexpr std::string_view KeyLanguageWritten = "language";
constexpr std::string_view KeyPort = "gbPort";
constexpr std::string_view KeyRows = "gbRows";
constexpr char FolderSeparator = '/';

double ReadLimit(const PreferenceStore &store, std::string_view name, double missing) {
    const std::string text = store.GetKeyValue(name);
    return text.empty() ? missing : NumericPrefix(text);
}

/// A whole number of the range lowest to highest; anything else counts as missing.
std::uint8_t ReadByte(const PreferenceStore &store, std::string_view name, int lowest, int highest,
                      std::uint8_t missing) {
    const std::string text = store.GetKeyValue(name);
    if (text.empty())
        return missing;
    const double value = RoundHalfEven(NumericPrefix(text));
    return value >= lowest && value <= highest ? static_cast<std::uint8_t>(value) : missing;
}

} // namespace

void LoadPreferences(AppState &state, const PreferenceStore &store) {
    state.bandLow = ReadLimit(store, KeyBandLow, DefaultBandLow);
    state.bandHigh = ReadLimit(store, KeyBandHigh, DefaultBandHigh);
    state.language = static_cast<Language>(
        ReadByte(store, KeyLanguage, 0, 1, static_cast<std::uint8_t>(Language::Chinese)));
    state.portNumber = ReadByte(store, KeyPort, 0, 255, DefaultPortNumber);
    state.gridRows = ReadByte(store, KeyRows, 1, MaxGridRows, DefaultGridRows);
}

void SavePreferences(const AppState &state, PreferenceStore &store) {
    store.UpdateKey(KeyBandLow, ShortestDecimal(state.bandLow));
    store.UpdateKey(KeyBandHigh, ShortestDecimal(state.bandHigh));
    store.UpdateKey(KeyLanguageWritten, std::to_string(static_cast<int>(state.language)));
    store.UpdateKey(KeyPort, std::to_string(state.portNumber));
    store.UpdateKey(KeyRows, std::to_string(state.gridRows));
}

void StartState(AppState &state, const PreferenceStore &store, std::string appFolder) {
    LoadPreferences(state, store);
    state.toneList = BuildToneList(state.language);
    state.gridRowsLaidOut = state.gridRows;
    state.currentFileName = UntitledFileName;
    state.appFolder = std::move(appFolder);
    if (!state.appFolder.ends_with(FolderSeparator))
        state.appFolder += FolderSeparator;
    StartImage(state);
}

} // namespace k470
