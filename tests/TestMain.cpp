#include <QApplication>
#include <QStyleFactory>
#include <QTemporaryDir>

#include <gtest/gtest.h>

int main(int argc, char **argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Neither the settings nor the ports of the person who runs the tests are touched.
    const QTemporaryDir home;
    for (const char *variable : {"HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"})
        qputenv(variable, home.path().toUtf8());
    qputenv("K470_PORTS", "");
    QApplication application(argc, argv);
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
