#include "bench/Figures.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <chrono>

namespace k470 {

namespace {

constexpr int Runs = 10;
constexpr double StartLimit = 1.5;
constexpr double MemoryLimit = 1.5;
constexpr double IdleLimit = 1.5;
constexpr int StartTimeoutMs = 30'000;
constexpr int SettleMs = 2'000;
constexpr int IdleMs = 10'000;

using Clock = std::chrono::steady_clock;

/// A program that has painted its first window, in a home folder of its own.
class Started {
public:
    Started(const QString &program, const QStringList &arguments) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME", home_.path());
        environment.insert("XDG_CONFIG_HOME", home_.filePath("config"));
        process_.setProcessEnvironment(environment);
        process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        const Clock::time_point before = Clock::now();
        process_.start(program, arguments);
        while (!process_.canReadLine() && process_.waitForReadyRead(StartTimeoutMs)) {
        }
        const QList<QByteArray> words = process_.readLine().simplified().split(' ');
        if (words.size() != 2)
            return;
        const std::chrono::microseconds painted(words[0].toLongLong());
        startMs_ = std::chrono::duration<double, std::milli>(painted - before.time_since_epoch()).count();
        memoryMb_ = words[1].toDouble() / 1024;
    }
    ~Started() {
        process_.kill();
        process_.waitForFinished();
    }
    Started(const Started &) = delete;
    Started &operator=(const Started &) = delete;

    bool HasPainted() const { return memoryMb_ > 0; }
    double StartMs() const { return startMs_; }
    double MemoryMb() const { return memoryMb_; }

    /// Processor time of all its threads so far, in ms.
    double ProcessorMs() const {
        const QString tasks = QString("/proc/%1/task").arg(process_.processId());
        double nanoseconds = 0;
        for (const QString &task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            QFile file(tasks + "/" + task + "/schedstat");
            if (file.open(QIODevice::ReadOnly))
                nanoseconds += file.readAll().split(' ').value(0).toDouble();
        }
        return nanoseconds / 1e6;
    }

private:
    QTemporaryDir home_;
    QProcess process_;
    double startMs_ = 0;
    double memoryMb_ = 0;
};

struct StartFigures {
    Figure start;
    Figure memory;
};

/// Takes turns, so that what else the machine does meets both alike.
void StartInTurn(const QString &program, StartFigures &own, const QString &barePath, StartFigures &bare) {
    for (int run = 0; run < Runs; ++run) {
        for (const auto &[path, figures] : {std::pair(program, &own), std::pair(barePath, &bare)}) {
            const Started started(path, {});
            if (!started.HasPainted())
                return;
            figures->start.samples.push_back(started.StartMs());
            figures->memory.samples.push_back(started.MemoryMb());
        }
    }
}

/// What it uses in ten seconds without any input.
std::optional<double> IdleMsOf(const Started &started) {
    if (!started.HasPainted())
        return std::nullopt;
    QThread::msleep(SettleMs);
    const double before = started.ProcessorMs();
    QThread::msleep(IdleMs);
    return started.ProcessorMs() - before;
}

Figure IdleFigure(const QString &name, const QString &program, const QStringList &arguments) {
    Figure figure{name, "ms", {}, {}};
    if (const auto used = IdleMsOf(Started(program, arguments)))
        figure.samples.push_back(*used);
    return figure;
}

} // namespace

std::vector<Figure> MeasureProgram(const QString &programs) {
    const QString program = programs + "/k470_watched";
    const QString barePath = programs + "/bare_window";
    StartFigures own{{"start to painted", "ms", {}, {}}, {"peak memory", "MiB", {}, {}}};
    StartFigures bare{{"start to painted, bare window", "ms", {}, {}},
                      {"peak memory, bare window", "MiB", {}, {}}};
    StartInTurn(program, own, barePath, bare);
    const Figure idle = IdleFigure("processor time, 10 s idle", program, {});
    const Figure bareIdle = IdleFigure("processor time, 10 s idle, bare timer", barePath, {"timer"});
    return {
        own.start,  bare.start,  RatioOf("start / bare window", own.start, bare.start, StartLimit),
        own.memory, bare.memory, RatioOf("peak memory / bare window", own.memory, bare.memory, MemoryLimit),
        idle,       bareIdle,    RatioOf("idle / bare timer", idle, bareIdle, IdleLimit)};
}

} // namespace k470
