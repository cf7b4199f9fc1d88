#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>

/// A line icon in one colour, sharp at any device pixel ratio.
/// @param name  of one of the program's, or the path of an *.svg; one that cannot be read shows the plug-in icon
/// @param size  logical pixels
[[nodiscard]] QPixmap IconPixmap(const QString& name, int size, const QColor& colour, qreal devicePixelRatio);

/// What an icon's colour follows.
enum class IconInk {
    Text, ///< button text; the disabled and the selected colour where the widget is drawn so
    Secondary,
    Failed,
    Good,
    Caution,
    Edited,
    Changed,
};

/// An icon that takes its colour anew each time it is drawn, so a change of the skin needs no new icons.
[[nodiscard]] QIcon ThemeIcon(const QString& name, IconInk ink = IconInk::Text);
