#pragma once

#include "sbs/ScanEngine.h"

#include <QString>

#include <cstdint>

/// Age of a value as grids show it: "1.4 s", "0:41", "1:11:09".
[[nodiscard]] QString AgeText(std::int64_t ms);

/// A description without the "!" that marks it for emphasis.
[[nodiscard]] QString ShownDescription(const QString& desc);
[[nodiscard]] inline bool IsEmphasised(const QString& desc) { return desc.startsWith(QLatin1Char('!')); }

/// What a row's tooltip tells: command, style, factor, format and counts; of a failed read the reason and the
/// last good value.
[[nodiscard]] QString RowToolTip(const ScanEngine& scan, int row);

/// What a typed text would send, in plain words, or why it cannot be sent.
struct WritePreview {
    bool Ok = false;
    QString Text;
};
[[nodiscard]] WritePreview PreviewWrite(const ScanEngine& scan, int row, const QString& typed);

/// All rows as text, one a line; the columns are those of the grid.
/// @param separator  between fields; a field that holds it, a quote or a line end is quoted when it is ","
[[nodiscard]] QString RowsAsText(const ScanEngine& scan, const std::vector<int>& rows, QChar separator);

/// Unit of the raw words of a register row; empty where there is no such row or a factor scales what is
/// shown.
[[nodiscard]] QString RawUnit(const ScanEngine& scan, std::int32_t row);
