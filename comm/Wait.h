#pragma once

#include "platform/TimeSource.h"

#include <cstdint>

/// Waits while the user interface stays alive: events run, so every caller must expect re-entry.
/// The clock restarts at midnight and a wait that spans midnight ends there.
void Wait(TimeSource& time, float seconds);
void WaitMs(TimeSource& time, std::int32_t milliseconds);
