#include "ui/main/IniPreferences.h"

#include "link/QtComPorts.h"
#include "ui/shared/Texts.h"

#include <QFileInfo>
#include <QSettings>

namespace k470 {

namespace {

constexpr auto Group = "K470";

/// Whether a file can hold preferences. To open a pipe would wait for its writer, and a device may never end.
bool IsUsable(const QString &path) {
    const QFileInfo file(path);
    return file.isFile() || !file.exists();
}

/// The name under which the store holds a value, whatever its case; "" when it holds none.
QString StoredName(const QSettings &settings, const QString &name) {
    for (const QString &key : settings.childKeys()) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return key;
    }
    return {};
}

} // namespace

IniPreferences::IniPreferences() : IniPreferences(ToQt(ConfigFolder()) + "/k470.ini") {
}

IniPreferences::IniPreferences(QString path) : path_(std::move(path)) {
}

std::string IniPreferences::GetKeyValue(std::string_view name) const {
    if (!IsUsable(path_))
        return {};
    QSettings settings(path_, QSettings::IniFormat);
    settings.beginGroup(Group);
    const QString stored = StoredName(settings, ToQt(name));
    // The file's format makes a list of a text with commas.
    return stored.isEmpty() ? std::string() : FromQt(settings.value(stored).toStringList().join(','));
}

bool IniPreferences::UpdateKey(std::string_view name, std::string_view text) {
    if (!IsUsable(path_))
        return false;
    QSettings settings(path_, QSettings::IniFormat);
    settings.beginGroup(Group);
    // The store tells names apart by case, the preferences do not: the old spelling goes.
    for (QString old = StoredName(settings, ToQt(name)); !old.isEmpty();
         old = StoredName(settings, ToQt(name)))
        settings.remove(old);
    settings.setValue(ToQt(name), ToQt(text));
    settings.sync();
    return settings.status() == QSettings::NoError;
}

} // namespace k470
