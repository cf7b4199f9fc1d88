// Redraw of 8 curves with a million points each, 1000 x 600, through the histories' own columns and, for
// comparison, point by point as the plot library draws a graph that holds them all.

#include "look/Theme.h"
#include "sbs/PlotCanvas.h"

#include <QApplication>

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>

namespace {

constexpr int kCurves = 8;
constexpr int kPasses = 1'000'000;

enum Shape { Walk, Noise };

const ValueHistory& History(Shape shape)
{
    const auto fill = [](Shape kind) {
        ValueHistory history(kCurves);
        std::mt19937 random(1);
        std::vector<double> values(kCurves);
        for (int pass = 0; pass < kPasses; ++pass) {
            for (double& value : values)
                value = kind == Noise ? static_cast<double>(random() % 20'000)
                                      : value + static_cast<double>(random() % 201) - 100;
            history.Append(pass * 1000LL, values);
        }
        return history;
    };
    static const ValueHistory walk = fill(Walk);
    static const ValueHistory noise = fill(Noise);
    return shape == Walk ? walk : noise;
}

void Redraw(benchmark::State& state)
{
    const ValueHistory& history = History(static_cast<Shape>(state.range(0)));
    PlotCanvas canvas;
    canvas.resize(1000, 600);
    std::vector<PlotCurve> curves;
    curves.reserve(kCurves);
    for (int i = 0; i < kCurves; ++i)
        curves.push_back({.History = &history,
                          .Row = static_cast<std::size_t>(i),
                          .Name = QString::number(i),
                          .Unit = QString::number(i % PlotCanvas::kMostAxes),
                          .Place = i});
    canvas.SetCurves(curves);
    canvas.show();
    QApplication::processEvents();
    std::int64_t shift = 0;
    for ([[maybe_unused]] auto step : state) { // another span each time, as when a person pans
        ++shift;
        canvas.Show(shift * 1000, kPasses * 1000LL - shift * 500);
        canvas.replot(QCustomPlot::rpImmediateRefresh);
    }
}
BENCHMARK(Redraw)->Arg(Walk)->Arg(Noise)->ArgName("noise")->Unit(benchmark::kMillisecond);

void DrawAllPoints(benchmark::State& state)
{
    const ValueHistory& history = History(static_cast<Shape>(state.range(0)));
    QCustomPlot plot;
    plot.resize(1000, 600);
    plot.setNotAntialiasedElements(QCP::aeAll);
    for (int i = 0; i < kCurves; ++i) {
        QCPGraph* graph = plot.addGraph();
        graph->setAdaptiveSampling(false);
        QVector<double> keys;
        QVector<double> values;
        for (std::size_t pass = 0; pass < kPasses; ++pass) {
            keys << static_cast<double>(pass);
            values << history.Value(static_cast<std::size_t>(i), pass);
        }
        graph->setData(keys, values, true);
    }
    plot.rescaleAxes();
    for ([[maybe_unused]] auto step : state)
        plot.replot(QCustomPlot::rpImmediateRefresh);
}
BENCHMARK(DrawAllPoints)
    ->Arg(Walk)
    ->Arg(Noise)
    ->ArgName("noise")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    const Theme theme(LightSkin());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
