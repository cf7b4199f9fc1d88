#include "look/Theme.h"

#include "look/TarnloStyle.h"

#include <QApplication>
#include <QFontDatabase>
#include <QToolTip>

namespace {

Theme* g_theme = nullptr;

QPalette PaletteOn(Rgb window, const SkinColours& c)
{
    QPalette palette;
    const auto set
        = [&palette](QPalette::ColorRole role, Rgb colour) { palette.setColor(role, ToColour(colour)); };
    const auto readable = [&c](Rgb fill) { return ReadableOn(fill, c.TextFore, c.TextFore, c.Background); };
    set(QPalette::Window, window);
    set(QPalette::WindowText, readable(window));
    set(QPalette::Base, c.Base);
    set(QPalette::AlternateBase, c.AlternateBase);
    set(QPalette::Text, readable(c.Base));
    set(QPalette::PlaceholderText, c.TextSecondary);
    set(QPalette::Button, c.ShapedButton);
    set(QPalette::ButtonText, readable(c.ShapedButton));
    set(QPalette::BrightText, c.Failed);
    set(QPalette::Highlight, c.SelectionHighlight);
    set(QPalette::HighlightedText, c.TextHighlightFore);
    set(QPalette::ToolTipBase, c.HeaderFill);
    set(QPalette::ToolTipText, readable(c.HeaderFill));
    set(QPalette::Light, c.Light);
    set(QPalette::Midlight, c.Midlight);
    set(QPalette::Mid, c.Line);
    set(QPalette::Dark, c.Dark);
    set(QPalette::Shadow, c.Shadow);
    set(QPalette::Link, c.Link);
    set(QPalette::LinkVisited, c.Link);
    for (QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::HighlightedText,
          QPalette::PlaceholderText, QPalette::ToolTipText})
        palette.setColor(QPalette::Disabled, role, ToColour(c.TextDisabled));
    // a selection that cannot be used is a quiet one
    palette.setColor(QPalette::Disabled, QPalette::Highlight, ToColour(c.Line));
    return palette;
}

} // namespace

QPalette WindowPalette(const SkinColours& colours) { return PaletteOn(colours.Background, colours); }

QPalette ToolPalette(const SkinColours& colours) { return PaletteOn(colours.ToolBackground, colours); }

Theme::Theme(const Skin& skin) : m_skin(skin), m_colours(DeriveColours(skin))
{
    Q_ASSERT(!g_theme && qApp);
    g_theme = this;
    SetFont();
    QApplication::setStyle(new TarnloStyle); // the application owns it
    ApplySkinToAllForms(skin);
}

Theme::~Theme()
{
    QApplication::setStyle(QStringLiteral("Fusion")); // ours draws with the colours that go now
    g_theme = nullptr;
}

Theme& Theme::Current()
{
    Q_ASSERT(g_theme);
    return *g_theme;
}

void Theme::ApplySkinToAllForms(const Skin& skin)
{
    m_skin = skin;
    m_colours = DeriveColours(skin);
    const QPalette palette = WindowPalette(m_colours);
    QApplication::setPalette(palette);
    QToolTip::setPalette(palette);
    emit Changed();
}

// Families whose figures are all equally wide, in regular and in semibold: Qt 6.4 cannot ask for tabular
// figures.
void Theme::SetFont()
{
    struct Family {
        const char* name;
        qreal points;
    };
    constexpr Family kFamilies[]{{"Noto Sans", 9}, {"Open Sans", 9}, {"DejaVu Sans", 8.25}};
    QFont font = QApplication::font();
    for (const Family& family : kFamilies) {
        if (QFontDatabase::hasFamily(QLatin1String(family.name))) {
            font = QFont(QLatin1String(family.name));
            m_bodyPoints = family.points;
            break;
        }
    }
    font.setPointSizeF(m_bodyPoints);
    QApplication::setFont(font);
}

QFont Theme::Font(Type type) const
{
    QFont font = QApplication::font();
    const auto sized = [&](qreal pixels) { font.setPointSizeF(m_bodyPoints * pixels / 12); };
    switch (type) {
    case Type::Body:
        break;
    case Type::Strong:
        font.setWeight(QFont::DemiBold);
        break;
    case Type::Title:
        font.setWeight(QFont::DemiBold);
        sized(13);
        break;
    case Type::State:
        font.setWeight(QFont::DemiBold);
        sized(18);
        break;
    case Type::Figure:
        font.setWeight(QFont::DemiBold);
        sized(22);
        break;
    case Type::Small:
        sized(11);
        break;
    case Type::Mono:
        font = QFont(QStringLiteral("DejaVu Sans Mono"));
        font.setStyleHint(QFont::Monospace);
        font.setPointSizeF(8.25);
        break;
    }
    return font;
}
