#pragma once

#include "settings/TableSettings.h"

#include <QString>

#include <cstdint>

/// What the data-flash editor remembers of its looks: section [DataFlashGUI], where the register view keeps
/// its own.
struct DataFlashForm {
    std::int32_t Class = 0; ///< tab
    std::int32_t DetailsWidth = 0; ///< px; 0: as it begins
    std::int32_t PlanHeight = 0;
    bool Details = true; ///< the pane beside the grid is shown
    bool ShowPrivate = false;
    bool Roomy = false;
    bool VerifyWrite = true;
    QString AutoExportFile; ///< base of the file names; empty: not chosen yet
    QString AutoExportSeconds; ///< as typed
};

[[nodiscard]] DataFlashForm LoadDataFlashForm(const TableSettings& settings);
/// Writes the keys whose value changed.
/// @return empty, or what went wrong in plain words
[[nodiscard]] QString SaveDataFlashForm(TableSettings& settings, const DataFlashForm& form);
