#pragma once

#include "flashimage/clsSrecFlash.h"
#include "platform/UserMessages.h"

#include <QString>

#include <cstdint>
#include <vector>

/// A line of an S-record file that was not taken as it stands.
struct SrecProblem {
    std::int64_t Line = 0; ///< counting from 1; 0: the file as a whole
    QString Status; ///< "1", "2", "3", "225", "overflow" or a word of ours
    QString Text;
};

/// Reads and writes Motorola S-record files. Problems() has what was wrong with the last file.
class clsSrecRW {
public:
    explicit clsSrecRW(UserMessages& messages);

    /// Reads a file into the image, behind what it holds already; good lines count, whatever stands between.
    /// A missing or enciphered file changes nothing.
    /// @return true when there was no problem
    bool ReadSrec(const QString& path, clsSrecFlash& image);
    /// Replaces the file as a whole. @return empty, or what went wrong
    [[nodiscard]] QString WriteSrec(const QString& path, const clsSrecFlash& image);

    [[nodiscard]] const std::vector<SrecProblem>& Problems() const { return m_problems; }
    void SetMaxFill(std::uint64_t bytes) { m_maxFill = bytes; } ///< filler that one record may add

private:
    UserMessages& m_messages;
    std::vector<SrecProblem> m_problems;
    std::uint64_t m_maxFill = 64ULL << 20;
};
