#include "core/AppState.h"
#include "link/ComPorts.h"
#include "tests/Widgets.h"
#include "ui/main/LanguageForm.h"
#include "ui/main/frmAbout.h"
#include "ui/main/frmComPort.h"
#include "ui/shared/ThemedIcon.h"

#include <QComboBox>
#include <QImage>
#include <QLabel>

#include <tuple>

namespace k470 {
namespace {

const ComPortTable TwoPorts{{1, "/dev/ttyS0", ""}, {10, "/dev/ttyUSB5", "Serial cable"}};

TEST(AboutBox, ShowsPicturesAndVersionAndClosesWithOk) {
    frmAbout about({}, nullptr);
    for (const char *name : {"Image1", "Image2"})
        EXPECT_FALSE(about.findChild<QLabel *>(name)->pixmap().isNull()) << name;
    EXPECT_TRUE(about.findChild<QLabel *>("Label1")->text().contains("版本  1.01\r\n"));
    about.show();
    QTest::keyClick(&about, Qt::Key_Return);
    EXPECT_EQ(about.result(), QDialog::Accepted);
    EXPECT_FALSE(about.isVisible());
}

TEST(PortDialog, OffersThePortsWithTheirDevicesAndChangesThePortWithOkOnly) {
    const char *const serial = "/dev/ttyS0", *const usb = "/dev/ttyUSB5\nSerial cable";
    for (const auto &[before, shown, device, key, after] : {std::tuple(10, "COM10", usb, Qt::Key_Return, 10),
                                                            {7, "COM1", serial, Qt::Key_Return, 1},
                                                            {7, "COM1", serial, Qt::Key_Escape, 7}}) {
        AppState state;
        state.portNumber = static_cast<std::uint8_t>(before);
        frmComPort dialog(state, TwoPorts, nullptr);
        const auto *list = dialog.findChild<QComboBox *>("Combo1");
        EXPECT_EQ(FromQt(list->currentText() + list->toolTip()), std::string(shown) + device);
        dialog.show();
        QTest::keyClick(&dialog, key);
        EXPECT_FALSE(dialog.isVisible());
        EXPECT_EQ(state.portNumber, after);
    }
    AppState state;
    frmComPort dialog(state, {}, nullptr);
    dialog.show();
    QTest::keyClick(&dialog, Qt::Key_Return);
    EXPECT_TRUE(dialog.isVisible()) << "OK without a port";
}

TEST(LanguageDialog, ChangesTheLanguageWithOkOnly) {
    for (const auto &[key, after] :
         {std::pair(Qt::Key_Return, Language::English), {Qt::Key_Escape, Language::Chinese}}) {
        AppState state;
        state.language = Language::Chinese;
        LanguageForm dialog(state, nullptr);
        auto *list = dialog.findChild<QComboBox *>("cboLang");
        EXPECT_EQ(FromQt(list->currentText()), "中文");
        dialog.show();
        QTest::keyClick(list, Qt::Key_Up);
        QTest::keyClick(&dialog, key);
        EXPECT_FALSE(dialog.isVisible());
        EXPECT_EQ(state.language, after);
    }
}

/// The most opaque pixel of an icon.
QColor Strongest(const QIcon &icon, double scale, QIcon::Mode mode) {
    const QImage image = icon.pixmap(QSize(24, 24), scale, mode).toImage();
    EXPECT_EQ(image.width(), qRound(24 * scale)) << "drawn for another scale";
    QColor strongest(Qt::transparent);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y).alpha() > strongest.alpha())
                strongest = image.pixelColor(x, y);
    return strongest;
}

TEST(ThemedIcons, AreDrawnInTheTextColourAtEveryScaleAndDimmedOutOfUse) {
    QPalette palette;
    palette.setColor(QPalette::WindowText, QColor(0x11, 0x22, 0x33));
    for (const char *name : {"new", "open", "save", "print", "read", "com", "write", "about"}) {
        const QIcon icon = ThemedIcon(QString(":/icons/%1.svg").arg(name), palette);
        EXPECT_EQ(FromQt(Strongest(icon, 1.25, QIcon::Normal).name()), "#112233") << name;
        EXPECT_NEAR(Strongest(icon, 1.25, QIcon::Disabled).alphaF(), 0.4, 0.02) << name;
    }
    EXPECT_FALSE(ThemedIcon(":/icons/k470.svg", palette).isNull());
    EXPECT_TRUE(ThemedIcon(":/icons/nothing.svg", palette).isNull());
}

} // namespace
} // namespace k470
