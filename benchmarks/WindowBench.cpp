// What a person waits for in the window: its start, the grid after a pass, and the event loop while the
// register view scans and logs. All with the simulated pack, whose bus takes no time.

#include "app/Program.h"
#include "app/frmMDI.h"
#include "look/Theme.h"
#include "platform/ProgramFolder.h"
#include "platform/SystemTime.h"
#include "platform/WholeFile.h"
#include "sbs/RegisterModel.h"
#include "sbs/frmSBS.h"

#include <QApplication>
#include <QEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QMainWindow>
#include <QProcess>
#include <QStandardItemModel>
#include <QTableView>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kRows = 29;
constexpr int kIntervalMs = 50; ///< of scanning and of logging
constexpr int kWatchMs = 5000; ///< how long the event loop is watched
constexpr QSize kAllRows(1366, 1000); ///< a view in which every row of the grid shows

class Printed final : public UserMessages {
public:
    void Show(const QString& text) override { std::fprintf(stderr, "message: %s\n", qPrintable(text)); }
    Answer Ask(const QString& /*text*/, Answers /*offered*/) override { return Answer::No; }
};

/// The register view on the simulated pack, with the first rows of its table.
class ShownView {
public:
    ShownView()
    {
        const QString shipped = QCoreApplication::applicationDirPath();
        clsSBSCfgRW tables;
        tables.LoadSBSInfo(shipped + QStringLiteral("/sim4s.sbs"));
        TextGrid grid;
        tables.PopulateSBSInfo(grid);
        grid.cells.resize(kRows + 1); // the heading is one
        Check(tables.WriteSBSInfo(grid, m_home.filePath(QStringLiteral("sim4s.sbs"))));
        Check(SaveWhole(m_home.filePath(QStringLiteral("tarnlo.ini")),
                        "[Adapter]\nDevice=sim\n[Targets]\n800_1_02=Config.ini\n"));
        QFile::copy(shipped + QStringLiteral("/sim4sFlags.sbs"),
                    m_home.filePath(QStringLiteral("sim4sFlags.sbs")));
        QFile::copy(shipped + QStringLiteral("/sim4s/Config.ini"),
                    m_home.filePath(QStringLiteral("Config.ini")));
        m_program.ParseCommandLine(QStringLiteral("-tConfig.ini"));
        (void)m_program.LoadConfiguration();
        if (m_program.OpenAdapterConnection())
            view = std::make_unique<frmSBS>(*m_program.Context());
        if (!view)
            return;
        view->resize(kAllRows);
        view->show();
        QApplication::processEvents(); // and the first pass
    }
    template <class Widget>
    Widget* Find(const char* name) const
    {
        return view->findChild<Widget*>(QLatin1String(name));
    }
    /// Through the button and the file dialog, as a person does it.
    bool StartLogging()
    {
        QTimer answer;
        QObject::connect(&answer, &QTimer::timeout, [this] {
            if (auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
                dialog->selectFile(m_home.filePath(QStringLiteral("bench.log")));
                QMetaObject::invokeMethod(dialog, "accept");
            }
        });
        answer.start(10);
        Find<QPushButton>("cmdStartLogging")->click();
        return Find<QTimer>("tmrLog")->isActive();
    }
    [[nodiscard]] qint64 LogSize() const
    {
        return QFileInfo(m_home.filePath(QStringLiteral("bench.log"))).size();
    }

private:
    static void Check(const QString& problem)
    {
        if (!problem.isEmpty())
            std::fprintf(stderr, "%s\n", qPrintable(problem));
    }

    QTemporaryDir m_home;
    SystemTime m_time;
    Printed m_messages;
    ErrorList m_errors{m_time};
    Program m_program{m_time, m_messages, m_errors, m_home.path()};

public:
    std::unique_ptr<frmSBS> view;
};

/// Counts how often a widget is painted.
class PaintCount final : public QObject {
public:
    int count = 0;
    bool eventFilter(QObject* /*watched*/, QEvent* event) override
    {
        count += event->type() == QEvent::Paint;
        return false;
    }
};

/// From the end of a pass until all that it changed is painted: the grid, and flags, plot and footer with it.
void UpdateAfterPass(benchmark::State& state)
{
    const ShownView shown;
    auto* grid = shown.view ? shown.Find<QTableView>("grdSBS") : nullptr;
    if (!grid || grid->model()->rowCount() != kRows)
        return state.SkipWithError("no grid of 29 rows");
    shown.Find<QTimer>("tmrScan")->stop();
    auto* refresh = shown.Find<QPushButton>("cmdRefresh");
    PaintCount paints;
    grid->viewport()->installEventFilter(&paints);
    int measured = 0;
    for ([[maybe_unused]] auto step : state) {
        state.PauseTiming();
        refresh->click(); // other values, other highlights
        QEvent paint(QEvent::UpdateRequest); // what the screen asks for at its next frame
        QApplication::sendEvent(shown.view.get(), &paint);
        const int before = paints.count;
        state.ResumeTiming();
        shown.view->MoveSBSDataToGrid();
        QApplication::sendEvent(shown.view.get(), &paint);
        measured += paints.count - before;
    }
    const int last = grid->rowAt(grid->viewport()->height() - 1);
    state.counters["rows_seen"] = last < 0 ? kRows : last + 1;
    state.counters["grid_paints"] = benchmark::Counter(measured, benchmark::Counter::kAvgIterations);
}
BENCHMARK(UpdateAfterPass)->Unit(benchmark::kMillisecond)->MinTime(1);

/// Gaps between two turns of the event loop, milliseconds, as a timer of 1 ms sees them. An idle view is the
/// peer: its longest gap is what the machine's other work does to any program.
void EventLoopGaps(benchmark::State& state)
{
    ShownView shown;
    if (!shown.view)
        return state.SkipWithError("no view");
    auto* scan = shown.Find<QTimer>("tmrScan");
    scan->stop();
    const bool working = state.range(0) != 0;
    if (working) {
        if (!shown.StartLogging())
            return state.SkipWithError("not logging");
        shown.Find<QTimer>("tmrLog")->setInterval(kIntervalMs);
        scan->start(kIntervalMs);
    }
    std::vector<double> gaps;
    for ([[maybe_unused]] auto step : state) {
        QEventLoop loop;
        QTimer turn;
        turn.setTimerType(Qt::PreciseTimer);
        const Clock::time_point start = Clock::now();
        Clock::time_point last = start;
        QObject::connect(&turn, &QTimer::timeout, [&] {
            const Clock::time_point now = Clock::now();
            gaps.push_back(std::chrono::duration<double, std::milli>(now - last).count());
            last = now;
            if (now - start >= std::chrono::milliseconds(kWatchMs))
                loop.quit();
        });
        turn.start(1);
        loop.exec();
    }
    std::sort(gaps.begin(), gaps.end());
    state.counters["longest_ms"] = gaps.back();
    state.counters["p99_ms"] = gaps[gaps.size() * 99 / 100];
    state.counters["median_ms"] = gaps[gaps.size() / 2];
    state.counters["turns"] = static_cast<double>(gaps.size());
    state.counters["log_bytes"] = working ? static_cast<double>(shown.LogSize()) : 0;
}
BENCHMARK(EventLoopGaps)
    ->Arg(0)
    ->Arg(1)
    ->ArgName("scan_and_log")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

constexpr char kMainWindow[] = "--main-window";
constexpr char kEmptyWindow[] = "--empty-window";

/// Ends the process once the window is painted, so that its life is what a start takes.
[[noreturn]] void Painted(QWidget& window)
{
    QApplication::processEvents();
    window.repaint();
    std::_Exit(EXIT_SUCCESS);
}

/// As the program starts, without the splash and its fixed waits: the gauge is detected, its register view
/// open.
[[noreturn]] void StartMainWindow()
{
    SystemTime time;
    Theme theme;
    ErrorList errors(time);
    frmErrMsg errorWindow(errors);
    QtMessages messages([&errorWindow](const QString& text) { errorWindow.ShowMsgBox(text); });
    Program program(time, messages, errors, ProgramFolder({}));
    frmMDI window(program, messages, errorWindow, theme, {});
    window.show();
    window.Load();
    if (!window.findChild<frmSBS*>())
        std::_Exit(EXIT_FAILURE);
    Painted(window);
}

[[noreturn]] void StartEmptyWindow()
{
    QMainWindow window;
    QStandardItemModel model(kRows, kRegisterColumns);
    auto* table = new QTableView;
    table->setModel(&model);
    window.setCentralWidget(table);
    window.resize(1366, 738);
    window.show();
    Painted(window);
}

/// A whole process, from its start until its window is painted.
void ProcessToPaintedWindow(benchmark::State& state, const char* which)
{
    for ([[maybe_unused]] auto step : state)
        if (QProcess::execute(QCoreApplication::applicationFilePath(), {QLatin1String(which)}) != 0)
            return state.SkipWithError("the window did not come up");
}
BENCHMARK_CAPTURE(ProcessToPaintedWindow, tarnlo, kMainWindow)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(10);
BENCHMARK_CAPTURE(ProcessToPaintedWindow, empty_table_window, kEmptyWindow)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(10);

} // namespace

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("TARNLO_ADAPTER", "sim"); // whatever is plugged in
    QApplication application(argc, argv);
    if (argc > 1 && qstrcmp(argv[1], kMainWindow) == 0)
        StartMainWindow();
    if (argc > 1 && qstrcmp(argv[1], kEmptyWindow) == 0)
        StartEmptyWindow();
    const Theme theme;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
