#pragma once

#include <QString>

#include <optional>
#include <vector>

namespace k470 {

/// Something measured several times, and how much of it is allowed.
struct Figure {
    QString name;
    QString unit;                ///< of the samples and the limit; "" for a ratio
    std::vector<double> samples; ///< none when it could not be measured
    std::optional<double> limit; ///< of the median; a figure without one is there to be compared with

    double Median() const;
    bool IsWithinLimit() const;
};

/// One figure a line: median, smallest and largest sample, limit, verdict.
void PrintTable(const std::vector<Figure> &figures);

/// The same with every sample, the day and the machine. @return whether the file was written
bool WriteJson(const std::vector<Figure> &figures, const QString &path);

/// The quotient of two medians. No sample when one of them was not measured.
Figure RatioOf(const QString &name, const Figure &measured, const Figure &reference, double limit);

// Each measures one subject.

/// Clone sessions at wire speed against the time that their bytes take on the wire.
std::vector<Figure> MeasureClone();
/// Start, memory and idling of the program against those of a bare window. @param programs their folder
std::vector<Figure> MeasureProgram(const QString &programs);
/// What runs inside the process. @param programs the folder of its program
std::vector<Figure> MeasureInside(const QString &programs);

} // namespace k470
