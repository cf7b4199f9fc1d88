#include "tests/support/TestSupport.h"

#include <algorithm>
#include <array>

double TestTime::SecondsOfDay() { return Now().time().msecsSinceStartOfDay() / 1000.0; }

void TestTime::ProcessEvents(int atMostMs)
{
    ++turns;
    m_ms += atMostMs;
    if (onEvents && m_depth < deepest) {
        ++m_depth;
        onEvents();
        --m_depth;
    }
}

Answer RecordedMessages::Ask(const QString& text, Answers offered)
{
    texts << text;
    if (!answers.empty()) {
        const Answer answer = answers.front();
        answers.erase(answers.begin());
        return answer;
    }
    for (Answer answer : {Answer::No, Answer::Cancel, Answer::Ignore, Answer::Abort})
        if (offered.testFlag(answer))
            return answer;
    return Answer::Ok;
}

void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }
