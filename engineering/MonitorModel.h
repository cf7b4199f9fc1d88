#pragma once

#include "comm/BusMonitor.h"
#include "engineering/SerialModel.h"

#include <QSortFilterProxyModel>

/// The bus calls that a monitor keeps, as a table.
class MonitorModel final : public SerialModel {
    Q_OBJECT
public:
    enum Column { kTime, kOperation, kAddress, kCommand, kCode, kData, kTook, kColumnCount };

    MonitorModel(const BusMonitor& monitor, QObject* parent) : SerialModel(parent), m_monitor(monitor) { }
    int columnCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : kColumnCount;
    }
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    [[nodiscard]] const BusMonitor::Entry* Entry(int row) const { return m_monitor.Find(Serial(row)); }

protected:
    std::int64_t SourceFirst() const override { return m_monitor.First(); }
    std::int64_t SourceEnd() const override { return m_monitor.End(); }

private:
    const BusMonitor& m_monitor;
};

/// Lets through what a person wants to see.
class MonitorFilter final : public QSortFilterProxyModel {
    Q_OBJECT
public:
    explicit MonitorFilter(QObject* parent) : QSortFilterProxyModel(parent) { }
    /// @param group  -1: all
    /// @param text  must stand in the operation, the address, the command or the bytes; empty: all
    void Show(int group, bool failuresOnly, const QString& text);
    [[nodiscard]] bool ShowsAll() const { return m_group < 0 && !m_failuresOnly && m_text.isEmpty(); }

protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override;

private:
    int m_group = -1;
    bool m_failuresOnly = false;
    QString m_text;
};
