#include "cli/WriteRun.h"

#include "cli/Backup.h"
#include "cli/ImageWarnings.h"
#include "cli/ShellText.h"
#include "core/ChannelCount.h"
#include "link/CloneWarnings.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace k470 {

namespace {

constexpr CloneTask BackupTask{CloneMode::Read, "read before writing", {"Backup - ", "备份 - "}};
constexpr CloneTask WriteTask{CloneMode::Write, "write", {"Writing - ", "写入 - "}};
constexpr CloneTask ReadBackTask{CloneMode::Read, "read back", {"Verifying - ", "校验 - "}};
constexpr CloneTask VerifyTask{CloneMode::Read, "verify", {}};

constexpr TextPair RadioLeft{"Nothing was written to the radio.", "没有向对讲机写入任何数据。"};
constexpr TextPair BackupIsOptional{"To write without keeping the radio's old image: --no-backup",
                                    "若不保留对讲机中的旧映像而直接写入，请使用 --no-backup"};
constexpr TextPair BackupKept{"The radio's old image is kept in {}", "对讲机中的旧映像保存在 {}"};
constexpr TextPair Restore{"Its old image is kept in {}. To restore it: k470-cli write --port {} {}",
                           "旧映像保存在 {}。恢复方法：k470-cli write --port {} {}"};

constexpr TextPair ReadAllTheSame{
    "The connection was disturbed during the write. The radio may lack lines, so it is read and compared.",
    "写入时连接受到干扰，对讲机中可能缺少部分数据，现在读取并核对。"};
constexpr TextPair DisturbedNotVerified{
    "The connection was disturbed during the write, and the radio could not be verified.",
    "写入时连接受到干扰，且未能校验对讲机。"};
constexpr TextPair WriteDone{"Writing completed!", "成功写完！"};
constexpr TextPair Verified{"Verified: the radio holds what was written.",
                            "已校验：对讲机中的数据与写入的一致。"};
constexpr TextPair NotVerified{
    "The radio has acknowledged everything that was written, but it could not be verified.",
    "对讲机已确认写入的全部数据，但未能校验。"};
constexpr TextPair VerifyFailed{"Verify failed: the radio does not hold what was written.",
                                "校验失败：对讲机中的数据与写入的不一致。"};
constexpr TextPair HoldsFile{"The radio holds the image of {}.", "对讲机中的数据与 {} 一致。"};
constexpr TextPair HoldsOther{"The radio does not hold the image of {}.", "对讲机中的数据与 {} 不一致。"};

constexpr TextPair RestoreByHand{
    "Its old image is kept in {}, with a channel count that no radio has. To restore it, open it in the "
    "program, set the channel count and write it from there.",
    "旧映像保存在 {}，但其中的信道数无效。要恢复，请在编程软件中打开，设置信道数后写入。"};

/// Says how to get the old image back.
void SayRestore(RadioRun &run) {
    const std::string &backup = *run.Report().backup;
    if (run.Report().backupHasCount)
        run.Say(Restore, {backup, ForShell(run.Port().name), ForShell(backup)});
    else
        run.Say(RestoreByHand, {backup});
}

/// Says what to do with a radio that holds neither image.
void SayWayOut(RadioRun &run) {
    run.Report().mayHoldMixture = true;
    run.Say(MixtureText);
    if (run.Report().backup->empty())
        run.Say(WriteAgainText);
    else
        SayRestore(run);
}

/// Tells what a check of the file would tell, while there is time to stop. It keeps nothing from being sent.
void TellWarnings(RadioRun &run, const MemoryImage &image) {
    const auto &warnings = run.Report().warnings.emplace(CheckImage(image));
    if (!warnings.empty())
        run.Terminal().PrintError(WarningSummary(run.Arguments().input, warnings, run.UsedLanguage()));
}

/// The backup has no place. @return false
bool FailToKeep(RadioRun &run, std::string failure) {
    run.Fail(ExitFile, std::move(failure));
    run.Say(RadioLeft);
    run.Say(BackupIsOptional);
    return false;
}

bool KeepOldImage(RadioRun &run, const std::string &folder) {
    AppState old = run.NewState();
    if (!run.TakeEnd(run.ReadRadio(old, BackupTask))) {
        run.Say(RadioLeft);
        return false;
    }
    std::string path;
    if (auto failure = KeepBackup(folder, run.Port(), old.image, path, run.UsedLanguage()))
        return FailToKeep(run, *std::move(failure));
    run.Report().backup = path;
    run.Report().backupHasCount = HasChannelCount(old.image);
    if (!run.Arguments().json)
        run.Terminal().PrintSuccess(run.Terminal().Phrase(BackupKept, {path}));
    return true;
}

/// @param disturbed receives whether the radio may lack lines although it was written to the end
bool Write(RadioRun &run, AppState &state, bool &disturbed) {
    const CloneReport session = run.RunSession(state, WriteTask);
    disturbed = session.disturbed;
    if (run.TakeEnd(session))
        return true;
    if (session.lineSent)
        SayWayOut(run);
    else
        run.Say(RadioLeft);
    return false;
}

/// How an image is compared with what a radio holds.
struct Comparison {
    CloneTask task;
    std::vector<LineDifference> (*compare)(const MemoryImage &image, const MemoryImage &found);
    std::string differs; ///< the sentence that begins the differences
};

/// Reads the radio and compares. Lines that did not arrive leave it open whether the radio holds the image,
/// unless another one shows that it does not.
/// @return whether it holds the image
bool CompareRadio(RadioRun &run, const MemoryImage &image, const Comparison &comparison) {
    AppState state = run.NewState();
    state.image = UnlikeImage(image);
    const CloneReport session = run.ReadRadio(state, comparison.task);
    const bool read = run.TakeEnd(session);
    if (!session.missingLines)
        return false;
    std::vector<LineDifference> differences = comparison.compare(image, state.image);
    std::erase_if(differences, [&missing = *session.missingLines](const LineDifference &difference) {
        return std::find(missing.begin(), missing.end(), difference.line) != missing.end();
    });
    run.Report().differences = differences;
    if (differences.empty())
        return read;
    run.Fail(ExitVerify, comparison.differs);
    for (std::string &sentence : DifferenceSentences(differences, run.Terminal()))
        run.Fail(ExitVerify, std::move(sentence));
    return false;
}

/// @param disturbed of the write: its acknowledges prove nothing
bool ReadBack(RadioRun &run, const MemoryImage &sent, bool disturbed) {
    if (CompareRadio(run, sent, {ReadBackTask, CompareWritten, run.Terminal().Phrase(VerifyFailed)}))
        return true;
    RadioReport &report = run.Report();
    // Whatever kept the read from its end, a port that is gone included: the radio was written.
    if (report.code != ExitVerify && report.code != ExitInterrupted)
        report.code = ExitRadio;
    if (report.code != ExitVerify)
        run.Say(disturbed ? DisturbedNotVerified : NotVerified);
    if (report.code == ExitVerify || disturbed)
        SayWayOut(run);
    else if (!report.backup->empty())
        SayRestore(run);
    return false;
}

} // namespace

bool WriteFileToRadio(RadioRun &run) {
    const CommandArguments &arguments = run.Arguments();
    run.Report().backup = "";
    run.Report().mayHoldMixture = false;
    AppState state = run.NewState();
    if (!run.LoadImage(arguments.input, state))
        return false;
    TellWarnings(run, state.image);
    PrepareForWrite(state.image);
    std::string folder;
    if (!arguments.noBackup) {
        if (auto failure = MakeBackupFolder(folder, run.UsedLanguage()))
            return FailToKeep(run, *std::move(failure));
    }
    if (!run.OpenTrace(arguments.input) || (!arguments.noBackup && !KeepOldImage(run, folder)))
        return false;
    bool disturbed = false;
    if (!Write(run, state, disturbed))
        return false;
    if (disturbed)
        run.Terminal().PrintError(run.Terminal().Phrase(ReadAllTheSame));
    const bool verify = disturbed || !arguments.noVerify;
    if (verify && !ReadBack(run, state.image, disturbed))
        return false;
    run.Say(WriteDone);
    if (verify)
        run.Say(Verified);
    return true;
}

bool VerifyFile(RadioRun &run) {
    const std::string &input = run.Arguments().input;
    AppState state = run.NewState();
    if (!run.LoadImage(input, state) || !run.OpenTrace(input) ||
        !CompareRadio(run, state.image,
                      {VerifyTask, CompareHeld, run.Terminal().Phrase(HoldsOther, {input})}))
        return false;
    run.Say(HoldsFile, {input});
    return true;
}

} // namespace k470
