#pragma once

#include "plugins/TarnloPlugin.h"

#include <QBoxLayout>
#include <QColor>
#include <QLabel>
#include <QTimer>
#include <QWidget>

#include <array>
#include <deque>
#include <optional>

inline constexpr int kCells = 4;

/// Cell voltages of one moment, mV; a cell that did not answer has none.
struct CellVoltages {
    qint64 AtMs = 0;
    std::array<std::optional<int>, kCells> Mv;

    /// The highest less the lowest; nothing unless every cell answered.
    [[nodiscard]] std::optional<int> Spread() const;
    [[nodiscard]] std::optional<double> Mean() const;
    [[nodiscard]] int Highest() const; ///< index; all answered
    [[nodiscard]] int Lowest() const;
};

/// What the view draws with: the host's skin, by GetColor.
struct CellColours {
    QColor Background, Text, Quiet, Line, Bar, High, Low;
};

/// Four bars, and how far each cell stands from the mean.
class CellBalanceBars final : public QWidget {
    Q_OBJECT
public:
    explicit CellBalanceBars(QWidget* parent);
    void Show(const CellVoltages& cells, const CellColours& colours);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    CellVoltages m_cells;
    CellColours m_colours;
};

/// The spread over the last minutes.
class CellBalanceTrend final : public QWidget {
    Q_OBJECT
public:
    static constexpr qint64 kSpanMs = 10 * 60'000;

    explicit CellBalanceTrend(QWidget* parent);
    void Add(const CellVoltages& cells, const CellColours& colours);
    /// How much the spread grew (above 0) or shrank in the time shown, mV; nothing before a minute has
    /// passed.
    [[nodiscard]] std::optional<int> Change() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::deque<std::pair<qint64, std::optional<int>>> m_spread;
    CellColours m_colours;
};

/// The cell voltages of a pack, live: a plug-in for Tarnlo, and an example of one in C++.
class CellBalance final : public QWidget {
    Q_OBJECT
    Q_PROPERTY(QString Caption READ Caption)
    Q_PROPERTY(QString TargetInfo MEMBER m_targetInfo)
    Q_PROPERTY(int TargetAddress MEMBER m_address)
    Q_PROPERTY(int Popup READ Popup)
public:
    explicit CellBalance(QObject* host);

    [[nodiscard]] QString Caption() const { return tr("Cell balance"); }
    [[nodiscard]] int Popup() const { return 0; } ///< drawn in the host's window

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void Refresh();
    /// @return nothing when the bus is in use just now
    std::optional<CellVoltages> Read();
    [[nodiscard]] CellColours ReadColours() const;
    void ShowText(const CellVoltages& cells);

    QObject* m_host;
    QString m_targetInfo;
    int m_address = 22;
    QTimer m_timer;
    QBoxLayout* m_plots;
    CellBalanceBars* m_bars;
    CellBalanceTrend* m_trend;
    QLabel* lblSpread;
    QLabel* lblCells;
    QLabel* lblTrend;
};

class CellBalanceFactory final : public QObject {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID TarnloPlugin_iid FILE "CellBalance.json")
public:
    Q_INVOKABLE QObject* Create(const QString& className, QObject* host);
};
