#pragma once

#include "sbs/RegisterLogFile.h"

#include <QString>

#include <vector>

/// Reads a register log a megabyte at a time, so that a window stays alive and can stop it. The file is open
/// only while a piece is read.
class RegisterLogReading {
public:
    explicit RegisterLogReading(const QString& path);

    [[nodiscard]] const QString& Path() const { return m_path; }
    [[nodiscard]] qint64 Done() const { return m_done; } ///< bytes
    [[nodiscard]] qint64 Size() const { return m_size; } ///< when the reading began
    /// @return false when there is nothing more to read, at the end of the file or after a fault
    bool Step();
    /// What was read so far. A file that cannot be read gives no series and one problem of line 0.
    [[nodiscard]] RegisterLogData Finish();

private:
    QString m_path;
    qint64 m_size;
    qint64 m_done = 0;
    QString m_fault;
    bool m_regular;
    RegisterLogParser m_parser;
    std::vector<char> m_piece;
};
