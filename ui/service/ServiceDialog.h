#pragma once

#include <QDialog>
#include <QFont>

class QPushButton;

namespace k470 {

/// A place in a window or a frame, in twips.
struct Place {
    int left;
    int top;
    int width;
    int height;
};

/// The place in device-independent pixels of the widget.
QRect PlaceInPixels(const Place &place, const QWidget *widget);

/// The font, as much smaller as the text needs to fit into a cell. @param room in pixels
QFont FittingFont(QFont font, const QString &text, QSize room);

/// A modal window of a fixed size whose controls stand at stated places. No button is the default one: Enter
/// belongs to grids and text boxes, and presses a button only when the button has the focus.
class ServiceDialog : public QDialog {
    Q_OBJECT

protected:
    enum class EscapeKey { DoesNothing, Cancels };

    /// @param name object name
    /// @param width, height of the client area in twips
    ServiceDialog(const char *name, int width, int height, EscapeKey escape, QWidget *owner);

    QPushButton *AddButton(const char *name, const QString &caption, const Place &place);

    void keyPressEvent(QKeyEvent *event) override;

private:
    EscapeKey escape_;
};

} // namespace k470
