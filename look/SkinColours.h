#pragma once

#include "look/Skin.h"

#include <array>

/// Everything the windows draw with, derived from a skin's twelve numbers. Text colours are already the ones
/// to draw: where a skin's text would be hard to read on its fill, the better of its text and background
/// stands here.
struct SkinColours {
    bool dark = false; ///< the background is darker than the text
    Rgb ToolBackground, SelectionHighlight, Background, TextFore, TextHighlightFore, ShapedButton,
        ChangeHighlight, BitHigh, BitLow, BitUnknown;
    int HighlightBorderWidth = 0; ///< px, 0 to 20: what the selector can show
    int UnHighlightBorderWidth = 0;

    Rgb Base, AlternateBase; ///< tables, fields, plots
    Rgb HeaderFill; ///< table headers, tooltips
    Rgb Line; ///< decoration that carries no meaning
    Rgb Outline; ///< frames of check boxes and fields
    Rgb TextSecondary, TextDisabled;
    Rgb ChangeTint, EditTint, FailTint; ///< cell fills
    Rgb Failed, Edited, Good, Caution; ///< marks
    Rgb Stop; ///< fill of the stop button, always with white text
    Rgb Light, Midlight, Dark, Shadow; ///< bevels
    Rgb Link;
    Rgb BitHighText, BitLowText, BitUnknownText;

    std::array<Rgb, 8> curves; ///< plot curves in the order they are switched on
};

[[nodiscard]] SkinColours DeriveColours(const Skin& skin);

/// The colour to draw text in on a fill: the wanted one, unless its contrast falls below 3; then the better
/// of text and background, and black or white where these two are no help either.
[[nodiscard]] Rgb ReadableOn(Rgb fill, Rgb wanted, Rgb text, Rgb background);

/// The light skin that ships, for pictures that go on paper whatever the screen shows.
[[nodiscard]] const Skin& LightSkin();
