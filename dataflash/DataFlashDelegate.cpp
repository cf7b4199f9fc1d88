#include "dataflash/DataFlashDelegate.h"

#include "dataflash/DataFlashItemModel.h"
#include "look/Icons.h"
#include "look/Marks.h"
#include "look/Theme.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QTimer>

namespace {

constexpr int kCompactRow = 20;
constexpr int kRoomyRow = 24;
constexpr int kSide = 14; // of marks
constexpr int kMarkStep = 18;
constexpr char kRefused[] = "refused";
constexpr char kFilled[] = "filled";

ItemMarks MarksAt(const QModelIndex& index) { return ItemMarks(index.data(kItemMarksRole).toInt()); }

} // namespace

DataFlashDelegate::DataFlashDelegate(DataFlashItemModel& model, QObject* parent)
    : QStyledItemDelegate(parent), m_model(model)
{
    connect(this, &QAbstractItemDelegate::closeEditor, this, &DataFlashDelegate::EditEnded);
}

QSize DataFlashDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QSize size = QStyledItemDelegate::sizeHint(option, index);
    const int row = m_roomy ? kRoomyRow : kCompactRow;
    return {size.width(), std::max(row, option.fontMetrics.height() + 2)};
}

void DataFlashDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    const SkinColours& colours = Theme::Current().Colours();
    const ItemMarks marks = MarksAt(index);
    const int column = index.column();
    if (column == kItemValueColumn && (marks.testFlag(ItemMark::Changed) || marks.testFlag(ItemMark::Edited)))
        option->font = Theme::Current().Font(Type::Strong);
    const bool quiet = column == kItemUnitColumn || column == kItemMinColumn || column == kItemMaxColumn
        || (column == kItemDefaultColumn && !marks.testFlag(ItemMark::Differs));
    if (quiet)
        option->palette.setColor(QPalette::Text, ToColour(colours.TextSecondary));
}

void DataFlashDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const
{
    if (!index.parent().isValid()) {
        PaintSection(*painter, option, index);
        return;
    }
    const ItemMarks marks = MarksAt(index);
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const bool edited = marks.testFlag(ItemMark::Edited);
    if (index.column() == kItemValueColumn && (edited || marks.testFlag(ItemMark::Changed))) {
        if (selected)
            painter->fillRect(option.rect, option.palette.highlight());
        if (!edited)
            DrawChangedCell(*painter, option.rect, marks.testFlag(ItemMark::Rose) ? Trend::Up : Trend::Down,
                            selected);
        else if (!selected)
            DrawEditedCell(*painter, option.rect);
        QStyleOptionViewItem cell(option);
        initStyleOption(&cell, index);
        painter->setFont(cell.font);
        painter->setPen(cell.palette.color(selected ? QPalette::HighlightedText : QPalette::Text));
        const int room = edited ? 6 : 22; // the triangle stands left of the text
        const QRect inside = option.rect.adjusted(room, 0, -6, 0);
        painter->drawText(inside, Qt::AlignRight | Qt::AlignVCenter,
                          QFontMetrics(cell.font).elidedText(cell.text, Qt::ElideRight, inside.width()));
        if (edited && selected)
            painter->fillRect(QRect(option.rect.left(), option.rect.bottom() - 1, option.rect.width(), 2),
                              cell.palette.highlightedText());
        return;
    }
    QStyledItemDelegate::paint(painter, option, index);
    if (index.column() == kItemMarksColumn)
        PaintMarks(*painter, option, index);
}

void DataFlashDelegate::PaintSection(QPainter& painter, const QStyleOptionViewItem& option,
                                     const QModelIndex& index) const
{
    const SkinColours& colours = Theme::Current().Colours();
    painter.fillRect(option.rect, ToColour(colours.HeaderFill));
    painter.setPen(ToColour(colours.Line));
    painter.drawLine(option.rect.bottomLeft(), option.rect.bottomRight());
    const QFont strong = Theme::Current().Font(Type::Strong);
    const QString name = index.data().toString();
    QRect rest = option.rect.adjusted(3, 0, -4, 0);
    painter.setFont(strong);
    painter.setPen(ToColour(colours.TextFore));
    painter.drawText(rest, Qt::AlignVCenter | Qt::AlignLeft, name);
    rest.setLeft(rest.left() + QFontMetrics(strong).horizontalAdvance(name) + 9);
    painter.setFont(option.font);
    painter.setPen(ToColour(colours.TextSecondary));
    painter.drawText(
        rest, Qt::AlignVCenter | Qt::AlignLeft,
        QFontMetrics(option.font)
            .elidedText(index.data(kSectionDetailRole).toString(), Qt::ElideRight, rest.width()));
    if (option.state.testFlag(QStyle::State_HasFocus)) {
        painter.setPen(ToColour(colours.SelectionHighlight));
        painter.drawRect(option.rect.adjusted(0, 0, -1, -2));
    }
}

void DataFlashDelegate::PaintMarks(QPainter& painter, const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const
{
    const SkinColours& colours = Theme::Current().Colours();
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const ItemMarks marks = MarksAt(index);
    const qreal ratio = painter.device()->devicePixelRatioF();
    QPoint at(option.rect.left() + 6, option.rect.center().y() - kSide / 2 + 1);
    const auto mark = [&](ItemMark which, const QString& icon, Rgb ink) {
        if (marks.testFlag(which))
            painter.drawPixmap(
                at, IconPixmap(icon, kSide, ToColour(selected ? colours.TextHighlightFore : ink), ratio));
        at.rx() += kMarkStep; // each mark has a place of its own
    };
    mark(ItemMark::Changed, QStringLiteral("changed"), colours.ChangeHighlight);
    mark(ItemMark::Edited, QStringLiteral("edit"), colours.Edited);
    mark(ItemMark::Differs, QStringLiteral("neq"), colours.TextSecondary);
}

QWidget* DataFlashDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& /*option*/,
                                         const QModelIndex& index) const
{
    auto* field = new QLineEdit(parent);
    field->setObjectName(QStringLiteral("txtItemValue"));
    field->setAccessibleName(tr("Value of %1").arg(index.siblingAtColumn(kItemNameColumn).data().toString()));
    field->setAlignment(Qt::AlignRight);
    field->setTextMargins(0, 0, 0, 0);
    m_field = field;
    m_place = index;
    m_latest = field;
    connect(field, &QObject::destroyed, this, [this](const QObject* gone) {
        if (gone == m_latest) // rows that were built anew took it away, and no other one is open
            emit EditEnded();
    });
    connect(field, &QLineEdit::textChanged, this,
            [this, field, place = QPersistentModelIndex(index)] { Judge(field, place); });
    return field;
}

void DataFlashDelegate::Judge(QLineEdit* field, const QModelIndex& index) const
{
    const auto place = m_model.PlaceOf(index);
    if (!place)
        return;
    const EditVerdict verdict = JudgeEdit(m_model.Item(*place), field->text());
    field->setProperty(kRefused, !verdict.Ok());
    field->update();
    emit Judged(verdict);
}

void DataFlashDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    if (editor->property(kFilled).toBool())
        return; // a refresh of the rows leaves alone what is being typed
    editor->setProperty(kFilled, true);
    auto* field = qobject_cast<QLineEdit*>(editor);
    field->setText(index.data(Qt::EditRole).toString());
    field->selectAll();
}

void DataFlashDelegate::setModelData(QWidget* editor, QAbstractItemModel* /*model*/,
                                     const QModelIndex& index) const
{
    m_model.Type(index, qobject_cast<QLineEdit*>(editor)->text(), editor->property("anyway").toBool());
}

void DataFlashDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                             const QModelIndex& /*index*/) const
{
    QRect place = option.rect;
    const int text = editor->fontMetrics().horizontalAdvance(qobject_cast<QLineEdit*>(editor)->text()) + 16;
    if (text > place.width()) // long texts get the room of the name beside them
        place.setLeft(std::max(0, place.right() - text));
    editor->setGeometry(place);
}

void DataFlashDelegate::UseAnyway()
{
    if (!m_field || !m_place.isValid())
        return;
    const auto place = m_model.PlaceOf(m_place);
    if (!place || !JudgeEdit(m_model.Item(*place), m_field->text()).RangeOnly)
        return;
    m_field->setProperty("anyway", true);
    m_field->setProperty(kRefused, false);
    emit commitData(m_field);
    emit closeEditor(m_field, NoHint);
}

bool DataFlashDelegate::eventFilter(QObject* watched, QEvent* event)
{
    auto* field = qobject_cast<QLineEdit*>(watched);
    const bool refused = field && field->property(kRefused).toBool();
    if (field && event->type() == QEvent::ShortcutOverride) {
        const auto* key = static_cast<const QKeyEvent*>(event);
        if (key->matches(QKeySequence::Undo) || key->matches(QKeySequence::Redo)
            || key->key() == Qt::Key_Escape) {
            event->accept(); // they belong to the field while it is open
            return true;
        }
    }
    if (field && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<const QKeyEvent*>(event);
        const bool enter = key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
        if (enter && key->modifiers().testFlag(Qt::ControlModifier)) {
            UseAnyway();
            return true;
        }
        if (refused && (enter || key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab))
            return true;
        if (key->key() == Qt::Key_Escape)
            field->setProperty(kRefused, false);
    }
    if (refused && event->type() == QEvent::FocusOut) {
        const auto reason = static_cast<const QFocusEvent*>(event)->reason();
        if (reason == Qt::MouseFocusReason || reason == Qt::TabFocusReason
            || reason == Qt::BacktabFocusReason)
            QTimer::singleShot(0, field, [field] { field->setFocus(); });
        return false; // the base class would take the text and close the field
    }
    return QStyledItemDelegate::eventFilter(watched, event);
}
