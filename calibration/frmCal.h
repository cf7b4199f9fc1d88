#pragma once

#include "calibration/Calibration.h"
#include "comm/GaugeContext.h"
#include "look/ChildView.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QStackedWidget>
#include <QTableWidget>

#include <array>
#include <functional>

/// The calibration view: leads through the steps, shows what the gauge measures before and after, and stores
/// constants once what will be sent stands on screen.
class frmCal final : public ChildView {
    Q_OBJECT
public:
    explicit frmCal(GaugeContext& context);

    void Applyskin() override;
    bool Busy() const override { return m_running; }
    void Abandon() override { m_calibration.Cancel(); }

private:
    QWidget* MakeStepPane();
    QWidget* MakeGuidePane();
    QWidget* MakeProblemPage();
    QPushButton* Command(const char* name, const char* icon, const QString& text, const QString& tip,
                         void (frmCal::*does)());
    /// Does it as soon as no sequence further down the stack holds the bus.
    void WhenBusFree(const std::function<void()>& act);

    void ReadStatus();
    void Measure();
    void Store();
    void Restore();
    void TakeMeter();

    void ShowStep();
    void ShowPack(const Calibration::Status& status);
    void ShowMarks();
    void ShowReadings(int column, const ReadingStatistics& readings);
    void ShowResult(const CalibrationResult& result);
    void ShowNote(const QString& text, bool failed);
    void ShowMeter();
    void SetRunning(bool running, const QString& what = {});
    [[nodiscard]] CalibrationStep Step() const;
    [[nodiscard]] bool TakeReference(double& reference);

    enum class Mark : std::uint8_t { Open, Done, Failed };

    GaugeContext& m_context;
    Calibration m_calibration;
    QPointer<QWidget> m_hadFocus;
    bool m_running = false; ///< a sequence, further down the stack
    CalibrationResult m_measured; ///< what Store would store
    bool m_canStore = false;
    std::array<Mark, kCalibrationSteps.size()> m_marks{};

    QStackedWidget* m_pages;
    QScrollArea* m_scroll;
    QLabel* lblPack;
    QListWidget* lstSteps;
    QLabel* lblStep;
    QLabel* lblGuide;
    QLabel* lblSensor;
    QComboBox* cboSensor;
    QLabel* lblReference;
    QLineEdit* txtReference;
    QLabel* lblUnit;
    QPushButton* cmdMeter;
    QSpinBox* numReadings;
    QTableWidget* grdReadings;
    QLabel* lblChange;
    QLabel* lblPlan;
    QLabel* lblNoteMark;
    QLabel* lblNote;
    QLabel* lblProblem;
    QPushButton* cmdMeasure;
    QPushButton* cmdStore;
    QPushButton* cmdCancel;
    QPushButton* cmdRead;
    QPushButton* cmdRestore;
    QPushButton* cmdRetry;
};
