#pragma once

#include "platform/ProfileFile.h"

#include <QString>

#include <vector>

/// One button of the view selector. The key says what it opens: "SBS", "DF", "Cal", "Pro", any other text is
/// a plug-in's mode.
struct ViewButton {
    QString Key;
    QString Caption;
    bool operator==(const ViewButton&) const = default;
};

/// Title of the main window with this target.
[[nodiscard]] QString TargetTitle(ProfileStore& profiles, const QString& targetFile);

/// Buttons 1B to 20B of [MDIButtons], up to the first empty one; the default list when there is none.
[[nodiscard]] std::vector<ViewButton> TargetButtons(ProfileStore& profiles, const QString& targetFile);
