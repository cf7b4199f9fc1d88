#pragma once

#include "comm/GaugeContext.h"
#include "look/ChildView.h"

#include <QString>

/// A new view for a view key, "SBS", "DF", "Cal", "Pro" or a plug-in's mode. A key that has no view yet gives
/// a page that says so. This is the one place that knows every view.
[[nodiscard]] ChildView* MakeView(const QString& key, const QString& caption, GaugeContext& context);
