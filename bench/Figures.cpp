#include "bench/Figures.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSysInfo>
#include <QThread>

#include <algorithm>
#include <cstdio>

namespace k470 {

namespace {

QString ProcessorName() {
    QFile file("/proc/cpuinfo");
    if (!file.open(QIODevice::ReadOnly))
        return {};
    static const QRegularExpression line("^model name\\s*:\\s*(.*)$", QRegularExpression::MultilineOption);
    return line.match(QString::fromLatin1(file.readAll())).captured(1);
}

QJsonObject Machine() {
    return {{"processor", ProcessorName()},
            {"cores", QThread::idealThreadCount()},
            {"system", QSysInfo::prettyProductName()},
            {"kernel", QSysInfo::kernelVersion()},
            {"qt", qVersion()}};
}

QJsonObject AsJson(const Figure &figure) {
    QJsonArray samples;
    for (const double sample : figure.samples)
        samples.append(sample);
    return {{"name", figure.name},
            {"unit", figure.unit},
            {"median", figure.samples.empty() ? QJsonValue() : figure.Median()},
            {"limit", figure.limit ? QJsonValue(*figure.limit) : QJsonValue()},
            {"withinLimit", figure.IsWithinLimit()},
            {"samples", samples}};
}

} // namespace

double Figure::Median() const {
    std::vector<double> sorted = samples;
    std::sort(sorted.begin(), sorted.end());
    const std::size_t middle = sorted.size() / 2;
    return sorted.size() % 2 == 1 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
}

bool Figure::IsWithinLimit() const {
    return !samples.empty() && (!limit || Median() <= *limit);
}

void PrintTable(const std::vector<Figure> &figures) {
    std::printf("%-44s %-5s %10s %10s %10s %8s\n", "", "unit", "median", "smallest", "largest", "limit");
    for (const Figure &figure : figures) {
        std::printf("%-44s %-5s ", qPrintable(figure.name), qPrintable(figure.unit));
        if (figure.samples.empty()) {
            std::printf("could not be measured\n");
            continue;
        }
        const auto [least, most] = std::minmax_element(figure.samples.begin(), figure.samples.end());
        std::printf("%10.3f %10.3f %10.3f ", figure.Median(), *least, *most);
        if (figure.limit)
            std::printf("%8.2f  %s", *figure.limit, figure.IsWithinLimit() ? "ok" : "TOO MUCH");
        std::printf("\n");
    }
}

bool WriteJson(const std::vector<Figure> &figures, const QString &path) {
    QJsonArray list;
    for (const Figure &figure : figures)
        list.append(AsJson(figure));
    const QJsonObject document{{"date", QDateTime::currentDateTimeUtc().toString(Qt::ISODate)},
                               {"machine", Machine()},
                               {"figures", list}};
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(QJsonDocument(document).toJson()) > 0 &&
           file.commit();
}

Figure RatioOf(const QString &name, const Figure &measured, const Figure &reference, double limit) {
    Figure ratio{name, "", {}, limit};
    if (!measured.samples.empty() && !reference.samples.empty())
        ratio.samples.push_back(measured.Median() / reference.Median());
    return ratio;
}

} // namespace k470
