#pragma once

#include "cli/CloneRun.h"
#include "cli/RadioReport.h"

#include <initializer_list>
#include <string>
#include <string_view>

namespace k470 {

/// What the commands that talk to a radio have in common: the port, the trace, the signals and the report.
/// From the first failure on its steps must not be gone on with.
class RadioRun {
public:
    /// @param command its name in the report
    RadioRun(std::string command, const CommandArguments &arguments, const Console &console);

    const CommandArguments &Arguments() const { return arguments_; }
    const Console &Terminal() const { return console_; }
    Language UsedLanguage() const { return console_.UsedLanguage(); }
    const PortChoice &Port() const { return port_; }
    RadioReport &Report() { return report_; }

    void Say(const TextPair &pair, std::initializer_list<std::string_view> parts = {});
    /// @return false
    bool Fail(ExitCode code, std::string sentence);

    /// The image of a file, and the grid rows that go with it. Only an image with a channel count is taken.
    bool LoadImage(const std::string &path, AppState &state);
    /// Begins the trace when the arguments ask for one. @param image file that the command uses
    bool OpenTrace(const std::string &image);
    /// A state such as the program starts with.
    AppState NewState() const;

    CloneReport RunSession(AppState &state, const CloneTask &task);
    /// Runs a session that reads. When the radio has answered and yet lines are missing or the session broke
    /// off, tells why and begins anew, from the image as it is now, as often as the arguments allow.
    /// @return how the last session ended; as broken too when it could not even begin
    CloneReport ReadRadio(AppState &state, const CloneTask &task);
    /// Puts into the report how the session ended. @return whether it did all that it should
    bool TakeEnd(const CloneReport &session);

    /// Ends the trace and tells. @return the code to end with
    ExitCode Finish();

private:
    std::string FailureText(const CloneReport &session) const;
    void WaitForPort() const;
    bool IsImageOrPort(const std::string &trace, const std::string &image) const;

    const CommandArguments &arguments_;
    const Console &console_;
    PortChoice port_;
    InterruptWatch interrupts_;
    TraceFile trace_;
    bool traced_ = false;
    RadioReport report_;
};

} // namespace k470
