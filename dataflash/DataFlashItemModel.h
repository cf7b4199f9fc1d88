#pragma once

#include "dataflash/DataFlashFilter.h"
#include "dataflash/EditHistory.h"
#include "dataflash/ItemFacts.h"

#include <QAbstractItemModel>

#include <optional>
#include <vector>

enum DataFlashColumn {
    kItemNameColumn,
    kItemValueColumn,
    kItemUnitColumn,
    kItemDefaultColumn,
    kItemMinColumn,
    kItemMaxColumn,
    kItemMarksColumn,
    kItemColumns,
};

enum DataFlashRole {
    kItemMarksRole = Qt::UserRole, ///< ItemMarks as an int
    kSectionDetailRole, ///< of a section row: what stands quieter behind its name
};

enum class ItemMark {
    Changed = 1,
    Rose = 2, ///< of a changed one
    Edited = 4,
    Differs = 8, ///< from the default
    Unknown = 16, ///< has no value
};
Q_DECLARE_FLAGS(ItemMarks, ItemMark)
Q_DECLARE_OPERATORS_FOR_FLAGS(ItemMarks)

/// The items of one class, or of all classes, under their subclasses: section rows above item rows. Edits go
/// through the history.
class DataFlashItemModel final : public QAbstractItemModel {
    Q_OBJECT
public:
    static constexpr int kAllClasses = -1;

    /// Tree, history and trends outlive the model.
    DataFlashItemModel(const DataFlashTree& tree, EditHistory& history, const ReadTrends& trends,
                       QObject* parent);

    /// Builds the rows anew. Marks that change later take no row away before the next call.
    void Show(int classIndex, const DataFlashFilter& filter);
    void RefreshValues(); ///< values, marks and nothing else
    void SetLocked(bool on) { m_locked = on; } ///< no edits while a sequence runs

    [[nodiscard]] std::optional<ItemPlace> PlaceOf(const QModelIndex& index) const; ///< empty for a section
    /// @return invalid for an item that is not shown
    [[nodiscard]] QModelIndex IndexOf(const ItemPlace& place, int column = kItemNameColumn) const;
    [[nodiscard]] const DataItem& Item(const ItemPlace& place) const;
    [[nodiscard]] int ShownItems() const;
    [[nodiscard]] int SubClassKey(int section) const; ///< the same for a subclass whatever is shown

    /// Judged first; a refused text changes nothing.
    /// @param anyway  takes a text that only the limits stand against
    bool Type(const QModelIndex& index, const QString& typed, bool anyway);

    [[nodiscard]] QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    [[nodiscard]] QModelIndex parent(const QModelIndex& index) const override;
    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

signals:
    void Edited();

private:
    struct Row {
        ItemPlace Place;
        QString Default; // as shown; they do not change
        QString Min;
        QString Max;
    };
    struct Section {
        int Class = 0;
        int SubClass = 0;
        std::vector<Row> Rows;
    };

    [[nodiscard]] const Row* RowAt(const QModelIndex& index) const;
    [[nodiscard]] QVariant SectionData(const Section& section, int role) const;
    [[nodiscard]] QString Text(const Row& row, int column) const;
    [[nodiscard]] ItemMarks MarksOf(const ItemPlace& place) const;

    const DataFlashTree& m_tree;
    EditHistory& m_history;
    const ReadTrends& m_trends;
    std::vector<Section> m_sections;
    bool m_manyClasses = false;
    bool m_locked = false;
};
