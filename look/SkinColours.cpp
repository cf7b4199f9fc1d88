#include "look/SkinColours.h"

#include <algorithm>

namespace {

constexpr double kLeastContrast = 3.0;

Rgb Better(Rgb fill, Rgb a, Rgb b) { return Contrast(fill, a) >= Contrast(fill, b) ? a : b; }

Rgb Hex(std::uint32_t rgb)
{
    return {static_cast<std::uint8_t>(rgb >> 16), static_cast<std::uint8_t>(rgb >> 8),
            static_cast<std::uint8_t>(rgb)};
}

// Found by a search for the largest least difference of any pair, to normal and to colour-blind eyes.
constexpr std::array<std::uint32_t, 8> kLightCurves{0x0D4EE9, 0xCA7656, 0x80085C, 0x004D00,
                                                    0x2E94AA, 0x7A6C00, 0x8A79FC, 0xB64059};
constexpr std::array<std::uint32_t, 8> kDarkCurves{0x3B7BFF, 0xDB5B00, 0xF49AC3, 0x96DE94,
                                                   0x7DF6FF, 0xD8C327, 0xC8A0FF, 0xC47D73};

} // namespace

Rgb ReadableOn(Rgb fill, Rgb wanted, Rgb text, Rgb background)
{
    if (Contrast(fill, wanted) >= kLeastContrast)
        return wanted;
    const Rgb own = Better(fill, text, background);
    return Contrast(fill, own) >= kLeastContrast ? own : Better(fill, kBlack, kWhite);
}

SkinColours DeriveColours(const Skin& skin)
{
    SkinColours c;
    const std::array colours{
        &c.ToolBackground, &c.SelectionHighlight, &c.Background, &c.TextFore, &c.TextHighlightFore,
        &c.ShapedButton,   &c.ChangeHighlight,    &c.BitHigh,    &c.BitLow,   &c.BitUnknown};
    auto colour = colours.begin();
    for (const SkinKey& key : kSkinKeys)
        if (key.colour)
            **colour++ = SkinColour(skin, key);
    c.HighlightBorderWidth = std::clamp(skin.HighlightBorderWidth, 0, 20);
    c.UnHighlightBorderWidth = std::clamp(skin.UnHighlightBorderWidth, 0, 20);

    c.TextFore = ReadableOn(c.Background, c.TextFore, c.TextFore, c.Background);
    const auto readable
        = [&c](Rgb fill, Rgb wanted) { return ReadableOn(fill, wanted, c.TextFore, c.Background); };
    c.TextHighlightFore = readable(c.SelectionHighlight, c.TextHighlightFore);
    c.BitHighText = readable(c.BitHigh, c.TextFore);
    c.BitLowText = readable(c.BitLow, c.TextFore);
    c.BitUnknownText = readable(c.BitUnknown, c.TextFore);

    c.dark = Contrast(c.Background, kBlack) < Contrast(c.TextFore, kBlack);
    c.Base = c.dark ? Mix(c.Background, kBlack, .16) : Mix(c.Background, kWhite, .75);
    c.AlternateBase = Mix(c.Base, c.TextFore, .03);
    c.HeaderFill = Mix(c.ToolBackground, c.Background, .5);
    c.Line = Mix(c.Background, c.TextFore, .16);
    c.Outline = Mix(c.Background, c.TextFore, .55);
    c.TextSecondary = Mix(c.Background, c.TextFore, .70);
    c.TextDisabled = Mix(c.Background, c.TextFore, .49);
    c.Failed = Hex(c.dark ? 0xFF8D82 : 0xB3261E);
    c.Edited = Hex(c.dark ? 0xBBA6FF : 0x5A3FB5);
    c.Good = Hex(c.dark ? 0x63C994 : 0x1E7548);
    c.Caution = Hex(c.dark ? 0xE3B65C : 0x8A5A00);
    c.Stop = Hex(0xB3261E);
    c.ChangeTint = Mix(c.Base, c.ChangeHighlight, .15);
    c.EditTint = Mix(c.Base, c.Edited, .14);
    c.FailTint = Mix(c.Base, c.Failed, .12);
    c.Light = Mix(c.ShapedButton, kWhite, c.dark ? .12 : .8);
    c.Midlight = Mix(c.ShapedButton, kWhite, c.dark ? .06 : .4);
    c.Dark = Mix(c.Background, c.TextFore, c.dark ? .1 : .4);
    c.Shadow = c.dark ? kBlack : Mix(c.Background, c.TextFore, .6);
    c.Link = c.dark ? Mix(c.SelectionHighlight, kWhite, .45) : c.SelectionHighlight;
    std::ranges::transform(c.dark ? kDarkCurves : kLightCurves, c.curves.begin(), Hex);
    return c;
}

const Skin& LightSkin()
{
    static const Skin skin{
        .ToolBackground = ColourNumber(Hex(0xE4E9EC)),
        .HighlightBorderWidth = 4,
        .UnHighlightBorderWidth = 1,
        .SelectionHighlight = ColourNumber(Hex(0x14657A)),
        .Background = ColourNumber(Hex(0xF5F7F8)),
        .TextFore = ColourNumber(Hex(0x19222A)),
        .TextHighlightFore = ColourNumber(Hex(0xFFFFFF)),
        .ShapedButton = ColourNumber(Hex(0xEEF1F3)),
        .ChangeHighlight = ColourNumber(Hex(0xA65300)),
        .BitHigh = ColourNumber(Hex(0xF2B56B)),
        .BitLow = ColourNumber(Hex(0xCFE3DD)),
        .BitUnknown = ColourNumber(Hex(0xDCDFE3)),
    };
    return skin;
}
