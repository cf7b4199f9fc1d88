#pragma once

#include "comm/adapters/Trace.h"

#include <QString>

// What a bus call moved, for a person: without the address and the command, which stand in columns of their
// own. Words as hexadecimal and decimal, bytes in pairs.
[[nodiscard]] QString SentText(const TraceEntry& call);
[[nodiscard]] QString CameText(const TraceEntry& call); ///< empty for a call that failed
