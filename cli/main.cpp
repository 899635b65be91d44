#include "cli/ImageCommands.h"
#include "cli/RadioCommands.h"

#include <CLI/CLI.hpp>

#include <QCoreApplication>

#include <string>
#include <vector>

namespace {

using namespace k470;

struct ArgumentShape {
    const char *name; ///< an option when it begins with dashes
    std::string CommandArguments::*value;
    const char *type;
    const char *help;
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

const std::vector<CommandShape> Commands{
    {"read", "Read the radio into a file", RunRead, {PortArgument, OutputArgument}},
    {"write", "Write the image of a file to the radio", RunWrite, {PortArgument, InputArgument}},
    {"show", "Show channels, band and settings of a file as text", RunShow, {InputArgument}},
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

/// Makes the command line know the command. @return where the parsing tells whether it was given
CLI::App *AddCommand(CLI::App &app, const CommandShape &shape, CommandArguments &arguments) {
    const CLI::Validator notEmpty(
        [](std::string &text) { return text.empty() ? std::string("is empty") : std::string(); }, "");
    CLI::App *const command = app.add_subcommand(shape.name, shape.help);
    command->fallthrough();
    for (const ArgumentShape &argument : shape.arguments)
        command->add_option(argument.name, arguments.*argument.value, argument.help)
            ->type_name(argument.type)
            ->required()
            ->check(notEmpty);
    return command;
}

ExitCode RunCommand(const CommandShape &shape, const CommandArguments &arguments, Language language, int argc,
                    char **argv) {
    // What fails is told by the commands in the user's language; remarks for developers would mix with it.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    const QCoreApplication application(argc, argv);
    return shape.run(arguments, Console(language));
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
    CommandArguments arguments;
    std::vector<CLI::App *> parsed;
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
            return RunCommand(Commands[i], arguments, chosen, argc, argv);
    return ExitUsage;
}
