#include "dataflash/DataFlashItemModel.h"

#include "dataflash/EachItem.h"
#include "dataflash/EditJudge.h"

#include <QStringList>

namespace {

constexpr int kClassShift = 16;

const SubClass& SubClassOf(const DataFlashTree& tree, int classIndex, int subClass)
{
    return tree.Classes[static_cast<std::size_t>(classIndex)].SubClasses[static_cast<std::size_t>(subClass)];
}

QString MarkWords(ItemMarks marks)
{
    QStringList words;
    if (marks.testFlag(ItemMark::Changed))
        words << DataFlashItemModel::tr("changed by the last read");
    if (marks.testFlag(ItemMark::Edited))
        words << DataFlashItemModel::tr("edited, not written");
    if (marks.testFlag(ItemMark::Differs))
        words << DataFlashItemModel::tr("differs from the default");
    if (marks.testFlag(ItemMark::Unknown))
        words << DataFlashItemModel::tr("not read yet");
    return words.join(QStringLiteral(", "));
}

} // namespace

DataFlashItemModel::DataFlashItemModel(const DataFlashTree& tree, EditHistory& history,
                                       const ReadTrends& trends, QObject* parent)
    : QAbstractItemModel(parent), m_tree(tree), m_history(history), m_trends(trends)
{
}

void DataFlashItemModel::Show(int classIndex, const DataFlashFilter& filter)
{
    beginResetModel();
    m_sections.clear();
    m_manyClasses = classIndex == kAllClasses;
    ForEachItem(m_tree, [&](const ItemPlace& place, const DataClass&, const SubClass&, const DataItem& item) {
        if ((!m_manyClasses && place.Class != classIndex) || !filter.Passes(m_tree, place))
            return;
        if (m_sections.empty() || m_sections.back().Class != place.Class
            || m_sections.back().SubClass != place.SubClass)
            m_sections.push_back({place.Class, place.SubClass, {}});
        m_sections.back().Rows.push_back(
            {place, Shown(item, item.DefValue), Shown(item, item.MinVal), Shown(item, item.MaxVal)});
    });
    endResetModel();
}

void DataFlashItemModel::RefreshValues()
{
    for (int section = 0; section < rowCount(); ++section) {
        const QModelIndex parent = index(section, 0);
        emit dataChanged(index(0, 0, parent), index(rowCount(parent) - 1, kItemColumns - 1, parent));
    }
}

std::optional<ItemPlace> DataFlashItemModel::PlaceOf(const QModelIndex& index) const
{
    const Row* row = RowAt(index);
    return row ? std::optional(row->Place) : std::nullopt;
}

QModelIndex DataFlashItemModel::IndexOf(const ItemPlace& place, int column) const
{
    for (int s = 0; s < rowCount(); ++s) {
        const Section& section = m_sections[static_cast<std::size_t>(s)];
        if (section.Class != place.Class || section.SubClass != place.SubClass)
            continue;
        for (std::size_t row = 0; row < section.Rows.size(); ++row)
            if (section.Rows[row].Place == place)
                return index(static_cast<int>(row), column, index(s, 0));
    }
    return {};
}

const DataItem& DataFlashItemModel::Item(const ItemPlace& place) const { return ItemAt(m_tree, place); }

int DataFlashItemModel::ShownItems() const
{
    int items = 0;
    for (const Section& section : m_sections)
        items += static_cast<int>(section.Rows.size());
    return items;
}

int DataFlashItemModel::SubClassKey(int section) const
{
    const Section& at = m_sections[static_cast<std::size_t>(section)];
    return (at.Class << kClassShift) + at.SubClass;
}

QModelIndex DataFlashItemModel::index(int row, int column, const QModelIndex& parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    // 0 marks a section row; an item row carries its section, counted from 1
    return createIndex(row, column, parent.isValid() ? static_cast<quintptr>(parent.row() + 1) : 0);
}

QModelIndex DataFlashItemModel::parent(const QModelIndex& index) const
{
    if (!index.isValid() || index.internalId() == 0)
        return {};
    return createIndex(static_cast<int>(index.internalId()) - 1, 0, quintptr{0});
}

int DataFlashItemModel::rowCount(const QModelIndex& parent) const
{
    if (!parent.isValid())
        return static_cast<int>(m_sections.size());
    if (parent.internalId() != 0 || parent.column() != 0)
        return 0;
    return static_cast<int>(m_sections[static_cast<std::size_t>(parent.row())].Rows.size());
}

int DataFlashItemModel::columnCount(const QModelIndex& /*parent*/) const { return kItemColumns; }

const DataFlashItemModel::Row* DataFlashItemModel::RowAt(const QModelIndex& index) const
{
    if (!index.isValid() || index.internalId() == 0)
        return nullptr;
    return &m_sections[index.internalId() - 1].Rows[static_cast<std::size_t>(index.row())];
}

ItemMarks DataFlashItemModel::MarksOf(const ItemPlace& place) const
{
    const DataItem& item = Item(place);
    ItemMarks marks;
    marks.setFlag(ItemMark::Changed, item.ChangedFlag);
    marks.setFlag(ItemMark::Rose, item.ChangedFlag && m_trends.Rose(m_tree, place));
    marks.setFlag(ItemMark::Edited, item.Edited());
    marks.setFlag(ItemMark::Differs, DiffersFromDefault(item));
    marks.setFlag(ItemMark::Unknown, item.Value.isNull());
    return marks;
}

QVariant DataFlashItemModel::SectionData(const Section& section, int role) const
{
    const SubClass& subClass = SubClassOf(m_tree, section.Class, section.SubClass);
    const QString name = m_manyClasses ? QStringLiteral("%1 / %2").arg(
                             m_tree.Classes[static_cast<std::size_t>(section.Class)].Name, subClass.Name)
                                       : subClass.Name;
    const auto items = section.Rows.size();
    const QString detail = tr("subclass %1 \u00b7 %2 bytes \u00b7 %3")
                               .arg(subClass.Id)
                               .arg(subClass.Length())
                               .arg(items == 1 ? tr("1 item") : tr("%1 items").arg(items));
    switch (role) {
    case Qt::DisplayRole:
        return name;
    case kSectionDetailRole:
        return detail;
    case Qt::AccessibleTextRole:
        return name + QStringLiteral(", ") + detail;
    default:
        return {};
    }
}

QString DataFlashItemModel::Text(const Row& row, int column) const
{
    const DataItem& item = Item(row.Place);
    switch (column) {
    case kItemNameColumn:
        return item.Name;
    case kItemValueColumn:
        return Shown(item, item.Value);
    case kItemUnitColumn:
        return item.Units.isEmpty() && item.DataType.startsWith(QLatin1Char('H'), Qt::CaseInsensitive)
            ? QStringLiteral("hex")
            : item.Units;
    case kItemDefaultColumn:
        return row.Default;
    case kItemMinColumn:
        return row.Min;
    case kItemMaxColumn:
        return row.Max;
    default:
        return {};
    }
}

QVariant DataFlashItemModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const Row* row = RowAt(index);
    if (!row)
        return index.column() == 0 ? SectionData(m_sections[static_cast<std::size_t>(index.row())], role)
                                   : QVariant();
    const int column = index.column();
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return Text(*row, column);
    case kItemMarksRole:
        return static_cast<int>(MarksOf(row->Place));
    case Qt::AccessibleTextRole:
        return column == kItemMarksColumn ? MarkWords(MarksOf(row->Place)) : Text(*row, column);
    case Qt::ToolTipRole: {
        if (column == kItemMarksColumn)
            return MarkWords(MarksOf(row->Place));
        const QString facts
            = ItemToolTip(SubClassOf(m_tree, row->Place.Class, row->Place.SubClass), Item(row->Place));
        const QString marks = MarkWords(MarksOf(row->Place));
        return marks.isEmpty() ? facts : facts + QLatin1Char('\n') + marks;
    }
    case Qt::TextAlignmentRole: {
        const bool number
            = column >= kItemValueColumn && column <= kItemMaxColumn && column != kItemUnitColumn;
        return QVariant(Qt::AlignVCenter | (number ? Qt::AlignRight : Qt::AlignLeft));
    }
    default:
        return {};
    }
}

QVariant DataFlashItemModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    const bool number
        = section >= kItemValueColumn && section <= kItemMaxColumn && section != kItemUnitColumn;
    if (role == Qt::TextAlignmentRole)
        return QVariant(Qt::AlignVCenter | (number ? Qt::AlignRight : Qt::AlignLeft));
    if (role != Qt::DisplayRole)
        return {};
    static const char* const kHeads[] = {
        QT_TR_NOOP("Name"), QT_TR_NOOP("Value"), QT_TR_NOOP("Unit"),  QT_TR_NOOP("Default"),
        QT_TR_NOOP("Min"),  QT_TR_NOOP("Max"),   QT_TR_NOOP("Marks"),
    };
    return tr(kHeads[section]);
}

Qt::ItemFlags DataFlashItemModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    if (!RowAt(index))
        return Qt::ItemIsEnabled;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    flags.setFlag(Qt::ItemIsEditable, index.column() == kItemValueColumn && !m_locked);
    return flags;
}

bool DataFlashItemModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    return role == Qt::EditRole && Type(index, value.toString(), false);
}

bool DataFlashItemModel::Type(const QModelIndex& index, const QString& typed, bool anyway)
{
    const Row* row = RowAt(index);
    if (!row || m_locked)
        return false;
    const DataItem& item = Item(row->Place);
    const EditVerdict verdict = JudgeEdit(item, typed);
    if (!verdict.Ok() && !(verdict.RangeOnly && anyway))
        return false;
    if (m_history.Do(tr("edit of %1").arg(item.Name), {{row->Place, verdict.Native}}) > 0) {
        emit dataChanged(index.siblingAtColumn(0), index.siblingAtColumn(kItemColumns - 1));
        emit Edited();
    }
    return true;
}
