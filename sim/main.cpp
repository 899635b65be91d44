#include "sim/Faults.h"
#include "sim/PtyServer.h"
#include "sim/ReplayDevice.h"
#include "sim/SampleMemory.h"
#include "sim/SessionRecorder.h"
#include "sim/SimFiles.h"
#include "sim/SimulatedRadio.h"

#include <CLI/CLI.hpp>

#include <atomic>
#include <csignal>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

namespace {

using namespace k470;

enum ExitCode : int { ExitDone = 0, ExitDiffers = 1, ExitUsage = 2, ExitFile = 3, ExitPort = 4 };

struct Options {
    std::string link;
    int channels = 16;
    std::string image;
    std::string out;
    int baud = 0;
    std::string log;
    std::vector<std::string> faults;
    std::uint32_t seed = 1;
    std::string replay;
};

void Say(const std::string &text) {
    std::cerr << "k470-sim: " << text << std::endl;
}

constexpr const char *FaultsFooter =
    R"(A fault KIND@STEP[xCOUNT] strikes the first COUNT replies (1 when not given) that it can
strike at a protocol step: step 0 is the handshake, 1 the identification and its acknowledge,
line r is step r + 2, 110 the end byte, after which only noise or a hang-up can follow. Of
several faults the first one given strikes first. Kinds:
)";

constexpr const char *LogFooter = R"(
The log has a line a frame: seconds since the start, > from the program or < from the radio,
the bytes in hexadecimal. A frame of the program has the time at which it began to arrive, a
reply the time at which its last byte left. Complaints about the program go to standard error.

A replay reads such a log, or a trace that k470-cli recorded, and gives its replies to a program
that sends what was sent then. At the first other byte it complains and falls silent.

Exit codes: 0 ended by a signal, 1 the same after a replay whose program sent something else,
2 usage, 3 file, 4 no pseudo-terminal or no link to it.
)";

void DescribeOptions(CLI::App &app, Options &options) {
    app.footer(FaultsFooter + FaultKindHelp() + LogFooter);
    app.add_option("--link", options.link,
                   "Symbolic link to the pseudo-terminal, for as long as it is served")
        ->type_name("PATH");
    auto *channels = app.add_option("--channels", options.channels, "Channels of the sample memory (16)")
                         ->check(CLI::Range(1, MaxChannels))
                         ->type_name("N");
    auto *image = app.add_option("--image", options.image, "Memory from a file of 1792 raw bytes instead")
                      ->excludes(channels)
                      ->type_name("FILE");
    auto *out = app.add_option("--out", options.out, "File that receives the memory after each session")
                    ->type_name("FILE");
    app.add_option("--baud", options.baud,
                   "Pace both directions to wire time, 11 bits a byte; without it nothing is paced")
        ->check(CLI::Range(50, 4'000'000))
        ->type_name("N");
    auto *log = app.add_option("--log", options.log, "Log of all frames")->type_name("FILE");
    auto *fault = app.add_option("--fault", options.faults, "Go wrong; may be given several times")
                      ->type_name("KIND@STEP[xCOUNT]")
                      ->allow_extra_args(false);
    auto *seed =
        app.add_option("--seed", options.seed, "Seed of the faults' random bytes (1)")->type_name("N");
    auto *replay =
        app.add_option("--replay", options.replay, "Answer from a log of frames instead")->type_name("FILE");
    for (CLI::Option *other : {channels, image, out, log, fault, seed})
        replay->excludes(other);
}

std::optional<FaultInjector> MakeFaults(const Options &options) {
    std::vector<Fault> faults;
    for (const std::string &text : options.faults) {
        const ParsedFault parsed = ParseFault(text);
        if (!parsed.fault) {
            Say(parsed.error);
            return std::nullopt;
        }
        faults.push_back(*parsed.fault);
    }
    return FaultInjector(std::move(faults), options.seed);
}

/// The signals that end the program; blocked here and in every thread that follows, and waited for.
sigset_t HoldSignals() {
    sigset_t ending;
    ::sigemptyset(&ending);
    ::sigaddset(&ending, SIGINT);
    ::sigaddset(&ending, SIGTERM);
    struct sigaction hangUp {};
    ::sigaction(SIGHUP, nullptr, &hangUp);
    if (hangUp.sa_handler != SIG_IGN) // a program started by nohup outlives its terminal
        ::sigaddset(&ending, SIGHUP);
    ::signal(SIGPIPE, SIG_IGN); // nobody has to read the paths to the end
    ::pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    return ending;
}

/// Serves the device until a signal comes. @param observers what to tell; the rest is filled in here
ExitCode ServeUntilSignal(SerialDevice &device, PtyServerOptions observers, const Options &options) {
    const sigset_t ending = HoldSignals();
    std::atomic<bool> failed = false;
    observers.baud = options.baud;
    observers.link = options.link;
    observers.onNewSlave = [](const std::string &path) { std::cout << path << std::endl; };
    observers.onFailure = [&](const std::string &why) {
        Say(why);
        failed = true;
        ::kill(::getpid(), SIGTERM);
    };
    PtyServer server(device, std::move(observers));
    if (const auto failure = server.Start()) {
        Say(*failure);
        return ExitPort;
    }
    std::cout << server.SlavePath() << std::endl;
    int signal = 0;
    ::sigwait(&ending, &signal);
    server.Stop();
    return failed ? ExitPort : ExitDone;
}

ExitCode ServeRadio(SimulatedRadio &radio, const Options &options) {
    SessionRecorder recorder(radio, options.out, Say);
    if (!options.log.empty()) {
        if (const auto failure = recorder.OpenLog(options.log)) {
            Say(*failure);
            return ExitFile;
        }
    }
    const ExitCode code =
        ServeUntilSignal(radio,
                         {
                             .onHost = [&](WireTime time) { recorder.TakeHost(time); },
                             .onReply = [&](WireTime time, auto bytes) { recorder.TakeReply(time, bytes); },
                         },
                         options);
    recorder.Finish();
    return code;
}

ExitCode Replay(const Options &options) {
    LoadedTrace trace = LoadTrace(options.replay);
    if (!trace.error.empty()) {
        Say(trace.error);
        return ExitFile;
    }
    ReplayDevice device(std::move(trace.frames));
    bool said = false;
    const auto sayOnce = [&](WireTime) {
        if (device.Complaint() && !std::exchange(said, true))
            Say("complaint: " + *device.Complaint());
    };
    const ExitCode code = ServeUntilSignal(device, {.onHost = sayOnce}, options);
    if (!device.Complaint() && device.FramesLeft() > 0)
        Say(std::to_string(device.FramesLeft()) + " recorded frames of the program did not come");
    return code == ExitDone && device.Complaint() ? ExitDiffers : code;
}

ExitCode Run(const Options &options) {
    if (!options.replay.empty())
        return Replay(options);
    std::optional<FaultInjector> faults = MakeFaults(options);
    if (!faults)
        return ExitUsage;
    LoadedMemory memory{MakeSampleMemory(options.channels), ""};
    if (!options.image.empty())
        memory = LoadMemory(options.image);
    if (!memory.image) {
        Say(memory.error);
        return ExitFile;
    }
    if (const auto failure = options.out.empty() ? std::nullopt : CheckSavable(options.out)) {
        Say(*failure);
        return ExitFile;
    }
    SimulatedRadio radio(*memory.image, std::move(*faults));
    return ServeRadio(radio, options);
}

} // namespace

int main(int argc, char **argv) {
    CLI::App app("A simulated K470 radio on a pseudo-terminal. Its device path is the first line of output.",
                 "k470-sim");
    Options options;
    DescribeOptions(app, options);
    app.set_version_flag("--version", K470_VERSION);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? ExitDone : ExitUsage;
    }
    return Run(options);
}
