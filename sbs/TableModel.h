#pragma once

#include "sbs/TableDocument.h"

#include <QAbstractTableModel>

inline constexpr int kCellCheckRole = Qt::UserRole; ///< CellCheck::Level as a number
inline constexpr int kCellEditedRole = Qt::UserRole + 1;

/// Shows a table document to a grid.
class TableModel final : public QAbstractTableModel, private TableWatcher {
    Q_OBJECT
public:
    explicit TableModel(TableDocument& document, QObject* parent = nullptr);
    ~TableModel() override;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

    [[nodiscard]] const TableDocument& Document() const { return m_document; }

signals:
    void TableChanged(); ///< after anything

private:
    void RowsComing(int at, int count) override;
    void RowsCame() override;
    void RowsGoing(int at, int count) override;
    void RowsGone() override;
    void RowsChanged(int at, int count) override;
    void TableComing() override;
    void TableCame() override;

    TableDocument& m_document;
};
