#include "plugins/examples/CellBalance.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace {

constexpr int kLeastScaleMv = 20;
constexpr qint64 kMinuteMs = 60'000;

} // namespace

CellBalanceTrend::CellBalanceTrend(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("CellTrend"));
    setMinimumSize(200, 50);
}

void CellBalanceTrend::Add(const CellVoltages& cells, const CellColours& colours)
{
    m_colours = colours;
    m_spread.emplace_back(cells.AtMs, cells.Spread());
    while (m_spread.front().first < cells.AtMs - kSpanMs)
        m_spread.pop_front();
    update();
}

std::optional<int> CellBalanceTrend::Change() const
{
    const auto known = [](const auto& point) { return point.second.has_value(); };
    const auto first = std::ranges::find_if(m_spread, known);
    const auto last = std::ranges::find_if(m_spread.rbegin(), m_spread.rend(), known);
    if (first == m_spread.end() || last->first - first->first < kMinuteMs)
        return std::nullopt;
    return *last->second - *first->second;
}

void CellBalanceTrend::paintEvent(QPaintEvent*)
{
    if (m_spread.empty())
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const int line = fontMetrics().height();
    const int left = fontMetrics().horizontalAdvance(QStringLiteral("4400 mV")) + 8;
    const QRectF area(left, line / 2.0, width() - left - 8, height() - 2.0 * line);
    int most = kLeastScaleMv;
    for (const auto& [at, spread] : m_spread)
        most = std::max(most, spread.value_or(0));
    const int top = (most + 9) / 10 * 10;

    painter.setPen(m_colours.Line);
    for (const double share : {0.0, 0.5, 1.0})
        painter.drawLine(QPointF(area.left(), area.bottom() - share * area.height()),
                         QPointF(area.right(), area.bottom() - share * area.height()));
    painter.setPen(m_colours.Quiet);
    painter.drawText(QRectF(0, area.top() - line, left - 8, 2.0 * line), Qt::AlignRight | Qt::AlignVCenter,
                     tr("%1 mV").arg(top));
    painter.drawText(QRectF(0, area.bottom() - line, left - 8, 2.0 * line), Qt::AlignRight | Qt::AlignVCenter,
                     QStringLiteral("0"));
    const QRectF foot(area.left(), area.bottom() + 2, area.width(), line);
    painter.drawText(foot, Qt::AlignLeft, tr("10 min ago"));
    painter.drawText(foot, Qt::AlignRight, tr("now"));

    QPainterPath path;
    bool down = false; // a moment without an answer breaks the line
    const qint64 now = m_spread.back().first;
    for (const auto& [at, spread] : m_spread) {
        if (!spread) {
            down = false;
            continue;
        }
        const QPointF point(area.right() - static_cast<double>(now - at) / kSpanMs * area.width(),
                            area.bottom() - static_cast<double>(*spread) / top * area.height());
        down ? path.lineTo(point) : path.moveTo(point);
        down = true;
    }
    painter.setPen(QPen(m_colours.Bar, 1.5));
    painter.drawPath(path);
    const auto& last = m_spread.back();
    if (last.second) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_colours.Bar);
        painter.drawEllipse(
            QPointF(area.right(), area.bottom() - static_cast<double>(*last.second) / top * area.height()), 3,
            3);
    }
}
