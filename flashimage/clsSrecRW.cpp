#include "flashimage/clsSrecRW.h"

#include "platform/WholeFile.h"
#include "platform/Windows1252.h"

#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <new>

namespace {

constexpr QByteArrayView kEncipheredMarker("VxENCR");
constexpr std::uint32_t kMaxCount = 127; ///< twice the count is kept in 8 bits
constexpr qsizetype kBeforeAddress = 4; ///< "S", type and two digits of count
constexpr std::size_t kDataBytes = 32; ///< of a record that is written
constexpr std::size_t kMostDataBytes = kMaxCount - 5; ///< of a record with eight digits of address
constexpr std::size_t kMostCommentBytes = kMaxCount - 3;
constexpr qsizetype kKeptOfLine = 1024; ///< no record is longer; what stands behind it is not looked at
constexpr qsizetype kBlock = 64 * 1024;
constexpr std::uint64_t kAddresses = 1ULL << 32;

constexpr unsigned kNoDigit = 0x10;
constexpr unsigned DigitValue(char character)
{
    if (character >= '0' && character <= '9')
        return static_cast<unsigned>(character - '0');
    const auto letter = static_cast<char>(character | 0x20);
    return letter >= 'a' && letter <= 'f' ? static_cast<unsigned>(letter - 'a') + 10 : kNoDigit;
}

/// The bytes that two characters stand for, the first one in the low byte of the index. Most of a file's time
/// goes into this, and one step a byte is what makes it quick; of the table no more than 4 KiB is ever used.
constexpr std::uint16_t kNoByte = 0x100;
constexpr std::array<std::uint16_t, 0x10000> kByteOfPair = [] {
    std::array<std::uint16_t, 0x10000> bytes{};
    bytes.fill(kNoByte);
    for (unsigned first = 0; first < 0x100; ++first)
        for (unsigned second = 0; second < 0x100; ++second)
            if (const unsigned high = DigitValue(static_cast<char>(first)),
                low = DigitValue(static_cast<char>(second));
                high < kNoDigit && low < kNoDigit)
                bytes[first | second << 8] = static_cast<std::uint16_t>(high << 4 | low);
    return bytes;
}();

/// @return the byte, or kNoByte
unsigned ByteOfPair(const char* pair) { return kByteOfPair[qFromLittleEndian<quint16>(pair)]; }

/// Hands over the bytes of a text one by one, in the low eight bits of numbers.
/// @return false when a character is no digit, or one is left over
template <class Take>
bool ForEachByte(QByteArrayView hex, Take&& take)
{
    unsigned all = 0;
    const char* const end = hex.data() + hex.size() / 2 * 2;
    for (const char* at = hex.data(); at != end; at += 2) {
        const unsigned byte = ByteOfPair(at);
        all |= byte;
        take(byte);
    }
    return all < kNoByte && hex.size() % 2 == 0;
}

/// Where the first carriage return or line feed stands, or null.
const char* LineEnd(const char* from, const char* to)
{
    const auto find = [from](char wanted, const char* before) {
        return static_cast<const char*>(std::memchr(from, wanted, static_cast<std::size_t>(before - from)));
    };
    const char* const feed = find('\n', to);
    const char* const carriageReturn = find('\r', feed != nullptr ? feed : to);
    return carriageReturn != nullptr ? carriageReturn : feed;
}

bool BeginsRecord(QByteArrayView text)
{
    return text.size() >= 2 && (text[0] == 'S' || text[0] == 's') && text[1] >= '0' && text[1] <= '9';
}

/// Puts records one behind the other into a buffer with room for them.
class RecordBuilder {
public:
    static constexpr std::size_t kLongest = kBeforeAddress + 2 * kMaxCount + 1; ///< with the line end

    explicit RecordBuilder(char* at) : m_at(at) { }
    char* Put(char type, std::uint32_t address, int addressBytes, std::span<const std::uint8_t> data)
    {
        *m_at++ = 'S';
        *m_at++ = type;
        m_sum = 0;
        PutByte(static_cast<std::uint8_t>(data.size() + static_cast<std::size_t>(addressBytes) + 1));
        for (int shift = 8 * (addressBytes - 1); shift >= 0; shift -= 8)
            PutByte(static_cast<std::uint8_t>(address >> shift));
        for (const std::uint8_t byte : data)
            PutByte(byte);
        PutByte(static_cast<std::uint8_t>(~m_sum));
        *m_at++ = '\n';
        return m_at;
    }

private:
    void PutByte(std::uint8_t byte)
    {
        constexpr const char* kDigits = "0123456789ABCDEF";
        m_sum += byte;
        *m_at++ = kDigits[byte >> 4];
        *m_at++ = kDigits[byte & 15];
    }
    char* m_at;
    unsigned m_sum = 0;
};

QByteArray Record(char type, int addressBytes, std::span<const std::uint8_t> data)
{
    std::array<char, RecordBuilder::kLongest> text{};
    const char* const end = RecordBuilder(text.data()).Put(type, 0, addressBytes, data);
    return {text.data(), end - text.data()};
}

/// Where the last record of data flash must begin: usually at its end, so that it is like the others. A
/// region that reaches over 0x100000 can only do so within a record that begins below.
std::uint64_t LastDFRecord(const clsSrecFlash::Region& region)
{
    const std::uint64_t end = region.End();
    return end <= clsSrecFlash::kFirstInstructionAddress
        ? end
        : std::max<std::uint64_t>(region.Start(), end - kMostDataBytes);
}

/// Empty, or why a file would not give back this image.
QString WhyNotWritable(const clsSrecFlash& image)
{
    const Windows1252Text comment = EncodeWindows1252(image.S0Comment);
    if (!comment.misfit.isEmpty())
        return QStringLiteral("the comment holds %1, which the file cannot").arg(comment.misfit);
    if (comment.bytes.size() > static_cast<qsizetype>(kMostCommentBytes))
        return QStringLiteral("the comment has %1 characters; %2 is the most")
            .arg(comment.bytes.size())
            .arg(kMostCommentBytes);
    if (!image.DF.Empty() && LastDFRecord(image.DF) >= clsSrecFlash::kFirstInstructionAddress
        && image.DF.End() > clsSrecFlash::kFirstInstructionAddress)
        return QStringLiteral("data flash reaches too far over address 100000");
    if (!image.PF.Empty() && image.PF.Start() < clsSrecFlash::kFirstInstructionAddress)
        return QStringLiteral("instruction flash begins below address 100000");
    return {};
}

} // namespace

clsSrecRW::clsSrecRW(UserMessages& messages) : m_messages(messages) { }

bool clsSrecRW::ReadSrec(const QString& path, clsSrecFlash& image)
{
    m_problems.clear();
    m_badLines = 0;
    QFile file(path);
    if (const QString problem = OpenPlainFile(file); !problem.isEmpty()) {
        FileProblem(QStringLiteral("221"), problem);
    } else if (file.read(kEncipheredMarker.size()) == kEncipheredMarker) {
        return ReadEncryptedSrec(path, image);
    } else {
        if (!file.seek(0))
            FileProblem(QStringLiteral("221"), file.errorString());
        else if (ReadRecords(file, image))
            return true;
        if (SrecProblem& first = m_problems.front(); first.Line == 0)
            first.Text = QStringLiteral("%1 was read in part only: %2").arg(path, first.Text);
    }

    const SrecProblem& first = m_problems.front();
    if (first.Line != 0)
        m_messages.Show(QStringLiteral("Srec Parse error = %1\n%2, line %3: %4. Bad lines in the file: %5.")
                            .arg(first.Status, path)
                            .arg(first.Line)
                            .arg(first.Text)
                            .arg(m_badLines));
    else if (first.Status != QLatin1String("cancelled"))
        m_messages.Show(first.Text);
    return false;
}

QString clsSrecRW::WriteSrec(const QString& path, const clsSrecFlash& image)
{
    if (path.endsWith(QLatin1String(".senc"), Qt::CaseInsensitive))
        return WriteEncryptedSrec(path, image);
    return SaveWhole(path, [&](QIODevice& file) { return WriteRecords(file, image); });
}

bool clsSrecRW::ReadRecords(QIODevice& device, clsSrecFlash& image)
{
    m_problems.clear();
    m_badLines = 0;
    m_line = 0;
    m_dataRecords = 0;
    m_ended = m_afterCr = m_restOfLine = false;
    const std::int64_t size = device.size();
    QByteArray block(kBlock, Qt::Uninitialized);
    qsizetype filled = 0;
    try {
        for (std::int64_t done = 0;;) {
            const qint64 got = device.read(block.data() + filled, kBlock - filled);
            if (got < 0)
                return FileProblem(QStringLiteral("221"), device.errorString());
            filled += got;
            const qsizetype used = TakeLines({block.constData(), filled}, got == 0, image);
            if (got == 0)
                return m_problems.empty();
            filled -= used;
            std::memmove(block.data(), block.constData() + used, static_cast<std::size_t>(filled));
            done += got;
            if (!GoOn(done, size))
                return FileProblem(QStringLiteral("cancelled"), QStringLiteral("it was stopped"));
        }
    } catch (const std::bad_alloc&) {
        return FileProblem(QStringLiteral("memory"), QStringLiteral("the image does not fit into memory"));
    }
}

QString clsSrecRW::WriteRecords(QIODevice& device, const clsSrecFlash& image)
{
    if (QString reason = WhyNotWritable(image); !reason.isEmpty())
        return reason;
    const auto of = static_cast<std::int64_t>(image.DF.Size() + image.PF.Size());
    std::int64_t written = 0;
    QString problem;
    const auto put = [&](QByteArrayView lines) {
        // a write of nothing but full records turns 32 bytes into 79 characters
        written += lines.size();
        if (device.write(lines.data(), lines.size()) != lines.size())
            problem = device.errorString();
        else if (!GoOn(std::min(of, written * 32 / 79), of))
            problem = QStringLiteral("it was stopped");
        return problem.isEmpty();
    };
    const QByteArray comment = EncodeWindows1252(image.S0Comment).bytes;
    const std::span commentBytes(reinterpret_cast<const std::uint8_t*>(comment.constData()),
                                 static_cast<std::size_t>(comment.size()));
    if (put(Record('0', 2, commentBytes)) && ClassDFToArray(image, SrecForm::EightDigits, put)
        && ClassPFToArray(image, SrecForm::EightDigits, put))
        put(Record('7', 4, {}));
    return problem;
}

bool clsSrecRW::ClassDFToArray(const clsSrecFlash& image, SrecForm form, const LineSink& sink)
{
    return Flatten(image.DF, LastDFRecord(image.DF), form, sink);
}

bool clsSrecRW::ClassPFToArray(const clsSrecFlash& image, SrecForm form, const LineSink& sink)
{
    return Flatten(image.PF, image.PF.End(), form, sink);
}

bool clsSrecRW::Flatten(const clsSrecFlash::Region& region, std::uint64_t lastStart, SrecForm form,
                        const LineSink& sink)
{
    if (form != SrecForm::EightDigits) {
        m_messages.Show(QStringLiteral("Currently not coded/implemented!"));
        return true;
    }
    const std::span<const std::uint8_t> bytes = region.View();
    QByteArray block(kBlock, Qt::Uninitialized);
    char* at = block.data();
    char* const full = at + kBlock - RecordBuilder::kLongest;
    const auto flush = [&] {
        const bool goOn = sink(QByteArrayView(block.constData(), at));
        at = block.data();
        return goOn;
    };
    const auto regular = static_cast<std::size_t>(lastStart - region.Start()); // bytes before the last record
    for (std::size_t done = 0; done < bytes.size();) {
        const std::size_t count = done < regular ? std::min(kDataBytes, regular - done) : bytes.size() - done;
        at = RecordBuilder(at).Put(static_cast<char>(form), static_cast<std::uint32_t>(region.Start() + done),
                                   4, bytes.subspan(done, count));
        done += count;
        if (at > full && !flush())
            return false;
    }
    return at == block.constData() || flush();
}

qsizetype clsSrecRW::TakeLines(QByteArrayView block, bool last, clsSrecFlash& image)
{
    const char* at = block.data();
    const char* const end = at + block.size();
    while (at != end) {
        if (std::exchange(m_afterCr, false) && *at == '\n') {
            ++at;
            continue;
        }
        // never looks further than this, or a file without one kind of line end would take a search to the
        // end of the block for each line
        const char* const limit = at + std::min<qsizetype>(end - at, kKeptOfLine);
        const char* const lineEnd = LineEnd(at, limit);
        if (lineEnd == nullptr && limit - at < kKeptOfLine && !last)
            break;
        const char* const textEnd = lineEnd != nullptr ? lineEnd : limit;
        if (!m_restOfLine)
            TakeLine({at, textEnd}, image);
        m_restOfLine = lineEnd == nullptr;
        m_afterCr = lineEnd != nullptr && *lineEnd == '\r';
        at = lineEnd != nullptr ? lineEnd + 1 : limit;
    }
    return at - block.data();
}

void clsSrecRW::TakeLine(QByteArrayView line, clsSrecFlash& image)
{
    ++m_line;
    const SrecStatus status = ParseLine(line, image);
    if (status == SrecStatus::Ok)
        return;
    ++m_badLines;
    if (m_problems.size() >= kKeptProblems)
        return;
    const auto word = [status] {
        switch (status) {
        case SrecStatus::Overflow:
            return QStringLiteral("overflow");
        case SrecStatus::OutOfRange:
            return QStringLiteral("address");
        case SrecStatus::TooMuchFill:
            return QStringLiteral("fill");
        case SrecStatus::AfterEnd:
            return QStringLiteral("after end");
        case SrecStatus::Joined:
            return QStringLiteral("joined");
        default:
            return QString::number(static_cast<int>(status));
        }
    };
    m_problems.push_back({m_line, word(), Reason(status)});
}

QString clsSrecRW::Reason(SrecStatus status) const
{
    switch (status) {
    case SrecStatus::Ok:
        break;
    case SrecStatus::NoRecord:
        return QStringLiteral("it does not begin with S");
    case SrecStatus::BadCheckSum:
        return QStringLiteral("the checksum does not match");
    case SrecStatus::TooShort:
        return QStringLiteral("it is too short");
    case SrecStatus::UnknownType:
        return QStringLiteral("there is no such type of record");
    case SrecStatus::BadRecordCount:
        return QStringLiteral("it does not count the data records above it, %1").arg(m_dataRecords);
    case SrecStatus::Overflow:
        return QStringLiteral("it counts more than %1 bytes").arg(kMaxCount);
    case SrecStatus::OutOfRange:
        return QStringLiteral("its data would run past address FFFFFFFF");
    case SrecStatus::TooMuchFill:
        return QStringLiteral("it would add more than %1 MiB of FF between its address and the others")
            .arg(m_maxFill >> 20);
    case SrecStatus::AfterEnd:
        return QStringLiteral("it stands behind the record that ends the data, but was stored");
    case SrecStatus::Joined:
        return QStringLiteral(
            "another record follows in the same line and was left out; each needs a line of its own");
    }
    return {};
}

bool clsSrecRW::FileProblem(const QString& status, const QString& text)
{
    m_problems.insert(m_problems.begin(), {0, status, text});
    return false;
}

SrecStatus clsSrecRW::ParseLine(QByteArrayView line, clsSrecFlash& image)
{
    if (line.isEmpty() || (line[0] != 'S' && line[0] != 's'))
        return SrecStatus::NoRecord;
    if (line.size() < kBeforeAddress)
        return SrecStatus::TooShort;
    const bool isData = line[1] >= '1' && line[1] <= '3';
    if (isData)
        ++m_dataRecords;
    const unsigned pair = ByteOfPair(line.data() + 2);
    const unsigned count = pair == kNoByte ? 0 : pair; // a count of nothing has no checksum that matches
    if (count > kMaxCount)
        return SrecStatus::Overflow;
    const qsizetype digits = 2 * static_cast<qsizetype>(count);
    if (line.size() < kBeforeAddress + digits)
        return SrecStatus::TooShort;
    const auto computed = CalculateCheckSum(line.sliced(2, digits), m_bytes);
    if (!computed || *computed != ByteOfPair(line.data() + 2 + digits))
        return SrecStatus::BadCheckSum;
    const SrecStatus status = ParseType(line.first(2 + digits), m_bytes, image);
    if (status != SrecStatus::Ok)
        return status;
    if (isData && m_ended)
        return SrecStatus::AfterEnd;
    // text behind a record is a remark, but a lost line end must not lose a record in silence
    const QByteArrayView rest = line.sliced(kBeforeAddress + digits);
    return !rest.isEmpty() && BeginsRecord(rest.trimmed()) ? SrecStatus::Joined : SrecStatus::Ok;
}

SrecStatus clsSrecRW::ParseType(QByteArrayView record, std::span<const std::uint8_t> bytes,
                                clsSrecFlash& image)
{
    qsizetype addressDigits = 4;
    switch (record[1]) {
    case '0':
    case '1':
        break;
    case '2':
        addressDigits = 6;
        break;
    case '3':
        addressDigits = 8;
        break;
    case '5':
    case '6': // told apart by the length of the number only, and not every writer keeps to that
        return ToNumeric(record.sliced(kBeforeAddress)) == m_dataRecords ? SrecStatus::Ok
                                                                         : SrecStatus::BadRecordCount;
    case '7':
    case '8':
    case '9':
        m_ended = true;
        return SrecStatus::Ok;
    default:
        return SrecStatus::UnknownType;
    }
    if (record.size() < kBeforeAddress + addressDigits)
        return SrecStatus::TooShort;
    if (record[1] == '0') {
        image.S0Comment = MakeStringFromSrec(record.sliced(kBeforeAddress + addressDigits));
        return SrecStatus::Ok;
    }
    const std::int64_t address = ToNumeric(record.sliced(kBeforeAddress, addressDigits));
    const auto beforeData = static_cast<std::size_t>(1 + addressDigits / 2);
    return PopulateFlash(static_cast<std::uint32_t>(address), bytes.subspan(beforeData), image);
}

SrecStatus clsSrecRW::PopulateFlash(std::uint32_t address, std::span<const std::uint8_t> data,
                                    clsSrecFlash& image)
{
    return address < clsSrecFlash::kFirstInstructionAddress ? PopulateDataFlash(address, data, image)
                                                            : PopulateInstructionFlash(address, data, image);
}

SrecStatus clsSrecRW::PopulateDataFlash(std::uint32_t address, std::span<const std::uint8_t> data,
                                        clsSrecFlash& image)
{
    return Populate(image.DF, address, data);
}

SrecStatus clsSrecRW::PopulateInstructionFlash(std::uint32_t address, std::span<const std::uint8_t> data,
                                               clsSrecFlash& image)
{
    return Populate(image.PF, address, data);
}

SrecStatus clsSrecRW::Populate(clsSrecFlash::Region& region, std::uint32_t address,
                               std::span<const std::uint8_t> data) const
{
    if (address + std::uint64_t{data.size()} > kAddresses)
        return SrecStatus::OutOfRange;
    if (region.FillFor(address, data.size()) > m_maxFill)
        return SrecStatus::TooMuchFill;
    region.Store(address, data);
    return SrecStatus::Ok;
}

std::int64_t clsSrecRW::ToNumeric(QByteArrayView hex)
{
    if (hex.isEmpty())
        return -1;
    const qsizetype single = hex.size() % 2; // a first digit without a partner
    const unsigned first = single != 0 ? DigitValue(hex[0]) : 0;
    std::uint64_t number = first;
    std::uint64_t tooHigh = 0;
    const bool allDigits = ForEachByte(hex.sliced(single), [&](unsigned byte) {
        tooHigh |= number >> 24;
        number = (number << 8 | byte) & 0xFFFFFFFF;
    });
    return first < kNoDigit && allDigits && tooHigh == 0 ? static_cast<std::int64_t>(number) : -1;
}

std::optional<std::uint8_t> clsSrecRW::CalculateCheckSum(QByteArrayView hex, Bytes& bytes)
{
    bytes.resize(static_cast<std::size_t>(hex.size() / 2));
    std::uint8_t* to = bytes.data();
    unsigned sum = 0;
    const bool allDigits = ForEachByte(hex, [&](unsigned byte) {
        *to++ = static_cast<std::uint8_t>(byte);
        sum += byte;
    });
    return allDigits ? std::optional(static_cast<std::uint8_t>(~sum)) : std::nullopt;
}

QString clsSrecRW::MakeStringFromSrec(QByteArrayView hex)
{
    QByteArray bytes;
    for (qsizetype at = 0; at + 1 < hex.size(); at += 2) {
        const std::int64_t byte = ToNumeric(hex.sliced(at, 2));
        if (byte < 0)
            break;
        bytes += static_cast<char>(byte);
    }
    return DecodeWindows1252(bytes);
}

QString clsSrecRW::WriteEncryptedSrec(const QString& path, const clsSrecFlash& /*image*/)
{
    return QStringLiteral("%1 was not saved: enciphered images (.senc) cannot be written. Save as .srec.")
        .arg(path);
}

bool clsSrecRW::ReadEncryptedSrec(const QString& path, clsSrecFlash& /*image*/)
{
    const QString text
        = QStringLiteral("%1 is an enciphered flash image and cannot be read. Ask its maker for "
                         "the plain form (.srec).")
              .arg(path);
    m_messages.Show(text);
    return FileProblem(QStringLiteral("enciphered"), text);
}
