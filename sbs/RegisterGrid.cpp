#include "sbs/RegisterGrid.h"

#include <QHeaderView>
#include <QKeyEvent>

#include <algorithm>

namespace {

constexpr int kCompactRow = 20;
constexpr int kRoomyRow = 24;

} // namespace

RegisterGrid::RegisterGrid(RegisterModel& model, QWidget* parent)
    : QTableView(parent), m_model(model), m_filter(new QSortFilterProxyModel(this)),
      m_delegate(new RegisterDelegate(this))
{
    setObjectName(QStringLiteral("grdSBS"));
    setAccessibleName(tr("Registers"));
    m_filter->setSourceModel(&m_model);
    m_filter->setFilterKeyColumn(kDescColumn);
    m_filter->setFilterCaseSensitivity(Qt::CaseInsensitive);
    setModel(m_filter);
    setItemDelegate(m_delegate);
    setSelectionBehavior(SelectRows);
    setAlternatingRowColors(true);
    setShowGrid(false);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setEditTriggers(EditKeyPressed | DoubleClicked | AnyKeyPressed);
    setHorizontalScrollMode(ScrollPerPixel);
    verticalHeader()->hide();
    verticalHeader()->setMinimumSectionSize(kCompactRow);
    SetRoomy(false);

    QHeaderView* header = horizontalHeader();
    header->setHighlightSections(false);
    header->setSectionsMovable(true);
    header->setStretchLastSection(false);
    for (int column = kScanColumn; column <= kPlotColumn; ++column)
        header->moveSection(header->visualIndex(column), column - kScanColumn); // switches stand in front
    const int em = fontMetrics().horizontalAdvance(QLatin1Char('0'));
    for (int column : {kScanColumn, kLogColumn, kPlotColumn})
        setColumnWidth(column, fontMetrics().horizontalAdvance(tr("Scan")) + 14);
    setColumnWidth(kValueColumn, 11 * em);
    setColumnWidth(kUnitColumn, 7 * em);
    for (int column : {kMinColumn, kMaxColumn, kAgeColumn})
        setColumnWidth(column, 7 * em + 4);
    header->setSectionResizeMode(kDescColumn, QHeaderView::Stretch);
}

void RegisterGrid::Filter(const QString& text) { m_filter->setFilterFixedString(text); }

void RegisterGrid::ShowStatistics(bool min, bool max, bool age)
{
    setColumnHidden(kMinColumn, !min);
    setColumnHidden(kMaxColumn, !max);
    setColumnHidden(kAgeColumn, !age);
}

void RegisterGrid::SetRoomy(bool roomy)
{
    verticalHeader()->setDefaultSectionSize(roomy ? kRoomyRow : kCompactRow);
}

std::vector<int> RegisterGrid::SelectedRows() const
{
    std::vector<int> rows;
    for (const QModelIndex& index : selectionModel()->selectedRows())
        rows.push_back(m_filter->mapToSource(index).row());
    if (rows.empty())
        for (int row = 0; row < m_filter->rowCount(); ++row)
            rows.push_back(m_filter->mapToSource(m_filter->index(row, 0)).row());
    std::ranges::sort(rows);
    return rows;
}

void RegisterGrid::Toggle(int column)
{
    const QModelIndexList selected = selectionModel()->selectedRows();
    if (selected.isEmpty())
        return;
    const bool on = selected.first().siblingAtColumn(column).data(Qt::CheckStateRole).toInt() == Qt::Checked;
    for (const QModelIndex& index : selected)
        m_filter->setData(index.siblingAtColumn(column), on ? Qt::Unchecked : Qt::Checked,
                          Qt::CheckStateRole);
}

void RegisterGrid::keyPressEvent(QKeyEvent* event)
{
    const Qt::KeyboardModifiers held = event->modifiers() & ~Qt::KeypadModifier;
    if (held == Qt::NoModifier) {
        switch (event->key()) {
        case Qt::Key_S:
            return Toggle(kScanColumn);
        case Qt::Key_L:
            return Toggle(kLogColumn);
        case Qt::Key_P:
            return Toggle(kPlotColumn);
        default:
            break;
        }
        const QString text = event->text();
        const bool figure = !text.isEmpty()
            && (text[0].isDigit() || text[0] == QLatin1Char('-') || text[0] == QLatin1Char('&')
                || text[0] == QLatin1Char('.'));
        if ((event->key() == Qt::Key_F2 || figure) && currentIndex().isValid()) {
            const QModelIndex value = currentIndex().siblingAtColumn(kValueColumn);
            if (!value.flags().testFlag(Qt::ItemIsEditable)) {
                emit Refused(tr("%1 cannot be written: the register table marks it read only.")
                                 .arg(value.siblingAtColumn(kDescColumn).data().toString()));
                return;
            }
            setCurrentIndex(value);
            edit(value, figure ? AnyKeyPressed : EditKeyPressed, event); // only the first hands the figure on
            return;
        }
        const bool onSwitch
            = currentIndex().column() >= kScanColumn && currentIndex().column() <= kPlotColumn;
        if (!text.isEmpty() && (text[0].isLetterOrNumber() || (text[0] == QLatin1Char(' ') && !onSwitch)))
            return; // no keyboard search: letters are switches, and a blank begins no value
    }
    if (event->matches(QKeySequence::Copy)) {
        emit CopyRequested(QLatin1Char('\t'));
        return;
    }
    QTableView::keyPressEvent(event);
}
