#include "sbs/TableDelegate.h"

#include "look/Icons.h"
#include "look/Marks.h"
#include "look/Theme.h"
#include "sbs/TableModel.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>

namespace {

constexpr char kRefused[] = "refused";

/// What an editor would put into the cell: of a choice its number, of anything else the text.
QString TextOf(const QWidget* editor)
{
    if (const auto* list = qobject_cast<const QComboBox*>(editor)) {
        const int choice = list->findText(list->currentText());
        return choice >= 0 ? list->itemData(choice).toString() : list->currentText().trimmed();
    }
    return qobject_cast<const QLineEdit*>(editor)->text();
}

QComboBox* MakeList(const QString& column, QWidget* parent)
{
    auto* list = new QComboBox(parent);
    list->setEditable(true); // other numbers are legal too
    list->setInsertPolicy(QComboBox::NoInsert);
    if (column == QLatin1String("ReadStyle")) {
        for (int style = 0; !ReadStyleName(style).isEmpty(); ++style)
            list->addItem(QStringLiteral("%1  %2").arg(style).arg(ReadStyleName(style)),
                          QString::number(style));
    } else {
        list->addItem(TableDelegate::tr("0  read only"), QStringLiteral("0"));
        list->addItem(TableDelegate::tr("1  may be written"), QStringLiteral("1"));
    }
    list->setMaxVisibleItems(list->count());
    list->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    return list;
}

} // namespace

void TableDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const
{
    const auto level = static_cast<CellCheck::Level>(index.data(kCellCheckRole).toInt());
    const SkinColours& colours = Theme::Current().Colours();
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    QStyleOptionViewItem cell(option);
    if (index.data(kCellEditedRole).toBool() && !selected)
        DrawEditedCell(*painter, option.rect);
    if (level != CellCheck::Level::Fine) {
        const bool wrong = level == CellCheck::Level::Wrong;
        if (wrong && !selected)
            painter->fillRect(option.rect, ToColour(colours.FailTint));
        const int side = 14;
        const Rgb ink = selected ? colours.TextHighlightFore : wrong ? colours.Failed : colours.Caution;
        const QPoint at(option.rect.right() - side - 2, option.rect.center().y() - side / 2);
        cell.rect.setRight(at.x() - 2);
        if (selected)
            painter->fillRect(option.rect, option.palette.highlight());
        painter->drawPixmap(at,
                            IconPixmap(wrong ? QStringLiteral("error") : QStringLiteral("warn"), side,
                                       ToColour(ink), painter->device()->devicePixelRatioF()));
    }
    QStyledItemDelegate::paint(painter, cell, index);
}

QWidget* TableDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&,
                                     const QModelIndex& index) const
{
    const QString column = index.model()->headerData(index.column(), Qt::Horizontal).toString();
    const QPersistentModelIndex place(index);
    if (column == QLatin1String("ReadStyle") || column == QLatin1String("Writeable")) {
        QComboBox* list = MakeList(column, parent);
        list->setObjectName(QStringLiteral("cboCell"));
        list->setAccessibleName(column);
        connect(list, &QComboBox::editTextChanged, this, [this, list, place] { Judge(list, place); });
        return list;
    }
    auto* field = new QLineEdit(parent);
    field->setObjectName(QStringLiteral("txtCell"));
    field->setAccessibleName(column);
    connect(field, &QLineEdit::textChanged, this, [this, field, place] { Judge(field, place); });
    return field;
}

void TableDelegate::Judge(QWidget* editor, const QModelIndex& index) const
{
    if (!index.isValid())
        return;
    const auto* model = qobject_cast<const TableModel*>(index.model());
    const CellCheck check = model->Document().CheckTyped({index.row(), index.column()}, TextOf(editor));
    const bool refused = check.What == CellCheck::Level::Wrong;
    editor->setProperty(kRefused, refused);
    if (auto* list = qobject_cast<QComboBox*>(editor))
        list->lineEdit()->setProperty(kRefused, refused);
    editor->update();
    emit Typed(check.Text, refused);
}

void TableDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    const QString cell = index.data(Qt::EditRole).toString();
    if (auto* list = qobject_cast<QComboBox*>(editor)) {
        const int choice = list->findData(cell);
        if (choice >= 0)
            list->setCurrentIndex(choice);
        else
            list->setEditText(cell);
        list->lineEdit()->selectAll();
    } else if (auto* field = qobject_cast<QLineEdit*>(editor); field->text() != cell) {
        field->setText(cell);
    }
}

void TableDelegate::setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const
{
    if (!editor->property(kRefused).toBool())
        model->setData(index, TextOf(editor), Qt::EditRole);
}

void TableDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                         const QModelIndex&) const
{
    QRect place = option.rect;
    place.setWidth(std::max(place.width(), editor->sizeHint().width()));
    place.setHeight(std::max(place.height(), editor->minimumSizeHint().height()));
    place.moveCenter({place.center().x(), option.rect.center().y()});
    editor->setGeometry(place);
}

bool TableDelegate::eventFilter(QObject* watched, QEvent* event)
{
    auto* editor = qobject_cast<QWidget*>(watched);
    if (editor && event->type() == QEvent::KeyPress) {
        const int key = static_cast<const QKeyEvent*>(event)->key();
        const bool commits
            = key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Tab || key == Qt::Key_Backtab;
        if (commits && editor->property(kRefused).toBool())
            return true; // the field keeps the keyboard until the text converts or is given up
        if (key == Qt::Key_Escape)
            editor->setProperty(kRefused, false);
    }
    const bool ends
        = event->type() == QEvent::Hide && !editor->property(kRefused).toBool(); // else the reason stays
    const bool done = QStyledItemDelegate::eventFilter(watched, event);
    if (ends)
        emit EditEnded();
    return done;
}
