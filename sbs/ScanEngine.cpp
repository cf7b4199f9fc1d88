#include "sbs/ScanEngine.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

const QString kOwner = QStringLiteral("SBS");
const QString kBusyText = QStringLiteral("The USB connection is busy! Failed communication!");

/// Sets a flag for a scope.
class Raised {
public:
    explicit Raised(bool& flag) : m_flag(flag) { m_flag = true; }
    ~Raised() { m_flag = false; }
    Raised(const Raised&) = delete;
    Raised& operator=(const Raised&) = delete;

private:
    bool& m_flag;
};

} // namespace

ScanEngine::ScanEngine(RegisterReader& registers, GaugeAccess& access, TimeSource& time,
                       UserMessages& messages, ErrorList& errors, const clsSBSCfgRW& tables)
    : m_registers(registers), m_access(access), m_time(time), m_messages(messages), m_errors(errors),
      m_tables(tables)
{
}

void ScanEngine::Reset(const FormState& form)
{
    const auto rows = static_cast<std::size_t>(m_tables.GetNumSBSRows());
    ++m_generation;
    m_form = form;
    m_form.Scan.resize(rows, true);
    m_form.Log.resize(rows, true);
    m_rows.assign(rows, {});
    m_factorListed.assign(rows, 0);
    m_history = ValueHistory(rows);
}

QString ScanEngine::StatisticText(int row, std::optional<double> value) const
{
    if (!value)
        return {};
    const auto at = static_cast<std::int16_t>(row);
    const bool isByte = IsByteStyle(static_cast<ReadStyle>(m_tables.GetSBSReadStyle(at)));
    return FormatValue({*value, isByte, {}}, m_tables.GetSBSDisplayFormat(at)).text;
}

std::optional<std::int64_t> ScanEngine::AgeMs(int row) const
{
    const RowState& state = Row(row);
    if (!state.LastGoodValue)
        return std::nullopt;
    return m_time.MonotonicMs() - state.LastGoodMs;
}

void ScanEngine::ResetStatistics()
{
    for (RowState& state : m_rows) {
        state.Min.reset();
        state.Max.reset();
        state.Reads = 0;
        state.Failures = 0;
    }
}

bool ScanEngine::CanLog(int row) const
{
    return !m_tables.GetSBSLogDesc(static_cast<std::int16_t>(row)).trimmed().isEmpty();
}

void ScanEngine::SetCheckScan(bool on) { m_form.Scan.assign(m_rows.size(), on); }

void ScanEngine::SetCheckLog(bool on) { m_form.Log.assign(m_rows.size(), on); }

PassReport ScanEngine::ReadValues()
{
    if (m_running || ExclusiveAccess::HeldBelow())
        return {.End = PassEnd::Dropped};
    const Raised running(m_running);
    m_stop = false;

    const std::uint64_t generation = m_generation;
    std::vector<RowRead> reads(m_rows.size());
    const PassReport report = ReadValues_Config(reads);
    if (generation != m_generation)
        return report;
    QStringList badFormats;
    MoveReadsToRows(reads, badFormats);
    for (const QString& text : badFormats)
        m_messages.Report(text);
    return report;
}

PassReport ScanEngine::ReadValues_Config(std::vector<RowRead>& reads)
{
    PassReport report;
    const std::uint64_t generation = m_generation;
    const auto ended = [&] { return m_stop || generation != m_generation; };

    for (std::size_t row = 0; row < reads.size(); ++row) {
        const auto number = static_cast<std::int16_t>(row);
        const auto style = static_cast<ReadStyle>(m_tables.GetSBSReadStyle(number));
        if (!m_form.Scan[row] || style == ReadStyle::None)
            continue;
        RowRead read{.done = true};
        {
            const ExclusiveAccess access(m_access, kOwner);
            if (!access) {
                report.End = PassEnd::BusBusy;
                break;
            }
            if (ended()) // while the bus was awaited
                break;
            read.code = m_registers.Read(style, m_tables.GetSBSReadCommand(number), read.raw);
        } // given back before events run or a message shows: a timer may start its own sequence now
        if (read.code == ErrorCode::DriverFileMissing)
            m_messages.Show(QStringLiteral("Installation Error"));
        read.atMs = m_time.MonotonicMs();
        reads[row] = read;
        if (Failed(read.code)) {
            ++report.Failed;
            report.LastError = read.code;
        } else {
            ++report.Answered;
        }
        m_time.ProcessEvents(0);
        if (ended())
            break;
    }
    if (report.End == PassEnd::BusBusy)
        m_messages.Show(kBusyText);
    else if (ended())
        report.End = PassEnd::Stopped;
    return report;
}

void ScanEngine::MoveReadsToRows(const std::vector<RowRead>& reads, QStringList& badFormats)
{
    const QDateTime now = m_time.Now();
    std::vector<double> values(m_rows.size(), std::numeric_limits<double>::quiet_NaN());
    bool any = false;
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        RowState& state = m_rows[row];
        const RowRead& read = reads[row];
        state.Changed = false;
        state.Direction = 0;
        if (read.done) {
            any = true;
            state.Code = read.code;
            state.Raw = Failed(read.code) ? std::nullopt : std::optional(read.raw);
            ++state.Reads;
            state.Failures += Failed(read.code) ? 1 : 0;
        }
        Convert(row, badFormats);
        if (read.done && state.Value) {
            Remember(state, read.atMs, now);
            values[row] = *state.Value;
        }
    }
    if (any)
        m_history.Append(m_time.MonotonicMs(), values);
}

void ScanEngine::Convert(std::size_t row, QStringList& badFormats)
{
    RowState& state = m_rows[row];
    state.Value.reset();
    state.Text.clear();
    state.Reason = Failed(state.Code) ? ErrorCodeToText(state.Code) : QString();
    if (!state.Raw)
        return;

    const auto number = static_cast<std::int16_t>(row);
    const auto style = static_cast<ReadStyle>(m_tables.GetSBSReadStyle(number));
    const Converted converted = ApplyFactor(*state.Raw, style, m_tables.GetSBSReadFactor(number));
    if (!converted.Ok()) {
        state.Reason = converted.error;
        if (m_factorListed[row] == 0)
            m_errors.Add(QStringLiteral("%1: %2").arg(m_tables.GetSBSDesc(number), converted.error));
        m_factorListed[row] = 1;
        return;
    }
    state.Value = converted.value;
    const Formatted formatted = FormatValue(converted, m_tables.GetSBSDisplayFormat(number));
    state.Text = formatted.text;
    if (!formatted.message.isEmpty()) {
        state.Reason = formatted.message;
        badFormats << formatted.message;
    } else {
        state.Reason = formatted.error;
    }
}

void ScanEngine::Remember(RowState& state, std::int64_t atMs, const QDateTime& now)
{
    const double value = *state.Value;
    if (state.LastGoodValue && *state.LastGoodValue != value) {
        state.Changed = true;
        state.Direction = value > *state.LastGoodValue ? 1 : -1;
    }
    state.LastGoodValue = value;
    state.LastGoodText = state.Text;
    state.LastGoodAt = now;
    state.LastGoodMs = atMs;
    state.Min = std::min(state.Min.value_or(value), value);
    state.Max = std::max(state.Max.value_or(value), value);
}

WriteReport ScanEngine::Refused(int row, ErrorCode code, const QString& reason) const
{
    const QString name = m_tables.GetSBSDesc(static_cast<std::int16_t>(row));
    return {.Code = code, .Reason = QStringLiteral("Row %1 %2: %3").arg(row).arg(name, reason)};
}

WriteReport ScanEngine::WriteSBSValueFromGrid(int row, const QString& typed)
{
    if (row < 0 || row >= RowCount())
        return Refused(row, ErrorCode::IncorrectParam, QStringLiteral("there is no such row"));
    const auto number = static_cast<std::int16_t>(row);
    const auto style = static_cast<ReadStyle>(m_tables.GetSBSReadStyle(number));
    if (m_tables.GetSBSWriteable(number) == 0)
        return Refused(row, ErrorCode::IncorrectParam, QStringLiteral("this row is read only"));
    if (style == ReadStyle::None || !IsKnownStyle(style))
        return Refused(row, ErrorCode::IncorrectParam, QStringLiteral("its read style names no bus"));
    const WriteWord word = ConvertForWrite(typed, m_tables.GetSBSWriteFactor(number));
    if (!word.error.isEmpty())
        return Refused(row, ErrorCode::IncorrectParam, word.error);
    if (IsByteStyle(style) && (word.raw < -128 || word.raw > 255))
        return Refused(row, ErrorCode::IncorrectParam,
                       QStringLiteral("%1 does not fit one byte (-128 to 255)").arg(word.raw));
    if (ExclusiveAccess::HeldBelow())
        return Refused(row, ErrorCode::BusBusy, QStringLiteral("the bus is in use just now; try again"));
    const ExclusiveAccess access(m_access, kOwner);
    if (!access)
        return Refused(row, ErrorCode::BusBusy, kBusyText);
    const ErrorCode code = m_registers.Write(style, m_tables.GetSBSReadCommand(number), word.raw);
    return {.Raw = word.raw,
            .Sent = true,
            .Code = code,
            .Reason = Failed(code) ? ErrorCodeToText(code) : QString()};
}

ErrorCode ScanEngine::ReadBack(int row, RawValue& raw)
{
    const ExclusiveAccess access(m_access, kOwner);
    if (!access)
        return ErrorCode::BusBusy;
    const auto number = static_cast<std::int16_t>(row);
    return m_registers.Read(static_cast<ReadStyle>(m_tables.GetSBSReadStyle(number)),
                            m_tables.GetSBSReadCommand(number), raw);
}

std::optional<std::int16_t> ScanEngine::RemainingCapacity() const
{
    if (m_form.RemCapRow < 0 || m_form.RemCapRow >= RowCount() || !Row(m_form.RemCapRow).Value)
        return std::nullopt;
    const double rounded = std::nearbyint(*Row(m_form.RemCapRow).Value);
    return static_cast<std::int16_t>(std::clamp(rounded, -32768.0, 32767.0));
}

QString ScanEngine::CapacityUnit() const
{
    constexpr RawValue kCapacityMode = 0x8000;
    if (m_form.BattModeRow < 0 || m_form.BattModeRow >= RowCount() || !Row(m_form.BattModeRow).Raw)
        return {};
    return (*Row(m_form.BattModeRow).Raw & kCapacityMode) != 0 ? QStringLiteral("10 mWh")
                                                               : QStringLiteral("mAh");
}
