#include "sbs/PlotPens.h"

#include "look/Theme.h"

QColor CurveColour(int place, const SkinColours& colours)
{
    return ToColour(colours.curves[static_cast<std::size_t>(place) % colours.curves.size()]);
}

QPen CurvePen(int place, const SkinColours& colours, double width)
{
    // in pixels; Qt counts dashes in pen widths
    static const QList<qreal> kSolid;
    static const QList<qreal> kDash{6, 3};
    static const QList<qreal> kDot{1.5, 3};
    static const QList<qreal> kDashDot{6, 3, 1.5, 3};
    static const QList<qreal> kLongDash{12, 4};
    static const QList<qreal> kDashDotDot{8, 3, 1.5, 3, 1.5, 3};
    static const QList<qreal>* const kFirst[]{&kSolid,   &kSolid, &kDash, &kDot,
                                              &kDashDot, &kSolid, &kDash, &kDot};
    static const QList<qreal>* const kLater[]{&kLongDash, &kLongDash, &kDashDotDot, &kLongDash,
                                              &kDot,      &kLongDash, &kDashDotDot, &kDash};
    QPen pen(CurveColour(place, colours), width);
    pen.setJoinStyle(Qt::BevelJoin);
    pen.setCapStyle(Qt::FlatCap);
    const auto kind = static_cast<std::size_t>(place) % std::size(kFirst);
    QList<qreal> dash = place < 8 ? *kFirst[kind] : *kLater[kind];
    for (qreal& length : dash)
        length /= width;
    if (!dash.isEmpty())
        pen.setDashPattern(dash);
    return pen;
}
