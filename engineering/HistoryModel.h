#pragma once

#include "engineering/SerialModel.h"
#include "engineering/TransactionHistory.h"

/// The history of transactions as a table.
class HistoryModel final : public SerialModel {
    Q_OBJECT
public:
    enum Column { kTime, kSent, kAnswer, kCode, kText, kTook, kColumnCount };

    HistoryModel(const TransactionHistory& history, QObject* parent) : SerialModel(parent), m_history(history)
    {
    }
    int columnCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : kColumnCount;
    }
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

protected:
    std::int64_t SourceFirst() const override { return m_history.First(); }
    std::int64_t SourceEnd() const override { return m_history.End(); }

private:
    const TransactionHistory& m_history;
};
