#pragma once

#include <qcustomplot.h>

/// A value axis that knows how wide it came out, so that the markers of its curves can stand beside its
/// title.
class PlotAxis final : public QCPAxis {
    Q_OBJECT
public:
    PlotAxis(QCPAxisRect* parent, AxisType type, QString key) : QCPAxis(parent, type), Key(std::move(key)) { }

    const QString Key; ///< AxisKey of its curves
    QString Title; ///< names of the curves, however long
    QString Unit; ///< of the curves; empty without one
    [[nodiscard]] int Margin() const { return m_margin; }

protected:
    int calculateMargin() override { return m_margin = QCPAxis::calculateMargin(); }

private:
    int m_margin = 0;
};
