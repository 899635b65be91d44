#include "cli/RadioCommands.h"

#include "cli/ImageFiles.h"
#include "cli/RadioRun.h"
#include "cli/TextTable.h"
#include "cli/WriteRun.h"
#include "exchange/JsonText.h"
#include "link/QtComPorts.h"

namespace k470 {

namespace {

constexpr TextPair FileLeft{"{} was not written.", "未写入 {}。"};
constexpr TextPair ReadDone{"Reading completed!", "成功读完！"};
constexpr TextPair NoPorts{"There is no serial port.", "没有串口。"};

std::string PortsAsJson(const ComPortTable &ports) {
    Json rows = Json::array();
    for (const ComPort &port : ports)
        rows.push_back(
            {{"name", ComPortName(port.number)}, {"device", port.device}, {"description", port.description}});
    return DumpJson({{"ports", rows}});
}

std::string PortsAsText(const ComPortTable &ports, const Console &console) {
    if (ports.empty())
        return console.Phrase(NoPorts) + "\n";
    std::vector<TextRow> rows{{console.Phrase({"Port", "串口"}), console.Phrase({"Device", "设备"}),
                               console.Phrase({"Description", "说明"})}};
    for (const ComPort &port : ports)
        rows.push_back({ComPortName(port.number), port.device, port.description});
    return FormatTable(rows);
}

/// @return whether the radio's image is in the file
bool ReadIntoFile(RadioRun &run) {
    const std::string &output = run.Arguments().output;
    AppState state = run.NewState();
    if (auto failure = CheckImageTarget(output, run.UsedLanguage()))
        return run.Fail(ExitFile, *std::move(failure));
    if (!run.OpenTrace(output))
        return false;
    if (!run.TakeEnd(run.ReadRadio(state, {.mode = CloneMode::Read, .purpose = "read"}))) {
        run.Say(FileLeft, {output});
        return false;
    }
    if (auto failure = SaveImageFile(output, state.image, run.UsedLanguage()))
        return run.Fail(ExitFile, *std::move(failure));
    run.Say(ReadDone);
    return true;
}

} // namespace

ExitCode RunPorts(const CommandArguments &arguments, const Console &console) {
    const ComPortTable ports = SystemComPorts();
    return console.PrintResult(arguments.json ? PortsAsJson(ports) : PortsAsText(ports, console)) ? ExitDone
                                                                                                  : ExitFile;
}

ExitCode RunRead(const CommandArguments &arguments, const Console &console) {
    RadioRun run("read", arguments, console);
    ReadIntoFile(run);
    return run.Finish();
}

ExitCode RunWrite(const CommandArguments &arguments, const Console &console) {
    RadioRun run("write", arguments, console);
    WriteFileToRadio(run);
    return run.Finish();
}

ExitCode RunVerify(const CommandArguments &arguments, const Console &console) {
    RadioRun run("verify", arguments, console);
    VerifyFile(run);
    return run.Finish();
}

} // namespace k470
