#pragma once

#include <QStyledItemDelegate>

/// Draws and edits the cells of a table: choices for read style and Writeable, a word while something is
/// typed, and a text that does not convert keeps the field until it is mended or given up.
class TableDelegate final : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;
    bool eventFilter(QObject* watched, QEvent* event) override;

signals:
    void Typed(const QString& message, bool refused) const; ///< empty message: nothing to say
    void EditEnded() const;

private:
    void Judge(QWidget* editor, const QModelIndex& index) const;
};
