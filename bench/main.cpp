// Measures what must be fast, each figure beside its limit.

#include "bench/Figures.h"

#include <QCoreApplication>
#include <QStringList>

#include <cstdio>

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
    using namespace k470;
    const QStringList arguments = QCoreApplication::arguments();
    const QString subject = arguments.value(1, "all");
    const QString programs = QCoreApplication::applicationDirPath();
    std::vector<Figure> figures;
    const auto add = [&figures](std::vector<Figure> more) {
        figures.insert(figures.end(), more.begin(), more.end());
    };
    if (subject == "all" || subject == "clone")
        add(MeasureClone());
    if (subject == "all" || subject == "program")
        add(MeasureProgram(programs));
    if (subject == "all" || subject == "inside")
        add(MeasureInside(programs));
    if (figures.empty()) {
        std::fprintf(stderr, "usage: k470_bench [all|clone|program|inside] [FILE.json]\n");
        return 2;
    }
    PrintTable(figures);
    if (const QString path = arguments.value(2); !path.isEmpty() && !WriteJson(figures, path)) {
        std::fprintf(stderr, "%s could not be written\n", qPrintable(path));
        return 1;
    }
    for (const Figure &figure : figures)
        if (!figure.IsWithinLimit())
            return 1;
    return 0;
}
