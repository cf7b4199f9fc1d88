#include "flashimage/FlashProgrammer.h"

#include "comm/BusSequence.h"
#include "comm/Wait.h"

#include <algorithm>

namespace {

constexpr std::size_t kRowsACall = 16; // a cancel waits for no more than these
constexpr std::size_t kBytesARead = 1024;
constexpr int kAttempts = 3;
constexpr int kStartPollMs = 100;
constexpr int kStartPolls = 20;

bool Blank(std::span<const std::uint8_t> bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0xFF; });
}

std::int32_t Signed(std::uint32_t address) { return static_cast<std::int32_t>(address); }

QString AreaName(std::int32_t area)
{
    return area == FlashCall::kDataArea ? QStringLiteral("data flash") : QStringLiteral("instruction flash");
}

QString Reason(ErrorCode code)
{
    if (code == ErrorCode::IncorrectParam)
        return QStringLiteral("this adapter cannot program flash (%1)").arg(ErrorCodeToText(code));
    if (code == ErrorCode::DevGgMode)
        return QStringLiteral("the gauge left its boot ROM (%1)").arg(ErrorCodeToText(code));
    return QStringLiteral("%1").arg(ErrorCodeToText(code));
}

/// What goes wrong once and may go right the next time; all that is repeated here may be done twice.
bool Passing(ErrorCode code)
{
    return Failed(code) && code != ErrorCode::NoUsb && code != ErrorCode::IncorrectParam
        && code != ErrorCode::DevGgMode && code != ErrorCode::DevRomMode;
}

const clsSrecFlash::Region& RegionOf(const clsSrecFlash& image, std::int32_t area)
{
    return area == FlashCall::kDataArea ? image.DF : image.PF;
}

std::vector<std::int32_t> AreasOf(const clsSrecFlash& image, const FlashOptions& options)
{
    std::vector<std::int32_t> areas;
    if (options.Data && !image.DF.Empty())
        areas.push_back(FlashCall::kDataArea); // first: a stop on the way leaves the firmware whole
    if (image.PFMode != ProgramMode::kLeave && !image.PF.Empty())
        areas.push_back(FlashCall::kInstructionArea);
    return areas;
}

} // namespace

/// One run: the bus, and that no second run begins inside it.
class FlashProgrammer::Run {
public:
    Run(FlashProgrammer& owner, const QString& name)
        : m_owner(owner), m_free(!owner.m_running), m_sequence(owner.m_access, name)
    {
        if (!*this)
            return;
        owner.m_running = true;
        owner.m_cancelled = false;
    }
    ~Run()
    {
        if (*this)
            m_owner.m_running = false;
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    explicit operator bool() const { return m_free && m_sequence; }
    [[nodiscard]] static FlashOutcome Busy()
    {
        return {.Code = ErrorCode::BusBusy,
                .Text = QStringLiteral("The bus is in use; nothing was sent. Try again when it is free.")};
    }

private:
    FlashProgrammer& m_owner;
    bool m_free;
    BusSequence m_sequence;
};

void FlashProgrammer::Use(const FlashTarget& target, const TargetSettings& settings,
                          std::int16_t gaugeAddress)
{
    m_target = target;
    m_settings = settings;
    m_address = gaugeAddress;
}

void FlashProgrammer::Report(std::int64_t done, std::int64_t of, const QString& what) const
{
    if (OnProgress)
        OnProgress({done, of, what});
}

Bytes FlashProgrammer::RowSizes() const
{
    Bytes sizes;
    for (const std::int16_t size : {m_settings.DF_PROGROW_SZ, m_settings.DF_ERASEROW_SZ}) {
        sizes.push_back(static_cast<std::uint8_t>(size & 0xFF));
        sizes.push_back(static_cast<std::uint8_t>(size >> 8 & 0xFF));
    }
    return sizes;
}

GaugeMode FlashProgrammer::Mode(ErrorCode& err)
{
    Bytes none;
    std::int16_t status = 0;
    m_usb.ReadFlash(FlashCall::kDataArea, 0, none, 0, 0, 0, status, err);
    if (Failed(err))
        return GaugeMode::Unknown;
    switch (static_cast<ErrorCode>(status)) {
    case ErrorCode::DevGgMode:
        return GaugeMode::Firmware;
    case ErrorCode::DevRomMode:
        return GaugeMode::Rom;
    default:
        return GaugeMode::Unknown;
    }
}

GaugeMode FlashProgrammer::AskMode(ErrorCode& err)
{
    err = ErrorCode::BusBusy;
    if (m_running || ExclusiveAccess::HeldBelow())
        return GaugeMode::Unknown;
    const ExclusiveAccess access(m_access, QStringLiteral("Flash"));
    return access ? Mode(err) : GaugeMode::Unknown;
}

ErrorCode FlashProgrammer::EnterRom()
{
    ErrorCode err = ErrorCode::Ok;
    for (int attempt = 0; attempt < kAttempts && (attempt == 0 || Passing(err)); ++attempt) {
        std::int16_t status = 0;
        m_usb.ProgramFlash(FlashCall::kDataArea, 0, {}, 0, {}, 0, FlashCall::kEnterRom, status, err);
        if (!Failed(err) && static_cast<ErrorCode>(status) != ErrorCode::DevRomMode)
            err = ErrorCode::DevGgMode;
    }
    return err;
}

/// The return-from-ROM request, then the firmware-execute value to the same command, low byte first.
ErrorCode FlashProgrammer::Leave()
{
    const std::int16_t addr = m_settings.ROMComm != 0 ? m_settings.ROMComm : m_address;
    const auto command = static_cast<std::uint8_t>(m_settings.RetROMCmd & 0xFF);
    const auto execute = static_cast<std::uint32_t>(m_settings.GG_FWEXEC);
    Bytes block;
    for (int shift = 0; shift < 32; shift += 8)
        block.push_back(static_cast<std::uint8_t>(execute >> shift & 0xFFU));
    ErrorCode err = ErrorCode::Ok;
    GaugeMode mode = GaugeMode::Unknown;
    for (int attempt = 0; attempt < kAttempts && mode != GaugeMode::Firmware; ++attempt) {
        m_usb.WriteSMBusWord_(command, m_settings.RetROMWd, addr, err);
        if (!Failed(err))
            m_usb.WriteSMBusBlock(command, block, static_cast<std::int16_t>(block.size()), addr, err);
        if (err == ErrorCode::NoUsb)
            return err;
        mode = Mode(err);
        for (int poll = 0; poll < kStartPolls && mode != GaugeMode::Firmware && err != ErrorCode::NoUsb
             && attempt + 1 == kAttempts;
             ++poll) {
            WaitMs(m_time, kStartPollMs);
            mode = Mode(err);
        }
    }
    if (mode == GaugeMode::Firmware)
        return ErrorCode::Ok;
    return mode == GaugeMode::Rom ? ErrorCode::DevRomMode : Failed(err) ? err : ErrorCode::NoAcknowledge;
}

FlashOutcome FlashProgrammer::End(FlashOutcome outcome)
{
    if (m_massErasePending)
        m_usb.MassEraseOption(0);
    m_massErasePending = false;
    ErrorCode err = ErrorCode::Ok;
    outcome.Mode = Mode(err);
    switch (outcome.Mode) {
    case GaugeMode::Firmware:
        outcome.Text += QStringLiteral(" The gauge runs its firmware.");
        break;
    case GaugeMode::Rom:
        outcome.Text += QStringLiteral(" The gauge is in its boot ROM (%1).")
                            .arg(ErrorCodeToText(ErrorCode::DevRomMode));
        break;
    case GaugeMode::Unknown:
        outcome.Text
            += QStringLiteral(" In which state the gauge is cannot be told: %1.").arg(ErrorCodeToText(err));
        break;
    }
    return outcome;
}

ErrorCode FlashProgrammer::ReadPiece(Piece& piece, const QString& what, std::int64_t before, std::int64_t of)
{
    for (std::size_t at = 0; at < piece.Data.size();) {
        if (m_cancelled)
            return ErrorCode::UserCancelled;
        const std::size_t count = std::min(kBytesARead, piece.Data.size() - at);
        Bytes bytes;
        ErrorCode err = ErrorCode::Ok;
        for (int attempt = 0; attempt < kAttempts && (attempt == 0 || Passing(err)); ++attempt) {
            std::int16_t status = 0;
            m_usb.ReadFlash(piece.Area, Signed(piece.Start + static_cast<std::uint32_t>(at)), bytes,
                            static_cast<std::int32_t>(count), 0, 0, status, err);
            if (!Failed(err) && bytes.size() != count)
                err = ErrorCode::WrongNumBytes;
        }
        if (Failed(err))
            return err;
        std::copy(bytes.begin(), bytes.end(), piece.Data.begin() + static_cast<std::ptrdiff_t>(at));
        at += count;
        Report(before + static_cast<std::int64_t>(at), of, what);
    }
    return ErrorCode::Ok;
}

/// Whole erase rows of each region; what the image does not hold of a row comes from the gauge.
ErrorCode FlashProgrammer::Gather(const clsSrecFlash& image, const FlashOptions& options,
                                  std::vector<Piece>& pieces)
{
    const auto row = static_cast<std::size_t>(std::max<std::int16_t>(m_settings.DF_ERASEROW_SZ, 1));
    for (const std::int32_t area : AreasOf(image, options)) {
        const clsSrecFlash::Region& region = RegionOf(image, area);
        const std::size_t lead = region.Start() % row;
        const std::size_t size = (lead + region.Size() + row - 1) / row * row;
        Piece piece{area, region.Start() - static_cast<std::uint32_t>(lead), Bytes(size, 0xFF)};
        const std::size_t tail = size - lead - region.Size();
        for (const std::size_t at : {std::size_t{0}, size - row}) {
            if (options.MassErase || (at == 0 ? lead == 0 && size > row : tail == 0) || lead + tail == 0)
                continue;
            Piece edge{area, piece.Start + static_cast<std::uint32_t>(at), Bytes(row)};
            if (const ErrorCode err = ReadPiece(edge, QStringLiteral("Reading"), 0, 0); Failed(err))
                return err;
            std::copy(edge.Data.begin(), edge.Data.end(),
                      piece.Data.begin() + static_cast<std::ptrdiff_t>(at));
        }
        std::copy(region.View().begin(), region.View().end(),
                  piece.Data.begin() + static_cast<std::ptrdiff_t>(lead));
        pieces.push_back(std::move(piece));
    }
    return ErrorCode::Ok;
}

ErrorCode FlashProgrammer::Write(const Piece& piece, bool massErased, std::int64_t of, std::int64_t& done)
{
    const auto eraseRow = static_cast<std::size_t>(std::max<std::int16_t>(m_settings.DF_ERASEROW_SZ, 1));
    const auto programRow = static_cast<std::size_t>(std::max<std::int16_t>(m_settings.DF_PROGROW_SZ, 1));
    const std::span<const std::uint8_t> all(piece.Data);
    for (std::size_t at = 0; at < all.size();) {
        if (m_cancelled)
            return ErrorCode::UserCancelled;
        const auto bytes = all.subspan(at, std::min(kRowsACall * eraseRow, all.size() - at));
        int ms = massErased ? 0 : m_settings.DF_ERASEROW * static_cast<int>(bytes.size() / eraseRow);
        for (std::size_t row = 0; row < bytes.size(); row += programRow)
            if (!Blank(bytes.subspan(row, std::min(programRow, bytes.size() - row))))
                ms += m_settings.DF_PROGROW;
        ErrorCode err = ErrorCode::Ok;
        const bool needed = !massErased || !Blank(bytes);
        for (int attempt = 0; needed && attempt < kAttempts && (attempt == 0 || Passing(err)); ++attempt) {
            std::int16_t status = 0;
            const Bytes sizes = RowSizes();
            m_usb.ProgramFlash(piece.Area, Signed(piece.Start + static_cast<std::uint32_t>(at)),
                               Bytes(bytes.begin(), bytes.end()), static_cast<std::int32_t>(bytes.size()),
                               sizes, static_cast<std::int32_t>(sizes.size()),
                               massErased ? 0 : FlashCall::kEraseRows, status, err);
        }
        if (Failed(err))
            return err;
        WaitMs(m_time, ms);
        at += bytes.size();
        done += static_cast<std::int64_t>(bytes.size());
        Report(done, of, QStringLiteral("Programming"));
    }
    return ErrorCode::Ok;
}

/// @param difference  empty, or where the first difference is and how many there are
ErrorCode FlashProgrammer::Compare(const clsSrecFlash& image, const FlashOptions& options,
                                   QString& difference)
{
    std::int64_t of = 0;
    for (const std::int32_t area : AreasOf(image, options))
        of += static_cast<std::int64_t>(RegionOf(image, area).Size());
    std::int64_t before = 0;
    ErrorCode found = ErrorCode::Ok;
    for (const std::int32_t area : AreasOf(image, options)) {
        const clsSrecFlash::Region& region = RegionOf(image, area);
        Piece piece{area, region.Start(), Bytes(region.Size())};
        if (const ErrorCode err = ReadPiece(piece, QStringLiteral("Verifying"), before, of); Failed(err))
            return err;
        before += static_cast<std::int64_t>(region.Size());
        std::size_t count = 0;
        std::size_t first = 0;
        for (std::size_t at = piece.Data.size(); at-- > 0;)
            if (piece.Data[at] != region.View()[at]) {
                ++count;
                first = at;
            }
        if (count == 0)
            continue;
        const ErrorCode code
            = area == FlashCall::kDataArea ? ErrorCode::DfChecksumMismatch : ErrorCode::IfChecksumMismatch;
        found = Failed(found) ? found : code;
        difference
            += QStringLiteral(" The %1 differs from the image in %2, the first at %3: %4 in place of %5.")
                   .arg(AreaName(area),
                        count == 1 ? QStringLiteral("1 byte") : QStringLiteral("%1 bytes").arg(count))
                   .arg(piece.Start + static_cast<std::uint32_t>(first), 8, 16, QLatin1Char('0'))
                   .arg(HexText(std::span(piece.Data).subspan(first, 1)),
                        HexText(region.View().subspan(first, 1)));
    }
    return found;
}

FlashOutcome FlashProgrammer::Program(const clsSrecFlash& image, const FlashOptions& options)
{
    const Run run(*this, QStringLiteral("Flash programming"));
    if (!run)
        return Run::Busy();
    FlashOutcome outcome;
    outcome.Code = EnterRom();
    std::vector<Piece> pieces;
    if (!Failed(outcome.Code))
        outcome.Code = Gather(image, options, pieces);
    if (Failed(outcome.Code)) {
        outcome.Text = QStringLiteral("Nothing was changed: %1.").arg(Reason(outcome.Code));
        if (ErrorCode err = ErrorCode::Ok; Mode(err) == GaugeMode::Rom)
            Leave();
        return End(outcome);
    }
    std::int64_t of = 0;
    for (const Piece& piece : pieces)
        of += static_cast<std::int64_t>(piece.Data.size());
    bool firmwareTouched = options.MassErase;
    bool dataTouched = options.MassErase;
    if (options.MassErase) {
        std::int16_t status = 0;
        m_usb.MassEraseOption(1);
        m_massErasePending = true;
        m_usb.ProgramFlash(FlashCall::kDataArea, 0, {}, 0, {}, 0, 0, status, outcome.Code);
        WaitMs(m_time, m_settings.DF_MASSERASE);
    }
    for (const Piece& piece : pieces) {
        if (Failed(outcome.Code))
            break;
        (piece.Area == FlashCall::kDataArea ? dataTouched : firmwareTouched) = true;
        outcome.Code = Write(piece, options.MassErase, of, outcome.Bytes);
    }
    if (Failed(outcome.Code)) {
        outcome.Text = outcome.Code == ErrorCode::UserCancelled
            ? QStringLiteral("Cancelled after %1 of %2 bytes.").arg(outcome.Bytes).arg(of)
            : QStringLiteral("Stopped after %1 of %2 bytes: %3.")
                  .arg(outcome.Bytes)
                  .arg(of)
                  .arg(Reason(outcome.Code));
        if (firmwareTouched)
            outcome.Text
                += QStringLiteral(" The instruction flash is incomplete: program it again, the gauge cannot "
                                  "run until then.");
        else if (dataTouched)
            outcome.Text += QStringLiteral(
                " The data flash is written in part, the instruction flash was not touched.");
        if (!firmwareTouched)
            Leave();
        return End(outcome);
    }
    outcome.Text = QStringLiteral("%1 bytes programmed").arg(outcome.Bytes);
    QString difference;
    if (options.Verify)
        outcome.Code = Compare(image, options, difference);
    if (!options.Verify)
        outcome.Text += QStringLiteral(", not verified.");
    else if (outcome.Code == ErrorCode::UserCancelled)
        outcome.Text += QStringLiteral(", not verified: cancelled.");
    else if (!difference.isEmpty())
        outcome.Text += QStringLiteral(", but verification failed.") + difference
            + QStringLiteral(" Program it again.");
    else if (Failed(outcome.Code))
        outcome.Text += QStringLiteral(", not verified: %1.").arg(Reason(outcome.Code));
    else
        outcome.Text += QStringLiteral(" and verified.");
    if (difference.isEmpty()) { // what is known to be wrong is not started
        const ErrorCode left = Leave();
        if (Failed(left) && !Failed(outcome.Code)) {
            outcome.Code = left;
            outcome.Text += QStringLiteral(" The firmware did not start.");
        }
    }
    return End(outcome);
}

FlashOutcome FlashProgrammer::Verify(const clsSrecFlash& image)
{
    const Run run(*this, QStringLiteral("Flash verification"));
    if (!run)
        return Run::Busy();
    FlashOutcome outcome;
    const GaugeMode before = Mode(outcome.Code);
    if (!Failed(outcome.Code))
        outcome.Code = EnterRom();
    QString difference;
    if (!Failed(outcome.Code))
        outcome.Code = Compare(image, {}, difference);
    if (!difference.isEmpty())
        outcome.Text = difference.trimmed();
    else if (Failed(outcome.Code))
        outcome.Text = QStringLiteral("Not verified: %1.").arg(Reason(outcome.Code));
    else
        outcome.Text = QStringLiteral("The gauge holds what the image holds.");
    if (before == GaugeMode::Firmware)
        Leave();
    return End(outcome);
}

FlashOutcome FlashProgrammer::Read(clsSrecFlash& image)
{
    const Run run(*this, QStringLiteral("Flash read"));
    if (!run)
        return Run::Busy();
    FlashOutcome outcome;
    const GaugeMode before = Mode(outcome.Code);
    if (!Failed(outcome.Code))
        outcome.Code = EnterRom();
    Piece data{FlashCall::kDataArea, m_target.DataStart, Bytes(m_target.DataSize)};
    Piece program{FlashCall::kInstructionArea, m_target.ProgramStart, Bytes(m_target.ProgramSize)};
    const auto of = static_cast<std::int64_t>(data.Data.size() + program.Data.size());
    const QString what = QStringLiteral("Reading");
    if (!Failed(outcome.Code))
        outcome.Code = ReadPiece(data, what, 0, of);
    if (!Failed(outcome.Code))
        outcome.Code = ReadPiece(program, what, static_cast<std::int64_t>(data.Data.size()), of);
    if (Failed(outcome.Code)) {
        outcome.Text = QStringLiteral("The flash was not read: %1.").arg(Reason(outcome.Code));
    } else {
        image.Clear();
        if (!data.Data.empty())
            image.DF.Store(data.Start, data.Data);
        if (!program.Data.empty())
            image.PF.Store(program.Start, program.Data);
        outcome.Bytes = of;
        outcome.Text = QStringLiteral("%1 bytes read.").arg(of);
    }
    if (before == GaugeMode::Firmware) {
        const ErrorCode left = Leave();
        outcome.Code = Failed(outcome.Code) ? outcome.Code : left;
    }
    return End(outcome);
}

FlashOutcome FlashProgrammer::StartFirmware()
{
    const Run run(*this, QStringLiteral("Firmware start"));
    if (!run)
        return Run::Busy();
    FlashOutcome outcome;
    const GaugeMode before = Mode(outcome.Code);
    if (Failed(outcome.Code)) {
        outcome.Text = QStringLiteral("The firmware was not started: %1.").arg(Reason(outcome.Code));
    } else if (before != GaugeMode::Firmware && m_settings.RetROMCmd == 0 && m_settings.GG_FWEXEC == 0) {
        outcome.Code = ErrorCode::DevRomMode;
        outcome.Text
            = QStringLiteral("The firmware was not started: Config.ini has no RetROMCmd, RetROMWd and "
                             "GG_FWEXEC for this gauge.");
    } else if (before != GaugeMode::Firmware) {
        outcome.Code = Leave();
        outcome.Text = Failed(outcome.Code)
            ? QStringLiteral(
                "The firmware did not start: what the instruction flash holds is not whole. Program it.")
            : QStringLiteral("The firmware was started.");
    }
    outcome = End(outcome);
    outcome.Text = outcome.Text.trimmed();
    return outcome;
}
