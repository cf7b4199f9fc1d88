#include "sbs/LogDocument.h"

#include <QHash>

#include <algorithm>
#include <cmath>

namespace {

constexpr std::size_t kMostSuggested = 3;
constexpr std::size_t kMostAxes = 4; // of a plot
constexpr double kFlattest = 5; // a curve may take as little as a fifth of its axis

LogColumnFacts FactsOf(const LogSeries& series)
{
    LogColumnFacts facts{series.Caption, series.Hexadecimal};
    facts.Gaps = series.Gaps;
    double sum = 0;
    for (const double value : series.Values) {
        if (std::isnan(value))
            continue;
        facts.Min = facts.Values == 0 ? value : std::min(facts.Min, value);
        facts.Max = facts.Values == 0 ? value : std::max(facts.Max, value);
        sum += value;
        ++facts.Values;
    }
    if (facts.Values > 0)
        facts.Mean = sum / static_cast<double>(facts.Values);
    return facts;
}

std::int64_t ToMs(double seconds) { return static_cast<std::int64_t>(std::llround(seconds * 1000)); }

/// Longest distance that a line may join: three usual intervals and a second for the log's whole seconds.
std::int64_t BridgeMs(const std::vector<double>& seconds)
{
    if (seconds.size() < 3)
        return 0;
    std::vector<double> steps(seconds.size() - 1);
    for (std::size_t i = 0; i < steps.size(); ++i)
        steps[i] = seconds[i + 1] - seconds[i];
    const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::ranges::nth_element(steps, middle);
    return ToMs(3 * *middle + 1);
}

/// The history of some values, made when it is first asked for.
const ValueHistory& Kept(std::unique_ptr<ValueHistory>& history, const std::vector<double>& seconds,
                         const std::vector<double>& values)
{
    if (!history)
        history = std::make_unique<ValueHistory>(HistoryOf(seconds, values));
    return *history;
}

/// What a value axis has to show.
struct Range {
    double Low = 0;
    double High = 0;
    [[nodiscard]] double Size() const
    {
        return std::max(High - Low, std::max(std::abs(Low), std::abs(High)) * .02);
    }
    [[nodiscard]] Range With(const Range& other) const
    {
        return {std::min(Low, other.Low), std::max(High, other.High)};
    }
};

/// Logs carry no units: curves share an axis as long as none is pressed flat by it. At most four axes.
class AxisSharing {
public:
    QString AxisFor(const Range& range)
    {
        std::size_t best = m_axes.size();
        double least = m_axes.size() < kMostAxes ? kFlattest : std::numeric_limits<double>::infinity();
        for (std::size_t i = 0; i < m_axes.size(); ++i) {
            const double all = m_axes[i].With(range).Size();
            const double flattening = all / std::min(range.Size(), m_axes[i].Size());
            if (flattening < least || (best == m_axes.size() && m_axes.size() == kMostAxes)) {
                best = i;
                least = flattening;
            }
        }
        if (best == m_axes.size())
            m_axes.push_back(range);
        else
            m_axes[best] = m_axes[best].With(range);
        return QString::number(best + 1);
    }

private:
    std::vector<Range> m_axes;
};

Range RangeOf(const std::vector<double>& values)
{
    Range range;
    bool any = false;
    for (const double value : values) {
        if (std::isnan(value))
            continue;
        range = any ? range.With({value, value}) : Range{value, value};
        any = true;
    }
    return range;
}

} // namespace

void LogDocument::SetFirst(RegisterLogData data)
{
    RemoveSecond();
    m_first = {std::move(data), {}};
    m_first.histories.resize(m_first.data.Series.size());
    m_facts.clear();
    for (const LogSeries& series : m_first.data.Series)
        m_facts.push_back(FactsOf(series));
    m_places.assign(m_facts.size(), -1);
    m_compared.assign(m_facts.size(), std::nullopt);
    m_inSecond = m_compared;
}

void LogDocument::SetSecond(RegisterLogData data)
{
    RemoveSecond();
    m_second.emplace();
    m_second->data = std::move(data);
    m_second->histories.resize(m_second->data.Series.size());
    m_comparison = CompareLogs(m_first.data, m_second->data);
    m_differences.resize(m_comparison.Series.size());
    Match();
}

void LogDocument::RemoveSecond()
{
    m_second.reset();
    m_comparison = {};
    m_differences.clear();
    m_compared.assign(m_facts.size(), std::nullopt);
    m_inSecond = m_compared;
}

void LogDocument::Match()
{
    QHash<QString, std::vector<std::size_t>> second; // columns by caption, the first one last
    for (std::size_t i = m_second->data.Series.size(); i-- > 0;)
        second[m_second->data.Series[i].Caption].push_back(i);
    std::size_t next = 0; // compared series stand in the order of the first log
    for (std::size_t i = 0; i < m_facts.size(); ++i) {
        std::vector<std::size_t>& columns = second[m_facts[i].Caption];
        if (columns.empty())
            continue;
        m_inSecond[i] = columns.back();
        columns.pop_back();
        m_compared[i] = next++;
    }
}

const ComparedSeries* LogDocument::Compared(std::size_t column) const
{
    return m_compared[column] ? &m_comparison.Series[*m_compared[column]] : nullptr;
}

std::vector<std::size_t> LogDocument::Suggested() const
{
    std::vector<std::size_t> columns;
    for (std::size_t i = 0; i < m_facts.size() && columns.size() < kMostSuggested; ++i)
        if (m_facts[i].Values > 0 && m_facts[i].Min < m_facts[i].Max && !m_facts[i].Hexadecimal)
            columns.push_back(i);
    return columns;
}

PlotClock LogDocument::Clock() const
{
    return m_first.data.Start.isValid() && !m_second ? PlotClock::Wall : PlotClock::Elapsed;
}

std::vector<PlotCurve> LogDocument::Curves(const std::vector<std::size_t>& columns, LogComparing how)
{
    std::vector<PlotCurve> curves;
    AxisSharing axes;
    const RegisterLogData& first = m_first.data;
    const std::int64_t offsetMs = Clock() == PlotClock::Wall && first.Records() > 0
        ? first.Start.toMSecsSinceEpoch() - ToMs(first.Seconds.front())
        : 0;
    const auto add
        = [&](const ValueHistory& history, std::int64_t bridgeMs, const QString& name, const QString& axis) {
              PlotCurve& curve = curves.emplace_back();
              curve.History = &history;
              curve.OffsetMs = offsetMs;
              curve.BridgeMs = bridgeMs;
              curve.Name = name;
              curve.Axis = axis;
              curve.Place = static_cast<int>(curves.size()) - 1;
          };
    const std::int64_t bridgeMs = BridgeMs(first.Seconds);
    m_places.assign(m_facts.size(), -1);
    for (const std::size_t column : columns) {
        const LogColumnFacts& facts = m_facts[column];
        const auto place = static_cast<int>(curves.size());
        if (m_second && how == LogComparing::Difference) {
            if (const ComparedSeries* compared = Compared(column)) {
                add(Kept(m_differences[*m_compared[column]], m_comparison.Seconds, compared->Difference),
                    bridgeMs, facts.Caption, axes.AxisFor(RangeOf(compared->Difference)));
                m_places[column] = place;
            }
            continue;
        }
        m_places[column] = place;
        Range range{facts.Min, facts.Max};
        const std::optional<std::size_t> other = m_inSecond[column];
        const LogSeries* second = other ? &m_second->data.Series[*other] : nullptr;
        if (second)
            range = range.With(RangeOf(second->Values));
        const QString axis = axes.AxisFor(range);
        add(Kept(m_first.histories[column], first.Seconds, first.Series[column].Values), bridgeMs,
            facts.Caption, axis);
        if (second)
            add(Kept(m_second->histories[*other], m_second->data.Seconds, second->Values),
                BridgeMs(m_second->data.Seconds), QStringLiteral("%1 (2)").arg(facts.Caption), axis);
    }
    return curves;
}

std::vector<PlotEvent> LogDocument::Events() const
{
    std::vector<PlotEvent> events;
    if (m_second || m_first.data.Records() == 0)
        return events;
    const RegisterLogData& data = m_first.data;
    const std::int64_t startMs
        = Clock() == PlotClock::Wall ? data.Start.toMSecsSinceEpoch() - ToMs(data.Seconds.front()) : 0;
    for (const std::int64_t record : data.FlaggedRecords)
        events.push_back({startMs + ToMs(data.Seconds[static_cast<std::size_t>(record)]),
                          PlotEvent::Kind::FailedRead,
                          QStringLiteral("Record %1: a transfer failed before it").arg(record + 1)});
    return events;
}

QString LogNumber(double value, bool hexadecimal)
{
    return hexadecimal
        ? QString::number(static_cast<qint64>(value), 16).toUpper().rightJustified(4, QLatin1Char('0'))
        : PlotNumber(value);
}
