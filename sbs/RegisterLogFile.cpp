#include "sbs/RegisterLogFile.h"

#include "sbs/RegisterLogReading.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr double kGap = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t kMostHexDigits = 8;
constexpr std::ptrdiff_t kExactDigits = 15; // of a decimal number that a double holds without loss
constexpr std::array kPowersOfTen{1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                  1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
constexpr double kHalfDay = 43200;
constexpr double kDay = 86400;
constexpr double kLatest = 1e12; // seconds; a time beyond it is nonsense and would swallow the fractions
constexpr std::int64_t kMostReservedFor = 256LL * 1024 * 1024; // a sparse file may claim any size
constexpr std::string_view kErrorFlag = "Possible Error-See error log";

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view Trimmed(std::string_view text)
{
    const auto blank = [](char c) { return c == ' ' || c == '\r'; };
    while (!text.empty() && blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && blank(text.back()))
        text.remove_suffix(1);
    return text;
}

/// UTF-8 where it is valid, else the bytes as Latin-1; at most 200 characters, for reports.
QString Shown(std::string_view text)
{
    const auto bytes
        = QByteArrayView(text.data(), static_cast<qsizetype>(std::min<std::size_t>(text.size(), 200)));
    return bytes.isValidUtf8() ? QString::fromUtf8(bytes) : QString::fromLatin1(bytes);
}

std::vector<std::string_view> Split(std::string_view line, std::size_t most)
{
    std::vector<std::string_view> fields;
    for (;;) {
        const std::size_t tab = line.find('\t');
        if (fields.size() < most)
            fields.push_back(line.substr(0, tab));
        if (tab == std::string_view::npos)
            return fields;
        line.remove_prefix(tab + 1);
    }
}

/// The number that digits read as decimal give when they are read as hexadecimal.
double DigitsAsHex(double decimal)
{
    auto rest = static_cast<std::uint64_t>(decimal);
    std::uint64_t value = 0;
    for (int shift = 0; rest != 0; shift += 4, rest /= 10)
        value |= (rest % 10) << shift;
    return static_cast<double>(value);
}

/// The way back; a gap for a number whose hexadecimal digits hold a letter.
double HexAsDigits(double hex)
{
    if (std::isnan(hex))
        return kGap;
    auto rest = static_cast<std::uint64_t>(hex);
    double value = 0;
    for (double place = 1; rest != 0; place *= 10, rest >>= 4) {
        if ((rest & 15) > 9)
            return kGap;
        value += place * static_cast<double>(rest & 15);
    }
    return value;
}

} // namespace

struct RegisterLogParser::Cell {
    enum class Kind : std::uint8_t {
        Empty,
        Digits, ///< at most 8 decimal digits without a leading zero: decimal or hexadecimal, the column tells
        Hex, ///< letters A to F or a leading zero: no integer is ever written so in decimal
        Decimal, ///< a sign, a point, more digits
        Text
    };
    Kind kind = Kind::Empty;
    double value = kGap;
    std::string_view text;
};

void RegisterLogParser::Feed(std::span<const char> bytes)
{
    const char* at = bytes.data();
    const char* const end = at + bytes.size();
    while (at != end) {
        const auto* lineEnd
            = static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)));
        const char* const pieceEnd = lineEnd ? lineEnd : end;
        const auto length = static_cast<std::size_t>(pieceEnd - at);
        m_bytes += static_cast<std::int64_t>(length) + (lineEnd ? 1 : 0);
        if (m_carry.size() + length > kLongestLine) {
            m_carry.clear();
            m_skipping = true;
        }
        if (!lineEnd) {
            if (!m_skipping)
                m_carry.append(at, length);
            return;
        }
        ++m_line;
        if (m_skipping) {
            m_data.Report(m_line,
                          [&] { return QStringLiteral("The line is longer than 1 MiB and was left out."); });
        } else if (m_carry.empty()) {
            TakeLine({at, length});
        } else {
            m_carry.append(at, length);
            TakeLine(m_carry);
            m_carry.clear();
        }
        m_skipping = false;
        at = lineEnd + 1;
    }
}

RegisterLogData RegisterLogParser::Finish()
{
    if (!m_carry.empty() || m_skipping)
        m_data.Report(m_line + 1, [&] {
            return QStringLiteral("The last line has no end and was left out: the file is cut.");
        });
    SpreadGroup(1);
    if (m_columns.empty())
        m_data.Report(0, [&] {
            return QStringLiteral(
                "There is no line of captions beginning with \"Sample\": this is no register "
                "log, or only the start of one.");
        });
    for (const Column& column : m_columns)
        if (column.role == Role::Value)
            m_data.Series[column.series].Hexadecimal = column.notation == Notation::Hexadecimal;
    return std::move(m_data);
}

void RegisterLogParser::TakeLine(std::string_view line)
{
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    if (line.starts_with("Sample\t")) {
        TakeCaptions(line);
    } else if (m_columns.empty()) {
        if (static_cast<std::size_t>(m_data.Head.size()) < kMostHeadLines)
            m_data.Head << Shown(line);
    } else if (!m_foreign && !line.empty()) {
        TakeRecord(line);
    }
}

void RegisterLogParser::TakeCaptions(std::string_view line)
{
    if (!m_columns.empty()) {
        m_foreign = line != m_captions;
        m_data.Report(m_line, [&] {
            return m_foreign ? QStringLiteral("Other captions begin here; this part was left out.")
                             : QStringLiteral("Another run with the same captions begins here.");
        });
        return;
    }
    m_captions = line;
    const auto captions = Split(line, kMostColumns + 1);
    for (std::size_t i = 0; i < std::min(captions.size(), kMostColumns); ++i) {
        const std::string_view caption = Trimmed(captions[i]);
        Column column;
        if (i == 0) {
            column.role = Role::Sample;
        } else if (i == 1 && caption == "Stamp") {
            column.role = Role::Stamp;
        } else if (!m_hasElapsed && caption == "~Elapsed(s)") {
            column.role = Role::Elapsed;
            m_hasElapsed = true;
        } else {
            column.series = m_data.Series.size();
            m_data.Series.emplace_back().Caption = Shown(caption);
        }
        m_columns.push_back(column);
    }
    if (captions.size() > kMostColumns)
        m_data.Report(
            m_line, [&] { return QStringLiteral("Only the first %1 columns are read.").arg(kMostColumns); });
    if (!m_hasElapsed)
        m_data.Report(m_line, [&] {
            return QStringLiteral("There is no column \"~Elapsed(s)\"; the time of day, or else the number "
                                  "of the record, serves.");
        });
}

void RegisterLogParser::TakeRecord(std::string_view line)
{
    if (!IsDigit(line.front())) {
        m_data.Report(m_line, [&] { return QStringLiteral("No record: %1").arg(Shown(line)); });
        return;
    }
    const auto tabs = static_cast<std::size_t>(std::count(line.begin(), line.end(), '\t'));
    const std::size_t present = tabs + 1;
    if (present < m_columns.size()) {
        // gaps are made up for no more fields than bytes were read, so that short lines cannot fill the
        // memory
        m_padding += static_cast<std::int64_t>(m_columns.size() - present);
        const bool kept = m_padding <= m_bytes;
        m_data.Report(m_line, [&] {
            return QStringLiteral("%1 of %2 fields; %3.")
                .arg(present)
                .arg(m_columns.size())
                .arg(kept ? QStringLiteral("the rest counts as failed reads")
                          : QStringLiteral("the record was left out"));
        });
        if (!kept)
            return;
    }

    double sample = kGap;
    double elapsed = kGap;
    const char* at = line.data();
    const char* const end = at + line.size();
    bool more = true; // a field begins at at
    for (Column& column : m_columns) {
        Cell cell;
        if (more) {
            at = ReadCell(at, end, cell);
            more = at != end;
            if (more)
                ++at;
        }
        switch (column.role) {
        case Role::Sample:
            sample = cell.kind == Cell::Kind::Hex ? kGap : cell.value;
            break;
        case Role::Stamp:
            if (!m_hasElapsed || m_data.Seconds.empty()) {
                const double stamp = StampSeconds(cell.text);
                if (!m_hasElapsed)
                    elapsed = stamp;
                if (m_data.Seconds.empty() && m_data.Head.size() > 1 && !std::isnan(stamp))
                    m_data.Start = QDateTime(QDate::fromString(m_data.Head[1].trimmed(), Qt::ISODate),
                                             QTime::fromMSecsSinceStartOfDay(static_cast<int>(stamp) * 1000));
            }
            break;
        case Role::Elapsed:
            elapsed = cell.kind == Cell::Kind::Hex ? kGap : cell.value;
            break;
        case Role::Value:
            Add(column, cell);
            break;
        }
    }
    if (more) {
        const std::string_view rest(at, static_cast<std::size_t>(end - at));
        if (rest == kErrorFlag)
            m_data.FlaggedRecords.push_back(static_cast<std::int64_t>(m_data.Seconds.size()));
        else if (!rest.empty())
            m_data.Report(m_line, [&] {
                return QStringLiteral("More fields than captions; left out: %1").arg(Shown(rest));
            });
    }
    AddTime(sample, elapsed);
    if (m_data.Records() == 1000)
        Reserve();
}

const char* RegisterLogParser::ReadCell(const char* at, const char* end, Cell& cell)
{
    const char* p = at;
    const bool negative = p != end && *p == '-';
    if (negative)
        ++p;
    // nearly every field is plain: digits, perhaps a point and more digits
    const char* const digits = p;
    std::uint64_t number = 0;
    while (p != end && IsDigit(*p))
        number = number * 10 + static_cast<std::uint64_t>(*p++ - '0');
    std::ptrdiff_t count = p - digits;
    std::ptrdiff_t fraction = 0;
    const bool point = p != end && *p == '.';
    if (point) {
        const char* const start = ++p;
        while (p != end && IsDigit(*p))
            number = number * 10 + static_cast<std::uint64_t>(*p++ - '0');
        fraction = p - start;
        count += fraction;
    }
    if ((p == end || *p == '\t') && count > 0 && count <= kExactDigits) {
        cell.text = {at, static_cast<std::size_t>(p - at)};
        const double value = static_cast<double>(number) / kPowersOfTen[static_cast<std::size_t>(fraction)];
        if (negative || point || count > static_cast<std::ptrdiff_t>(kMostHexDigits)) {
            cell.kind = Cell::Kind::Decimal;
            cell.value = negative ? -value : value;
        } else if (count > 1 && *digits == '0') {
            cell.kind = Cell::Kind::Hex;
            cell.value = DigitsAsHex(value);
        } else {
            cell.kind = Cell::Kind::Digits;
            cell.value = value;
        }
        return p;
    }

    p = std::find(p, end, '\t');
    cell.text = Trimmed({at, static_cast<std::size_t>(p - at)});
    const char* const first = cell.text.data();
    const char* const last = first + cell.text.size();
    std::uint32_t hex = 0;
    double value = 0;
    if (cell.text.empty()) {
        cell.kind = Cell::Kind::Empty;
    } else if (const auto read = std::from_chars(first, last, hex, 16);
               read.ptr == last && read.ec == std::errc() && cell.text.size() <= kMostHexDigits) {
        cell.kind = Cell::Kind::Hex;
        cell.value = hex;
    } else if (const auto real = std::from_chars(first, last, value);
               real.ptr == last && real.ec == std::errc() && std::isfinite(value)) {
        cell.kind = Cell::Kind::Decimal;
        cell.value = value;
    } else {
        cell.kind = Cell::Kind::Text;
    }
    return p;
}

void RegisterLogParser::Add(Column& column, const Cell& cell)
{
    LogSeries& series = m_data.Series[column.series];
    double value = cell.value;
    switch (cell.kind) {
    case Cell::Kind::Empty:
    case Cell::Kind::Text:
        break;
    case Cell::Kind::Digits:
        if (column.notation == Notation::Hexadecimal)
            value = DigitsAsHex(value);
        break;
    case Cell::Kind::Hex:
        if (column.notation == Notation::Plain) { // all values before were digits and tell what they were
            for (double& earlier : series.Values)
                if (!std::isnan(earlier))
                    earlier = DigitsAsHex(earlier);
            column.notation = Notation::Hexadecimal;
        } else if (column.notation == Notation::Decimal) {
            value = HexAsDigits(value);
        }
        break;
    case Cell::Kind::Decimal:
        if (column.notation == Notation::Hexadecimal) {
            for (double& earlier : series.Values) {
                earlier = HexAsDigits(earlier);
            }
            series.Gaps = std::count_if(series.Values.begin(), series.Values.end(),
                                        [](double earlier) { return std::isnan(earlier); });
        }
        column.notation = Notation::Decimal;
        break;
    }
    if (std::isnan(value)) {
        ++series.Gaps;
        if (cell.kind != Cell::Kind::Empty)
            m_data.Report(m_line, [&] {
                return QStringLiteral("%1: \"%2\" is no number of this column.")
                    .arg(series.Caption, Shown(cell.text));
            });
    }
    series.Values.push_back(value);
}

void RegisterLogParser::AddTime(double sample, double elapsed)
{
    std::vector<double>& seconds = m_data.Seconds;
    const bool timed = m_hasElapsed || m_lastStamp >= 0;
    if (!timed) {
        elapsed = static_cast<double>(seconds.size());
    } else if (std::isnan(elapsed) || elapsed < 0 || elapsed > kLatest) {
        m_data.Report(
            m_line, [] { return QStringLiteral("No usable time; the record counts to the second before."); });
        elapsed = seconds.empty() ? 0 : m_groupElapsed;
    }
    if (seconds.empty()) {
        m_offset = m_hasElapsed ? 0 : -elapsed;
    } else if (elapsed > m_groupElapsed) {
        SpreadGroup(std::min(1.0, elapsed - m_groupElapsed));
    } else if (elapsed < m_groupElapsed) {
        SpreadGroup(1);
        m_data.Report(m_line, [] {
            return QStringLiteral("The time goes back: taken as another run, one second later.");
        });
        m_offset += m_groupElapsed + 1 - elapsed;
    }
    m_groupElapsed = elapsed;
    seconds.push_back(m_offset + elapsed);
    m_groupSamples.push_back(sample);
}

void RegisterLogParser::SpreadGroup(double width)
{
    const std::size_t count = m_groupSamples.size();
    if (count > 1) {
        double* const seconds = m_data.Seconds.data() + m_groupStart;
        const double first = m_groupSamples.front();
        const double span = m_groupSamples.back() - first + 1;
        // lost records keep their place where the sample numbers rise as they should
        const auto notRising = [](double a, double b) { return !(b >= a + 1); };
        const bool bySample = span <= kLatest
            && std::ranges::adjacent_find(m_groupSamples, notRising) == m_groupSamples.end();
        for (std::size_t i = 0; i < count; ++i)
            seconds[i] += width
                * (bySample ? (m_groupSamples[i] - first) / span
                            : static_cast<double>(i) / static_cast<double>(count));
    }
    m_groupStart = m_data.Seconds.size();
    m_groupSamples.clear();
}

double RegisterLogParser::StampSeconds(std::string_view text)
{
    const QTime time = QTime::fromString(Shown(text), QStringLiteral("H:mm:ss"));
    if (!time.isValid())
        return kGap;
    const double stamp = time.msecsSinceStartOfDay() / 1000.0;
    if (stamp < m_lastStamp - kHalfDay)
        m_days += kDay;
    m_lastStamp = stamp;
    return stamp + m_days;
}

void RegisterLogParser::Reserve()
{
    const std::int64_t expected = std::min(m_expectedBytes, kMostReservedFor);
    if (expected <= m_bytes)
        return;
    const auto records
        = static_cast<std::size_t>(static_cast<double>(m_data.Records())
                                   * (static_cast<double>(expected) / static_cast<double>(m_bytes)));
    const std::size_t some = records + records / 50;
    m_data.Seconds.reserve(some);
    for (LogSeries& series : m_data.Series)
        series.Values.reserve(some);
}

RegisterLogData ParseRegisterLog(std::span<const char> bytes)
{
    RegisterLogParser parser(static_cast<std::int64_t>(bytes.size()));
    parser.Feed(bytes);
    return parser.Finish();
}

RegisterLogData ReadRegisterLog(const QString& path, const std::function<bool(qint64, qint64)>& progress)
{
    RegisterLogReading reading(path);
    bool cancelled = false;
    while (!cancelled && reading.Step())
        cancelled = progress && !progress(reading.Done(), reading.Size());
    RegisterLogData data = reading.Finish();
    data.Cancelled = cancelled;
    return data;
}

ValueHistory HistoryOf(const RegisterLogData& data, std::size_t series)
{
    return HistoryOf(data.Seconds, data.Series[series].Values);
}

ValueHistory HistoryOf(const std::vector<double>& seconds, const std::vector<double>& values)
{
    ValueHistory history(1);
    for (std::size_t record = 0; record < values.size(); ++record)
        history.Append(std::llround(seconds[record] * 1000), {&values[record], 1});
    return history;
}
