#include "engineering/EepromTransfer.h"

#include "comm/BusSequence.h"
#include "comm/Wait.h"

#include <algorithm>

namespace {

constexpr int kPiece = 32; // bytes of a read; short enough for every adapter
constexpr int kBank = 256; // bytes behind one bus address
constexpr int kTries = 3;

QString Hex(int value, int digits)
{
    return QStringLiteral("0x")
        + QString::number(value, 16).toUpper().rightJustified(digits, QLatin1Char('0'));
}

std::int16_t BankAddress(const EepromPart& part, int offset)
{
    return static_cast<std::int16_t>(part.Address + 2 * (offset / kBank));
}

/// A bus that was disturbed may go next time; an adapter that cannot do it, or is gone, will not.
bool WorthAnotherTry(ErrorCode code) { return code != ErrorCode::IncorrectParam && code != ErrorCode::NoUsb; }

} // namespace

EepromResult EepromTransfer::Read(const EepromPart& part, const QString& owner, const Progress& progress)
{
    EepromResult result = Hold(part, nullptr, false, owner, progress);
    if (!Failed(result.Code))
        result.Text = QStringLiteral("%1 bytes read.").arg(result.Data.size());
    return result;
}

EepromResult EepromTransfer::Verify(const EepromPart& part, const Bytes& bytes, const QString& owner,
                                    const Progress& progress)
{
    EepromResult result = Hold(part, &bytes, false, owner, progress);
    if (!Failed(result.Code))
        result.Text = QStringLiteral("%1 bytes verified, no difference.").arg(bytes.size());
    return result;
}

EepromResult EepromTransfer::Load(const EepromPart& part, const Bytes& bytes, const QString& owner,
                                  const Progress& progress)
{
    EepromResult result = Hold(part, &bytes, true, owner, progress);
    if (!Failed(result.Code))
        result.Text = QStringLiteral("%1 bytes written and verified, no difference.").arg(bytes.size());
    return result;
}

EepromResult EepromTransfer::Hold(const EepromPart& part, const Bytes* bytes, bool write,
                                  const QString& owner, const Progress& progress)
{
    EepromResult result;
    const int size = bytes ? static_cast<int>(bytes->size()) : part.Size;
    if (size < 1 || size > part.Size) {
        result.Code = ErrorCode::IncorrectParam;
        result.Text
            = QStringLiteral("Nothing was sent: %1 bytes do not fit a part of %2.").arg(size).arg(part.Size);
        return result;
    }
    const BusSequence bus(m_access, owner);
    if (!bus) {
        result.Code = ErrorCode::BusBusy;
        result.Text = QStringLiteral(
            "Nothing was sent: another sequence holds the bus. Try again when it has ended.");
        return result;
    }
    const int of = write ? 2 * size : size;
    const int page = std::max(part.Page, 1);
    for (int offset = 0; write && offset < size;) {
        // never past the end of a page, where the part would begin again at its start
        const int count = std::min(page - offset % page, size - offset);
        const auto first = bytes->begin() + offset;
        result.Code = WritePage(part, offset, Bytes(first, first + count));
        if (Failed(result.Code)) {
            result.Text
                = QStringLiteral(
                      "%1 of %2 bytes were written, the others are as before but for the page at %3. ")
                      .arg(offset)
                      .arg(size)
                      .arg(Hex(offset, 3))
                + Explain(part, offset, result.Code);
            return result;
        }
        offset += count;
        result.Written = offset;
        if (!progress(offset, of)) {
            result.Code = ErrorCode::UserCancelled;
            result.Text
                = QStringLiteral("Cancelled: %1 of %2 bytes were written and not verified, the others are as "
                                 "before.")
                      .arg(offset)
                      .arg(size);
            return result;
        }
    }
    while (static_cast<int>(result.Data.size()) < size) {
        const int offset = static_cast<int>(result.Data.size());
        Bytes piece;
        result.Code
            = ReadPiece(part, offset, std::min({kPiece, size - offset, kBank - offset % kBank}), piece);
        if (Failed(result.Code)) {
            result.Text = (write ? QStringLiteral("All bytes were written, but only %1 of %2 verified. ")
                                 : QStringLiteral("%1 of %2 bytes were read. "))
                              .arg(offset)
                              .arg(size)
                + Explain(part, offset, result.Code);
            return result;
        }
        for (std::size_t i = 0; bytes && i < piece.size(); ++i) {
            const auto at = result.Data.size() + i;
            if (piece[i] == (*bytes)[at])
                continue;
            result.FirstWrong = result.FirstWrong < 0 ? static_cast<int>(at) : result.FirstWrong;
            ++result.Wrong;
        }
        result.Data.insert(result.Data.end(), piece.begin(), piece.end());
        if (!progress((write ? size : 0) + static_cast<int>(result.Data.size()), of)
            && static_cast<int>(result.Data.size()) < size) {
            result.Code = ErrorCode::UserCancelled;
            result.Text
                = (write ? QStringLiteral("Cancelled: all bytes were written, %1 of %2 verified.")
                         : QStringLiteral("Cancelled: %1 of %2 bytes were read; the part is unchanged."))
                      .arg(result.Data.size())
                      .arg(size);
            return result;
        }
    }
    if (result.Wrong > 0) {
        result.Code = ErrorCode::CompareDifferent;
        const auto at = static_cast<std::size_t>(result.FirstWrong);
        result.Text
            = QStringLiteral("%1 of %2 bytes differ, the first at %3: the part holds %4, the file %5.")
                  .arg(result.Wrong)
                  .arg(size)
                  .arg(Hex(result.FirstWrong, 3), Hex(result.Data[at], 2), Hex((*bytes)[at], 2));
    }
    return result;
}

ErrorCode EepromTransfer::ReadPiece(const EepromPart& part, int offset, int count, Bytes& piece)
{
    ErrorCode err = ErrorCode::Ok;
    for (int i = 0; i < kTries; ++i) {
        auto length = static_cast<std::int16_t>(count);
        m_usb.I2CReadBlock_(BankAddress(part, offset), static_cast<std::int16_t>(offset % kBank), piece,
                            length, err);
        piece.resize(std::min(piece.size(), static_cast<std::size_t>(std::max<std::int16_t>(length, 0))));
        if (!Failed(err) && static_cast<int>(piece.size()) != count)
            err = ErrorCode::WrongNumBytes;
        if (!Failed(err) || !WorthAnotherTry(err))
            break;
    }
    return err;
}

ErrorCode EepromTransfer::WritePage(const EepromPart& part, int offset, const Bytes& page)
{
    ErrorCode err = ErrorCode::Ok;
    for (int i = 0; i < kTries; ++i) {
        m_usb.I2CWriteBlock(BankAddress(part, offset), static_cast<std::int16_t>(offset % kBank), page,
                            static_cast<std::int16_t>(page.size()), err);
        WaitMs(m_time, part.WriteMs); // a part that writes does not acknowledge
        if (!Failed(err) || !WorthAnotherTry(err))
            break;
    }
    return err;
}

QString EepromTransfer::Explain(const EepromPart& part, int offset, ErrorCode code) const
{
    const QString where
        = QStringLiteral("%1, offset %2: ").arg(Hex(BankAddress(part, offset), 2), Hex(offset, 3));
    if (code == ErrorCode::NoAcknowledge)
        return where
            + QStringLiteral("no part acknowledges (%1). Is the address right, and the size?")
                  .arg(ErrorCodeToText(code));
    if (code != ErrorCode::IncorrectParam)
        return where + ErrorCodeToText(code);
    const AdapterFacts facts = m_usb.Facts();
    return facts.Functions.contains(QStringLiteral("i2c"))
        ? where + QStringLiteral("the adapter %1 refused the transfer.").arg(facts.Name)
        : QStringLiteral("The adapter %1 offers no I2C transfers, which an EEPROM needs; it offers: %2.")
              .arg(facts.Name, facts.Functions.join(QStringLiteral(", ")));
}

QString HexDump(const Bytes& bytes, std::size_t first)
{
    constexpr std::size_t kLine = 16;
    QString dump;
    for (std::size_t at = 0; at < bytes.size(); at += kLine) {
        const std::size_t count = std::min(kLine, bytes.size() - at);
        QString hex;
        QString characters;
        for (std::size_t i = at; i < at + count; ++i) {
            hex += HexText({&bytes[i], 1})
                + (i % kLine == kLine / 2 - 1 ? QStringLiteral("  ") : QStringLiteral(" "));
            const bool shown = bytes[i] >= 0x20 && bytes[i] < 0x7F;
            characters += shown ? QLatin1Char(static_cast<char>(bytes[i])) : QLatin1Char('.');
        }
        dump += QStringLiteral("%1  %2 %3\n")
                    .arg(QString::number(first + at, 16).toUpper().rightJustified(4, QLatin1Char('0')),
                         hex.leftJustified(49), characters);
    }
    return dump;
}
