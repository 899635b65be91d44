#include "core/AppState.h"
#include "ui/main/EndRequests.h"
#include "ui/main/IniPreferences.h"
#include "ui/main/frmMain.h"

#include <CLI/CLI.hpp>

#include <QApplication>
#include <QTimer>

#include <csignal>
#include <iostream>
#include <string>

namespace {

constexpr int UsageError = 2;

int RunWindow(int argc, char **argv, const std::string &file) {
    // A file beyond the size limit is a failed save, not the end of the program.
    std::signal(SIGXFSZ, SIG_IGN);
    QApplication application(argc, argv);
    QApplication::setApplicationName("k470");
    QApplication::setApplicationVersion(K470_VERSION);
    QApplication::setDesktopFileName("k470");
    k470::AppState state;
    k470::IniPreferences preferences;
    k470::frmMain window(state, preferences);
    const k470::EndRequests requests;
    QObject::connect(&requests, &k470::EndRequests::EndRequested, &window, &k470::frmMain::EndProgram);
    window.show();
    if (!file.empty())
        QTimer::singleShot(0, &window, [&window, &file] { window.OpenNamed(file); });
    return QApplication::exec();
}

} // namespace

int main(int argc, char **argv) {
    // The arguments are read before anything needs a display.
    CLI::App arguments("K470 Programming Software", "k470");
    std::string file;
    arguments.failure_message(
        [](const CLI::App *, const CLI::Error &error) { return error.what() + std::string("\n"); });
    arguments.add_option("FILE", file, "codeplug file (.tw) to open");
    arguments.set_version_flag("--version", K470_VERSION);
    try {
        arguments.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        const int code = arguments.exit(error);
        if (code == 0)
            return 0;
        std::cerr << arguments.help();
        return UsageError;
    }
    return RunWindow(argc, argv, file);
}
