#pragma once

#include <QByteArray>
#include <QString>

#include <fstream>

/// A file, or "-" for standard input, line by line; each line is handed on before the next one is read.
class InputLines {
public:
    explicit InputLines(const QString& file);
    [[nodiscard]] const QString& Problem() const { return m_problem; } ///< empty, or why there are no lines
    /// @return false at the end, or when the user interrupts
    [[nodiscard]] bool Next(QByteArray& line);

private:
    std::ifstream m_opened;
    bool m_standardInput;
    QString m_problem;
};
