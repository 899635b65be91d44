#pragma once

#include "cli/Console.h"

#include <array>
#include <string>

namespace k470 {

/// How the program ends; part of what scripts rely on.
enum ExitCode : int {
    ExitDone = 0,
    ExitDiffers = 1,
    ExitUsage = 2,
    ExitFile = 3,
    ExitPort = 4,
    ExitRadio = 5,
    ExitVerify = 6,
    ExitInterrupted = 130,
};

struct ExitMeaning {
    ExitCode code;
    const char *result; ///< the word for machines
    const char *meaning;
};

inline constexpr std::array<ExitMeaning, 8> ExitMeanings{{
    {ExitDone, "done", "done"},
    {ExitDiffers, "differs", "the files differ, or the check found warnings"},
    {ExitUsage, "usage", "usage: unknown, missing or contradictory arguments"},
    {ExitFile, "fileFailed", "file: cannot be read or written, or holds no image that the command can use"},
    {ExitPort, "portFailed", "port: not there, not permitted, in use, or no serial port"},
    {ExitRadio, "radioFailed", "radio: no answer, wrong answers, or lines missing from a read"},
    {ExitVerify, "differs", "verify failed: the radio does not hold what it should"},
    {ExitInterrupted, "interrupted", "interrupted by Ctrl+C, a request to end or a hang-up of the terminal"},
}};

inline constexpr int MostRetries = 9;

/// What the arguments say. Each command uses those that it asks for.
struct CommandArguments {
    std::string port; ///< COM name or device path
    std::string input;
    std::string output;
    std::string other; ///< the second of two inputs
    std::string band;  ///< "LOW-HIGH" in MHz
    std::string channels;
    std::string trace; ///< file that records the frames; "" for none
    int retry = 2;     ///< how often a disturbed read is begun anew, 0 to MostRetries
    bool noBackup = false;
    bool noVerify = false;
    bool json = false; ///< results in the form for machines
};

/// A command tells what it has to tell through the console.
using Command = ExitCode (*)(const CommandArguments &arguments, const Console &console);

} // namespace k470
