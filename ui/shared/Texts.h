#pragma once

#include "resources/StringTable.h"

#include <QString>
#include <QStringList>

#include <string>
#include <string_view>
#include <vector>

namespace k470 {

inline QString ToQt(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

inline QStringList ToQt(const std::vector<std::string> &texts) {
    QStringList list;
    for (const std::string &text : texts)
        list.append(ToQt(text));
    return list;
}

inline std::string FromQt(const QString &text) {
    return text.toStdString();
}

/// A text of the numbered table, or of a literal pair, for a widget.
inline QString ResText(Language language, int n) {
    return ToQt(Res(language, n));
}
inline QString PickText(Language language, const TextPair &pair) {
    return ToQt(Pick(language, pair));
}

/// Captions that several dialogs have.
inline constexpr TextPair OkCaption{"OK", "确定"};
inline constexpr TextPair CancelCaption{"Cancel", "取消"};

} // namespace k470
