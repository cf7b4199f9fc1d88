#pragma once

#include "flashimage/clsSrecFlash.h"
#include "platform/Bytes.h"
#include "platform/UserMessages.h"

#include <QByteArrayView>
#include <QString>

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

class QIODevice;

/// What a line of an S-record file came to. Those from 0 on are shown by their number, the others by a word.
enum class SrecStatus : std::int16_t {
    Ok = 0,
    NoRecord = 1, ///< does not begin with "S" or "s"
    BadCheckSum = 2, ///< does not match, or a character is no hexadecimal digit
    TooShort = 3, ///< for its count, or for the address of its type
    UnknownType = 223,
    BadRecordCount = 225, ///< of an S5 or S6 record
    Overflow = -1, ///< counts more than 127 bytes
    OutOfRange = -2, ///< runs past address FFFFFFFF
    TooMuchFill = -3,
    AfterEnd = -4, ///< stored, but stands behind the record that ends the data
    Joined = -5, ///< stored, but another record follows in the same line, which is left out
};

/// A line of an S-record file that was not taken as it stands.
struct SrecProblem {
    std::int64_t Line = 0; ///< counting from 1; 0: the file as a whole
    QString Status; ///< "1", "2", "3", "223", "225" or a word; of the file: "221", "enciphered", "cancelled"
    QString Text; ///< the reason in plain words
};

/// How an address is written: its record type is the number.
enum class SrecForm : char { FourDigits = '1', SixDigits = '2', EightDigits = '3' };

/// Reads and writes Motorola S-record files; docs/s-records.md has the form. Problems() has what was wrong
/// with the last file that was read.
class clsSrecRW {
public:
    explicit clsSrecRW(UserMessages& messages);

    /// Asked now and then while a file is read or written, with bytes done of bytes in all (of the file while
    /// reading, of the image while writing). @return false to stop
    using Progress = std::function<bool(std::int64_t done, std::int64_t of)>;
    /// Takes finished lines. @return false to stop
    using LineSink = std::function<bool(QByteArrayView lines)>;

    /// Reads a file into the image, behind what it holds already; good lines count, whatever stands between.
    /// What was wrong is shown in one message. A missing or enciphered file changes nothing.
    /// @return true when there was no problem
    bool ReadSrec(const QString& path, clsSrecFlash& image);
    /// Replaces the file as a whole, data flash first.
    /// @return empty, or what went wrong; the old file then stands
    [[nodiscard]] QString WriteSrec(const QString& path, const clsSrecFlash& image);
    /// The same from and to a device that is open, without marker and message.
    bool ReadRecords(QIODevice& device, clsSrecFlash& image);
    [[nodiscard]] QString WriteRecords(QIODevice& device, const clsSrecFlash& image);

    /// Data flash as data records, ascending, handed over in blocks of whole lines. Only records with eight
    /// digits of address are made; another form is answered by a message, and nothing is written for it.
    /// @return false when the sink stopped it
    bool ClassDFToArray(const clsSrecFlash& image, SrecForm form, const LineSink& sink);
    bool ClassPFToArray(const clsSrecFlash& image, SrecForm form, const LineSink& sink);

    /// Checks one line without its end and stores what it carries.
    SrecStatus ParseLine(QByteArrayView line, clsSrecFlash& image);
    /// @param record  a line that was found good, without the checksum and what stands behind it
    /// @param bytes  of the record from its count on
    SrecStatus ParseType(QByteArrayView record, std::span<const std::uint8_t> bytes, clsSrecFlash& image);
    /// The region is chosen by the first address alone, so data flash can reach over 0x100000 by a record.
    SrecStatus PopulateFlash(std::uint32_t address, std::span<const std::uint8_t> data, clsSrecFlash& image);
    SrecStatus PopulateDataFlash(std::uint32_t address, std::span<const std::uint8_t> data,
                                 clsSrecFlash& image);
    SrecStatus PopulateInstructionFlash(std::uint32_t address, std::span<const std::uint8_t> data,
                                        clsSrecFlash& image);

    /// The number that digits stand for, as unsigned as FFFF is 65535.
    /// @return -1 for an empty text, a character that is no digit, or a number above FFFFFFFF
    [[nodiscard]] static std::int64_t ToNumeric(QByteArrayView hex);
    /// Ones' complement of the sum of the bytes, modulo 256.
    /// @param bytes  takes those that the text stands for, so that it is gone through once
    /// @return nothing for a character that is no digit, or a single one at the end
    [[nodiscard]] static std::optional<std::uint8_t> CalculateCheckSum(QByteArrayView hex, Bytes& bytes);
    /// One character a byte, in Windows-1252; ends at the first pair that is no number.
    [[nodiscard]] static QString MakeStringFromSrec(QByteArrayView hex);

    /// Enciphered files are known by their marker alone; both refuse them.
    [[nodiscard]] QString WriteEncryptedSrec(const QString& path, const clsSrecFlash& image);
    bool ReadEncryptedSrec(const QString& path, clsSrecFlash& image);

    /// The first kKeptProblems of them.
    [[nodiscard]] const std::vector<SrecProblem>& Problems() const { return m_problems; }
    [[nodiscard]] std::int64_t BadLines() const { return m_badLines; } ///< all of them
    static constexpr std::size_t kKeptProblems = 10'000;
    static constexpr std::uint64_t kMaxFill = 64ULL << 20;

    void SetMaxFill(std::uint64_t bytes) { m_maxFill = bytes; } ///< filler that one record may add
    void SetProgress(Progress progress) { m_progress = std::move(progress); }

private:
    void TakeLine(QByteArrayView line, clsSrecFlash& image);
    /// @return how many bytes were used up; what is left begins a line whose end is not there yet
    qsizetype TakeLines(QByteArrayView block, bool last, clsSrecFlash& image);
    bool FileProblem(const QString& status, const QString& text);
    SrecStatus Populate(clsSrecFlash::Region& region, std::uint32_t address,
                        std::span<const std::uint8_t> data) const;
    [[nodiscard]] QString Reason(SrecStatus status) const;
    bool Flatten(const clsSrecFlash::Region& region, std::uint64_t lastStart, SrecForm form,
                 const LineSink& sink);
    [[nodiscard]] bool GoOn(std::int64_t done, std::int64_t of) const
    {
        return !m_progress || m_progress(done, of);
    }

    UserMessages& m_messages;
    Progress m_progress;
    std::uint64_t m_maxFill = kMaxFill;
    std::vector<SrecProblem> m_problems;
    std::int64_t m_badLines = 0;
    std::int64_t m_line = 0;
    std::uint32_t m_dataRecords = 0; ///< S1, S2 and S3 lines so far, bad ones too: each was sent
    bool m_ended = false; ///< an S7, S8 or S9 record was there
    bool m_afterCr = false; ///< a line feed that comes next belongs to the line before
    bool m_restOfLine = false; ///< within a line that was too long to be kept
    Bytes m_bytes; ///< of the record in hand
};
