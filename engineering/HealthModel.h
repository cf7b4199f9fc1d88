#pragma once

#include "comm/BusHealth.h"

#include <QAbstractTableModel>
#include <QSortFilterProxyModel>

/// What a bus health table knows, a row a register. Sorted by numbers through kSortRole.
class HealthModel final : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column {
        kAddress,
        kCommand,
        kOperation,
        kCalls,
        kNack,
        kPec,
        kTimeouts,
        kOther,
        kMean,
        kLongest,
        kColumnCount
    };
    static constexpr int kSortRole = Qt::UserRole;

    HealthModel(const BusHealth& health, QObject* parent) : QAbstractTableModel(parent), m_health(health) { }
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : kColumnCount;
    }
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    void Refresh(); ///< takes up what was counted meanwhile
    [[nodiscard]] const BusHealth::Row& Row(int row) const { return m_rows[static_cast<std::size_t>(row)]; }

private:
    const BusHealth& m_health;
    std::vector<BusHealth::Row> m_rows; ///< a copy: the counts change in every event
};

/// "1.2 ms", "350 us"
[[nodiscard]] QString DurationText(double microseconds);
/// "0x16 0x09 Read word"
[[nodiscard]] QString RegisterText(const BusPlace& place);
