#pragma once

#include <atomic>

/// Runs pending events of this thread, then sleeps until further events come, the time is over or interrupted
/// is set (looked at every 50 ms). Without an event loop it only sleeps.
/// @return true when it ended before the time because of events or the interruption
bool EventTurn(double atMostMs, const std::atomic<bool>* interrupted);
