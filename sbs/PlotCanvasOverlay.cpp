#include "sbs/PlotCanvas.h"

#include "look/Icons.h"
#include "look/Marks.h"
#include "look/Theme.h"
#include "sbs/PlotAxis.h"
#include "sbs/PlotPens.h"

// What stands over the curves: events, cursor, the markers beside the axes' titles.

namespace {

constexpr int kStripGap = 3;

struct EventLook {
    const char* icon;
    Rgb SkinColours::*ink;
};

EventLook LookOf(PlotEvent::Kind kind)
{
    switch (kind) {
    case PlotEvent::Kind::Alarm:
        return {"alarm", &SkinColours::Caution};
    case PlotEvent::Kind::FailedRead:
        return {"cross", &SkinColours::Failed};
    case PlotEvent::Kind::Write:
        return {"edit", &SkinColours::Edited};
    case PlotEvent::Kind::Charge:
        return {"charge", &SkinColours::TextFore};
    case PlotEvent::Kind::Discharge:
        return {"discharge", &SkinColours::TextFore};
    case PlotEvent::Kind::Relax:
        return {"relax", &SkinColours::TextFore};
    }
    return {"info", &SkinColours::TextFore};
}

} // namespace

QRect PlotCanvas::Strip() const
{
    const QRect rect = m_area->rect();
    return {rect.left(), rect.bottom() + 1 + kStripGap, rect.width(), kStripHeight};
}

void PlotCanvas::DrawOverlay(QCPPainter* painter) const
{
    const QRect rect = m_area->rect();
    painter->setAntialiasing(false);
    painter->setPen(ToColour(m_colours.Outline));
    painter->setBrush(Qt::NoBrush);
    painter->drawRect(rect);
    DrawAxisMarkers(painter);
    DrawEvents(painter);
    DrawCursor(painter);
    if (m_rubber) {
        QColor fill = ToColour(m_colours.SelectionHighlight);
        painter->setPen(fill);
        fill.setAlpha(40);
        painter->setBrush(fill);
        painter->drawRect(QRect(m_rubber->left(), rect.top(), m_rubber->width(), rect.height()));
    }
    if (m_curves.empty()) {
        painter->setFont(Theme::Current().Font(Type::Body));
        painter->setPen(ToColour(m_colours.TextSecondary));
        painter->drawText(rect, Qt::AlignCenter | Qt::TextWordWrap,
                          tr("Tick Plot in a row to see its values here."));
    }
}

void PlotCanvas::DrawAxisMarkers(QCPPainter* painter) const
{
    constexpr int kPitch = 14;
    const QRect rect = m_area->rect();
    const QFontMetrics metrics(Theme::Current().Font(Type::Strong));
    for (const PlotAxis* axis : m_axes) {
        const double outwards = axis->offset() + axis->Margin() - metrics.height() / 2.0 - 2;
        const double x
            = axis->axisType() == QCPAxis::atLeft ? rect.left() - outwards : rect.right() + outwards;
        double y = rect.center().y() + metrics.horizontalAdvance(axis->label()) / 2.0 + kPitch;
        for (const PlotCurve& curve : m_curves) {
            if (AxisKey(curve) != axis->Key)
                continue;
            if (y < rect.bottom())
                DrawCurveMarker(*painter, QPointF(x, y), 7, curve.Place, CurveColour(curve.Place, m_colours));
            y += kPitch;
        }
    }
}

std::vector<PlotCanvas::EventGroup> PlotCanvas::EventGroups() const
{
    std::vector<EventGroup> groups;
    const auto first = std::ranges::lower_bound(m_events, m_fromMs, {}, &PlotEvent::AtMs);
    for (auto event = first; event != m_events.end() && event->AtMs < m_toMs; ++event) {
        const double x = X(static_cast<double>(event->AtMs));
        if (!groups.empty() && x - groups.back().x < kEventIcon)
            ++groups.back().count;
        else
            groups.push_back({x, static_cast<std::size_t>(event - m_events.begin()), 1});
    }
    return groups;
}

void PlotCanvas::DrawEvents(QCPPainter* painter) const
{
    const QRect rect = m_area->rect();
    const QRect strip = Strip();
    painter->fillRect(strip, ToColour(m_colours.AlternateBase));
    painter->setPen(ToColour(m_colours.Line));
    painter->drawRect(strip);
    painter->setFont(Theme::Current().Font(Type::Small));
    painter->setPen(ToColour(m_colours.TextSecondary));
    painter->drawText(QRect(0, strip.top(), strip.left() - 6, strip.height()),
                      Qt::AlignRight | Qt::AlignVCenter, tr("Events"));
    const double ratio = painter->device()->devicePixelRatioF();
    for (const EventGroup& group : EventGroups()) {
        const EventLook look = LookOf(m_events[group.first].What);
        const QColor ink = ToColour(m_colours.*look.ink);
        QPen dashed(ink, 1, Qt::CustomDashLine);
        dashed.setDashPattern({3, 3});
        painter->setPen(dashed);
        painter->drawLine(QPointF(group.x, rect.top()), QPointF(group.x, rect.bottom()));
        const QPointF corner(group.x - kEventIcon / 2.0, strip.top() + (kStripHeight - kEventIcon) / 2.0);
        if (group.count == 1) {
            painter->drawPixmap(corner, IconPixmap(QLatin1String(look.icon), kEventIcon, ink, ratio));
        } else {
            painter->setPen(ToColour(m_colours.TextFore));
            painter->drawText(QRectF(group.x - 16, strip.top(), 32, strip.height()), Qt::AlignCenter,
                              QString::number(group.count));
        }
    }
}

void PlotCanvas::DrawCursor(QCPPainter* painter) const
{
    if (!m_cursorMs || *m_cursorMs < m_fromMs || *m_cursorMs > m_toMs)
        return;
    const QRect rect = m_area->rect();
    const double x = X(static_cast<double>(*m_cursorMs));
    painter->setPen(ToColour(m_colours.TextFore));
    painter->drawLine(QPointF(x, rect.top()), QPointF(x, rect.bottom()));
    for (const PlotCurve& curve : m_curves) {
        const PlotAxis* axis = AxisOf(curve);
        const std::optional<double> value = ValueAt(curve, *m_cursorMs);
        if (!axis || !value)
            continue;
        const QPointF centre(x, axis->coordToPixel(*value));
        painter->setPen(Qt::NoPen);
        painter->setBrush(ToColour(m_colours.Base));
        painter->drawEllipse(centre, 6, 6); // keeps the marker clear of line and curves
        DrawCurveMarker(*painter, centre, 7, curve.Place, CurveColour(curve.Place, m_colours));
    }
}
