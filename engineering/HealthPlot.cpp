#include "engineering/HealthPlot.h"

#include "engineering/HealthModel.h"
#include "look/Controls.h"
#include "look/Theme.h"

#include <QVBoxLayout>

#include <qcustomplot.h>

#include <algorithm>
#include <array>

namespace {

constexpr int kMostBars = 16;

/// Kinds are told by their pattern, too: a colour alone would not be seen by everybody.
constexpr std::array kPatterns{Qt::SolidPattern, Qt::BDiagPattern, Qt::Dense4Pattern, Qt::CrossPattern};

double Value(const BusHealth::Row& row, HealthPlot::What what, std::size_t kind)
{
    const BusCounts& counts = row.Counts;
    if (what == HealthPlot::What::Calls)
        return kind == 0 ? static_cast<double>(counts.Calls) : 0;
    if (what == HealthPlot::What::Times)
        return kind == 0 ? counts.MeanUs() / 1000
            : kind == 1  ? static_cast<double>(counts.LongestUs) / 1000 - counts.MeanUs() / 1000
                         : 0;
    const std::array failures{counts.Nack, counts.Pec, counts.Timeouts, counts.Other};
    return static_cast<double>(failures[kind]);
}

} // namespace

HealthPlot::HealthPlot(QWidget* parent) : QWidget(parent), m_plot(Named(new QCustomPlot(this), "plotHealth"))
{
    m_plot->setAccessibleName(tr("Bus health as bars"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_plot);
    for (std::size_t i = 0; i < kPatterns.size(); ++i) {
        auto* bars = new QCPBars(m_plot->yAxis, m_plot->xAxis); // keys are registers, one below the other
        bars->setWidth(0.7);
        if (!m_bars.empty())
            bars->moveAbove(m_bars.back());
        m_bars.push_back(bars);
    }
    m_plot->axisRect()->setMinimumSize(50, 16); // else a low plot takes the height from its legend
    m_plot->yAxis->setRangeReversed(true); // the first register stands at the top
    m_plot->yAxis->setTickLength(0);
    m_plot->yAxis->grid()->setVisible(false);
    m_plot->legend->setVisible(true);
    // in a row of its own above the bars, which it would hide
    m_plot->plotLayout()->insertRow(0);
    m_plot->plotLayout()->addElement(0, 0, m_plot->legend);
    m_plot->plotLayout()->setRowStretchFactor(0, 0.001);
    m_plot->legend->setFillOrder(QCPLegend::foColumnsFirst);
    Applyskin();
}

void HealthPlot::Show(const std::vector<BusHealth::Row>& rows, What what)
{
    m_rows.assign(rows.begin(), rows.begin() + std::min<std::ptrdiff_t>(kMostBars, std::ssize(rows)));
    m_what = what;
    const QString names[][4]{{tr("NACK"), tr("PEC errors"), tr("Time-outs"), tr("Other")},
                             {tr("Calls"), {}, {}, {}},
                             {tr("Mean"), tr("Longest"), {}, {}}};
    const auto ticker = QSharedPointer<QCPAxisTickerText>::create();
    double most = 0;
    for (std::size_t kind = 0; kind < m_bars.size(); ++kind) {
        QVector<double> keys;
        QVector<double> values;
        for (std::size_t row = 0; row < m_rows.size(); ++row) {
            keys << static_cast<double>(row);
            values << Value(m_rows[row], what, kind);
        }
        m_bars[kind]->setData(keys, values, true);
        const QString& name = names[static_cast<std::size_t>(what)][kind];
        m_bars[kind]->setVisible(!name.isEmpty());
        if (name.isEmpty())
            m_bars[kind]->removeFromLegend();
        else {
            m_bars[kind]->setName(name);
            m_bars[kind]->addToLegend();
        }
    }
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        double sum = 0;
        for (std::size_t kind = 0; kind < m_bars.size(); ++kind)
            sum += Value(m_rows[row], what, kind);
        most = std::max(most, sum);
        ticker->addTick(static_cast<double>(row), RegisterText(m_rows[row].Place));
    }
    m_plot->yAxis->setTicker(ticker);
    m_plot->yAxis->setRange(-0.6, std::max(0.6, static_cast<double>(m_rows.size()) - 0.4));
    m_plot->xAxis->setRange(0, most > 0 ? most * 1.05 : 1);
    const auto counts = QSharedPointer<QCPAxisTickerFixed>::create(); // there is no half of a call
    counts->setScaleStrategy(QCPAxisTickerFixed::ssMultiples);
    m_plot->xAxis->setTicker(what == What::Times ? QSharedPointer<QCPAxisTicker>::create()
                                                 : QSharedPointer<QCPAxisTicker>(counts));
    m_plot->xAxis->setLabel(what == What::Failures    ? tr("failed calls")
                                : what == What::Calls ? tr("calls")
                                                      : tr("ms"));
    m_plot->replot(QCustomPlot::rpQueuedReplot);
}

void HealthPlot::Applyskin()
{
    const SkinColours& colours = Theme::Current().Colours();
    const QColor text = ToColour(colours.TextFore);
    m_plot->setBackground(ToColour(colours.Base));
    for (QCPAxis* axis : {m_plot->xAxis, m_plot->yAxis}) {
        axis->setBasePen(QPen(ToColour(colours.Outline)));
        axis->setTickPen(QPen(ToColour(colours.Outline)));
        axis->setSubTickPen(Qt::NoPen);
        axis->setTickLabelColor(text);
        axis->setLabelColor(text);
        axis->setTickLabelFont(Theme::Current().Font(Type::Small));
        axis->setLabelFont(Theme::Current().Font(Type::Small));
        axis->grid()->setPen(QPen(ToColour(colours.Line)));
        axis->grid()->setZeroLinePen(Qt::NoPen);
    }
    for (std::size_t kind = 0; kind < m_bars.size(); ++kind) {
        const QColor colour = ToColour(colours.curves[kind]);
        m_bars[kind]->setPen(QPen(colour));
        m_bars[kind]->setBrush(QBrush(colour, kPatterns[kind]));
    }
    m_plot->legend->setBrush(ToColour(colours.Base));
    m_plot->legend->setBorderPen(Qt::NoPen);
    m_plot->legend->setTextColor(text);
    m_plot->legend->setFont(Theme::Current().Font(Type::Small));
    m_plot->replot(QCustomPlot::rpQueuedReplot);
}
