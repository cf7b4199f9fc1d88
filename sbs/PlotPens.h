#pragma once

#include "look/SkinColours.h"

#include <QPen>

/// Colour and dash of a curve by its place in ticking order; from the ninth on the colours come again with
/// another dash.
[[nodiscard]] QPen CurvePen(int place, const SkinColours& colours, double width);
[[nodiscard]] QColor CurveColour(int place, const SkinColours& colours);
