#pragma once

#include <QKeyEvent>

namespace k470 {

inline bool IsEnter(const QKeyEvent &key) {
    return key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
}

/// Whether Ctrl, Alt or Meta is held: the key is a command, not a character.
inline bool IsChord(const QKeyEvent &key) {
    return key.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
}

/// Whether the key stands for a character that can be seen.
inline bool IsPrintable(const QKeyEvent &key) {
    return !key.text().isEmpty() && key.text().front().isPrint();
}

} // namespace k470
