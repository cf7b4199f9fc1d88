#pragma once

#include "platform/TimeSource.h"

#include <QDateTime>
#include <QString>

#include <cstdint>
#include <deque>

/// One line of the error window.
struct ErrorEntry {
    QDateTime First;
    QDateTime Last;
    QString Text;
    std::uint64_t Count = 1; ///< how often it came in a row
};

/// What went wrong in this run, for the error window: the newest 10,000 entries, oldest first. A repeat of
/// the newest entry is counted on it, so a fault that comes back on every pass fills one line.
class ErrorList {
public:
    explicit ErrorList(TimeSource& time) : m_time(time) { }

    void Add(const QString& text); ///< cut behind kMostCharacters
    void Clear();
    [[nodiscard]] const std::deque<ErrorEntry>& Entries() const { return m_entries; }
    [[nodiscard]] std::uint64_t Revision() const { return m_revision; } ///< differs after every change

    static constexpr std::size_t kMostEntries = 10'000;
    static constexpr int kMostCharacters = 2'000;

private:
    TimeSource& m_time;
    std::deque<ErrorEntry> m_entries;
    std::uint64_t m_revision = 0;
};
