#pragma once

#include "comm/BusHealth.h"

#include <QWidget>

#include <vector>

class QCPBars;
class QCustomPlot;

/// Bars of the registers that lead a list: failures stacked by their kind, calls, or times.
class HealthPlot final : public QWidget {
    Q_OBJECT
public:
    enum class What : std::uint8_t { Failures, Calls, Times };

    explicit HealthPlot(QWidget* parent = nullptr);
    void Show(const std::vector<BusHealth::Row>& rows, What what);
    void Applyskin();

private:
    QCustomPlot* m_plot;
    std::vector<QCPBars*> m_bars; ///< NACK, PEC, time-outs, other; the first alone for the others
    std::vector<BusHealth::Row> m_rows;
    What m_what = What::Failures;
};
