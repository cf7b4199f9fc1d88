#include "platform/EventTurn.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kSliceMs = 50;
/// What a wait still sleeps after an interruption: short, but no busy loop for a caller that waits on.
constexpr double kInterruptedMs = 10;

double MsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// @return true when events other than the alarm were run
bool SleepOrRunEvents(QAbstractEventDispatcher* dispatcher, double ms)
{
    if (!dispatcher || ms < 1) {
        std::this_thread::sleep_for(std::chrono::duration<double, std::milli>(ms));
        return false;
    }
    QTimer alarm;
    bool rang = false;
    QObject::connect(&alarm, &QTimer::timeout, [&rang] { rang = true; });
    alarm.setSingleShot(true);
    alarm.setTimerType(Qt::PreciseTimer);
    alarm.start(static_cast<int>(std::ceil(ms)));
    const bool ran = dispatcher->processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    return ran && !rang;
}

} // namespace

bool EventTurn(double atMostMs, const std::atomic<bool>* interrupted)
{
    QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance();
    const Clock::time_point start = Clock::now();
    const bool ran = dispatcher && dispatcher->processEvents(QEventLoop::AllEvents);
    if (ran || atMostMs <= 0)
        return ran;
    for (;;) {
        const double left = atMostMs - MsSince(start);
        if (left <= 0)
            return false;
        const bool ending = interrupted && interrupted->load();
        if (SleepOrRunEvents(dispatcher, std::min(left, ending ? kInterruptedMs : kSliceMs)) || ending)
            return true;
    }
}
