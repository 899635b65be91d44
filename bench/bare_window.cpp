// What a window with an empty table costs at the least, to compare the program with.
// usage: bare_window [timer]   with "timer", an empty timer ticks every millisecond

#include "core/AppState.h"
#include "core/ChannelRows.h"

#include <QApplication>
#include <QMainWindow>
#include <QTableWidget>
#include <QTimer>

#include <cstring>

namespace {

constexpr QSize ProgramSize(1000, 700); // about the program's first window

} // namespace

int main(int argc, char **argv) {
    QApplication application(argc, argv);
    QMainWindow window;
    window.setCentralWidget(new QTableWidget(k470::DefaultGridRows, k470::GridCols));
    window.resize(ProgramSize);
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [] {});
    if (argc > 1 && std::strcmp(argv[1], "timer") == 0)
        timer.start(1);
    window.show();
    return QApplication::exec();
}
