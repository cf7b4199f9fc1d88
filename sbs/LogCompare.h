#pragma once

#include "sbs/RegisterLogFile.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <vector>

/// One register that two logs have in common, on the records of the first.
struct ComparedSeries {
    QString Caption;
    std::vector<double> First;
    std::vector<double> Second; ///< the second log at the same elapsed time; NaN where it has no value there
    std::vector<double> Difference; ///< second less first; NaN where either is missing
    double Largest = 0; ///< of the differences, without sign
    double Mean = 0;
    double RootMeanSquare = 0;
    std::int64_t Count = 0; ///< records with a difference; 0 leaves the three above at 0
};

struct LogComparison {
    std::vector<double> Seconds; ///< since the begin of each log
    std::vector<ComparedSeries> Series;
    QStringList OnlyInFirst;
    QStringList OnlyInSecond;
};

/// Lays two runs over each other: axis is the first log's, cut to the time that both cover. Between two
/// records of the second log a value is interpolated, never across a gap; hexadecimal words, whose bits mean
/// something, are taken from the nearer record instead. A caption that stands twice is matched in order.
[[nodiscard]] LogComparison CompareLogs(const RegisterLogData& first, const RegisterLogData& second);
