#include "plugins/examples/CellBalance.h"

#include <QBoxLayout>
#include <QDateTime>
#include <QPalette>

#include <algorithm>

namespace {

constexpr int kRefreshMs = 1000;
constexpr int kRetryMs = 50;
constexpr int kFirstCell = 0x3F; // cell 1; the others stand at the commands below it
constexpr int kBusBusy = 94;
constexpr int kLow = 360; // px, below which bars and trend stand side by side

// indices of GetColor
enum SkinValue { kBackground = 0, kSelectionHighlight = 4, kTextFore = 5, kBitHigh = 9 };

} // namespace

std::optional<int> CellVoltages::Spread() const
{
    if (std::ranges::any_of(Mv, [](const auto& cell) { return !cell; }))
        return std::nullopt;
    return **std::ranges::max_element(Mv) - **std::ranges::min_element(Mv);
}

std::optional<double> CellVoltages::Mean() const
{
    if (!Spread())
        return std::nullopt;
    double sum = 0;
    for (const std::optional<int>& cell : Mv)
        sum += *cell;
    return sum / kCells;
}

int CellVoltages::Highest() const { return static_cast<int>(std::ranges::max_element(Mv) - Mv.begin()); }

int CellVoltages::Lowest() const { return static_cast<int>(std::ranges::min_element(Mv) - Mv.begin()); }

CellBalance::CellBalance(QObject* host)
    : m_host(host), m_bars(new CellBalanceBars(this)), m_trend(new CellBalanceTrend(this)),
      lblSpread(new QLabel(tr("Waiting for the gauge"), this)), lblCells(new QLabel(this)),
      lblTrend(new QLabel(this))
{
    setObjectName(QStringLiteral("CellBalance"));
    lblSpread->setObjectName(QStringLiteral("lblSpread"));
    lblCells->setObjectName(QStringLiteral("lblCells"));
    lblTrend->setObjectName(QStringLiteral("lblTrend"));
    QFont figure = font();
    figure.setPointSizeF(figure.pointSizeF() * 1.8);
    figure.setWeight(QFont::DemiBold);
    lblSpread->setFont(figure);
    lblCells->setWordWrap(true);
    lblTrend->setWordWrap(true);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(16, 12, 16, 12);
    column->setSpacing(8);
    column->addWidget(lblSpread);
    column->addWidget(lblCells);
    auto* trend = new QVBoxLayout;
    trend->addWidget(lblTrend);
    trend->addWidget(m_trend, 1);
    m_plots = new QBoxLayout(QBoxLayout::TopToBottom);
    m_plots->addWidget(m_bars, 3);
    m_plots->addLayout(trend, 2);
    column->addLayout(m_plots, 1);
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &CellBalance::Refresh);
    m_timer.start(0);
}

void CellBalance::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    m_plots->setDirection(height() < kLow ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
}

void CellBalance::Refresh()
{
    const std::optional<CellVoltages> cells = isVisible() ? Read() : std::nullopt;
    // in use is no failure: a scan gives the bus back between two rows
    m_timer.start(cells || !isVisible() ? kRefreshMs : kRetryMs);
    if (!cells)
        return;
    const CellColours colours = ReadColours();
    m_bars->Show(*cells, colours);
    m_trend->Add(*cells, colours);
    ShowText(*cells);
}

std::optional<CellVoltages> CellBalance::Read()
{
    CellVoltages cells;
    cells.AtMs = QDateTime::currentMSecsSinceEpoch();
    for (int i = 0; i < kCells; ++i) {
        const QVariantMap answer
            = CallHost(m_host, QStringLiteral("ReadSMBusWord_"),
                       {{QStringLiteral("cmd"), kFirstCell - i}, {QStringLiteral("addr"), m_address}});
        const int err = answer.value(QStringLiteral("err"), -1).toInt();
        if (err == kBusBusy)
            return std::nullopt;
        if (err == 0) // a word is a bit pattern
            cells.Mv[static_cast<std::size_t>(i)] = answer.value(QStringLiteral("word")).toInt() & 0xFFFF;
    }
    return cells;
}

CellColours CellBalance::ReadColours() const
{
    const auto colour = [this](int index, QPalette::ColorRole otherwise) {
        const int value = CallHost(m_host, QStringLiteral("GetColor"), {{QStringLiteral("index"), index}})
                              .value(QStringLiteral("result"))
                              .toInt();
        if (value < 0) // one of the system's colours
            return palette().color(otherwise);
        return QColor(value & 0xFF, value >> 8 & 0xFF, value >> 16 & 0xFF); // red is the low byte
    };
    CellColours colours;
    colours.Background = colour(kBackground, QPalette::Window);
    colours.Text = colour(kTextFore, QPalette::WindowText);
    colours.Bar = colour(kSelectionHighlight, QPalette::Highlight);
    colours.High = colour(kBitHigh, QPalette::Highlight);
    const auto mix = [&](double share) {
        const auto part = [&](int from, int to) { return static_cast<int>(from + (to - from) * share); };
        const QColor& a = colours.Background;
        const QColor& b = colours.Text;
        return QColor(part(a.red(), b.red()), part(a.green(), b.green()), part(a.blue(), b.blue()));
    };
    colours.Quiet = mix(0.65);
    colours.Line = mix(0.2);
    return colours;
}

void CellBalance::ShowText(const CellVoltages& cells)
{
    const std::optional<int> spread = cells.Spread();
    if (!spread) {
        const auto silent = std::ranges::count_if(cells.Mv, [](const auto& cell) { return !cell; });
        lblSpread->setText(silent == kCells ? tr("The gauge does not answer")
                                            : tr("%1 of %2 cells did not answer").arg(silent).arg(kCells));
        lblCells->setText(
            tr("Cell voltages are read from commands 0x3C to 0x3F, which not every gauge has."));
        return;
    }
    lblSpread->setText(tr("Spread %1 mV").arg(*spread));
    lblCells->setText(tr("Highest: cell %1, %2 mV. Lowest: cell %3, %4 mV. Mean %5 mV.")
                          .arg(cells.Highest() + 1)
                          .arg(*cells.Mv[static_cast<std::size_t>(cells.Highest())])
                          .arg(cells.Lowest() + 1)
                          .arg(*cells.Mv[static_cast<std::size_t>(cells.Lowest())])
                          .arg(*cells.Mean(), 0, 'f', 1));
    const std::optional<int> change = m_trend->Change();
    lblTrend->setText(!change           ? tr("Spread over the last 10 minutes")
                          : *change > 0 ? tr("Spread over the last 10 minutes: grew by %1 mV").arg(*change)
                          : *change < 0 ? tr("Spread over the last 10 minutes: shrank by %1 mV").arg(-*change)
                                        : tr("Spread over the last 10 minutes: unchanged"));
}

QObject* CellBalanceFactory::Create(const QString& className, QObject* host)
{
    return className == QLatin1String("CellBalance") ? new CellBalance(host) : nullptr;
}
