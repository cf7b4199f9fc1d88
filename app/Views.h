#pragma once

#include "comm/BusWatch.h"
#include "comm/GaugeContext.h"
#include "look/ChildView.h"

#include "platform/ProfileFile.h"
#include "platform/UserMessages.h"
#include "settings/StartupState.h"

#include <QString>

/// A new view for a view key, "SBS", "DF", "Cal", "Pro" or a plug-in's mode. A key that has no view yet gives
/// a page that says so. This is the one place that knows every view.
[[nodiscard]] ChildView* MakeView(const QString& key, const QString& caption, GaugeContext& context);

// Views that need neither adapter nor target.
/// @param context  nothing while no adapter is open; rows then cannot be tried on a gauge
[[nodiscard]] ChildView* MakeTableEditor(ProfileStore& profiles, const StartupState& state,
                                         UserMessages& messages, GaugeContext* context);
/// @param path  opened at once when not empty
[[nodiscard]] ChildView* MakeLogViewer(UserMessages& messages, const QString& path);
[[nodiscard]] ChildView* MakeBusHealth(BusWatch& watch, ProfileStore& profiles, const StartupState& state,
                                       UserMessages& messages);

/// Needs an adapter, but no target.
[[nodiscard]] ChildView* MakeI2CTool(GaugeContext& context);
