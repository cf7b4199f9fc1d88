#pragma once

#include "sbs/CycleController.h"
#include "sbs/ScanEngine.h"

/// What the last pass left in the rows that the auto-cycle looks at. A row that the table lacks, that has no
/// read style, or whose scan switch is off is not available: an old value must not decide.
/// @param pass  the report of that pass; before the first pass a fresh one
[[nodiscard]] CycleValues ReadCycleValues(const ScanEngine& scan, const AutoCycleSettings& settings,
                                          const PassReport& pass);
