#pragma once

#include "comm/BusWatch.h"
#include "comm/GaugeContext.h"
#include "look/ChildView.h"

#include "platform/ProfileFile.h"
#include "platform/UserMessages.h"
#include "settings/StartupState.h"

#include <QString>

#include <span>

/// A new view for a view key, "SBS", "DF", "Cal", "Pro" or a plug-in's mode. A key that has no view yet gives
/// a page that says so. This is the one place that knows every view.
[[nodiscard]] ChildView* MakeView(const QString& key, GaugeContext& context);

/// What a view of the Tools menu is made with; it may open without adapter and target.
struct ToolContext {
    ProfileStore& profiles;
    const StartupState& state;
    UserMessages& messages;
    BusWatch& watch;
    GaugeContext* gauge; ///< nothing while no adapter is open
};

/// An entry of the Tools menu that opens a view of its own, one of each.
struct ToolView {
    const char* Name; ///< object name of the menu entry
    const char* Caption; ///< to be translated, with the menu's letter
    const char* Icon;
    const char* Shortcut;
    ChildView* (*Make)(const ToolContext& context);
};
[[nodiscard]] std::span<const ToolView> ToolViews();

/// Needs neither adapter nor target.
/// @param path  opened at once when not empty
[[nodiscard]] ChildView* MakeLogViewer(UserMessages& messages, const QString& path);
