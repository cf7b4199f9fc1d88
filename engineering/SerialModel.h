#pragma once

#include <QAbstractTableModel>

#include <cstdint>

/// Rows over entries that are known by serial numbers: new ones come at the end, old ones go at the front.
/// The entries may change at any time; what the table shows changes in Sync() alone.
class SerialModel : public QAbstractTableModel {
    Q_OBJECT
public:
    using QAbstractTableModel::QAbstractTableModel;

    int rowCount(const QModelIndex& parent = {}) const override;
    void Sync(); ///< takes up what came and went
    [[nodiscard]] std::int64_t Serial(int row) const { return m_first + row; }

protected:
    [[nodiscard]] virtual std::int64_t SourceFirst() const = 0;
    [[nodiscard]] virtual std::int64_t SourceEnd() const = 0;

private:
    std::int64_t m_first = 0;
    std::int64_t m_end = 0;
};
