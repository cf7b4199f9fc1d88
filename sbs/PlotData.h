#pragma once

#include "sbs/ValueHistory.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// One curve of a plot: a row of a history. Times of a plot are milliseconds since 1970, UTC.
struct PlotCurve {
    const ValueHistory* History = nullptr; ///< outlives the plot
    std::size_t Row = 0;
    std::int64_t OffsetMs = 0; ///< what to add to the history's times
    std::int64_t BridgeMs
        = 0; ///< a line joins no two values further apart than this; 0: whatever the distance
    QString Name;
    QString Unit;
    int Place = 0; ///< in ticking order; gives colour, marker and dash
    QString Axis = {}; ///< curves with the same text here share a value axis; empty: those with the same unit
};

[[nodiscard]] inline const QString& AxisKey(const PlotCurve& curve)
{
    return curve.Axis.isEmpty() ? curve.Unit : curve.Axis;
}

/// What the times of a plot mean: the wall clock, or milliseconds since a run began.
enum class PlotClock { Wall, Elapsed };
/// "14:08:00", with milliseconds where the span asks for them.
[[nodiscard]] QString PlotTimeText(std::int64_t ms, std::int64_t spanMs, PlotClock clock);

/// Something that happened, for the strip under the plot.
struct PlotEvent {
    enum class Kind { Alarm, FailedRead, Write, Charge, Discharge, Relax };
    std::int64_t AtMs = 0;
    Kind What = Kind::Alarm;
    QString Text;
};

struct PlotPoint {
    double Ms = 0;
    double Value = 0; ///< not a number: the line breaks
};
struct PlotSpan {
    double FromMs = 0;
    double ToMs = 0;
};

/// What is visible of one curve, with at most two points a pixel column.
struct PlotLine {
    std::vector<PlotPoint>
        Points; ///< the nearest ones outside the span included, so that lines reach the edges
    std::vector<PlotSpan> Failed; ///< reads came back without a value, from the value before to the one after
    double Low = 0; ///< of the points inside
    double High = 0;
    bool Any = false; ///< there is a point inside
    std::size_t Passes = 0; ///< how many fall into the span
};

[[nodiscard]] PlotLine VisibleLine(const PlotCurve& curve, std::int64_t fromMs, std::int64_t toMs,
                                   std::size_t columns);

/// Value of the last pass at or before a time; nothing for a failed read and before the first pass.
[[nodiscard]] std::optional<double> ValueAt(const PlotCurve& curve, std::int64_t atMs);
/// As a legend and a table show it: at most ten digits, no trailing zeros, "." whatever the locale.
[[nodiscard]] QString PlotNumber(double value);

/// Time of the first and of the last pass of all curves; nothing while there is none.
[[nodiscard]] std::optional<PlotSpan> WholeSpan(std::span<const PlotCurve> curves);

/// Spans in order, overlapping ones joined.
[[nodiscard]] std::vector<PlotSpan> Joined(std::vector<PlotSpan> spans);

/// Every stored value of the visible span: a line a pass with its time (ISO 8601, local; seconds of an
/// elapsed clock) and a column a curve, empty where a read failed; a line an event, named in the last column,
/// when there are events.
[[nodiscard]] QByteArray VisibleCsv(std::span<const PlotCurve> curves, std::span<const PlotEvent> events,
                                    std::int64_t fromMs, std::int64_t toMs,
                                    PlotClock clock = PlotClock::Wall);
