#include "sbs/PlotData.h"

#include "platform/CsvField.h"

#include <QDateTime>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// How far back a failed read at the left edge is followed to find the value before it.
constexpr std::size_t kLookBack = 1000;

/// Strings the points of one curve together and breaks the line where it must not be drawn.
class LineBuilder {
public:
    LineBuilder(std::int64_t bridgeMs, PlotLine& line) : m_bridgeMs(bridgeMs), m_line(line) { }

    void Add(double ms, double value)
    {
        if (m_gapToMs) {
            m_line.Failed.push_back({m_lastMs, ms});
            Break(ms);
        } else if (m_bridgeMs > 0 && m_any && ms - m_lastMs > static_cast<double>(m_bridgeMs)) {
            Break(ms);
        }
        AddInColumn(ms, value);
        m_any = true;
        m_gapToMs.reset();
    }
    /// Behind a value of the same pixel column: its passes stand closer than the two that are drawn.
    void AddInColumn(double ms, double value)
    {
        m_line.Points.push_back({ms, value});
        m_lastMs = ms;
    }
    /// A row that has never answered is not hatched: nobody may have asked it.
    void Fail(double untilMs)
    {
        if (m_any)
            m_gapToMs = untilMs;
    }
    /// The last value before the visible span, whose line does not reach into it.
    void StartWithGapFrom(double ms)
    {
        m_lastMs = ms;
        m_any = true;
        m_gapToMs = ms;
    }
    void Finish()
    {
        if (m_gapToMs)
            m_line.Failed.push_back({m_lastMs, *m_gapToMs});
    }

private:
    void Break(double ms) { m_line.Points.push_back({ms, std::numeric_limits<double>::quiet_NaN()}); }

    std::int64_t m_bridgeMs;
    PlotLine& m_line;
    double m_lastMs = 0;
    bool m_any = false;
    std::optional<double> m_gapToMs;
};

} // namespace

PlotLine VisibleLine(const PlotCurve& curve, std::int64_t fromMs, std::int64_t toMs, std::size_t columns)
{
    PlotLine line;
    const ValueHistory& history = *curve.History;
    const auto shown = [&](std::int64_t ms) { return static_cast<double>(ms + curve.OffsetMs); };
    LineBuilder builder(curve.BridgeMs, line);

    const std::size_t first = history.PassAt(fromMs - curve.OffsetMs);
    for (std::size_t back = 1; back <= std::min(first, kLookBack); ++back) {
        const std::size_t pass = first - back;
        const double value = history.Value(curve.Row, pass);
        if (std::isnan(value))
            continue;
        if (back == 1)
            builder.Add(shown(history.TimeMs(pass)), value);
        else
            builder.StartWithGapFrom(shown(history.TimeMs(pass)));
        break;
    }

    const double columnMs = static_cast<double>(toMs - fromMs) / static_cast<double>(columns);
    double edge = static_cast<double>(fromMs);
    for (const HistoryColumn& column :
         history.Columns(curve.Row, fromMs - curve.OffsetMs, toMs - curve.OffsetMs, columns)) {
        edge += columnMs;
        if (!column.HasValue) {
            if (column.Gap)
                builder.Fail(edge);
            continue;
        }
        line.Low = line.Any ? std::min(line.Low, column.Min) : column.Min;
        line.High = line.Any ? std::max(line.High, column.Max) : column.Max;
        line.Any = true;
        const bool rising = column.First <= column.Last;
        builder.Add(shown(column.FirstMs), rising ? column.Min : column.Max);
        if (column.LastMs != column.FirstMs)
            builder.AddInColumn(shown(column.LastMs), rising ? column.Max : column.Min);
    }

    const std::size_t next = history.PassAt(toMs - curve.OffsetMs);
    line.Passes = next - first;
    if (next < history.Passes()) {
        const double value = history.Value(curve.Row, next);
        if (std::isnan(value))
            builder.Fail(shown(history.TimeMs(next)));
        else
            builder.Add(shown(history.TimeMs(next)), value);
    }
    builder.Finish();
    return line;
}

std::optional<double> ValueAt(const PlotCurve& curve, std::int64_t atMs)
{
    const std::size_t after = curve.History->PassAt(atMs - curve.OffsetMs + 1);
    if (after == 0)
        return std::nullopt;
    const double value = curve.History->Value(curve.Row, after - 1);
    return std::isnan(value) ? std::nullopt : std::optional(value);
}

QString PlotNumber(double value) { return QString::number(value, 'g', 10); }

QString PlotTimeText(std::int64_t ms, std::int64_t spanMs, PlotClock clock)
{
    constexpr std::int64_t kMinuteMs = 60'000;
    const bool fine = spanMs < kMinuteMs;
    if (clock == PlotClock::Wall)
        return QDateTime::fromMSecsSinceEpoch(ms).toString(fine ? QStringLiteral("hh:mm:ss.zzz")
                                                                : QStringLiteral("hh:mm:ss"));
    const std::int64_t seconds = std::abs(ms) / 1000;
    const auto padded = [](std::int64_t number, int digits) {
        return QStringLiteral("%1").arg(number, digits, 10, QLatin1Char('0'));
    };
    const QString sign = ms < 0 ? QStringLiteral("-") : QString();
    return QStringLiteral("%1%2:%3:%4%5")
        .arg(sign, QString::number(seconds / 3600), padded(seconds / 60 % 60, 2), padded(seconds % 60, 2),
             fine ? QLatin1Char('.') + padded(std::abs(ms) % 1000, 3) : QString());
}

std::optional<PlotSpan> WholeSpan(std::span<const PlotCurve> curves)
{
    std::optional<PlotSpan> whole;
    for (const PlotCurve& curve : curves) {
        if (curve.History->Passes() == 0)
            continue;
        const auto from = static_cast<double>(curve.History->TimeMs(0) + curve.OffsetMs);
        const auto to
            = static_cast<double>(curve.History->TimeMs(curve.History->Passes() - 1) + curve.OffsetMs);
        whole
            = whole ? PlotSpan{std::min(whole->FromMs, from), std::max(whole->ToMs, to)} : PlotSpan{from, to};
    }
    return whole;
}

std::vector<PlotSpan> Joined(std::vector<PlotSpan> spans)
{
    std::ranges::sort(spans, {}, &PlotSpan::FromMs);
    std::vector<PlotSpan> joined;
    for (const PlotSpan& span : spans) {
        if (!joined.empty() && span.FromMs <= joined.back().ToMs)
            joined.back().ToMs = std::max(joined.back().ToMs, span.ToMs);
        else
            joined.push_back(span);
    }
    return joined;
}

QByteArray VisibleCsv(std::span<const PlotCurve> curves, std::span<const PlotEvent> events,
                      std::int64_t fromMs, std::int64_t toMs, PlotClock clock)
{
    std::vector<PlotEvent> visible;
    std::ranges::copy_if(events, std::back_inserter(visible),
                         [&](const PlotEvent& event) { return event.AtMs >= fromMs && event.AtMs < toMs; });
    std::ranges::stable_sort(visible, {}, &PlotEvent::AtMs);

    QStringList cells{clock == PlotClock::Wall ? QStringLiteral("Time") : QStringLiteral("Elapsed (s)")};
    for (const PlotCurve& curve : curves)
        cells << CsvField(curve.Unit.isEmpty() ? curve.Name
                                               : QStringLiteral("%1 (%2)").arg(curve.Name, curve.Unit));
    if (!visible.empty())
        cells << QStringLiteral("Event");
    QByteArray csv;
    const auto putLine = [&] { csv += cells.join(QLatin1Char(',')).toUtf8() + "\r\n"; };
    const auto startLine = [&](std::int64_t ms) {
        cells.fill(QString());
        cells[0] = clock == PlotClock::Wall ? QDateTime::fromMSecsSinceEpoch(ms).toString(Qt::ISODateWithMs)
                                            : QString::number(static_cast<double>(ms) / 1000, 'f', 3);
    };
    putLine();

    constexpr std::int64_t kEnd = std::numeric_limits<std::int64_t>::max();
    std::vector<std::size_t> passes; // the next one of each curve
    for (const PlotCurve& curve : curves)
        passes.push_back(curve.History->PassAt(fromMs - curve.OffsetMs));
    const auto timeOf = [&](std::size_t i) {
        const PlotCurve& curve = curves[i];
        return passes[i] < curve.History->Passes() ? curve.History->TimeMs(passes[i]) + curve.OffsetMs : kEnd;
    };
    std::size_t event = 0;
    for (;;) {
        std::int64_t nextMs = kEnd;
        for (std::size_t i = 0; i < curves.size(); ++i)
            nextMs = std::min(nextMs, timeOf(i));
        for (; event < visible.size() && visible[event].AtMs <= nextMs; ++event) {
            startLine(visible[event].AtMs);
            cells.back() = CsvField(visible[event].Text);
            putLine();
        }
        if (nextMs >= toMs)
            break;
        startLine(nextMs);
        for (std::size_t i = 0; i < curves.size(); ++i) {
            if (timeOf(i) != nextMs)
                continue;
            const double value = curves[i].History->Value(curves[i].Row, passes[i]);
            if (!std::isnan(value))
                cells[static_cast<qsizetype>(i) + 1]
                    = QString::number(value, 'g', QLocale::FloatingPointShortest);
            ++passes[i];
        }
        putLine();
    }
    return csv;
}
