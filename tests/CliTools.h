#pragma once

#include "core/ChannelRows.h"
#include "sim/SampleMemory.h"
#include "tests/Lines.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <functional>

/// The programs as tests run them.
namespace k470 {

using Variables = QMap<QString, QString>;

inline constexpr int PatienceMs = 30000;
inline constexpr const char *OldContent = "what was there before";

inline QByteArray Content(const QString &path) {
    return QByteArray::fromStdString(ContentOf<std::string>(path.toStdString()));
}

inline QByteArray RawBytes(const MemoryImage &image) {
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

/// A codeplug of a radio that was never written, whose second channel is empty and whose line 107 is no other
/// radio's. @param channels 3 or more
inline MemoryImage SampleImage(int channels) {
    MemoryImage image = MakeSampleMemory(channels);
    image[Address::ChannelCountCopy] = image[Address::WriteMark] = 0xEE;
    StoreRow(image, 1, {}, Language::English);
    Line(image, LastSettingsLine)[5] ^= 0x01;
    return image;
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

/// A program, k470-cli if no other, started. Texts are English unless the arguments or the environment say
/// otherwise.
class Cli {
public:
    explicit Cli(const QStringList &arguments, const Variables &variables = {},
                 const std::function<void(QProcess &)> &prepare = {},
                 const QString &program = K470_CLI_PATH) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LC_ALL", "C.UTF-8");
        for (const QString &name : variables.keys())
            environment.insert(name, variables[name]);
        process_.setProcessEnvironment(environment);
        if (prepare)
            prepare(process_);
        process_.start(program, arguments);
        started_ = process_.waitForStarted(PatienceMs);
    }
    ~Cli() {
        process_.kill();
        process_.waitForFinished(PatienceMs);
    }

    bool HasStarted() const { return started_; }
    bool HasEnded() { return process_.waitForFinished(1) || process_.state() == QProcess::NotRunning; }
    void Signal(int number) { ::kill(static_cast<pid_t>(process_.processId()), number); }

    Ending Wait() {
        EXPECT_TRUE(process_.state() == QProcess::NotRunning || process_.waitForFinished(PatienceMs));
        EXPECT_EQ(process_.exitStatus(), QProcess::NormalExit);
        return {process_.exitCode(), process_.readAllStandardOutput(), process_.readAllStandardError()};
    }

private:
    QProcess process_;
    bool started_ = false;
};

inline Ending RunProgram(const QString &program, const QStringList &arguments,
                         const Variables &variables = {}) {
    return Cli(arguments, variables, {}, program).Wait();
}

inline Ending RunCli(const QStringList &arguments, const Variables &variables = {}) {
    return Cli(arguments, variables).Wait();
}

/// A simulated radio. Its log and its memory after the last session are in a folder of its own.
class Radio {
public:
    explicit Radio(QStringList arguments = {}) {
        if (!arguments.contains("--replay"))
            arguments += {"--log", folder_.filePath("log"), "--out", folder_.filePath("memory")};
        process_.start(K470_SIM_PATH, arguments);
        EXPECT_TRUE(Await([this] {
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
    QStringList Frames() const { return FramesOf(folder_.filePath("log")); }
    QByteArray Memory() const { return Content(folder_.filePath("memory")); }

private:
    QTemporaryDir folder_;
    QString path_;
    QProcess process_;
};

class CliTest : public testing::Test {
protected:
    CliTest() { qputenv("XDG_STATE_HOME", In("state").toLocal8Bit()); }

    QString In(const QString &name) const { return folder_.filePath(name); }

    QString Put(const QString &name, const QByteArray &bytes) const {
        QFile file(In(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        return In(name);
    }
    QString Save(const QString &name, const MemoryImage &image) const { return Put(name, RawBytes(image)); }

    QByteArray Unpacked(const QString &path) const {
        EXPECT_EQ(RunCli({"unpack", path, In("unpacked.bin")}).code, 0);
        return Content(In("unpacked.bin"));
    }

    /// The paths of the backups in a user's state folder.
    static QStringList Backups(const QString &state) {
        QStringList paths;
        for (const QFileInfo &file : QDir(state + "/k470/backups").entryInfoList(QDir::Files))
            paths.append(file.filePath());
        return paths;
    }

    QTemporaryDir folder_;
};

} // namespace k470
