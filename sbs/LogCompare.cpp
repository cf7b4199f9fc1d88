#include "sbs/LogCompare.h"

#include <QHash>

#include <algorithm>
#include <cmath>

namespace {

/// Where a time lies between two records of a log: in record From, or Part of the way to the next one.
struct Place {
    std::size_t From = 0;
    double Part = 0;
};

double ValueAt(const LogSeries& series, const Place& place)
{
    const double from = series.Values[place.From];
    if (place.Part == 0)
        return from;
    const double to = series.Values[place.From + 1];
    if (series.Hexadecimal)
        return place.Part < 0.5 ? from : to;
    return from + (to - from) * place.Part; // a gap at either end is a gap
}

void Summarise(ComparedSeries& series)
{
    double sum = 0;
    double squares = 0;
    for (const double difference : series.Difference) {
        if (std::isnan(difference))
            continue;
        ++series.Count;
        sum += difference;
        squares += difference * difference;
        series.Largest = std::max(series.Largest, std::abs(difference));
    }
    if (series.Count == 0)
        return;
    series.Mean = sum / static_cast<double>(series.Count);
    series.RootMeanSquare = std::sqrt(squares / static_cast<double>(series.Count));
}

} // namespace

LogComparison CompareLogs(const RegisterLogData& first, const RegisterLogData& second)
{
    LogComparison comparison;
    std::vector<std::size_t> records; // of the first log that the second covers
    std::vector<Place> places; // in the second log
    std::size_t at = 0;
    for (std::size_t i = 0; i < first.Records() && second.Records() > 0; ++i) {
        const double seconds = first.Seconds[i];
        while (at + 1 < second.Records() && second.Seconds[at + 1] <= seconds)
            ++at;
        const double from = second.Seconds[at];
        const bool last = at + 1 == second.Records();
        if (seconds < from || (last && seconds > from))
            continue;
        const double part = seconds == from ? 0 : (seconds - from) / (second.Seconds[at + 1] - from);
        records.push_back(i);
        places.push_back({at, part});
        comparison.Seconds.push_back(seconds);
    }

    QHash<QString, std::vector<std::size_t>>
        seconds; // columns of the second log by caption, the first one last
    for (std::size_t i = second.Series.size(); i-- > 0;)
        seconds[second.Series[i].Caption].push_back(i);
    for (const LogSeries& series : first.Series) {
        std::vector<std::size_t>& others = seconds[series.Caption];
        if (others.empty()) {
            comparison.OnlyInFirst << series.Caption;
            continue;
        }
        const LogSeries& other = second.Series[others.back()];
        others.pop_back();
        ComparedSeries& compared = comparison.Series.emplace_back();
        compared.Caption = series.Caption;
        for (std::size_t i = 0; i < records.size(); ++i) {
            compared.First.push_back(series.Values[records[i]]);
            compared.Second.push_back(ValueAt(other, places[i]));
            compared.Difference.push_back(compared.Second.back() - compared.First.back());
        }
        Summarise(compared);
    }
    for (std::size_t i = 0; i < second.Series.size(); ++i)
        if (const auto& left = seconds[second.Series[i].Caption]; std::ranges::find(left, i) != left.end())
            comparison.OnlyInSecond << second.Series[i].Caption;
    return comparison;
}
