#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <vector>

/// One register row; fields in file order. docs/tables.md describes the file.
struct SBSInfoRec {
    QString Desc;
    QString LogDesc;
    std::int16_t ReadStyle = 0; ///< 0..14, sbs/ReadStyle.h
    std::int16_t ReadCommand = 0;
    QString ReadFactor;
    QString WriteFactor;
    std::uint8_t Writeable = 0;
    QString DisplayFormat;
    QString Unit;
    bool operator==(const SBSInfoRec&) const = default;
};

/// One bit-field row.
struct SBSFlagRec {
    QString Caption;
    QString BitDesc; ///< names from the highest bit down, separated by "|"; an empty name is a reserved bit
    std::int16_t SBSRowNum = 0;
    std::int16_t BitWidth = 0;
    bool operator==(const SBSFlagRec&) const = default;
};

/// One flash target; the meaning of its numbers belongs to the flash programming view.
struct SrecTargetRec {
    QString Name;
    std::int16_t Number = 0;
    std::int32_t Values[5] = {};
    bool operator==(const SrecTargetRec&) const = default;
};

/// An editable table of texts as an editing grid shows it; row 0 is the header.
struct TextGrid {
    std::vector<QStringList> cells;
};

/// Register, flag and flash-target tables: loads them, answers questions on single rows, moves them to an
/// editing grid and back to a file. Row numbers count from 0.
class clsSBSCfgRW {
public:
    clsSBSCfgRW(); ///< empty tables with room for 21 rows each

    /// @return 0. A missing or unreadable file leaves error non-empty and the loaded table as it was; a cut
    /// last record is dropped silently.
    int LoadSBSInfo(const QString& fileName, QString* error = nullptr);
    int LoadFlagsInfo(const QString& fileName, QString* error = nullptr);
    void UnloadFlagsInfo();
    [[nodiscard]] std::int16_t GetNumSBSRows() const { return m_numSBSRows; }
    [[nodiscard]] std::int16_t GetNumFlags() const { return m_numFlags; }

    // A row number beyond the capacity gives an empty text or -1; one between count and capacity gives the
    // empty fields of an unused slot. Callers loop from 0 to count - 1.
    [[nodiscard]] QString GetSBSDesc(std::int16_t row) const;
    [[nodiscard]] QString GetSBSLogDesc(std::int16_t row) const;
    [[nodiscard]] std::int16_t GetSBSReadStyle(std::int16_t row) const;
    [[nodiscard]] std::int16_t GetSBSReadCommand(std::int16_t row) const;
    [[nodiscard]] QString GetSBSReadFactor(std::int16_t row) const;
    [[nodiscard]] QString GetSBSWriteFactor(std::int16_t row) const;
    [[nodiscard]] std::int16_t GetSBSWriteable(std::int16_t row) const;
    [[nodiscard]] QString GetSBSDisplayFormat(std::int16_t row) const;
    [[nodiscard]] QString GetSBSUnit(std::int16_t row) const;
    bool GetSBSRow(std::int16_t row, SBSInfoRec& record) const; ///< false beyond the capacity

    [[nodiscard]] QString GetFlagCaption(std::int16_t row) const;
    [[nodiscard]] QString GetFlagBitDesc(std::int16_t row) const;
    [[nodiscard]] QString GetFlagSBSRowNum(std::int16_t row) const; ///< decimal text
    [[nodiscard]] QString GetFlagBitWidth(std::int16_t row) const; ///< decimal text

    void PopulateSBSInfo(TextGrid& grid) const;
    void PopulateSBSFlagsInfo(TextGrid& grid) const;
    /// @return empty, or why the file could not be read
    [[nodiscard]] QString PopulateSrecTarget(TextGrid& grid, const QString& fileName) const;
    /// Every cell is converted first; one that does not convert is named (row, column, text) and the old file
    /// stays. Then the file is replaced whole.
    /// @return empty, or what went wrong
    [[nodiscard]] QString WriteSBSInfo(const TextGrid& grid, const QString& fileName) const;
    [[nodiscard]] QString WriteSBSFlagsInfo(const TextGrid& grid, const QString& fileName) const;
    [[nodiscard]] QString WriteSrecTarget(const TextGrid& grid, const QString& fileName) const;

private:
    std::vector<SBSInfoRec> m_sbs;
    std::vector<SBSFlagRec> m_flags;
    std::int16_t m_numSBSRows = 0;
    std::int16_t m_numFlags = 0;
};
