#pragma once

#include <QString>
#include <QStringView>

#include <cstdint>

/// Whether a number read from a settings file fits a signed 16-bit field.
[[nodiscard]] bool FitsWord(std::int64_t value);

/// The message for one that does not: which file, section and key, why, and that nothing changed.
[[nodiscard]] QString SettingProblem(const QString& file, QStringView section, QStringView key,
                                     const QString& reason);
[[nodiscard]] QString WidthProblem(const QString& file, QStringView section, QStringView key,
                                   std::int64_t value);
