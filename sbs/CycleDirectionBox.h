#pragma once

#include "sbs/AutoCycleSettings.h"
#include "sbs/CycleController.h"
#include "sbs/ScanEngine.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QSpinBox>

#include <vector>

struct CycleKeys;

/// The settings of one direction of the auto-cycle: its triggers with their limits, whether one suffices, how
/// long the pack rests before and how long the phase may last.
class CycleDirectionBox final : public QGroupBox {
    Q_OBJECT
public:
    CycleDirectionBox(Direction direction, const ScanEngine& scan, QWidget* parent = nullptr);

    void Load(const AutoCycleSettings& settings);
    /// Overwrites this direction's fields. What a control cannot show, like trigger bits without a meaning,
    /// stays.
    void Store(AutoCycleSettings& settings) const;
    void ShowUnits(const QString& rem, const QString& volt);
    /// Offers the bits that the flag table names for a register row.
    void ShowBits(std::int32_t statusRow);

signals:
    void Changed();

private:
    template <class Control>
    [[nodiscard]] Control* Make(const char* prefix, const char* key, Control* control);
    void LayOut(bool charge);
    void Connect();
    [[nodiscard]] std::uint32_t StatusBits() const;
    void CheckBits();

    const CycleKeys& m_keys;
    const ScanEngine& m_scan;
    QCheckBox* m_useRem;
    QCheckBox* m_useVolt;
    QCheckBox* m_useStatus;
    QSpinBox* m_rem;
    QSpinBox* m_volt;
    QLineEdit* m_status;
    QLabel* m_remUnit;
    QLabel* m_voltUnit;
    QGridLayout* m_bitGrid;
    std::vector<std::pair<int, QCheckBox*>> m_bits; ///< bit number, its box
    QRadioButton* m_any;
    QRadioButton* m_all;
    QSpinBox* m_relax;
    QSpinBox* m_longest;
    QLabel* m_relaxAs;
    QLabel* m_longestAs;
};
