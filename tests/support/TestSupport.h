#pragma once

#include "platform/TimeSource.h"
#include "platform/UserMessages.h"

#include <QStringList>

#include <functional>
#include <ostream>
#include <vector>

/// Time that stands still until somebody waits; onEvents runs at every turn of the event pump, also inside
/// itself up to the given depth.
class TestTime final : public TimeSource {
public:
    explicit TestTime(QDateTime start = QDateTime(QDate(2026, 1, 5), QTime(9, 0))) : m_start(std::move(start))
    {
    }
    double SecondsOfDay() override;
    QDateTime Now() override { return m_start.addMSecs(m_ms); }
    std::int64_t MonotonicMs() override { return m_ms; }
    void ProcessEvents(int atMostMs) override;
    void Advance(std::int64_t ms) { m_ms += ms; }

    std::function<void()> onEvents;
    int turns = 0;
    int deepest = 1;

private:
    QDateTime m_start;
    std::int64_t m_ms = 0;
    int m_depth = 0;
};

/// Keeps what was said and answers questions from a list, with the answer that changes nothing when it is
/// empty.
class RecordedMessages final : public UserMessages {
public:
    void Show(const QString& text) override { texts << text; }
    Answer Ask(const QString& text, Answers offered) override;

    QStringList texts;
    std::vector<Answer> answers;
};

void PrintTo(const QString& text, std::ostream* out);
