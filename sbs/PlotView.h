#pragma once

#include "sbs/PlotData.h"
#include "sbs/PlotTime.h"

#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

class PlotCanvas;
class PlotLegend;
class QComboBox;
class QPushButton;
class QToolButton;

/// Live plots: curves over time with legend, cursor, pan and zoom, pause, and export of what is visible.
///
/// SetCurves when a row is ticked or unticked, Advance after each pass. Histories are read while drawing and
/// must outlive the view or be taken away with SetCurves({}).
class PlotView final : public QWidget {
    Q_OBJECT
public:
    explicit PlotView(QWidget* parent = nullptr);

    void SetCurves(std::vector<PlotCurve> curves);
    void SetEvents(std::vector<PlotEvent> events); ///< in order of time
    void SetSelected(std::optional<int> place); ///< of the row that is selected in the grid
    /// From now on the curves are those of a recording: nothing is awaited, and values without a cursor are
    /// those at the end of what is in sight.
    void ShowRecording(PlotClock clock);
    void Advance(); ///< the histories have grown
    void ShowAll();

    /// What is visible with legend and units, in the light colours unless the screen's are asked for.
    /// @return empty, or what went wrong in plain words with the file's name
    [[nodiscard]] QString ExportPng(const QString& path);
    [[nodiscard]] QString ExportSvg(const QString& path);
    [[nodiscard]] QString ExportCsv(const QString& path);
    void SetExportInScreenColours(bool on) { m_screenColours = on; }
    /// Runs a command that opens a dialog when nothing is in the way of one; at once unless told otherwise.
    using Gate = std::function<void(const std::function<void()>&)>;
    void SetGate(Gate gate) { m_gate = std::move(gate); }

signals:
    void StatusText(const QString& text);
    void Failed(const QString& problem); ///< an export

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void LayOut();
    void MakeExportMenu();
    void Redraw();
    void ShowLegend();
    void ShowCursor(bool on);
    void MoveCursor(std::int64_t atMs);
    void ChooseSpan(int index);
    void AskAndExport(const QString& filter, QString (PlotView::*write)(const QString&));
    void Draw(class QCPPainter& painter);
    [[nodiscard]] QSize PictureSize() const;

    PlotTime m_time;
    std::optional<std::int64_t> m_cursorMs;
    PlotClock m_clock = PlotClock::Wall;
    bool m_recording = false;
    Gate m_gate = [](const std::function<void()>& command) { command(); };
    bool m_screenColours = false;

    QToolButton* cmdPause;
    QToolButton* cmdPan;
    QToolButton* cmdZoom;
    QToolButton* cmdFit;
    QToolButton* cmdCursor;
    QComboBox* cboSpan;
    QPushButton* cmdExport;
    PlotLegend* m_legend;
    PlotCanvas* m_canvas;
};
