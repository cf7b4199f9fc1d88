#include "plugins/examples/CellBalance.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kEmptyMv = 2800; // the scale of the bars
constexpr double kFullMv = 4400;
constexpr int kMostBar = 96; // px
constexpr int kTickMv = 200;
constexpr int kNoiseMv = 5; // a smaller spread says nothing of a cell

} // namespace

CellBalanceBars::CellBalanceBars(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("CellBars"));
    setMinimumSize(240, 80);
}

void CellBalanceBars::Show(const CellVoltages& cells, const CellColours& colours)
{
    m_cells = cells;
    m_colours = colours;
    QStringList spoken;
    for (int i = 0; i < kCells; ++i) {
        const std::optional<int>& mv = cells.Mv[static_cast<std::size_t>(i)];
        spoken << (mv ? tr("cell %1: %2 mV").arg(i + 1).arg(*mv) : tr("cell %1: no answer").arg(i + 1));
    }
    setAccessibleName(spoken.join(QStringLiteral(", ")));
    update();
}

void CellBalanceBars::paintEvent(QPaintEvent*)
{
    if (!m_colours.Text.isValid())
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const int line = fontMetrics().height();
    const int left = fontMetrics().horizontalAdvance(QStringLiteral("4400 mV")) + 8;
    const QRectF area(left, line, width() - left - 8, height() - 4.0 * line - 8);
    const auto y = [&](double mv) {
        const double share = std::clamp((mv - kEmptyMv) / (kFullMv - kEmptyMv), 0.0, 1.0);
        return area.bottom() - share * area.height();
    };

    const int step = area.height() < 120 ? 2 * kTickMv : kTickMv;
    for (int mv = static_cast<int>(kEmptyMv); mv <= kFullMv; mv += step) {
        painter.setPen(m_colours.Line);
        painter.drawLine(QPointF(area.left(), y(mv)), QPointF(area.right(), y(mv)));
        painter.setPen(m_colours.Quiet);
        painter.drawText(QRectF(0, y(mv) - line, left - 8, 2.0 * line), Qt::AlignRight | Qt::AlignVCenter,
                         QString::number(mv));
    }
    const std::optional<double> mean = m_cells.Mean();
    const double slot = area.width() / kCells;
    const double bar = std::min<double>(slot * 0.6, kMostBar);
    for (int i = 0; i < kCells; ++i) {
        const std::optional<int>& mv = m_cells.Mv[static_cast<std::size_t>(i)];
        const double centre = area.left() + slot * (i + 0.5);
        QRectF text(centre - slot / 2, area.bottom() + 4, slot, line);
        painter.setPen(m_colours.Text);
        painter.drawText(text, Qt::AlignCenter, tr("Cell %1").arg(i + 1));
        text.translate(0, line);
        painter.drawText(text, Qt::AlignCenter, mv ? tr("%1 mV").arg(*mv) : tr("no answer"));
        if (!mv)
            continue;
        const QRectF column(centre - bar / 2, y(*mv), bar, area.bottom() - y(*mv));
        const bool extreme
            = m_cells.Spread().value_or(0) >= kNoiseMv && (i == m_cells.Highest() || i == m_cells.Lowest());
        painter.fillRect(column, extreme ? m_colours.High : m_colours.Bar);
        if (!mean)
            continue;
        text.translate(0, line);
        const int off = static_cast<int>(std::lround(*mv - *mean));
        const QString mark = i == m_cells.Highest() ? tr(" highest")
            : i == m_cells.Lowest()                 ? tr(" lowest")
                                                    : QString();
        painter.setPen(m_colours.Quiet);
        painter.drawText(text, Qt::AlignCenter,
                         (off > 0 ? QStringLiteral("+%1").arg(off) : QString::number(off))
                             + (extreme ? mark : QString()));
    }
    if (mean) {
        painter.setPen(QPen(m_colours.Text, 1, Qt::DashLine));
        painter.drawLine(QPointF(area.left(), y(*mean)), QPointF(area.right(), y(*mean)));
    }
}
