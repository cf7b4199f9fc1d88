#pragma once

#include "dataflash/DataFlashDelegate.h"
#include "dataflash/DataFlashItemModel.h"

#include <QSet>
#include <QTreeView>

#include <vector>

/// The grid of the data-flash editor: subclass rows across all columns, item rows below them.
class DataFlashGrid final : public QTreeView {
    Q_OBJECT
public:
    DataFlashGrid(DataFlashItemModel& model, QWidget* parent);

    [[nodiscard]] DataFlashDelegate& Delegate() { return *m_delegate; }
    /// Shows rows anew; what was folded stays so, and the current item stays current where it is shown.
    void Show(int classIndex, const DataFlashFilter& filter);
    void SetRoomy(bool roomy);
    void ShowLimits(bool on); ///< columns of default, minimum and maximum
    [[nodiscard]] std::optional<ItemPlace> Current() const;
    [[nodiscard]] std::vector<ItemPlace> Selected() const; ///< in the order of rows
    void GoTo(const ItemPlace& place);
    /// Makes the next item row after the current one current, round the end.
    /// @param marked  only rows that were changed or edited
    void GoOn(bool forward, bool marked);
    [[nodiscard]] bool Editing() const { return state() == EditingState; } ///< a field is open
    [[nodiscard]] QString SelectedText() const; ///< tab-separated, a line a row

signals:
    void CurrentChanged();
    void Refused(const QString& why); ///< the current row takes no edit

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void drawBranches(QPainter* painter, const QRect& rect, const QModelIndex& index) const override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    [[nodiscard]] QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                                       const QEvent* event) const override;

private:
    DataFlashItemModel& m_model;
    DataFlashDelegate* m_delegate;
    QSet<int> m_folded; ///< subclasses
    bool m_building = false;
};
