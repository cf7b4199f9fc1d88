#pragma once

#include "dataflash/DataFlash.h"

#include <QCheckBox>
#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QString>
#include <QTableWidget>

#include <vector>

class QGridLayout;

/// What a write would do, before the first byte goes out: which subclasses, how much, how long, and where the
/// backup goes.
class WritePlanPane final : public QFrame {
    Q_OBJECT
public:
    struct Row {
        int Class = 0;
        int SubClass = 0;
        int Id = 0;
        QString Name;
        int Edits = 0;
        int Bytes = 0;
        int Pages = 0;
        QString Preserved; ///< what keeps the bytes of the gauge; empty: nothing
        QString Caution; ///< why the gauge's data is not safe with it; empty
    };
    struct Plan {
        QString Title;
        std::vector<Row> Rows;
        bool Ticks = false; ///< subclasses can be left out
        double Seconds = 0; ///< of all rows
        QString BackupFolder; ///< where the backup goes
    };

    explicit WritePlanPane(QWidget* parent);
    void Show(const Plan& plan, bool verify);
    [[nodiscard]] std::vector<SubClassPlace> Ticked() const;
    [[nodiscard]] bool Verify() const { return chkVerify->isChecked(); }
    void SetLocked(bool on);
    void SetNarrow(bool on); ///< backup and buttons below the table, fewer columns

signals:
    void Write();
    void Cancelled();

private:
    void Count();

    Plan m_plan;
    bool m_locked = false;
    QGridLayout* m_grid;
    QLayout* m_side;
    QLabel* lblPlanTitle;
    QLabel* lblPlanSummary;
    QTableWidget* grdPlan;
    QLabel* m_backupIcon;
    QLabel* lblBackup;
    QCheckBox* chkVerify;
    QPushButton* cmdCancelPlan;
    QPushButton* cmdWritePlan;
};
