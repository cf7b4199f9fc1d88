#pragma once

#include "look/SkinColours.h"

#include <QColor>
#include <QRect>
#include <QString>

class QPainter;

/// The marks of the program, drawn alike in grids, legend and plots. Each has a shape beside its colour.

enum class Trend { Up, Down };
/// Tint, bar at the left edge and the direction since the pass before; text is the caller's, in Type::Strong.
void DrawChangedCell(QPainter& painter, const QRect& cell, Trend trend, bool selected);
/// Hatched, with a bar at the left edge; the cell has no text.
void DrawFailedCell(QPainter& painter, const QRect& cell, bool selected);
/// Tint and a line below; text is the caller's, in Type::Strong.
void DrawEditedCell(QPainter& painter, const QRect& cell);

enum class BitState { Clear, Set, Unknown };
/// One named bit: its digit 1, 0 or ?, then the name; a reserved bit (empty name) is a dash.
void DrawBit(QPainter& painter, const QRect& cell, BitState state, const QString& name);

/// Marker of a plot curve, by its place in ticking order; the colours come again from the ninth on.
/// @param side  logical pixels
void DrawCurveMarker(QPainter& painter, const QPointF& centre, qreal side, int place, const QColor& colour);

/// Diagonal stripes over a rectangle.
void DrawHatch(QPainter& painter, const QRectF& rect, const QColor& stripe, const QColor& between);
