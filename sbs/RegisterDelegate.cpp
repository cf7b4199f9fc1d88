#include "sbs/RegisterDelegate.h"

#include "look/Icons.h"
#include "look/Marks.h"
#include "look/Theme.h"
#include "sbs/RegisterModel.h"

#include <QApplication>
#include <QEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>

namespace {

constexpr int kSide = 14; // of marks
constexpr int kReach = 5; // a click beside a box still means it
constexpr char kFilled[] = "filled";

RegisterMark MarkOf(const QModelIndex& index)
{
    return static_cast<RegisterMark>(index.data(kMarkRole).toInt());
}

bool IsSwitch(const QModelIndex& index)
{
    return index.column() >= kScanColumn && index.column() <= kPlotColumn;
}

/// Where the box of a switch stands: in the middle, with room for the marker of a curve.
QRect IndicatorRect(const QStyleOptionViewItem& option, const QModelIndex& index)
{
    const QStyle* style = option.widget ? option.widget->style() : QApplication::style();
    QRect indicator(
        QPoint(),
        style->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, option.widget).size());
    indicator.moveCenter(option.rect.center());
    if (index.column() == kPlotColumn && index.data(kCurveRole).toInt() >= 0)
        indicator.translate(-kSide / 2, 0);
    return indicator;
}

} // namespace

void RegisterDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    const SkinColours& colours = Theme::Current().Colours();
    const RegisterMark mark = MarkOf(index);
    const bool changed = mark == RegisterMark::Up || mark == RegisterMark::Down;
    if ((index.column() == kDescColumn && index.data(kEmphasisRole).toBool())
        || (index.column() == kValueColumn && changed))
        option->font = Theme::Current().Font(Type::Strong);
    QPalette& palette = option->palette;
    if (index.column() == kUnitColumn || index.column() >= kMinColumn)
        palette.setColor(QPalette::Text, ToColour(colours.TextSecondary));
    if (index.column() == kAgeColumn && mark == RegisterMark::Failed)
        palette.setColor(QPalette::Text, ToColour(colours.Failed));
}

void RegisterDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                             const QModelIndex& index) const
{
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const RegisterMark mark = MarkOf(index);
    if (index.column() == kValueColumn && mark == RegisterMark::Failed) {
        DrawFailedCell(*painter, option.rect, selected);
        return;
    }
    if (IsSwitch(index)) { // the box stands in the middle; a curve's marker beside it
        QStyleOptionViewItem box(option);
        initStyleOption(&box, index);
        const QStyle* style = option.widget ? option.widget->style() : QApplication::style();
        QStyleOptionViewItem back(box);
        back.features &= ~QStyleOptionViewItem::HasCheckIndicator;
        style->drawControl(QStyle::CE_ItemViewItem, &back, painter, option.widget);
        const int place = index.data(kCurveRole).toInt();
        const QRect indicator = IndicatorRect(box, index);
        box.rect = indicator;
        box.state |= box.checkState == Qt::Checked ? QStyle::State_On : QStyle::State_Off;
        style->drawPrimitive(QStyle::PE_IndicatorItemViewItemCheck, &box, painter, option.widget);
        if (index.column() == kPlotColumn && place >= 0) {
            const SkinColours& colours = Theme::Current().Colours();
            const QColor colour = ToColour(selected ? colours.TextHighlightFore
                                                    : colours.curves[static_cast<std::size_t>(place) % 8]);
            DrawCurveMarker(*painter,
                            QPointF(indicator.right() + kSide * 0.75, option.rect.center().y() + 0.5), 10,
                            place, colour);
        }
        return;
    }
    if (index.column() == kValueColumn && (mark == RegisterMark::Up || mark == RegisterMark::Down)) {
        if (selected)
            painter->fillRect(option.rect, option.palette.highlight());
        DrawChangedCell(*painter, option.rect, mark == RegisterMark::Up ? Trend::Up : Trend::Down, selected);
        QStyleOptionViewItem text(option);
        initStyleOption(&text, index);
        painter->setFont(text.font);
        painter->setPen(text.palette.color(selected ? QPalette::HighlightedText : QPalette::Text));
        painter->drawText(option.rect.adjusted(4, 0, -4, 0), Qt::AlignRight | Qt::AlignVCenter, text.text);
        return;
    }
    QStyledItemDelegate::paint(painter, option, index);
    const auto icon = [&](const QString& name, Rgb colour) {
        const QPixmap picture = IconPixmap(
            name, kSide, ToColour(selected ? Theme::Current().Colours().TextHighlightFore : colour),
            painter->device()->devicePixelRatioF());
        const int left = option.rect.left() + 6
            + option.fontMetrics.horizontalAdvance(index.data(Qt::DisplayRole).toString()) + 6;
        painter->drawPixmap(QPoint(left, option.rect.center().y() - kSide / 2), picture);
    };
    if (index.column() == kDescColumn
        && index.siblingAtColumn(kValueColumn).flags().testFlag(Qt::ItemIsEditable))
        icon(QStringLiteral("edit"), Theme::Current().Colours().TextSecondary);
    if (index.column() == kUnitColumn && mark == RegisterMark::Failed)
        icon(QStringLiteral("error"), Theme::Current().Colours().Failed);
}

QWidget* RegisterDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&,
                                        const QModelIndex& index) const
{
    auto* editor = new QLineEdit(parent);
    editor->setObjectName(QStringLiteral("txtValue"));
    editor->setAccessibleName(tr("Value to write"));
    editor->setFrame(true);
    editor->setAlignment(Qt::AlignRight);
    connect(editor, &QLineEdit::textChanged, this,
            [this, index = QPersistentModelIndex(index)](const QString& text) { emit Typed(index, text); });
    return editor;
}

void RegisterDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    if (editor->property(kFilled).toBool())
        return; // every pass brings new values: what is being typed stays, or Enter would send the old one
    editor->setProperty(kFilled, true);
    QStyledItemDelegate::setEditorData(editor, index);
}

bool RegisterDelegate::editorEvent(QEvent* event, QAbstractItemModel* model,
                                   const QStyleOptionViewItem& option, const QModelIndex& index)
{
    const bool release = event->type() == QEvent::MouseButtonRelease;
    if (!IsSwitch(index)
        || !(release || event->type() == QEvent::MouseButtonPress
             || event->type() == QEvent::MouseButtonDblClick))
        return QStyledItemDelegate::editorEvent(event, model, option, index);
    // the base class looks for the box at the left edge, where it would draw it
    const auto* mouse = static_cast<const QMouseEvent*>(event);
    QStyleOptionViewItem box(option);
    initStyleOption(&box, index);
    const QRect hit = IndicatorRect(box, index).adjusted(-kReach, -kReach, kReach, kReach);
    if (mouse->button() != Qt::LeftButton || !hit.contains(mouse->position().toPoint()))
        return false;
    if (release)
        model->setData(index,
                       index.data(Qt::CheckStateRole).toInt() == Qt::Checked ? Qt::Unchecked : Qt::Checked,
                       Qt::CheckStateRole);
    return event->type() != QEvent::MouseButtonPress; // that one selects the row too, as anywhere in it
}

bool RegisterDelegate::eventFilter(QObject* editor, QEvent* event)
{
    auto* field = qobject_cast<QLineEdit*>(editor);
    const bool leaves = event->type() == QEvent::FocusOut || event->type() == QEvent::Hide;
    const auto* key = event->type() == QEvent::KeyPress ? static_cast<const QKeyEvent*>(event) : nullptr;
    if (field && (leaves || (key && key->key() == Qt::Key_Escape) || (key && key->key() == Qt::Key_Tab))) {
        emit closeEditor(field, RevertModelCache); // only Enter sends to the gauge
        emit EditEnded();
        return key != nullptr;
    }
    if (field && key && (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter)) {
        if (field->property("refused").toBool())
            return true; // the field keeps the keyboard until the text can be sent or is given up
        emit commitData(field);
        emit closeEditor(field, NoHint);
        emit EditEnded();
        return true;
    }
    return QStyledItemDelegate::eventFilter(editor, event);
}
