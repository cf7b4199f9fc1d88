#include "look/Marks.h"

#include "look/Theme.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>
#include <QtMath>

namespace {

constexpr int kBarWidth = 3;

const SkinColours& Colours() { return Theme::Current().Colours(); }

void DrawBar(QPainter& painter, const QRect& cell, Rgb colour)
{
    painter.fillRect(QRect(cell.left(), cell.top(), kBarWidth, cell.height()), ToColour(colour));
}

} // namespace

void DrawHatch(QPainter& painter, const QRectF& rect, const QColor& stripe, const QColor& between)
{
    constexpr qreal kPitch = 6;
    constexpr qreal kStripe = 2.5;
    painter.save();
    painter.setClipRect(rect, Qt::IntersectClip);
    painter.fillRect(rect, between);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(stripe, kStripe));
    // stripes keep their place on the screen, so that neighbouring spans fit together
    const int first = qFloor((rect.left() + rect.top()) / kPitch);
    const int last = qFloor((rect.right() + rect.bottom()) / kPitch) + 1;
    for (int number = first; number <= last; ++number) {
        const qreal sum = number * kPitch;
        painter.drawLine(QPointF(sum - rect.top() + 1, rect.top() - 1),
                         QPointF(sum - rect.bottom() - 1, rect.bottom() + 1));
    }
    painter.restore();
}

void DrawChangedCell(QPainter& painter, const QRect& cell, Trend trend, bool selected)
{
    const Rgb ink = selected ? Colours().TextHighlightFore : Colours().ChangeHighlight;
    if (!selected)
        painter.fillRect(cell, ToColour(Colours().ChangeTint));
    DrawBar(painter, cell, ink);
    const QPointF centre(cell.left() + kBarWidth + 9.5, cell.center().y() + .5);
    const qreal tip = trend == Trend::Up ? -3.5 : 3.5;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ToColour(ink));
    painter.drawPolygon(QPolygonF{{centre.x() - 4, centre.y() - tip},
                                  {centre.x() + 4, centre.y() - tip},
                                  {centre.x(), centre.y() + tip}});
    painter.restore();
}

void DrawFailedCell(QPainter& painter, const QRect& cell, bool selected)
{
    if (!selected)
        DrawHatch(painter, cell, ToColour(Mix(Colours().Base, Colours().Failed, .2)),
                  ToColour(Colours().Base));
    DrawBar(painter, cell, selected ? Colours().TextHighlightFore : Colours().Failed);
}

void DrawEditedCell(QPainter& painter, const QRect& cell)
{
    painter.fillRect(cell, ToColour(Colours().EditTint));
    painter.fillRect(QRect(cell.left(), cell.bottom() - 1, cell.width(), 2), ToColour(Colours().Edited));
}

void DrawBit(QPainter& painter, const QRect& cell, BitState state, const QString& name)
{
    const SkinColours& c = Colours();
    const Theme& theme = Theme::Current();
    painter.save();
    if (name.isEmpty()) {
        painter.setPen(ToColour(c.TextSecondary));
        painter.drawText(cell, Qt::AlignCenter, QStringLiteral("-"));
        painter.restore();
        return;
    }
    Rgb text = c.BitLowText;
    QString digit = QStringLiteral("0");
    if (state == BitState::Set) {
        text = c.BitHighText;
        digit = QStringLiteral("1");
        painter.fillRect(cell, ToColour(c.BitHigh));
        painter.setPen(ToColour(c.Outline));
        painter.drawRect(cell.adjusted(0, 0, -1, -1));
    } else if (state == BitState::Unknown) {
        text = c.TextFore;
        digit = QStringLiteral("?");
        DrawHatch(painter, cell, ToColour(c.BitUnknown), ToColour(c.Base));
    } else {
        painter.fillRect(cell, ToColour(c.BitLow));
    }
    painter.setPen(ToColour(text));
    const QRect inside = cell.adjusted(5, 0, -3, 0);
    painter.setFont(theme.Font(Type::Mono));
    painter.drawText(inside, Qt::AlignLeft | Qt::AlignVCenter, digit);
    const int digitWidth = painter.fontMetrics().horizontalAdvance(QLatin1Char('0')) + 4;
    painter.setFont(theme.Font(state == BitState::Set ? Type::Strong : Type::Body));
    const QRect rest = inside.adjusted(digitWidth, 0, 0, 0);
    painter.drawText(rest, Qt::AlignLeft | Qt::AlignVCenter,
                     painter.fontMetrics().elidedText(name, Qt::ElideRight, rest.width()));
    painter.restore();
}

void DrawCurveMarker(QPainter& painter, const QPointF& centre, qreal side, int place, const QColor& colour)
{
    constexpr int kKinds = 8;
    const int kind = place % kKinds;
    const bool open = kind == 4 || kind == 5 || kind == 6;
    const qreal r = side / 2;
    const QRectF box(centre.x() - r, centre.y() - r, side, side);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colour, 1.5));
    painter.setBrush(open ? QBrush(Qt::NoBrush) : QBrush(colour));
    switch (kind) {
    case 0:
    case 4:
        painter.drawEllipse(box);
        break;
    case 1:
    case 5:
        painter.drawRect(box.adjusted(.5, .5, -.5, -.5));
        break;
    case 2:
    case 6:
        painter.drawPolygon(QPolygonF{{centre.x(), box.top() - 1},
                                      {box.right() + 1, centre.y()},
                                      {centre.x(), box.bottom() + 1},
                                      {box.left() - 1, centre.y()}});
        break;
    case 3:
        painter.drawPolygon(QPolygonF{box.bottomLeft(), box.bottomRight(), {centre.x(), box.top()}});
        break;
    default:
        painter.drawLine(box.topLeft(), box.bottomRight());
        painter.drawLine(box.topRight(), box.bottomLeft());
        break;
    }
    painter.restore();
}
