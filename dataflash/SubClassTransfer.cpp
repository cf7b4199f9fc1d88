#include "dataflash/SubClassTransfer.h"

#include <algorithm>
#include <utility>

namespace {

// style 0
constexpr int kSelectSubClass = 0x77;
constexpr int kFirstPage = 0x78;
constexpr int kPageBytes = 32;
// styles 1 and 6
constexpr int kFirstRow = 88;
constexpr int kRowBytes = 64;
// styles 2 and 5
constexpr int kTransferMode = 0x60;
constexpr int kModeSubClass = 0x61;
constexpr int kModeOffset = 0x62;
constexpr int kModeData = 0x63;
constexpr int kModeOff = 0;
// styles 3 and 4
constexpr int kChunkAddress = 0x64;
constexpr int kChunkData = 0x65;
// styles 2 to 5
constexpr int kPieceBytes = 32;
constexpr int kTransferBytes = 512;

constexpr int kLastCommand = 255;

int Blocks(int length, int size) { return length / size + (length % size != 0 ? 1 : 0); }

/// What one unit of an offset counts.
int UnitBytes(int style)
{
    switch (style) {
    case 4:
        return 8;
    case 5:
        return 4;
    default:
        return 1;
    }
}

/// Time on the wire of one message, in the times of the bus's speed class.
double Microseconds(int bytes, bool turnsRound, double hertz)
{
    struct Times {
        double Hold, SetUp, StopAndFree;
    };
    const Times times = hertz <= 100'000 ? Times{4.0, 4.7, 8.7}
        : hertz <= 400'000               ? Times{0.6, 0.6, 1.9}
                                         : Times{0.26, 0.26, 0.76};
    return 9.0 * bytes * 1e6 / hertz + times.Hold + times.StopAndFree
        + (turnsRound ? times.Hold + times.SetUp : 0);
}

// with address, command and packet error check
double WordWrite(double hertz) { return Microseconds(5, false, hertz); }
double BlockWrite(int bytes, double hertz) { return Microseconds(4 + bytes, false, hertz); }
double BlockRead(int bytes, double hertz) { return Microseconds(5 + bytes, true, hertz); }

} // namespace

SubClassTransfer::SubClassTransfer(frmUSB& usb, const Setup& setup, std::function<bool()> cancelled)
    : m_usb(usb), m_setup(setup), m_cancelled(std::move(cancelled))
{
}

QStringList SubClassTransfer::TakeErrors() { return std::exchange(m_errors, {}); }

std::int32_t SubClassTransfer::ReadSubClass_Style(std::uint16_t id, int length, Bytes& buffer)
{
    const AccessStyle& style = m_setup.Style;
    ErrorCode err = ErrorCode::IncorrectParam;
    switch (style.DFAccessStyle) {
    case 0:
        err = ReadSubClassPaged(id, length, buffer);
        break;
    case 1:
        err = ReadSubClassLegacy(id, id, length, style.DFBlockSize, buffer);
        break;
    case 2:
    case 5:
        err = MoveByModeByte(Way::Read, id, length, [&](int command, int count, std::size_t at) {
            return ReadBlock(command, count, count, at, buffer);
        });
        break;
    case 3:
    case 4:
        err = MoveInChunks(Way::Read, id, length, [&](int command, int count, std::size_t at) {
            return ReadBlock(command, count, count, at, buffer);
        });
        break;
    case 6:
        err = ReadRows(id, length, buffer);
        break;
    default:
        err = RefuseStyle();
    }
    return Number(err);
}

std::int32_t SubClassTransfer::WriteSubClass_Style(std::uint16_t id, int length, const Bytes& buffer)
{
    const AccessStyle& style = m_setup.Style;
    ErrorCode err = ErrorCode::IncorrectParam;
    switch (style.DFAccessStyle) {
    case 0:
        err = WriteSubClassPaged(id, length, buffer);
        break;
    case 1:
        err = WriteSubClassLegacy(style.DFBaseCmd + id - kFirstRow, length, style.DFBlockSize, buffer);
        break;
    case 2:
    case 5:
        err = MoveByModeByte(Way::Write, id, length, [&](int command, int count, std::size_t at) {
            return WriteBlock(command, count, at, buffer);
        });
        break;
    case 3:
    case 4:
        err = MoveInChunks(Way::Write, id, length, [&](int command, int count, std::size_t at) {
            return WriteBlock(command, count, at, buffer);
        });
        break;
    case 6:
        err = WriteRows(id, length, buffer);
        break;
    default:
        err = RefuseStyle();
    }
    return Number(err);
}

ErrorCode SubClassTransfer::RefuseStyle()
{
    m_errors << QStringLiteral("Data flash style unsupported! %1").arg(m_setup.Style.DFAccessStyle);
    return ErrorCode::IncorrectParam;
}

// ---- style 0 ----

/// Selects the subclass again before every page on purpose: nothing that somebody else sent in between, and
/// no reset of the gauge, can move a page to another subclass.
ErrorCode SubClassTransfer::ReadSubClassPaged(std::uint16_t id, int length, Bytes& buffer)
{
    for (int page = 0; page < Blocks(length, kPageBytes); ++page) {
        const int command = kFirstPage + page;
        ErrorCode err = page > 0 && Cancelled() ? ErrorCode::UserCancelled : WriteWord(kSelectSubClass, id);
        if (!Failed(err))
            err = ReadBlock(command, std::min(kPageBytes, length - page * kPageBytes), kPageBytes,
                            static_cast<std::size_t>(page) * kPageBytes, buffer);
        if (err == ErrorCode::UserCancelled)
            return err;
        if (Failed(err)) {
            m_errors << QStringLiteral("Error reading subClsId = %1 at block read cmd=%2. Error code = %3")
                            .arg(id)
                            .arg(command)
                            .arg(Number(err));
            return err;
        }
    }
    return ErrorCode::Ok;
}

ErrorCode SubClassTransfer::WriteSubClassPaged(std::uint16_t id, int length, const Bytes& buffer)
{
    for (int page = 0; page < Blocks(length, kPageBytes); ++page) {
        const int command = kFirstPage + page;
        ErrorCode err = WriteWord(kSelectSubClass, id);
        if (!Failed(err))
            err = WriteBlock(command, kPageBytes, static_cast<std::size_t>(page) * kPageBytes, buffer);
        if (Failed(err)) {
            m_errors << QStringLiteral("Error writing subClsId = %1 at block write cmd=%2. Error code = %3")
                            .arg(id)
                            .arg(command)
                            .arg(Number(err));
            return err;
        }
    }
    return ErrorCode::Ok;
}

// ---- styles 1 and 6 ----

ErrorCode SubClassTransfer::ReadSubClassLegacy(std::uint16_t id, int firstCommand, int length, int blockSize,
                                               Bytes& buffer)
{
    for (int block = 0; block < Blocks(length, blockSize); ++block) {
        if (block > 0 && Cancelled())
            return ErrorCode::UserCancelled;
        const ErrorCode err
            = ReadBlock(firstCommand + block, std::min(blockSize, length - block * blockSize), blockSize,
                        static_cast<std::size_t>(block) * static_cast<std::size_t>(blockSize), buffer);
        if (Failed(err)) {
            m_errors << QStringLiteral("Error reading subClsId = %1 at block %2. Error code = %3")
                            .arg(id)
                            .arg(block)
                            .arg(Number(err));
            return err;
        }
    }
    return ErrorCode::Ok;
}

ErrorCode SubClassTransfer::WriteSubClassLegacy(int firstCommand, int length, int blockSize,
                                                const Bytes& buffer)
{
    for (int block = 0; block < Blocks(length, blockSize); ++block) {
        const int command = firstCommand + block;
        const ErrorCode err
            = WriteBlock(command, blockSize,
                         static_cast<std::size_t>(block) * static_cast<std::size_t>(blockSize), buffer);
        if (Failed(err)) {
            m_errors << QStringLiteral("Error writing legacy block cmd = %1 at block %2. Error code = %3")
                            .arg(command)
                            .arg(block)
                            .arg(Number(err));
            return err;
        }
    }
    return ErrorCode::Ok;
}

/// The id is the address of the subclass's first byte; its rows hold bytes of others before and behind it.
ErrorCode SubClassTransfer::ReadRows(std::uint16_t id, int length, Bytes& buffer)
{
    const int row = id / kRowBytes;
    const int start = id - row * kRowBytes;
    Bytes span(static_cast<std::size_t>(Blocks(start + length, kRowBytes)) * kRowBytes);
    if (length <= 0)
        return ErrorCode::Ok;
    const ErrorCode err
        = ReadSubClassLegacy(id, kFirstRow + row, static_cast<int>(span.size()), kRowBytes, span);
    if (!Failed(err))
        std::copy_n(span.begin() + start, length, buffer.begin());
    return err;
}

ErrorCode SubClassTransfer::WriteRows(std::uint16_t id, int length, const Bytes& buffer)
{
    const int row = id / kRowBytes;
    const int start = id - row * kRowBytes;
    Bytes span(static_cast<std::size_t>(Blocks(start + length, kRowBytes)) * kRowBytes);
    if (length <= 0)
        return ErrorCode::Ok;
    const int count = static_cast<int>(span.size());
    const ErrorCode err = ReadSubClassLegacy(id, kFirstRow + row, count, kRowBytes, span);
    if (Failed(err))
        return err;
    std::copy_n(buffer.begin(), std::min(buffer.size(), static_cast<std::size_t>(length)),
                span.begin() + start);
    return WriteSubClassLegacy(kFirstRow + row, count, kRowBytes, span);
}

// ---- styles 2 to 5 ----

ErrorCode SubClassTransfer::MoveByModeByte(Way way, std::uint16_t id, int length, const Mover& move)
{
    const int mode = UnitBytes(m_setup.Style.DFAccessStyle); // 1 or 4 is also what an offset counts in
    int piece = 0;
    ErrorCode err = ErrorCode::Ok;
    for (int begun = 0; begun < length && !Failed(err); begun += kTransferBytes) {
        err = WriteWord(kTransferMode, mode);
        if (!Failed(err))
            err = WriteWord(kModeSubClass, id);
        const int end = std::min(length, begun + kTransferBytes);
        for (int at = begun; at < end && !Failed(err); at += kPieceBytes) {
            piece = at / kPieceBytes;
            err = way == Way::Read && at > 0 && Cancelled() ? ErrorCode::UserCancelled
                                                            : WriteWord(kModeOffset, at / mode);
            if (!Failed(err))
                err = move(kModeData, std::min(kPieceBytes, end - at), static_cast<std::size_t>(at));
        }
        // left on every path, or the gauge would take the next host's commands for data flash
        const ErrorCode off = err == ErrorCode::NoUsb ? err : WriteWord(kTransferMode, kModeOff);
        if (!Failed(err))
            err = off;
    }
    NotePiece(way, id, piece, err);
    return err;
}

ErrorCode SubClassTransfer::MoveInChunks(Way way, std::uint16_t id, int length, const Mover& move)
{
    const int unit = UnitBytes(m_setup.Style.DFAccessStyle);
    const auto byte = [](int value) { return static_cast<std::uint8_t>(value & 0xFF); };
    int piece = 0;
    ErrorCode err = ErrorCode::Ok;
    for (int at = 0; at < length && !Failed(err); at += kPieceBytes) {
        piece = at / kPieceBytes;
        const int count = std::min(kPieceBytes, length - at);
        const int offset = at / unit;
        err = way == Way::Read && at > 0 && Cancelled()
            ? ErrorCode::UserCancelled
            : SendBlock(kChunkAddress,
                        {byte(unit), byte(id >> 8), byte(id), byte(offset >> 8), byte(offset), byte(count)});
        if (!Failed(err))
            err = move(kChunkData, count, static_cast<std::size_t>(at));
    }
    NotePiece(way, id, piece, err);
    return err;
}

void SubClassTransfer::NotePiece(Way way, std::uint16_t id, int piece, ErrorCode err)
{
    if (!Failed(err) || err == ErrorCode::UserCancelled)
        return;
    m_errors << QStringLiteral("Error %1 subClsId = %2 at block %3. Error code = %4")
                    .arg(way == Way::Read ? QStringLiteral("reading") : QStringLiteral("writing"))
                    .arg(id)
                    .arg(piece)
                    .arg(Number(err));
}

// ---- one step ----

ErrorCode SubClassTransfer::WriteWord(int command, int word)
{
    ErrorCode err = ErrorCode::Ok;
    m_usb.WriteSMBusWord_(static_cast<std::uint8_t>(command), static_cast<std::int16_t>(word),
                          m_setup.Address, err);
    return err;
}

ErrorCode SubClassTransfer::ReadBlock(int command, int wanted, int most, std::size_t at, Bytes& buffer)
{
    if (command < 0 || command > kLastCommand)
        return ErrorCode::IncorrectParam;
    Bytes block;
    std::int16_t length = 0;
    ErrorCode err = ErrorCode::Ok;
    m_usb.ReadSMBusBlock_(static_cast<std::uint8_t>(command), block, length, m_setup.Address, err);
    if (Failed(err))
        return err;
    const int came = std::min(static_cast<int>(block.size()), int{length});
    if (came < wanted)
        return ErrorCode::WrongNumBytes;
    const std::size_t room = buffer.size() > at ? buffer.size() - at : 0;
    std::copy_n(block.begin(), std::min(room, static_cast<std::size_t>(std::min(came, most))),
                buffer.begin() + static_cast<std::ptrdiff_t>(std::min(at, buffer.size())));
    return ErrorCode::Ok;
}

ErrorCode SubClassTransfer::WriteBlock(int command, int count, std::size_t at, const Bytes& buffer)
{
    if (command < 0 || command > kLastCommand)
        return ErrorCode::IncorrectParam;
    Bytes block(static_cast<std::size_t>(count), 0xFF);
    if (at < buffer.size())
        std::copy_n(buffer.begin() + static_cast<std::ptrdiff_t>(at),
                    std::min(block.size(), buffer.size() - at), block.begin());
    ErrorCode err = SendBlock(command, block);
    if (!Failed(err))
        m_usb.Delay(m_setup.RowDelay, err);
    if (!Failed(err))
        m_usb.CheckForError(err);
    return err;
}

ErrorCode SubClassTransfer::SendBlock(int command, const Bytes& block)
{
    ErrorCode err = ErrorCode::Ok;
    m_usb.WriteSMBusBlock(static_cast<std::uint8_t>(command), block, static_cast<std::int16_t>(block.size()),
                          m_setup.Address, err);
    return err;
}

// ---- what it costs ----

int SubClassTransfer::Padded(int length) const
{
    switch (m_setup.Style.DFAccessStyle) {
    case 0:
        return Blocks(length, kPageBytes) * kPageBytes;
    case 1:
        return Blocks(length, m_setup.Style.DFBlockSize) * m_setup.Style.DFBlockSize;
    default:
        return length;
    }
}

int SubClassTransfer::SentBytes(std::uint16_t id, int length) const
{
    return m_setup.Style.DFAccessStyle == 6 ? Blocks(id % kRowBytes + length, kRowBytes) * kRowBytes
                                            : Padded(length);
}

double SubClassTransfer::ReadMicroseconds(std::uint16_t id, int length, double hertz) const
{
    const int style = m_setup.Style.DFAccessStyle;
    const int transfers = Blocks(length, kTransferBytes);
    switch (style) {
    case 0:
        return Blocks(length, kPageBytes) * (WordWrite(hertz) + BlockRead(kPageBytes, hertz));
    case 1:
        return Blocks(length, m_setup.Style.DFBlockSize) * BlockRead(m_setup.Style.DFBlockSize, hertz);
    case 2:
    case 5:
        return transfers * 3 * WordWrite(hertz)
            + Blocks(length, kPieceBytes) * (WordWrite(hertz) + BlockRead(kPieceBytes, hertz));
    case 3:
    case 4:
        return Blocks(length, kPieceBytes) * (BlockWrite(6, hertz) + BlockRead(kPieceBytes, hertz));
    case 6:
        return Blocks(id % kRowBytes + length, kRowBytes) * BlockRead(kRowBytes, hertz);
    default:
        return 0;
    }
}

double SubClassTransfer::WriteMicroseconds(std::uint16_t id, int length, double hertz) const
{
    const int style = m_setup.Style.DFAccessStyle;
    const int transfers = Blocks(length, kTransferBytes);
    const double row = 1000.0 * m_setup.RowDelay;
    switch (style) {
    case 0:
        return Blocks(length, kPageBytes) * (WordWrite(hertz) + BlockWrite(kPageBytes, hertz) + row);
    case 1:
        return Blocks(length, m_setup.Style.DFBlockSize)
            * (BlockWrite(m_setup.Style.DFBlockSize, hertz) + row);
    case 2:
    case 5:
        return transfers * 3 * WordWrite(hertz)
            + Blocks(length, kPieceBytes) * (WordWrite(hertz) + BlockWrite(kPieceBytes, hertz) + row);
    case 3:
    case 4:
        return Blocks(length, kPieceBytes) * (BlockWrite(6, hertz) + BlockWrite(kPieceBytes, hertz) + row);
    case 6:
        return Blocks(id % kRowBytes + length, kRowBytes)
            * (BlockRead(kRowBytes, hertz) + BlockWrite(kRowBytes, hertz) + row);
    default:
        return 0;
    }
}
