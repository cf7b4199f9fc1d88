#include "comm/BusSequence.h"

#include <vector>

namespace {

// Both belong to the user-interface thread.
bool g_running = false;
std::vector<PeriodicWork*> g_works;

} // namespace

PeriodicWork::PeriodicWork() { g_works.push_back(this); }

PeriodicWork::~PeriodicWork() { std::erase(g_works, this); }

BusSequence::BusSequence(GaugeAccess& access, const QString& owner, std::int16_t timeoutMs)
{
    if (g_running)
        return;
    g_running = true;
    for (PeriodicWork* work : g_works) {
        work->Pause();
        work->m_paused = true;
    }
    m_access.emplace(access, owner, timeoutMs);
}

BusSequence::~BusSequence()
{
    if (!m_access)
        return;
    m_access.reset(); // the timers below find the bus free
    g_running = false;
    for (PeriodicWork* work : g_works) {
        if (work->m_paused) {
            work->m_paused = false;
            work->Resume();
        }
    }
}

bool BusSequence::Running() { return g_running; }
