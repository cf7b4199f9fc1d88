#pragma once

#include "sbs/ScanEngine.h"

#include <QAbstractTableModel>

#include <vector>

/// Columns of the register grid: the three fixed ones, then the switches and what is known of the value.
enum RegisterColumn {
    kDescColumn,
    kValueColumn,
    kUnitColumn,
    kScanColumn,
    kLogColumn,
    kPlotColumn,
    kMinColumn,
    kMaxColumn,
    kAgeColumn,
    kRegisterColumns
};

/// Beside the standard roles.
enum RegisterRole {
    kMarkRole = Qt::UserRole, ///< RegisterMark
    kCurveRole, ///< place of the row's curve in ticking order, -1 without one
    kEmphasisRole, ///< bool
};

enum class RegisterMark { None, Up, Down, Failed };

/// The register rows as a table: shows what the scan engine knows and passes switches on.
class RegisterModel final : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit RegisterModel(ScanEngine& scan, QObject* parent = nullptr)
        : QAbstractTableModel(parent), m_scan(scan)
    {
    }

    /// Forgets everything: the tables were loaded anew.
    void LoadInitSBSGrid();
    /// The values of the latest pass.
    void MoveSBSDataToGrid();
    void RefreshAges();
    void RefreshSwitches();

    void SetPlotted(int row, bool on);
    [[nodiscard]] const std::vector<int>& Plotted() const
    {
        return m_plotted;
    } ///< in ticking order, -1: free place

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

signals:
    void PlottedChanged();
    void WriteRequested(int row, const QString& typed);

private:
    [[nodiscard]] QString Text(int row, int column) const;
    [[nodiscard]] RegisterMark Mark(int row) const;

    ScanEngine& m_scan;
    std::vector<int> m_plotted;
};
