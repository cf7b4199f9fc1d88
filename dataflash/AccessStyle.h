#pragma once

#include <QString>

#include <cstdint>

/// How a gauge's data flash is reached.
struct AccessStyle {
    std::int16_t DFAccessStyle = 0;
    std::int16_t DFBlockSize = 64; ///< bytes, style 1
    std::int16_t DFBaseCmd = 88; ///< style 1
};

/// Reads the legacy string of a configuration, such as "1:BlkSz=64:BaseCmd=88"; empty is style 0.
/// @param problem  a value that was not taken, in plain words
[[nodiscard]] AccessStyle ParseLegacyString(const QString& text, QString& problem);
