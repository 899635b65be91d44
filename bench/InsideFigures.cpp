#include "bench/Figures.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

namespace k470 {

namespace {

constexpr double WindowLimitMs = 16; // a frame of the screen
constexpr double PackingLimitUs = 200;

QJsonArray RunBenchmarks(const QString &program) {
    const QTemporaryDir folder;
    const QString report = folder.filePath("report.json");
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, {"--benchmark_repetitions=5", "--benchmark_min_time=0.2",
                            "--benchmark_out_format=json", "--benchmark_out=" + report});
    if (!process.waitForFinished(-1) || process.exitCode() != 0)
        return {};
    QFile file(report);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object().value("benchmarks").toArray();
}

} // namespace

std::vector<Figure> MeasureInside(const QString &programs) {
    std::vector<Figure> figures;
    for (const QJsonValue &value : RunBenchmarks(programs + "/inside_bench")) {
        const QJsonObject run = value.toObject();
        if (run.value("run_type") != "iteration")
            continue;
        const QString name = run.value("run_name").toString();
        const QString unit = run.value("time_unit").toString();
        if (figures.empty() || figures.back().name != name)
            figures.push_back({name, unit, {}, unit == "ms" ? WindowLimitMs : PackingLimitUs});
        figures.back().samples.push_back(run.value("real_time").toDouble());
    }
    if (figures.empty())
        figures.push_back({"inside the program", "", {}, WindowLimitMs});
    return figures;
}

} // namespace k470
