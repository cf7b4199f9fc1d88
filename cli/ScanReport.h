#pragma once

#include "sbs/ScanEngine.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

/// What is told of a pass beside the rows.
struct PassFacts {
    QString Adapter;
    QDateTime Time; ///< when the pass began, in the gauge's time
    std::int64_t ElapsedMs = 0; ///< since the first pass began
    std::int64_t Number = 1; ///< counts from 1
    PassReport Report;
    QStringList Messages; ///< for the live picture: what was said lately
    std::optional<int> RemCap; ///< the bar, kept while reads fail; nothing before the first value
};

/// The remaining-capacity bar for a value: beyond 0..100 it shows 100, a negative value too.
[[nodiscard]] int RemCapBar(std::int16_t value);

/// A time of the gauge as every answer gives it.
[[nodiscard]] QString TimeText(const QDateTime& time);

/// The rows that are scanned, each as {"row", "desc", "raw", "text", "unit", "error"}.
[[nodiscard]] QJsonArray RowsJson(const ScanEngine& scan);
[[nodiscard]] QJsonObject PassJson(const ScanEngine& scan, const PassFacts& facts);

/// A block for a file or a pipe: a row a line, a failed one with the reason.
[[nodiscard]] QStringList PassLines(const ScanEngine& scan, const PassFacts& facts);

struct Screen {
    int Columns = 80;
    int Lines = 24;
    bool Colours = false;
};
/// A picture that fits the screen, side by side where the rows would not fit below each other.
[[nodiscard]] QStringList LiveLines(const ScanEngine& scan, const PassFacts& facts, const Screen& screen);
