// The log viewer as a person waits for it: from the file's name to the painted window, for seven days of
// records.

#include "benchmarks/WeekLog.h"
#include "look/Theme.h"
#include "sbs/frmLogViewer.h"

#include <QApplication>
#include <QImage>

#include <benchmark/benchmark.h>

namespace {

class Silent final : public UserMessages {
public:
    void Show(const QString& /*text*/) override { std::abort(); } // the file is in order
    Answer Ask(const QString& /*text*/, Answers /*offered*/) override { return Answer::Cancel; }
};

void OpenWeekInViewer(benchmark::State& state)
{
    Silent messages;
    const QString& path = WeekFile();
    QImage picture(1366, 768, QImage::Format_RGB32);
    for ([[maybe_unused]] auto step : state) {
        frmLogViewer window(messages);
        window.resize(picture.size());
        window.show();
        window.OpenLog(path);
        while (window.Reading())
            QCoreApplication::processEvents();
        QCoreApplication::processEvents(); // layouts and the plot's queued drawing
        window.render(&picture);
        state.PauseTiming(); // closing is not waited for
        window.close();
        state.ResumeTiming();
    }
}
BENCHMARK(OpenWeekInViewer)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    const Theme theme(LightSkin());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
