#include "dataflash/DataFlashGrid.h"

#include "look/Theme.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QStringList>

#include <algorithm>

DataFlashGrid::DataFlashGrid(DataFlashItemModel& model, QWidget* parent)
    : QTreeView(parent), m_model(model), m_delegate(new DataFlashDelegate(model, this))
{
    setObjectName(QStringLiteral("grdDataFlash"));
    setAccessibleName(tr("Data flash items"));
    setModel(&m_model);
    setItemDelegate(m_delegate);
    setAlternatingRowColors(true);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(false);
    setSelectionMode(ExtendedSelection);
    setSelectionBehavior(SelectRows);
    setEditTriggers(EditKeyPressed | DoubleClicked | AnyKeyPressed);
    setExpandsOnDoubleClick(true);
    setHorizontalScrollMode(ScrollPerPixel);
    setIndentation(20);
    QHeaderView* head = header();
    head->setStretchLastSection(false);
    head->setSectionsMovable(false);
    head->setHighlightSections(false);
    head->setMinimumSectionSize(30);
    const int figure = fontMetrics().horizontalAdvance(QLatin1Char('0'));
    head->setSectionResizeMode(kItemNameColumn, QHeaderView::Stretch);
    for (const auto& [column, figures] :
         {std::pair{kItemValueColumn, 13}, std::pair{kItemUnitColumn, 7}, std::pair{kItemDefaultColumn, 10},
          std::pair{kItemMinColumn, 9}, std::pair{kItemMaxColumn, 9}})
        setColumnWidth(column, figures * figure + 8);
    setColumnWidth(kItemMarksColumn, 66);
    const auto fold = [this](const QModelIndex& index, bool folded) {
        if (m_building || index.parent().isValid())
            return;
        const int key = m_model.SubClassKey(index.row());
        folded ? (void)m_folded.insert(key) : (void)m_folded.remove(key);
    };
    connect(this, &QTreeView::collapsed, this, [fold](const QModelIndex& index) { fold(index, true); });
    connect(this, &QTreeView::expanded, this, [fold](const QModelIndex& index) { fold(index, false); });
}

void DataFlashGrid::Show(int classIndex, const DataFlashFilter& filter)
{
    const std::optional<ItemPlace> current = Current();
    {
        const QScopedValueRollback building(m_building, true);
        m_model.Show(classIndex, filter);
        const bool search = filter.Narrows(); // what was looked for is not hidden in a folded subclass
        for (int section = 0; section < m_model.rowCount(); ++section) {
            setFirstColumnSpanned(section, {}, true);
            setExpanded(m_model.index(section, 0),
                        search || !m_folded.contains(m_model.SubClassKey(section)));
        }
        const QModelIndex again = current ? m_model.IndexOf(*current) : QModelIndex();
        const QModelIndex first = m_model.index(0, 0, m_model.index(0, 0));
        setCurrentIndex(again.isValid() ? again : first);
        if (!again.isValid())
            scrollToTop();
    }
    emit CurrentChanged();
}

void DataFlashGrid::SetRoomy(bool roomy)
{
    m_delegate->SetRoomy(roomy);
    scheduleDelayedItemsLayout();
}

void DataFlashGrid::ShowLimits(bool on)
{
    for (const int column : {kItemDefaultColumn, kItemMinColumn, kItemMaxColumn})
        setColumnHidden(column, !on);
}

std::optional<ItemPlace> DataFlashGrid::Current() const { return m_model.PlaceOf(currentIndex()); }

std::vector<ItemPlace> DataFlashGrid::Selected() const
{
    std::vector<ItemPlace> places;
    for (const QModelIndex& index : selectionModel()->selectedRows())
        if (const auto place = m_model.PlaceOf(index))
            places.push_back(*place);
    std::ranges::sort(places);
    return places;
}

void DataFlashGrid::GoTo(const ItemPlace& place)
{
    const QModelIndex index = m_model.IndexOf(place);
    if (!index.isValid())
        return;
    setExpanded(index.parent(), true);
    setCurrentIndex(index);
    scrollTo(index);
}

void DataFlashGrid::GoOn(bool forward, bool marked)
{
    std::vector<QModelIndex> rows;
    std::size_t at = 0;
    for (int section = 0; section < m_model.rowCount(); ++section) {
        const QModelIndex parent = m_model.index(section, 0);
        for (int row = 0; row < m_model.rowCount(parent); ++row) {
            rows.push_back(m_model.index(row, 0, parent));
            if (rows.back() == currentIndex().siblingAtColumn(0))
                at = rows.size() - 1;
        }
    }
    for (std::size_t step = 1; step <= rows.size(); ++step) {
        const QModelIndex& index = rows[(at + (forward ? step : rows.size() - step)) % rows.size()];
        const ItemMarks marks(index.data(kItemMarksRole).toInt());
        if (marked && !marks.testFlag(ItemMark::Changed) && !marks.testFlag(ItemMark::Edited))
            continue;
        setExpanded(index.parent(), true);
        setCurrentIndex(index);
        return;
    }
}

QString DataFlashGrid::SelectedText() const
{
    QStringList lines;
    for (const ItemPlace& place : Selected()) {
        QStringList cells;
        for (int column = kItemNameColumn; column < kItemMarksColumn; ++column)
            cells << m_model.IndexOf(place, column).data().toString();
        lines << cells.join(QLatin1Char('\t'));
    }
    return lines.join(QLatin1Char('\n'));
}

void DataFlashGrid::currentChanged(const QModelIndex& current, const QModelIndex& previous)
{
    QTreeView::currentChanged(current, previous);
    if (!m_building)
        emit CurrentChanged();
}

/// A row that the program goes to is the only one selected. The base class would look at the keyboard, where
/// the Ctrl or Shift of a shortcut (undo, find previous) is still held, and add the row to the selection.
QItemSelectionModel::SelectionFlags DataFlashGrid::selectionCommand(const QModelIndex& index,
                                                                    const QEvent* event) const
{
    return event ? QTreeView::selectionCommand(index, event)
                 : QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows;
}

void DataFlashGrid::drawBranches(QPainter* painter, const QRect& rect, const QModelIndex& index) const
{
    if (!index.parent().isValid()) { // the fold mark stands on its row's own colour
        painter->fillRect(rect, ToColour(Theme::Current().Colours().HeaderFill));
        painter->setPen(ToColour(Theme::Current().Colours().Line));
        painter->drawLine(rect.bottomLeft(), rect.bottomRight());
    }
    QTreeView::drawBranches(painter, rect, index);
}

void DataFlashGrid::keyPressEvent(QKeyEvent* event)
{
    const Qt::KeyboardModifiers held = event->modifiers() & ~Qt::KeypadModifier & ~Qt::ShiftModifier;
    const std::optional<ItemPlace> place = Current();
    if (held == Qt::NoModifier && place) {
        const QString text = event->text();
        const bool words = m_model.Item(*place).DataType.startsWith(QLatin1Char('S'), Qt::CaseInsensitive);
        const bool figure = !text.isEmpty()
            && (text[0].isDigit() || text[0] == QLatin1Char('-') || text[0] == QLatin1Char('&')
                || text[0] == QLatin1Char('.') || (words && text[0].isLetter()));
        if (event->key() == Qt::Key_F2 || figure) {
            const QModelIndex value = m_model.IndexOf(*place, kItemValueColumn);
            if (!value.flags().testFlag(Qt::ItemIsEditable)) {
                emit Refused(tr("Values can be edited again when the running transfer has ended."));
                return;
            }
            setCurrentIndex(value);
            edit(value, figure ? AnyKeyPressed : AllEditTriggers, event); // AnyKeyPressed hands the figure on
            return;
        }
        if (!text.isEmpty() && text[0].isLetterOrNumber())
            return; // keyboard search is off: Ctrl+F finds over all classes
    }
    QTreeView::keyPressEvent(event);
}
