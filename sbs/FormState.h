#pragma once

#include "sbs/Intervals.h"
#include "sbs/clsSBSCfgRW.h"
#include "settings/TableSettings.h"

#include <QString>

#include <cstdint>
#include <vector>

/// The register view's settings, most of them fields named as their keys.
struct FormState {
    std::vector<bool> Scan; ///< [SBSScan] <row>ScanRow
    std::vector<bool>
        Log; ///< [SBSLog] <row>LogRow, as stored; a row without a log caption is not logged anyway
    bool ScanOff = false; ///< continuous scanning starts switched off
    std::int32_t RemCapRow = -1; ///< row of the remaining-capacity bar; -1 none
    std::int32_t BattModeRow = -1; ///< row of the battery-mode word; -1 none
    Intervals Interval;
    std::int32_t BitsPerRow = 8; ///< of the flags display
    std::int32_t CustomSplit = 0;
    std::int32_t SplitterTop = 0;
    std::int32_t ViewButtons = 0;
    std::int32_t Roomy = 0;
    std::int32_t HiddenColumns = 0; ///< 1: minimum, 2: maximum, 4: age
    std::int32_t Hide = 0; ///< read and kept
    std::int32_t Ocx = 512; ///< read and kept
};

/// Intervals out of their rules are brought into them silently.
[[nodiscard]] FormState LoadFormState(const TableSettings& settings, int rows);
/// Writes the keys whose value changed.
/// @return empty, or what went wrong in plain words
[[nodiscard]] QString SaveFormState(TableSettings& settings, const FormState& form);

/// Names of the tables as the settings give them.
[[nodiscard]] QString GetSBSCfgFilename(const TableSettings& settings);
[[nodiscard]] QString GetSBSFlagsCfgFilename(const TableSettings& settings);
/// Loads both tables from the program folder, whichever file named them.
/// @return empty, or what went wrong in plain words
[[nodiscard]] QString LoadTables(clsSBSCfgRW& tables, const TableSettings& settings,
                                 const QString& programFolder);
