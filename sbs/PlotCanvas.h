#pragma once

#include "look/SkinColours.h"
#include "sbs/PlotData.h"

#include <qcustomplot.h>

#include <optional>
#include <vector>

class PlotAxis;

/// The drawn part of a plot: curves on at most four value axes, one a unit, failed reads hatched, events in a
/// strip under it, a cursor. It shows what it is told to; the pointer's wishes come out as signals.
class PlotCanvas final : public QCustomPlot {
    Q_OBJECT
public:
    enum class Tool { Pan, Zoom };
    static constexpr int kMostAxes = 4;
    static constexpr int kEventIcon = 14;
    static constexpr int kStripHeight = 18; ///< of the events under the plot

    explicit PlotCanvas(QWidget* parent = nullptr);

    void SetCurves(std::vector<PlotCurve> curves);
    [[nodiscard]] const std::vector<PlotCurve>& Curves() const { return m_curves; }
    /// False when all axes belong to other units.
    [[nodiscard]] bool Drawn(const PlotCurve& curve) const { return AxisOf(curve) != nullptr; }
    void SetEvents(std::vector<PlotEvent> events); ///< in order of time
    [[nodiscard]] const std::vector<PlotEvent>& Events() const { return m_events; }
    void SetClock(PlotClock clock);
    void SetSelected(std::optional<int> place); ///< drawn wider
    void SetCursor(std::optional<std::int64_t> atMs);
    void SetTool(Tool tool);
    /// Fetches the span's values from the histories and draws them soon.
    void Show(std::int64_t fromMs, std::int64_t toMs);
    /// Draws what is shown into another device, as it stands on the screen.
    void DrawInto(QCPPainter& painter, const SkinColours& colours);
    void Applyskin();

signals:
    void Panned(double spans);
    void Zoomed(double factor, qint64 aroundMs);
    void SpanChosen(qint64 fromMs, qint64 toMs);
    void CursorMoved(qint64 atMs);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    struct EventGroup {
        double x;
        std::size_t first;
        std::size_t count;
    };

    void MakeAxes();
    void FitAxes();
    void ChooseTimeLabels();
    void LabelAxes(); ///< with what there is room for
    void ColourAxes();
    [[nodiscard]] PlotAxis* AxisOf(const PlotCurve& curve) const;
    [[nodiscard]] double X(double ms) const;
    [[nodiscard]] std::int64_t TimeAt(double x) const;
    [[nodiscard]] QRect Strip() const;
    [[nodiscard]] std::vector<EventGroup> EventGroups() const;
    void DrawFailed(QCPPainter* painter) const;
    void DrawCurves(QCPPainter* painter) const;
    struct Path {
        QPolygonF points; ///< in pixels; not a number breaks it
        double length = 0;
    };
    [[nodiscard]] Path PathOf(const PlotAxis& axis, const PlotLine& line) const;
    /// A line that fills the picture, as one upright stroke a pixel column.
    static void DrawNoise(QCPPainter* painter, const QPolygonF& points);
    void DrawCurve(QCPPainter* painter, const PlotCurve& curve, const Path& path, bool antialiased) const;
    void DrawOverlay(QCPPainter* painter) const;
    void DrawEvents(QCPPainter* painter) const;
    void DrawCursor(QCPPainter* painter) const;
    void DrawAxisMarkers(QCPPainter* painter) const;

    SkinColours m_colours;
    QCPAxisRect* m_area; ///< between the axes; asking the plot for it each time would cost more than drawing
    std::vector<PlotCurve> m_curves;
    std::vector<PlotLine> m_lines; ///< of the curves, for the span shown
    std::vector<PlotSpan> m_failed; ///< of all curves together
    std::vector<PlotAxis*> m_axes;
    std::vector<PlotEvent> m_events;
    std::optional<int> m_selected;
    std::optional<std::int64_t> m_cursorMs;
    std::int64_t m_fromMs = 0;
    std::int64_t m_toMs = 1;
    PlotClock m_clock = PlotClock::Wall;
    Tool m_tool = Tool::Pan;
    std::optional<QPoint> m_pressedAt;
    std::optional<QRect> m_rubber;
};
