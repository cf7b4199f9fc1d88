#pragma once

#include "sbs/AutoCycleSettings.h"

#include <QStringList>

/// What in the settings of an auto-cycle is hardly meant, in plain words: limits that overlap, directions
/// that never fire or fire on every step, rows and limits that are missing. Nothing of it is refused.
[[nodiscard]] QStringList CycleHints(const AutoCycleSettings& settings);
