#include "sbs/PlotLegend.h"

#include "look/Marks.h"
#include "look/Theme.h"
#include "sbs/PlotPens.h"

#include <QPainter>

namespace {

constexpr int kLine = 22;
constexpr int kSample = 24;
constexpr int kGap = 8;
constexpr int kBetween = 20;
constexpr int kEdge = 8;

} // namespace

int DrawLegend(QPainter* painter, int width, const std::vector<LegendItem>& items, const QString& time,
               const SkinColours& colours)
{
    const Theme& theme = Theme::Current();
    const QFont body = theme.Font(Type::Body);
    const QFont strong = theme.Font(Type::Strong);
    const QFontMetrics bodyMetrics(body);
    const QFontMetrics strongMetrics(strong);
    const int timeWidth = bodyMetrics.horizontalAdvance(time) + kEdge;
    int x = kEdge;
    int y = 0;
    for (const LegendItem& item : items) {
        const int nameWidth = bodyMetrics.horizontalAdvance(item.Name);
        const int valueWidth = strongMetrics.horizontalAdvance(item.Value);
        const int whole = kSample + kGap + nameWidth + kGap + valueWidth;
        const int room = y == 0 ? width - timeWidth - kBetween : width - kEdge;
        if (x > kEdge && x + whole > room) {
            x = kEdge;
            y += kLine;
        }
        if (painter) {
            const qreal middle = y + kLine / 2.0;
            painter->setPen(CurvePen(item.Place, colours, 1.5));
            painter->drawLine(QPointF(x, middle), QPointF(x + kSample, middle));
            DrawCurveMarker(*painter, QPointF(x + kSample / 2.0, middle), 7, item.Place,
                            CurveColour(item.Place, colours));
            painter->setPen(ToColour(colours.TextFore));
            painter->setFont(body);
            painter->drawText(QRect(x + kSample + kGap, y, nameWidth + 2, kLine), Qt::AlignVCenter,
                              item.Name);
            painter->setFont(strong);
            painter->drawText(QRect(x + kSample + 2 * kGap + nameWidth, y, valueWidth + 2, kLine),
                              Qt::AlignVCenter, item.Value);
        }
        x += whole + kBetween;
    }
    if (painter) {
        painter->setFont(body);
        painter->setPen(ToColour(colours.TextSecondary));
        painter->drawText(QRect(0, 0, width - kEdge, kLine), Qt::AlignRight | Qt::AlignVCenter, time);
    }
    return y + kLine;
}

PlotLegend::PlotLegend(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("plotLegend"));
    setFixedHeight(kLine);
}

void PlotLegend::Show(std::vector<LegendItem> items, const QString& time)
{
    m_items = std::move(items);
    m_time = time;
    QStringList texts;
    for (const LegendItem& item : m_items)
        texts << QStringLiteral("%1 %2").arg(item.Name, item.Value);
    setAccessibleName(texts.join(QStringLiteral(", ")) + QLatin1Char(' ') + time);
    Fit();
    update();
}

void PlotLegend::Fit()
{
    const int wanted = DrawLegend(nullptr, width(), m_items, m_time, Theme::Current().Colours());
    if (wanted != height())
        setFixedHeight(wanted);
}

void PlotLegend::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    Fit();
}

void PlotLegend::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    DrawLegend(&painter, width(), m_items, m_time, Theme::Current().Colours());
}
