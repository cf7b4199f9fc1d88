#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QString>

#include <cstdint>

/// What became of one unit on a production line.
struct UnitRecord {
    QDateTime Time;
    QString Serial; ///< as the unit told it; empty when it did not
    QString Unit; ///< manufacturer and device name, as far as it told them
    QString DeviceName; ///< of the target
    QString File; ///< the .gg
    QString Sha256; ///< of that file, hexadecimal
    bool Passed = false;
    QString Error; ///< why not
    int Changed = 0; ///< items that were written
    int Same = 0;
    int Missing = 0;
    bool Verified = false; ///< read back, and everything took
    std::int32_t Code = 0; ///< of the transfer
    QString Backup; ///< saved before the write
};

/// Folder "Records" of the program folder.
[[nodiscard]] QString RecordFolder(const QString& programFolder);

/// Makes the folder when it is not there. @return empty, or why no record can be kept in it
[[nodiscard]] QString MakeRecordFolder(const QString& folder);

/// Adds a line of JSON to the serial number's file, "<serial>.jsonl" or "unknown.jsonl", flushed to disk. A
/// line that a crash cut stays alone on its line.
/// @param folder  made when it is not there
/// @return empty, or what went wrong
[[nodiscard]] QString AppendRecord(const QString& folder, const UnitRecord& record);

/// The same for records of another kind.
/// @param file  where the line went, or should have gone
[[nodiscard]] QString AppendRecordLine(const QString& folder, const QString& serial, const QJsonObject& line,
                                       QString& file);
