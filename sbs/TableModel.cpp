#include "sbs/TableModel.h"

namespace {

TablePlace PlaceOf(const QModelIndex& index) { return {index.row(), index.column()}; }

} // namespace

TableModel::TableModel(TableDocument& document, QObject* parent)
    : QAbstractTableModel(parent), m_document(document)
{
    m_document.SetWatcher(this);
}

TableModel::~TableModel() { m_document.SetWatcher(nullptr); }

int TableModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : m_document.Rows(); }

int TableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_document.Columns();
}

QVariant TableModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const TablePlace place = PlaceOf(index);
    const QString& cell = m_document.Cells(place.Row)[place.Column];
    const TableColumn& column = ColumnsOf(m_document.Kind())[static_cast<std::size_t>(place.Column)];
    switch (role) {
    case Qt::EditRole:
        return cell;
    case Qt::DisplayRole:
        if (column.Name == QLatin1String("ReadStyle")) {
            const QString name = ReadStyleName(cell.toInt());
            return name.isEmpty() ? cell : QStringLiteral("%1  %2").arg(cell, name);
        }
        return cell;
    case Qt::TextAlignmentRole:
        return QVariant(Qt::AlignVCenter
                        | (column.Form == CellForm::Text || column.Name == QLatin1String("ReadStyle")
                               ? Qt::AlignLeft
                               : Qt::AlignRight));
    case Qt::ToolTipRole: {
        const CellCheck check = m_document.Check(place);
        return check.Text.isEmpty() ? column.Help : check.Text;
    }
    case kCellCheckRole:
        return static_cast<int>(m_document.Check(place).What);
    case kCellEditedRole:
        return m_document.Edited(place.Row, place.Column);
    default:
        return {};
    }
}

QVariant TableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Vertical)
        return role == Qt::DisplayRole ? QVariant(section) : QVariant(); // rows count from 0, as settings do
    const std::vector<TableColumn>& columns = ColumnsOf(m_document.Kind());
    if (section < 0 || static_cast<std::size_t>(section) >= columns.size())
        return {};
    const TableColumn& column = columns[static_cast<std::size_t>(section)];
    switch (role) {
    case Qt::DisplayRole:
        return column.Name;
    case Qt::ToolTipRole:
        return column.Help;
    case Qt::TextAlignmentRole:
        return QVariant(Qt::AlignVCenter | Qt::AlignLeft);
    default:
        return {};
    }
}

Qt::ItemFlags TableModel::flags(const QModelIndex& index) const
{
    return QAbstractTableModel::flags(index) | Qt::ItemIsEditable;
}

bool TableModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (role != Qt::EditRole)
        return false;
    m_document.SetCell(PlaceOf(index), value.toString());
    return true;
}

void TableModel::RowsComing(int at, int count) { beginInsertRows({}, at, at + count - 1); }

void TableModel::RowsCame()
{
    endInsertRows();
    emit TableChanged();
}

void TableModel::RowsGoing(int at, int count) { beginRemoveRows({}, at, at + count - 1); }

void TableModel::RowsGone()
{
    endRemoveRows();
    emit TableChanged();
}

void TableModel::RowsChanged(int at, int count)
{
    if (count > 0)
        emit dataChanged(index(at, 0), index(at + count - 1, columnCount() - 1));
    emit TableChanged();
}

void TableModel::TableComing() { beginResetModel(); }

void TableModel::TableCame()
{
    endResetModel();
    emit TableChanged();
}
