#pragma once

#include "sbs/ValueHistory.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// One register of a log. Gaps (failed reads, texts, fields a record lacks) are NaN.
struct LogSeries {
    QString Caption;
    bool Hexadecimal = false; ///< every value was written as hexadecimal digits
    std::vector<double> Values; ///< one a record
    std::int64_t Gaps = 0;
};

struct LogProblem {
    std::int64_t Line = 0; ///< counting from 1; 0: the file as a whole
    QString Text;
};

/// What a register log says, as far as it is whole.
struct RegisterLogData {
    QStringList Head; ///< the lines above the captions
    QDateTime Start; ///< of the first record; not valid when the head has no date or the record no time
    std::vector<LogSeries> Series;
    /// Seconds as the log counts them, never falling. Records of one whole second are spread over it by their
    /// sample numbers; a second run in the file follows the first.
    std::vector<double> Seconds;
    std::vector<std::int64_t> FlaggedRecords; ///< those written after a failed transfer
    std::vector<LogProblem> Problems; ///< the first kProblemsKept
    std::int64_t ProblemCount = 0;
    bool Cancelled = false;

    static constexpr std::size_t kProblemsKept = 1000;
    [[nodiscard]] std::size_t Records() const { return Seconds.size(); }
    /// @param text  a function that makes the text; called only for problems that are kept
    template <typename Text>
    void Report(std::int64_t line, Text&& text)
    {
        ++ProblemCount;
        if (Problems.size() < kProblemsKept)
            Problems.push_back({line, text()});
    }
};

/// Reads a log in pieces of any size. Takes at most 4096 columns and lines of 1 MiB; needs memory in
/// proportion to what was fed, whatever it was.
class RegisterLogParser {
public:
    static constexpr std::size_t kLongestLine = std::size_t{1} << 20;
    static constexpr std::size_t kMostColumns = 4096;
    static constexpr std::size_t kMostHeadLines = 100;

    /// @param expectedBytes  of all pieces together, 0 when not known; saves moving the values as they grow
    explicit RegisterLogParser(std::int64_t expectedBytes = 0) : m_expectedBytes(expectedBytes) { }
    void Feed(std::span<const char> bytes);
    /// A last line without a line end is left out: nobody can tell whether its last number is whole.
    [[nodiscard]] RegisterLogData Finish();

private:
    enum class Role : std::uint8_t { Sample, Stamp, Elapsed, Value };
    enum class Notation : std::uint8_t { Plain, Hexadecimal, Decimal };
    struct Column {
        Role role = Role::Value;
        Notation notation = Notation::Plain;
        std::size_t series = 0;
    };
    struct Cell;

    void TakeLine(std::string_view line);
    void TakeCaptions(std::string_view line);
    void TakeRecord(std::string_view line);
    [[nodiscard]] static const char* ReadCell(const char* at, const char* end, Cell& cell);
    void Add(Column& column, const Cell& cell);
    void AddTime(double sample, double elapsed);
    void SpreadGroup(double width);
    [[nodiscard]] double StampSeconds(std::string_view text);
    void Reserve();

    RegisterLogData m_data;
    std::vector<Column> m_columns;
    std::string m_captions;
    std::string m_carry; ///< the begin of a line whose end has not come
    bool m_skipping = false; ///< inside a line that is too long
    bool m_hasElapsed = false;
    bool m_foreign = false; ///< behind captions that differ from the first ones
    std::int64_t m_line = 0;
    std::int64_t m_bytes = 0;
    std::int64_t m_expectedBytes;
    std::int64_t m_padding = 0; ///< fields made up for records that lack some
    // the time axis
    std::size_t m_groupStart = 0; ///< first record of the whole second under way
    std::vector<double> m_groupSamples;
    double m_groupElapsed = 0;
    double m_offset = 0; ///< of the run under way, when the file holds several
    double m_lastStamp = -1;
    double m_days = 0;
};

[[nodiscard]] RegisterLogData ParseRegisterLog(std::span<const char> bytes);

/// @param progress  called with bytes read and in all every megabyte; false cancels, and what was read stands
/// A file that cannot be read gives no series and one problem of line 0.
[[nodiscard]] RegisterLogData ReadRegisterLog(const QString& path,
                                              const std::function<bool(qint64, qint64)>& progress = {});

/// One series as plots take it: row 0, times in milliseconds on the axis of Seconds. Made for a curve when it
/// is first shown, since a log has many registers that nobody looks at.
[[nodiscard]] ValueHistory HistoryOf(const RegisterLogData& data, std::size_t series);
/// The same of any values with their times.
[[nodiscard]] ValueHistory HistoryOf(const std::vector<double>& seconds, const std::vector<double>& values);
