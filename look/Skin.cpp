#include "look/Skin.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

constexpr std::int32_t SystemColourNumber(std::uint32_t n)
{
    return static_cast<std::int32_t>(0x80000000U + n);
}

struct SystemColour {
    std::uint32_t number;
    Rgb colour;
};

// The roles that these numbers stand for, in the colours of the widget style that every window is drawn with.
constexpr std::array kSystemColours{
    SystemColour{5, {0xFF, 0xFF, 0xFF}}, // window background: Base
    SystemColour{8, {0x00, 0x00, 0x00}}, // window text: Text
    SystemColour{13, {0x30, 0x8C, 0xC6}}, // highlight: Highlight
    SystemColour{15, {0xEF, 0xEF, 0xEF}}, // button face: Button
    SystemColour{16, {0x9F, 0x9F, 0x9F}}, // button shadow: Dark
};

std::optional<Rgb> ColourOfNumber(std::int32_t number)
{
    const auto bits = static_cast<std::uint32_t>(number);
    if ((bits & 0x80000000U) == 0)
        return Rgb{static_cast<std::uint8_t>(bits), static_cast<std::uint8_t>(bits >> 8),
                   static_cast<std::uint8_t>(bits >> 16)};
    for (const SystemColour& system : kSystemColours)
        if (system.number == (bits & 0x7FFFFFFFU))
            return system.colour;
    return std::nullopt;
}

double Luminance(Rgb colour)
{
    const auto linear = [](std::uint8_t channel) {
        const double c = channel / 255.0;
        return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.r) + 0.7152 * linear(colour.g) + 0.0722 * linear(colour.b);
}

} // namespace

const std::array<SkinKey, 12> kSkinKeys{{
    {"ToolBackground", &Skin::ToolBackground, true},
    {"HighlightBorderWidth", &Skin::HighlightBorderWidth, false},
    {"UnHighlightBorderWidth", &Skin::UnHighlightBorderWidth, false},
    {"SelectionHighlight", &Skin::SelectionHighlight, true},
    {"Background", &Skin::Background, true},
    {"TextFore", &Skin::TextFore, true},
    {"TextHighlightFore", &Skin::TextHighlightFore, true},
    {"ShapedButton", &Skin::ShapedButton, true},
    {"ChangeHighlight", &Skin::ChangeHighlight, true},
    {"BitHigh", &Skin::BitHigh, true},
    {"BitLow", &Skin::BitLow, true},
    {"BitUnknown", &Skin::BitUnknown, true},
}};

QString RgbText(Rgb colour)
{
    return QStringLiteral("#%1%2%3")
        .arg(colour.r, 2, 16, QLatin1Char('0'))
        .arg(colour.g, 2, 16, QLatin1Char('0'))
        .arg(colour.b, 2, 16, QLatin1Char('0'));
}

Rgb Mix(Rgb a, Rgb b, double t)
{
    const auto channel = [t](std::uint8_t from, std::uint8_t to) {
        return static_cast<std::uint8_t>(std::clamp(std::nearbyint(from + (to - from) * t), 0.0, 255.0));
    };
    return {channel(a.r, b.r), channel(a.g, b.g), channel(a.b, b.b)};
}

double Contrast(Rgb a, Rgb b)
{
    const auto [dark, light] = std::minmax({Luminance(a), Luminance(b)});
    return (light + 0.05) / (dark + 0.05);
}

const Skin& DefaultSkin()
{
    static const Skin skin{
        .ToolBackground = SystemColourNumber(16),
        .HighlightBorderWidth = 8,
        .UnHighlightBorderWidth = 1,
        .SelectionHighlight = SystemColourNumber(13),
        .Background = SystemColourNumber(5),
        .TextFore = SystemColourNumber(8),
        // the same as the selection's fill: what is drawn on it is chosen by contrast
        .TextHighlightFore = SystemColourNumber(13),
        .ShapedButton = SystemColourNumber(15),
        .ChangeHighlight = ColourNumber({255, 0, 0}),
        .BitHigh = ColourNumber({255, 128, 128}),
        .BitLow = ColourNumber({0, 191, 127}),
        .BitUnknown = ColourNumber({207, 207, 207}),
    };
    return skin;
}

Skin LoadSkinColours(ProfileStore& profiles, const QString& skinFile, const QString& skinName)
{
    Skin skin = DefaultSkin();
    const ProfileFile& file = profiles.File(skinFile);
    for (const SkinKey& key : kSkinKeys)
        skin.*key.value = file.Integer(skinName, QString::fromLatin1(key.name), skin.*key.value);
    return skin;
}

QString SaveSkin(ProfileStore& profiles, const QString& skinFile, const QString& skinName, const Skin& skin)
{
    std::vector<ProfileChange> changes;
    changes.reserve(kSkinKeys.size());
    for (const SkinKey& key : kSkinKeys)
        changes.push_back({skinName, QString::fromLatin1(key.name), QString::number(skin.*key.value)});
    return profiles.Write(skinFile, changes);
}

Rgb SkinColour(const Skin& skin, const SkinKey& key)
{
    if (const auto colour = ColourOfNumber(skin.*key.value))
        return *colour;
    return ColourOfNumber(DefaultSkin().*key.value).value_or(kBlack);
}

std::int32_t ColourNumber(Rgb colour) { return colour.r | colour.g << 8 | colour.b << 16; }
