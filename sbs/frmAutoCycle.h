#pragma once

#include "sbs/AutoCycle.h"
#include "sbs/ScanEngine.h"
#include "settings/TableSettings.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>

class CycleDirectionBox;

/// The settings of the auto-cycle. What is hardly meant is named at once but not refused; OK saves what
/// changed and puts it in force.
class frmAutoCycle final : public QDialog {
    Q_OBJECT
public:
    frmAutoCycle(AutoCycle& cycle, TableSettings& settings, const ScanEngine& scan,
                 QWidget* parent = nullptr);

    void accept() override;
    void Applyskin();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void LayOut();
    [[nodiscard]] QWidget* MakeWiring();
    [[nodiscard]] QWidget* MakeRows();
    void FillRows(QComboBox* box, std::int32_t chosen) const;
    [[nodiscard]] AutoCycleSettings Edited() const;
    void Review(); ///< after every change: hints, units, bits, what applies

    AutoCycle& m_cycle;
    TableSettings& m_settings;
    const ScanEngine& m_scan;
    std::int32_t m_shownStatusRow;
    QWidget* m_content;
    QBoxLayout* m_directions; ///< side by side where there is room
    CycleDirectionBox* m_charge;
    CycleDirectionBox* m_discharge;
    QComboBox* cboBattVoltRow;
    QComboBox* cboBattStatRow;
    QRadioButton* optOnePin;
    QRadioButton* optTwoPins;
    QCheckBox* chkPinHi;
    QCheckBox* chkChgHi;
    QCheckBox* chkLoadHi;
    QLabel* m_hintIcon;
    QLabel* lblCycleHints;
    QLabel* lblProblem;
    QPushButton* cmdCancel;
    QPushButton* cmdOK;
};
