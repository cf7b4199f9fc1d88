#pragma once

#include <QStyledItemDelegate>

/// Draws the marks of a register row and edits a value: what is typed is previewed while it is typed, sent by
/// Enter alone, and given up by Esc or by leaving the field.
class RegisterDelegate final : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    bool eventFilter(QObject* editor, QEvent* event) override;
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

signals:
    void Typed(const QModelIndex& index, const QString& text) const;
    void EditEnded();

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
};
