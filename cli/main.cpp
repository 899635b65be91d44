#include "cli/CheckCommand.h"
#include "cli/ExchangeCommands.h"
#include "cli/ImageCommands.h"
#include "cli/RadioCommands.h"

#include <CLI/CLI.hpp>

#include <QCoreApplication>

#include <csignal>
#include <string>
#include <variant>
#include <vector>

namespace {

using namespace k470;

struct ArgumentShape {
    const char *name; ///< an option when it begins with dashes
    std::variant<std::string CommandArguments::*, int CommandArguments::*, bool CommandArguments::*> value;
    const char *type; ///< of what follows; "" for a flag
    const char *help;
    bool required = true;
};

struct CommandShape {
    const char *name;
    const char *help;
    Command run;
    std::vector<ArgumentShape> arguments;
};

const ArgumentShape PortArgument{
    "--port", &CommandArguments::port, "PORT",
    "COM name (COM1 to COM255) or device path of the programming cable; no other port is tried"};
const ArgumentShape InputArgument{"IN", &CommandArguments::input, "FILE", "Image file"};
const ArgumentShape OutputArgument{"OUT", &CommandArguments::output, "FILE",
                                   "Image file to write; an existing one is replaced"};
const ArgumentShape TraceArgument{"--trace", &CommandArguments::trace, "FILE",
                                  "Record every frame with its time in a file; an existing one is replaced",
                                  false};
const ArgumentShape RetryArgument{"--retry", &CommandArguments::retry, "N",
                                  "How often a read that lacks lines or breaks off is begun anew", false};
const ArgumentShape NoBackupArgument{"--no-backup", &CommandArguments::noBackup, "",
                                     "Do not read the radio and keep its image first", false};
const ArgumentShape NoVerifyArgument{
    "--no-verify", &CommandArguments::noVerify, "",
    "Do not read back and compare afterwards, unless the write was disturbed", false};
const ArgumentShape JsonArgument{"--json", &CommandArguments::json, "", "Results as JSON", false};

const std::vector<CommandShape> Commands{
    {"ports", "List the serial ports", RunPorts, {JsonArgument}},
    {"read",
     "Read the radio into a file",
     RunRead,
     {PortArgument, OutputArgument, RetryArgument, TraceArgument, JsonArgument}},
    {"write",
     "Write the image of a file to the radio, keep the old one, and verify",
     RunWrite,
     {PortArgument, InputArgument, NoBackupArgument, NoVerifyArgument, RetryArgument, TraceArgument,
      JsonArgument}},
    {"verify",
     "Compare the radio with the image of a file",
     RunVerify,
     {PortArgument, InputArgument, RetryArgument, TraceArgument, JsonArgument}},
    {"new",
     "Make the image of a radio without programmed channels",
     RunNew,
     {{"--band", &CommandArguments::band, "LOW-HIGH", "Band limits in MHz, such as 400-480"},
      {"--channels", &CommandArguments::channels, "N", "Channel count, 1 to 99"},
      OutputArgument}},
    {"show", "Show channels, band and settings of a file", RunShow, {InputArgument, JsonArgument}},
    {"check", "Warn of what a radio would not work with", RunCheck, {InputArgument, JsonArgument}},
    {"diff",
     "Compare two files by field and by byte",
     RunDiff,
     {{"A", &CommandArguments::input, "FILE", "Image file"},
      {"B", &CommandArguments::other, "FILE", "Image file to compare it with"},
      JsonArgument}},
    {"export",
     "Write channels, settings, band and tuning as JSON or CSV",
     RunExport,
     {InputArgument, {"DATA", &CommandArguments::output, "FILE", "File to write, ending in .json or .csv"}}},
    {"import",
     "Take channels, settings, band and tuning from JSON or CSV into a file",
     RunImport,
     {{"DATA", &CommandArguments::input, "FILE", "File to take them from, ending in .json or .csv"},
      {"FILE", &CommandArguments::output, "FILE", "Image file to change"},
      JsonArgument}},
    {"pack", "Pack a raw image into a .tw file", RunPack, {InputArgument, OutputArgument}},
    {"unpack", "Unpack a .tw file into a raw image", RunUnpack, {InputArgument, OutputArgument}},
};

constexpr const char *FilesFooter =
    "Image files whose name ends in .tw are packed, all others are the 1792 raw bytes.\n\nExit codes:\n";

std::string Footer() {
    constexpr std::size_t CodeWidth = 5;
    std::string text = FilesFooter;
    for (const ExitMeaning &row : ExitMeanings) {
        std::string code = std::to_string(row.code);
        code.resize(CodeWidth, ' ');
        text += "  " + code + row.meaning + "\n";
    }
    return text;
}

void AddArgument(CLI::App &command, const ArgumentShape &shape, std::string &value) {
    const CLI::Validator notEmpty(
        [](std::string &text) { return text.empty() ? std::string("is empty") : std::string(); }, "");
    command.add_option(shape.name, value, shape.help)
        ->type_name(shape.type)
        ->required(shape.required)
        ->check(notEmpty);
}

void AddArgument(CLI::App &command, const ArgumentShape &shape, int &value) {
    command.add_option(shape.name, value, shape.help)
        ->type_name(shape.type)
        ->capture_default_str()
        ->check(CLI::Range(0, MostRetries));
}

void AddArgument(CLI::App &command, const ArgumentShape &shape, bool &value) {
    command.add_flag(shape.name, value, shape.help);
}

/// Makes the command line know the command. @return where the parsing tells whether it was given
CLI::App *AddCommand(CLI::App &app, const CommandShape &shape, CommandArguments &arguments) {
    CLI::App *const command = app.add_subcommand(shape.name, shape.help);
    command->fallthrough();
    for (const ArgumentShape &argument : shape.arguments)
        std::visit([&](auto member) { AddArgument(*command, argument, arguments.*member); }, argument.value);
    return command;
}

ExitCode RunCommand(const CommandShape &shape, const CommandArguments &arguments, Language language,
                    bool quiet, int argc, char **argv) {
    // What fails is told by the commands in the user's language; remarks for developers would mix with it.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    // A file beyond the size limit is a failed save, not the end of the program in the middle of a write.
    std::signal(SIGXFSZ, SIG_IGN);
    const QCoreApplication application(argc, argv);
    return shape.run(arguments, Console(language, quiet));
}

} // namespace

int main(int argc, char **argv) {
    CLI::App app("Reads, writes and shows K470 radios without a window.", "k470-cli");
    app.footer(Footer());
    app.set_version_flag("--version", K470_VERSION);
    app.require_subcommand(1);
    std::string language;
    app.add_option("--lang", language,
                   "Language of the output: en or zh (default: zh in a Chinese locale, else en)")
        ->type_name("LANG")
        ->check(CLI::IsMember({"en", "zh"}));
    bool quiet = false;
    app.add_flag("--quiet", quiet, "No progress and no word of success; results, warnings and errors only");
    CommandArguments arguments;
    std::vector<CLI::App *> parsed;
    parsed.reserve(Commands.size());
    for (const CommandShape &shape : Commands)
        parsed.push_back(AddCommand(app, shape, arguments));
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? ExitDone : ExitUsage;
    }
    const Language chosen = language.empty()   ? LocaleLanguage()
                            : language == "zh" ? Language::Chinese
                                               : Language::English;
    for (std::size_t i = 0; i < Commands.size(); ++i)
        if (parsed[i]->parsed())
            return RunCommand(Commands[i], arguments, chosen, quiet, argc, argv);
    return ExitUsage;
}
