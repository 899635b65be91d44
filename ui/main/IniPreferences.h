#pragma once

#include "core/Preferences.h"

#include <QString>

namespace k470 {

/// The preferences in an INI file, by default "k470.ini" in the program's configuration folder.
class IniPreferences : public PreferenceStore {
public:
    IniPreferences();
    explicit IniPreferences(QString path);

    std::string GetKeyValue(std::string_view name) const override;
    bool UpdateKey(std::string_view name, std::string_view text) override;

private:
    QString path_;
};

} // namespace k470
