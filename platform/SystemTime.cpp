#include "platform/SystemTime.h"

#include "platform/EventTurn.h"

#include <chrono>

double SystemTime::SecondsOfDay() { return QTime::currentTime().msecsSinceStartOfDay() / 1000.0; }

QDateTime SystemTime::Now() { return QDateTime::currentDateTime(); }

std::int64_t SystemTime::MonotonicMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

void SystemTime::ProcessEvents(int atMostMs) { EventTurn(atMostMs, m_interrupted); }
