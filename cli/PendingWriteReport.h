#pragma once

#include "cli/CommandContext.h"
#include "dataflash/DataFlash.h"

#include <QJsonObject>
#include <QString>

/// {"pack", "begun", "subclasses": [{"id", "name", "state", "sent"}]}, states old, new, torn and unreadable.
[[nodiscard]] QJsonObject PendingJson(const PendingWrite& pending);
/// A line a subclass, with what can be done about it.
[[nodiscard]] QString PendingText(const PendingWrite& pending);
/// Tells of a write to the pack on the bus that never ended, if there is one.
void ReportPendingWrite(CommandContext& context, DataFlash& flash);
