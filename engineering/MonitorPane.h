#pragma once

#include "comm/BusMonitor.h"
#include "engineering/ViewState.h"

#include <QWidget>

class MonitorFilter;
class MonitorModel;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QTableView;
class QTimer;
class QToolButton;

/// The bus calls of the whole program as they come.
class MonitorPane final : public QWidget {
    Q_OBJECT
public:
    explicit MonitorPane(BusMonitor& monitor, QWidget* parent = nullptr);
    ~MonitorPane() override; ///< nobody watches any more

    void Recall(const ViewState& state);
    void Remember(ViewState& state) const;

    void GoToFilter();
    /// @return false when the filter had not the keyboard
    bool LeaveFilter();

signals:
    void SaveRequested(const QByteArray& trace);

private:
    void LayOut();
    QWidget* MakeToolbar();
    void SetWatching(bool on);
    void Refresh();
    void Filter();

    BusMonitor& m_monitor;
    MonitorModel* m_model;
    MonitorFilter* m_filter;
    std::uint64_t m_shown = 0;
    QTimer* tmrMonitor;
    QToolButton* cmdWatch;
    QComboBox* cboGroup;
    QCheckBox* chkFailures;
    QLineEdit* txtMonitorFilter;
    QToolButton* cmdClearMonitor;
    QToolButton* cmdSaveTrace;
    QTableView* grdMonitor;
    QLabel* lblMonitorEmpty = nullptr;
    QLabel* lblMonitor;
};
