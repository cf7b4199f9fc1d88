#pragma once

#include "look/SkinColours.h"

#include <QWidget>

#include <vector>

/// One curve's name and value in the row above the plot.
struct LegendItem {
    int Place = 0;
    QString Name;
    QString Value; ///< with its unit; "--" where there is none
};

/// Draws items from the left, on as many lines as they need, and the time at the right of the first.
/// @return height used; with no painter it is only measured
int DrawLegend(QPainter* painter, int width, const std::vector<LegendItem>& items, const QString& time,
               const SkinColours& colours);

class PlotLegend final : public QWidget {
    Q_OBJECT
public:
    explicit PlotLegend(QWidget* parent = nullptr);
    void Show(std::vector<LegendItem> items, const QString& time);
    [[nodiscard]] const std::vector<LegendItem>& Items() const { return m_items; }
    [[nodiscard]] const QString& Time() const { return m_time; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void Fit();
    std::vector<LegendItem> m_items;
    QString m_time;
};
