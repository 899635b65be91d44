#pragma once

// How the tests of the windows find and drive widgets.

#include "ui/shared/FlexGrid.h"
#include "ui/shared/Texts.h"

#include <QApplication>
#include <QScrollBar>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace k470 {

using Strings = std::vector<std::string>;

/// Shows each modal window that stands over the others to a routine, again and again until it is gone.
class ModalWatch {
public:
    explicit ModalWatch(std::function<void(QWidget &)> look) : look_(std::move(look)) {
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] {
            QWidget *modal = QApplication::activeModalWidget();
            if (modal != nullptr && modal->isVisible())
                look_(*modal);
        });
        timer_.start(1);
    }

private:
    std::function<void(QWidget &)> look_;
    QTimer timer_;
};

/// The middle of a cell in the grid's viewport.
inline QPoint CentreOf(const FlexGrid &grid, int row, int col) {
    return grid.viewport()->mapFrom(grid.parentWidget(), grid.CellRect(row, col).center());
}

inline void ClickCell(const FlexGrid &grid, int row, int col, Qt::MouseButton button = Qt::LeftButton,
                      Qt::KeyboardModifiers modifiers = {}) {
    QTest::mouseClick(grid.viewport(), button, modifiers, CentreOf(grid, row, col));
}

/// What has the focus, which must be something.
inline QWidget *Focused() {
    if (QApplication::focusWidget() == nullptr)
        throw std::logic_error("nothing has the focus");
    return QApplication::focusWidget();
}

inline void Press(std::initializer_list<Qt::Key> keys, Qt::KeyboardModifiers modifiers = {}) {
    for (const Qt::Key key : keys)
        QTest::keyClick(Focused(), key, modifiers);
}

/// Types a text into whatever has the focus, which may change with a character.
inline void Type(const char *text) {
    for (; *text != '\0'; ++text)
        QTest::keyClick(Focused(), *text);
}

} // namespace k470
