#include "sbs/PlotCanvas.h"

#include "look/Marks.h"
#include "look/Theme.h"
#include "sbs/PlotAxis.h"
#include "sbs/PlotPens.h"

#include <QSharedPointer>
#include <QToolTip>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace {

constexpr int kMostListed = 20;
constexpr int kBelowAxes = 80; // times, events, and the markers beside an axis title
constexpr qsizetype kMostPointsWithMarkers = 60;
constexpr std::size_t kMostAntialiasedValues = 20'000;
// A longer way of the pen over the picture is noise in which no dash can be told; drawing it costs most.
constexpr double kLongestDashedPath = 20'000;
constexpr double kWheelStep = 120;

/// One layer's drawing, given by the canvas.
class Painted final : public QCPLayerable {
public:
    Painted(QCustomPlot* plot, const QString& layer, std::function<void(QCPPainter*)> drawing)
        : QCPLayerable(plot, layer), m_drawing(std::move(drawing))
    {
    }

protected:
    void applyDefaultAntialiasingHint(QCPPainter* painter) const override { painter->setAntialiasing(false); }
    void draw(QCPPainter* painter) override { m_drawing(painter); }

private:
    std::function<void(QCPPainter*)> m_drawing;
};

} // namespace

PlotCanvas::PlotCanvas(QWidget* parent)
    : QCustomPlot(parent), m_colours(Theme::Current().Colours()), m_area(axisRect())
{
    setObjectName(QStringLiteral("plotCanvas"));
    setAccessibleName(tr("Plot"));
    setFocusPolicy(Qt::StrongFocus);
    setLocale(QLocale::c());
    setNoAntialiasingOnDrag(true);
    setMouseTracking(true);
    yAxis->setVisible(false); // value axes come and go with the units
    yAxis->grid()->setVisible(false);
    m_area->setMinimumMargins(QMargins(56, 10, 16, 0));
    xAxis->setOffset(kStripHeight + 3);
    xAxis->setTicker(QSharedPointer<QCPAxisTickerDateTime>::create());

    new Painted(this, QStringLiteral("background"), [this](QCPPainter* painter) { DrawFailed(painter); });
    new Painted(this, QStringLiteral("main"), [this](QCPPainter* painter) { DrawCurves(painter); });
    layer(QStringLiteral("overlay"))
        ->setMode(QCPLayer::lmBuffered); // a moving cursor redraws this layer alone
    new Painted(this, QStringLiteral("overlay"), [this](QCPPainter* painter) { DrawOverlay(painter); });
    Applyskin();
}

void PlotCanvas::SetCurves(std::vector<PlotCurve> curves)
{
    m_curves = std::move(curves);
    MakeAxes();
    Show(m_fromMs, m_toMs);
}

void PlotCanvas::SetEvents(std::vector<PlotEvent> events) { m_events = std::move(events); }

void PlotCanvas::SetClock(PlotClock clock)
{
    if (clock == m_clock)
        return;
    m_clock = clock;
    if (clock == PlotClock::Wall) {
        xAxis->setTicker(QSharedPointer<QCPAxisTickerDateTime>::create());
    } else {
        const auto ticker = QSharedPointer<QCPAxisTickerTime>::create();
        ticker->setFieldWidth(QCPAxisTickerTime::tuHours, 1);
        xAxis->setTicker(ticker);
    }
    ChooseTimeLabels();
}

void PlotCanvas::SetSelected(std::optional<int> place)
{
    m_selected = place;
    replot(rpQueuedReplot);
}

void PlotCanvas::SetCursor(std::optional<std::int64_t> atMs)
{
    m_cursorMs = atMs;
    layer(QStringLiteral("overlay"))->replot();
}

void PlotCanvas::SetTool(Tool tool)
{
    m_tool = tool;
    QCustomPlot::setCursor(tool == Tool::Zoom ? Qt::CrossCursor : Qt::ArrowCursor);
}

void PlotCanvas::MakeAxes()
{
    QStringList keys;
    for (const PlotCurve& curve : m_curves)
        if (!keys.contains(AxisKey(curve)) && keys.size() < kMostAxes)
            keys << AxisKey(curve);
    const bool same
        = std::ranges::equal(keys, m_axes, {}, {}, [](const PlotAxis* axis) { return axis->Key; });
    if (!same) {
        for (PlotAxis* axis : m_axes)
            m_area->removeAxis(axis);
        m_axes.clear();
        for (const QString& key : keys) {
            const auto side = m_axes.size() % 2 == 0 ? QCPAxis::atLeft : QCPAxis::atRight;
            auto* axis = new PlotAxis(m_area, side, key);
            m_area->addAxis(side, axis);
            axis->setLayer(QStringLiteral("axes"));
            axis->grid()->setLayer(QStringLiteral("grid"));
            axis->grid()->setVisible(m_axes.empty()); // one set of lines; the other axes have their own ticks
            axis->setNumberPrecision(7);
            axis->setNumberFormat(QStringLiteral("g"));
            m_axes.push_back(axis);
        }
        ColourAxes();
    }
    for (PlotAxis* axis : m_axes) {
        QStringList names;
        for (const PlotCurve& curve : m_curves) {
            if (AxisKey(curve) != axis->Key)
                continue;
            names << curve.Name;
            axis->Unit = curve.Unit;
        }
        axis->Title
            = names.size() <= 2 ? names.join(QStringLiteral(", ")) : tr("%1 curves").arg(names.size());
    }
    LabelAxes();
}

void PlotCanvas::LabelAxes()
{
    for (PlotAxis* axis : m_axes) {
        const QFontMetrics metrics(axis->labelFont());
        const QString unit = axis->Unit.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(axis->Unit);
        // a low plot cuts the name, not the unit
        const int room = height() - kBelowAxes - metrics.horizontalAdvance(unit);
        axis->setLabel(metrics.elidedText(axis->Title, Qt::ElideRight, room) + unit);
    }
}

PlotAxis* PlotCanvas::AxisOf(const PlotCurve& curve) const
{
    const auto axis = std::ranges::find(m_axes, AxisKey(curve), &PlotAxis::Key);
    return axis == m_axes.end() ? nullptr : *axis;
}

void PlotCanvas::Show(std::int64_t fromMs, std::int64_t toMs)
{
    m_fromMs = fromMs;
    m_toMs = std::max(toMs, fromMs + 1);
    m_lines.clear();
    std::vector<PlotSpan> failed;
    const auto columns = static_cast<std::size_t>(std::max(m_area->width(), 1));
    for (const PlotCurve& curve : m_curves) {
        m_lines.push_back(VisibleLine(curve, m_fromMs, m_toMs, columns));
        failed.insert(failed.end(), m_lines.back().Failed.begin(), m_lines.back().Failed.end());
    }
    m_failed = Joined(std::move(failed));
    FitAxes();
    xAxis->setRange(static_cast<double>(m_fromMs) / 1000, static_cast<double>(m_toMs) / 1000);
    ChooseTimeLabels();
    replot(rpQueuedReplot);
}

void PlotCanvas::FitAxes()
{
    for (PlotAxis* axis : m_axes) {
        std::optional<QCPRange> range;
        for (std::size_t i = 0; i < m_curves.size(); ++i) {
            if (AxisKey(m_curves[i]) != axis->Key || !m_lines[i].Any)
                continue;
            const QCPRange own(m_lines[i].Low, m_lines[i].High);
            range = range ? range->expanded(own) : own;
        }
        if (!range)
            continue; // the scale stays while nothing is in sight
        const double pad
            = range->size() > 0 ? range->size() * .06 : std::max(1.0, std::abs(range->center()) * .01);
        axis->setRange(range->lower - pad, range->upper + pad);
    }
}

void PlotCanvas::ChooseTimeLabels()
{
    constexpr double kMinute = 60;
    constexpr double kDay = 24 * 60 * kMinute;
    const double span = xAxis->range().size();
    if (m_clock == PlotClock::Elapsed) {
        const auto ticker = xAxis->ticker().staticCast<QCPAxisTickerTime>();
        ticker->setTimeFormat(span < 10                ? QStringLiteral("%h:%m:%s.%z")
                                  : span < 8 * kMinute ? QStringLiteral("%h:%m:%s")
                                                       : QStringLiteral("%h:%m"));
        ticker->setTickCount(std::clamp(axisRect()->width() / 100, 2, 12));
        return;
    }
    const auto ticker = xAxis->ticker().staticCast<QCPAxisTickerDateTime>();
    ticker->setDateTimeFormat(span < 10                ? QStringLiteral("hh:mm:ss.zzz")
                                  : span < 8 * kMinute ? QStringLiteral("hh:mm:ss")
                                  : span < kDay        ? QStringLiteral("hh:mm")
                                                       : QStringLiteral("yyyy-MM-dd\nhh:mm"));
    ticker->setTickCount(
        std::clamp(m_area->width() / (span < 8 * kMinute || span >= kDay ? 100 : 80), 2, 12));
}

double PlotCanvas::X(double ms) const
{
    const QRect rect = m_area->rect();
    return rect.left()
        + (ms - static_cast<double>(m_fromMs)) / static_cast<double>(m_toMs - m_fromMs) * rect.width();
}

std::int64_t PlotCanvas::TimeAt(double x) const
{
    const QRect rect = m_area->rect();
    return m_fromMs
        + static_cast<std::int64_t>((x - rect.left()) / std::max(rect.width(), 1)
                                    * static_cast<double>(m_toMs - m_fromMs));
}

void PlotCanvas::DrawFailed(QCPPainter* painter) const
{
    const QRectF rect = m_area->rect();
    for (const PlotSpan& span : m_failed) {
        const double left = std::max(X(span.FromMs), rect.left());
        const double right = std::min(std::max(X(span.ToMs), left + 2), rect.right());
        if (right > left)
            DrawHatch(*painter, QRectF(left, rect.top(), right - left, rect.height()),
                      ToColour(Mix(m_colours.Base, m_colours.Failed, .2)), ToColour(m_colours.Base));
    }
}

PlotCanvas::Path PlotCanvas::PathOf(const PlotAxis& axis, const PlotLine& line) const
{
    const QRect rect = m_area->rect();
    const double scale = rect.height() / axis.range().size();
    Path path;
    path.points.reserve(static_cast<qsizetype>(line.Points.size()));
    QPointF last(X(0), std::numeric_limits<double>::quiet_NaN());
    for (const PlotPoint& point : line.Points) {
        const QPointF at(X(point.Ms), rect.bottom() + 1 - (point.Value - axis.range().lower) * scale);
        const double step = std::abs(at.x() - last.x()) + std::abs(at.y() - last.y());
        path.length += std::isnan(step) ? 0 : step;
        path.points << at;
        last = at;
    }
    return path;
}

void PlotCanvas::DrawCurves(QCPPainter* painter) const
{
    struct Drawing {
        const PlotCurve* curve;
        Path path;
    };
    std::vector<Drawing> drawings;
    std::size_t values = 0;
    for (std::size_t i = 0; i < m_curves.size(); ++i) {
        if (const PlotAxis* axis = AxisOf(m_curves[i])) {
            drawings.push_back({&m_curves[i], PathOf(*axis, m_lines[i])});
            values += m_lines[i].Passes;
        }
    }
    // noise covers what lies under it, so the busiest curve comes first
    std::ranges::stable_sort(drawings, std::greater{},
                             [](const Drawing& drawing) { return drawing.path.length; });
    painter->save();
    painter->setClipRect(m_area->rect().adjusted(0, -1, 1, 1));
    for (const Drawing& drawing : drawings)
        DrawCurve(painter, *drawing.curve, drawing.path, values <= kMostAntialiasedValues);
    painter->restore();
}

void PlotCanvas::DrawNoise(QCPPainter* painter, const QPolygonF& points)
{
    QVector<QLineF> lines;
    for (qsizetype i = 1; i < points.size(); ++i) {
        const QPointF& from = points[i - 1];
        const QPointF& to = points[i];
        if (std::isnan(from.y()) || std::isnan(to.y()))
            continue;
        const double column = std::floor(to.x());
        if (column - std::floor(from.x()) > 1) {
            lines << QLineF(from, to);
            continue;
        }
        const auto [top, bottom] = std::minmax({from.y(), to.y()});
        if (!lines.isEmpty() && lines.last().x1() == column && lines.last().x2() == column)
            lines.last().setLine(column, std::min(lines.last().y1(), top), column,
                                 std::max(lines.last().y2(), bottom));
        else
            lines << QLineF(column, top, column, bottom);
    }
    painter->drawLines(lines);
}

void PlotCanvas::DrawCurve(QCPPainter* painter, const PlotCurve& curve, const Path& path,
                           bool antialiased) const
{
    const QPolygonF& points = path.points;
    const QColor colour = CurveColour(curve.Place, m_colours);
    const bool dense = path.length > kLongestDashedPath;
    const bool smooth = antialiased && !dense;
    // without antialiasing a line is a whole number of pixels wide
    QPen pen = CurvePen(curve.Place, m_colours, m_selected == curve.Place ? 2 : smooth ? 1.5 : 1);
    if (dense)
        pen.setStyle(Qt::SolidLine);
    painter->setAntialiasing(smooth);
    painter->setPen(pen);
    if (dense)
        return DrawNoise(painter, points);
    const bool markers = points.size() < kMostPointsWithMarkers;
    qsizetype begin = 0;
    for (qsizetype end = 0; end <= points.size(); ++end) {
        if (end < points.size() && !std::isnan(points[end].y()))
            continue;
        if (end - begin > 1)
            painter->drawPolyline(points.constData() + begin, static_cast<int>(end - begin));
        else if (end - begin == 1 && !markers) // a value between two failed reads
            DrawCurveMarker(*painter, points[begin], 5, curve.Place, colour);
        begin = end + 1;
    }
    if (!markers)
        return;
    for (const QPointF& point : points)
        if (!std::isnan(point.y()))
            DrawCurveMarker(*painter, point, 6, curve.Place, colour);
}

void PlotCanvas::ColourAxes()
{
    const Theme& theme = Theme::Current();
    setBackground(ToColour(m_colours.Base));
    std::vector<QCPAxis*> axes{xAxis};
    axes.insert(axes.end(), m_axes.begin(), m_axes.end());
    for (QCPAxis* axis : axes) {
        const QPen outline(ToColour(m_colours.Outline));
        axis->setBasePen(axis == xAxis ? QPen(Qt::NoPen) : outline);
        axis->setTickPen(outline);
        axis->setSubTickPen(Qt::NoPen);
        axis->setTickLength(0, 3);
        axis->setTickLabelFont(theme.Font(Type::Small));
        axis->setTickLabelColor(ToColour(m_colours.TextSecondary));
        axis->setLabelFont(theme.Font(Type::Strong));
        axis->setLabelColor(ToColour(m_colours.TextFore));
        axis->setLabelPadding(2);
        axis->grid()->setPen(QPen(ToColour(m_colours.Line)));
        axis->grid()->setZeroLinePen(QPen(ToColour(m_colours.Line)));
    }
}

void PlotCanvas::Applyskin()
{
    m_colours = Theme::Current().Colours();
    ColourAxes();
    replot(rpQueuedReplot);
}

void PlotCanvas::DrawInto(QCPPainter& painter, const SkinColours& colours)
{
    const SkinColours onScreen = m_colours;
    m_colours = colours;
    ColourAxes();
    toPainter(&painter, width(), height());
    m_colours = onScreen;
    ColourAxes();
    replot(rpQueuedReplot);
}

void PlotCanvas::mousePressEvent(QMouseEvent* event)
{
    setFocus(Qt::MouseFocusReason);
    const QPoint at = event->pos();
    if (event->button() != Qt::LeftButton)
        return;
    if (Strip().contains(at)) {
        for (const EventGroup& group : EventGroups()) {
            if (std::abs(group.x - at.x()) > kEventIcon)
                continue;
            QStringList lines;
            for (std::size_t i = group.first;
                 i < group.first + std::min<std::size_t>(group.count, kMostListed); ++i)
                lines << PlotTimeText(m_events[i].AtMs, m_toMs - m_fromMs, m_clock) + QStringLiteral("  ")
                        + m_events[i].Text;
            if (group.count > kMostListed)
                lines << tr("and %1 more").arg(group.count - kMostListed);
            QToolTip::showText(event->globalPosition().toPoint(), lines.join(QLatin1Char('\n')), this);
            break;
        }
        return;
    }
    m_pressedAt = at;
    if (m_tool == Tool::Zoom)
        m_rubber = QRect(at, QSize(1, 1));
}

void PlotCanvas::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint at = event->pos();
    if (m_pressedAt && m_rubber) {
        m_rubber = QRect(*m_pressedAt, at).normalized();
        layer(QStringLiteral("overlay"))->replot();
    } else if (m_pressedAt) {
        emit Panned(static_cast<double>(m_pressedAt->x() - at.x()) / std::max(m_area->width(), 1));
        m_pressedAt = at;
    }
    if (m_area->rect().contains(at))
        emit CursorMoved(TimeAt(at.x()));
}

void PlotCanvas::mouseReleaseEvent(QMouseEvent*)
{
    const std::optional<QRect> chosen = std::exchange(m_rubber, std::nullopt);
    m_pressedAt.reset();
    constexpr int kLeastDrag = 4;
    if (chosen && chosen->width() >= kLeastDrag)
        emit SpanChosen(TimeAt(chosen->left()), TimeAt(chosen->right()));
    layer(QStringLiteral("overlay"))->replot();
}

void PlotCanvas::wheelEvent(QWheelEvent* event)
{
    const double steps = event->angleDelta().y() / kWheelStep;
    if (steps != 0)
        emit Zoomed(std::pow(.8, steps), TimeAt(event->position().x()));
    event->accept();
}

void PlotCanvas::resizeEvent(QResizeEvent* event)
{
    QCustomPlot::resizeEvent(event);
    LabelAxes();
    Show(m_fromMs, m_toMs); // the picture has another number of columns now
}
