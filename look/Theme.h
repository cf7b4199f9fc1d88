#pragma once

#include "look/SkinColours.h"

#include <QColor>
#include <QFont>
#include <QObject>
#include <QPalette>

[[nodiscard]] inline QColor ToColour(Rgb colour) { return {colour.r, colour.g, colour.b}; }

/// The scale of type; nothing smaller is used. Sizes are points, so they follow the screen's resolution.
enum class Type {
    Body, ///< 12 px at 96 dpi
    Strong, ///< 12, semibold: group titles, changed values
    Title, ///< 13, semibold: dialog and item titles
    State, ///< 18, semibold: states and empty pages
    Figure, ///< 22, semibold: the remaining capacity
    Small, ///< 11: ticks of plots
    Mono, ///< 11, equal width: bytes and addresses
};

/// The one skin of the program as Qt draws it. A window connects Changed() to its Applyskin for what it
/// paints itself; all ordinary widgets follow the application's palette by themselves.
class Theme final : public QObject {
    Q_OBJECT
public:
    /// Installs style, font and palette on the application, which must exist; one instance a program.
    explicit Theme(const Skin& skin = DefaultSkin());
    ~Theme() override;

    /// Repaints every window from a skin.
    void ApplySkinToAllForms(const Skin& skin);
    [[nodiscard]] const Skin& CurrentSkin() const { return m_skin; }
    [[nodiscard]] const SkinColours& Colours() const { return m_colours; }
    [[nodiscard]] QFont Font(Type type) const;

    /// The one instance.
    [[nodiscard]] static Theme& Current();

signals:
    void Changed();

private:
    void SetFont();

    Skin m_skin;
    SkinColours m_colours;
    qreal m_bodyPoints = 9;
};

/// The palette of a window of the program.
[[nodiscard]] QPalette WindowPalette(const SkinColours& colours);
/// The palette of tool areas: selector, menu and status bar.
[[nodiscard]] QPalette ToolPalette(const SkinColours& colours);
