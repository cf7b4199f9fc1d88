#pragma once

#include "engineering/SequenceRunner.h"

#include <deque>
#include <span>

/// One thing that was sent and what came of it.
struct HistoryEntry {
    QDateTime At;
    QString Sent; ///< as in a sequence file
    QString Answer;
    ErrorCode Code = ErrorCode::Ok;
    QString Text; ///< of the code, or more where there is more to say
    std::int64_t TookMs = 0;
    std::optional<Transaction> Again; ///< to send it once more; nothing for delays and messages
    Bytes Data;
};

[[nodiscard]] HistoryEntry EntryOf(const StepReport& report);

/// The newest transactions of a view, oldest first.
class TransactionHistory {
public:
    static constexpr std::size_t kMostEntries = 10'000;

    void Add(HistoryEntry entry);
    void Clear();
    // Entries have serial numbers that never come again: those in [First(), End()) are there.
    [[nodiscard]] std::int64_t First() const { return m_first; }
    [[nodiscard]] std::int64_t End() const { return m_first + static_cast<std::int64_t>(m_entries.size()); }
    [[nodiscard]] const HistoryEntry* Find(std::int64_t serial) const;
    [[nodiscard]] std::uint64_t Revision() const { return m_revision; }

    /// With captions; tabs between for a person, commas and quotes for a spreadsheet.
    [[nodiscard]] QString Copy(std::span<const std::int64_t> serials, QChar separator) const;

private:
    std::deque<HistoryEntry> m_entries;
    std::int64_t m_first = 0;
    std::uint64_t m_revision = 0;
};

/// Sends one transaction a number of times and enters each into the history. The bus is held for one turn and
/// given back, so scans go on between two of them; what times the turns is the caller's.
class RepeatedSend {
public:
    struct Request {
        Transaction Sent;
        std::optional<Expectation> Expected;
        std::int64_t Times = 1;
        bool StopAtFailure = true;
    };
    enum class Turn : std::uint8_t { BusBusy, GoesOn, Ended };

    RepeatedSend(TransactionSender& sender, GaugeAccess& access, TransactionHistory& history)
        : m_sender(sender), m_access(access), m_history(history)
    {
    }
    void Start(const Request& request);
    void Stop() { m_running = false; }
    /// One turn. BusBusy: a sequence further down the stack holds the bus, nothing was sent; try again later.
    Turn Next(const QString& owner);
    [[nodiscard]] bool Running() const { return m_running; }
    [[nodiscard]] bool Sending() const { return m_sending; } ///< a turn is under way further down the stack
    [[nodiscard]] std::int64_t Done() const { return m_done; }
    [[nodiscard]] std::int64_t Failures() const { return m_failures; }
    [[nodiscard]] const Request& Asked() const { return m_request; }

private:
    TransactionSender& m_sender;
    GaugeAccess& m_access;
    TransactionHistory& m_history;
    Request m_request;
    std::int64_t m_done = 0;
    std::int64_t m_failures = 0;
    bool m_running = false;
    bool m_sending = false;
};
