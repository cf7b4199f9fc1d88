#pragma once

#include "platform/ProfileFile.h"

#include <QString>

#include <array>
#include <cstdint>

/// One colour on the screen, 8 bits a channel.
struct Rgb {
    std::uint8_t r = 0;
    std::uint8_t g = 0;
    std::uint8_t b = 0;
    bool operator==(const Rgb&) const = default;
};

inline constexpr Rgb kWhite{255, 255, 255};
inline constexpr Rgb kBlack{0, 0, 0};

/// "#rrggbb"
[[nodiscard]] QString RgbText(Rgb colour);

/// a + (b - a) * t on each channel, rounded half to even.
[[nodiscard]] Rgb Mix(Rgb a, Rgb b, double t);

/// Contrast of two colours, from 1 (the same) to 21 (black on white), by relative luminance.
[[nodiscard]] double Contrast(Rgb a, Rgb b);

/// The twelve numbers of a skin as the skin file holds them, in the order they are read. A colour with the
/// top bit set (0x80000000 + n) is the system colour n; any other has red in the low byte, then green, then
/// blue.
struct Skin {
    std::int32_t ToolBackground;
    std::int32_t HighlightBorderWidth; ///< px
    std::int32_t UnHighlightBorderWidth; ///< px
    std::int32_t SelectionHighlight;
    std::int32_t Background;
    std::int32_t TextFore;
    std::int32_t TextHighlightFore;
    std::int32_t ShapedButton;
    std::int32_t ChangeHighlight;
    std::int32_t BitHigh;
    std::int32_t BitLow;
    std::int32_t BitUnknown;
    bool operator==(const Skin&) const = default;
};

struct SkinKey {
    const char* name;
    std::int32_t Skin::*value;
    bool colour; ///< false: a width
};

/// All keys in reading order.
extern const std::array<SkinKey, 12> kSkinKeys;

/// What a key has when the skin file does not hold it.
[[nodiscard]] const Skin& DefaultSkin();

/// Never fails: what is missing takes its default.
[[nodiscard]] Skin LoadSkinColours(ProfileStore& profiles, const QString& skinFile, const QString& skinName);

/// Writes the twelve keys into the skin's section; everything else in the file stays.
/// @return empty, or what went wrong in plain words with the file's name
[[nodiscard]] QString SaveSkin(ProfileStore& profiles, const QString& skinFile, const QString& skinName,
                               const Skin& skin);

/// The colour that a key's number stands for; a system colour that we do not know counts as the key's
/// default.
[[nodiscard]] Rgb SkinColour(const Skin& skin, const SkinKey& key);
[[nodiscard]] std::int32_t ColourNumber(Rgb colour);
