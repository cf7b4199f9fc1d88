#pragma once

#include "dataflash/EditJudge.h"

#include <QLineEdit>
#include <QPersistentModelIndex>
#include <QPointer>
#include <QStyledItemDelegate>

class DataFlashItemModel;

/// Draws the rows of the data-flash grid with their marks and edits a value. A text that is refused keeps the
/// field: Enter and leaving take nothing until it is mended, given up with Esc or, where only the
/// configuration's range stands against it, used anyway with Ctrl+Enter.
class DataFlashDelegate final : public QStyledItemDelegate {
    Q_OBJECT
public:
    DataFlashDelegate(DataFlashItemModel& model, QObject* parent);

    void SetRoomy(bool roomy) { m_roomy = roomy; }
    void UseAnyway(); ///< what stands in the open field, when only its range is hurt

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;
    bool eventFilter(QObject* watched, QEvent* event) override;

signals:
    void Judged(const EditVerdict& verdict) const; ///< of what is typed, at every change
    void EditEnded() const;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

private:
    void Judge(QLineEdit* field, const QModelIndex& index) const;
    void PaintSection(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void PaintMarks(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;

    DataFlashItemModel& m_model;
    bool m_roomy = false;
    mutable QPointer<QLineEdit> m_field; ///< the one that is open
    mutable const QObject* m_latest = nullptr; ///< the field opened last, also when it is gone
    mutable QPersistentModelIndex m_place; ///< what it edits
};
