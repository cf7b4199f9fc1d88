#pragma once

#include "comm/BusHealth.h"
#include "look/ChildView.h"
#include "platform/ProfileFile.h"
#include "platform/UserMessages.h"
#include "settings/StartupState.h"

class HealthModel;
class HealthPlot;
class QComboBox;
class QLabel;
class QLineEdit;
class QSortFilterProxyModel;
class QSplitter;
class QStackedWidget;
class QTableView;
class QTimer;
class QToolButton;

/// How well the bus does: what was read and written where, what failed and how long it took. It needs neither
/// adapter nor target: the counts are those of the whole run of the program.
class frmBusHealth final : public ChildView {
    Q_OBJECT
public:
    /// All of it outlives the view.
    frmBusHealth(BusHealth& health, ProfileStore& profiles, const StartupState& state,
                 UserMessages& messages);
    ~frmBusHealth() override;

    void Applyskin() override;
    bool SaveCsv(const QString& path); ///< false after a message

protected:
    bool Leave() override;

private:
    void LayOut();
    QWidget* MakeToolbar();
    void Refresh();
    void ShowPlot();
    void ResetCounts();
    void Copy(QChar separator);

    BusHealth& m_health;
    ProfileStore& m_profiles;
    const StartupState& m_state;
    UserMessages& m_messages;
    HealthModel* m_model;
    QSortFilterProxyModel* m_filter;
    std::uint64_t m_shown = 0;

    QTimer* tmrHealth;
    QComboBox* cboPlot;
    QLineEdit* txtHealthFilter;
    QToolButton* cmdResetHealth;
    QToolButton* cmdExportHealth;
    QTableView* grdHealth;
    HealthPlot* m_plot;
    QSplitter* m_down;
    QLabel* lblHealth;
};
