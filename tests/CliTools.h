#pragma once

#include "core/ChannelRows.h"
#include "core/Preferences.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <initializer_list>

/// The programs as tests run them.
namespace k470 {

inline constexpr int PatienceMs = 30000;
inline constexpr const char *OldContent = "what was there before";
inline constexpr const char *MixtureText = "The radio may now hold a mixture of old and new data.";
inline constexpr const char *UntouchedText = "Nothing was written to the radio.";

/// @return whether the condition came to hold
inline bool WaitFor(const std::function<bool()> &condition) {
    const QDeadlineTimer limit(PatienceMs);
    while (!condition()) {
        if (limit.hasExpired())
            return false;
        QThread::msleep(1);
    }
    return true;
}

inline QByteArray Content(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline void Put(const QString &path, const QByteArray &bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

inline QByteArray Bytes(const MemoryImage &image) {
    return {reinterpret_cast<const char *>(image.data()), static_cast<qsizetype>(image.size())};
}

/// "> 57 06 30 10 ...", "< 06": the lines of a log of frames without comments and times.
inline QStringList FramesOf(const QString &path) {
    QStringList frames;
    for (const QByteArray &line : Content(path).split('\n'))
        if (const auto space = line.indexOf(' '); space > 0 && !line.startsWith('#'))
            frames.append(line.mid(space + 1));
    return frames;
}

inline QByteArray LineOf(const QByteArray &image, int line) {
    return image.mid(line * static_cast<int>(LineSize), LineSize);
}

inline bool IsTransferred(int line, int channels) {
    return line < channels || (line >= FirstSettingsLine && line <= LastSettingsLine);
}

class EmptyStore : public PreferenceStore {
public:
    std::string GetKeyValue(std::string_view) const override { return {}; }
    bool UpdateKey(std::string_view, std::string_view) override { return false; }
};

inline AppState StartedState() {
    AppState state;
    StartState(state, EmptyStore(), "");
    state.language = Language::English;
    return state;
}

/// A codeplug whose second channel is empty and whose third only receives. @param channels 3 or more
inline MemoryImage SampleImage(int channels) {
    AppState state = StartedState();
    state.image[Address::ChannelCount] = static_cast<std::uint8_t>(channels);
    for (int ch = 0; ch < channels; ++ch) {
        RowTexts row;
        if (ch != 1)
            SetRowRx(row, std::to_string(401 + ch % 70), state);
        if (ch == 2)
            SetRowTx(row, "", state);
        row[ColLockout] = ch == 0 ? Res(state.language, Text::Carrier) : Res(state.language, Text::Off);
        StoreRow(state.image, ch, row, state.language);
    }
    return state.image;
}

struct Ending {
    int code = -1;
    QString output;
    QString errors;

    /// The output, which must be one JSON object that tells the code.
    QJsonObject Json() const {
        const QJsonObject json = QJsonDocument::fromJson(output.toUtf8()).object();
        EXPECT_EQ(json["exitCode"].toInt(-1), code) << output.toStdString();
        return json;
    }
};

/// k470-cli, started. Texts are English unless the arguments or the environment say otherwise.
class Cli {
public:
    explicit Cli(const QStringList &arguments, const QMap<QString, QString> &variables = {},
                 std::function<void(QProcess &)> prepare = {}) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LC_ALL", "C.UTF-8");
        for (const QString &name : variables.keys())
            environment.insert(name, variables[name]);
        process_.setProcessEnvironment(environment);
        if (prepare)
            prepare(process_);
        process_.start(K470_CLI_PATH, arguments);
        started_ = process_.waitForStarted(PatienceMs);
    }
    ~Cli() {
        process_.kill();
        process_.waitForFinished(PatienceMs);
    }

    bool HasStarted() const { return started_; }
    void Signal(int number) { ::kill(static_cast<pid_t>(process_.processId()), number); }

    Ending Wait() {
        EXPECT_TRUE(process_.waitForFinished(PatienceMs));
        EXPECT_EQ(process_.exitStatus(), QProcess::NormalExit);
        return {process_.exitCode(), process_.readAllStandardOutput(), process_.readAllStandardError()};
    }

private:
    QProcess process_;
    bool started_ = false;
};

inline Ending RunCli(const QStringList &arguments, const QMap<QString, QString> &variables = {}) {
    return Cli(arguments, variables).Wait();
}

/// A simulated radio. Its log and its memory after the last session are files in the folder.
class Radio {
public:
    Radio(const QString &folder, QStringList arguments)
        : log_(folder + "/radio.log"), memory_(folder + "/radio.bin") {
        QFile::remove(log_);
        QFile::remove(memory_);
        if (!arguments.contains("--replay"))
            arguments += {"--log", log_, "--out", memory_};
        process_.start(K470_SIM_PATH, arguments);
        EXPECT_TRUE(WaitFor([this] {
            process_.waitForReadyRead(10);
            return process_.canReadLine();
        })) << process_.readAllStandardError().toStdString();
        path_ = QString::fromUtf8(process_.readLine()).trimmed();
    }
    ~Radio() { Stop(); }

    /// Ends it, so that log and memory are complete. @return what it complained about
    QString Stop() {
        process_.terminate();
        process_.waitForFinished(PatienceMs);
        return process_.readAllStandardError();
    }
    /// Of one that was stopped.
    int Code() const { return process_.exitCode(); }

    const QString &Path() const { return path_; }
    QStringList Frames() const { return FramesOf(log_); }
    /// @param sessions that have ended before
    bool HasHeard(const QString &start, int sessions = 0) const {
        const QStringList frames = Frames();
        qsizetype from = 0;
        for (int ended = 0; ended < sessions; ++ended)
            if ((from = frames.indexOf("> 45", from) + 1) == 0)
                return false;
        return frames.indexOf(QRegularExpression("^> " + start + ".*"), from) >= 0;
    }
    QByteArray Memory() const { return Content(memory_); }

private:
    QString log_;
    QString memory_;
    QString path_;
    QProcess process_;
};

class CliTest : public testing::Test {
protected:
    CliTest() { qputenv("XDG_STATE_HOME", state_.path().toLocal8Bit()); }

    QString In(const QString &name) const { return folder_.filePath(name); }

    QStringList Names() const { return QDir(folder_.path()).entryList(QDir::AllEntries | QDir::Hidden); }

    void Save(const QString &name, const MemoryImage &image) { Put(In(name), Bytes(image)); }

    /// The backups of the user's radios since this was last asked, their whole paths.
    QStringList NewBackups() {
        QStringList paths;
        for (const QFileInfo &file : QDir(state_.filePath("k470/backups")).entryInfoList(QDir::Files))
            if (!seenBackups_.contains(file.filePath()))
                paths.append(file.filePath());
        seenBackups_ += paths;
        return paths;
    }
    QByteArray Unpacked(const QString &path) const {
        EXPECT_EQ(RunCli({"unpack", path, In("unpacked.bin")}).code, 0);
        return Content(In("unpacked.bin"));
    }

    QTemporaryDir folder_;
    QTemporaryDir state_;
    QStringList seenBackups_;
};

} // namespace k470
