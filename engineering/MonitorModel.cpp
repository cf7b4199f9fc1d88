#include "engineering/MonitorModel.h"

#include "engineering/CallText.h"
#include "engineering/Transaction.h"
#include "look/Icons.h"
#include "look/Theme.h"

namespace {

QString Moved(const BusMonitor::Entry& entry)
{
    if (!entry.Done)
        return QStringLiteral("under way");
    QStringList texts{SentText(entry.Call), CameText(entry.Call)};
    texts.removeAll(QString());
    return texts.join(QStringLiteral(" -> "));
}

QString Hex(std::int16_t value) { return value < 0 ? QString() : HexNumber(value); }

} // namespace

QVariant MonitorModel::data(const QModelIndex& index, int role) const
{
    const BusMonitor::Entry* entry = Entry(index.row());
    if (!entry)
        return {};
    const int column = index.column();
    switch (role) {
    case Qt::DisplayRole:
        switch (column) {
        case kTime:
            return entry->At.time().toString(QStringLiteral("hh:mm:ss.zzz"));
        case kOperation:
            return OperationText(entry->Place.Call);
        case kAddress:
            return Hex(entry->Place.Address);
        case kCommand:
            return Hex(entry->Place.Command);
        case kCode:
            return entry->Done ? QVariant(Number(entry->Code)) : QVariant();
        case kData:
            return Moved(*entry);
        case kTook:
            return entry->Done ? tr("%1 ms").arg(entry->Call.TookMs) : QString();
        default:
            return {};
        }
    case Qt::ToolTipRole:
        return Failed(entry->Code) ? ErrorCodeToText(entry->Code) : ShownCall(entry->Call);
    case Qt::DecorationRole:
        return column == kOperation && Failed(entry->Code)
            ? ThemeIcon(QStringLiteral("error"), IconInk::Failed)
            : QVariant();
    case Qt::TextAlignmentRole:
        return QVariant(column == kCode || column == kTook ? Qt::AlignRight | Qt::AlignVCenter
                                                           : Qt::AlignLeft | Qt::AlignVCenter);
    case Qt::FontRole:
        return column == kTime || column == kOperation || column == kTook ? QVariant()
                                                                          : Theme::Current().Font(Type::Mono);
    default:
        return {};
    }
}

QVariant MonitorModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= kColumnCount)
        return {};
    const QString captions[]{tr("Time"), tr("Operation"), tr("Address"), tr("Command"),
                             tr("Code"), tr("Data"),      tr("Took")};
    if (role == Qt::DisplayRole)
        return captions[section];
    if (role == Qt::TextAlignmentRole)
        return QVariant(section == kCode || section == kTook ? Qt::AlignRight | Qt::AlignVCenter
                                                             : Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}

void MonitorFilter::Show(int group, bool failuresOnly, const QString& text)
{
    m_group = group;
    m_failuresOnly = failuresOnly;
    m_text = text.trimmed();
    invalidateFilter();
}

bool MonitorFilter::filterAcceptsRow(int row, const QModelIndex& /*parent*/) const
{
    const auto* model = static_cast<const MonitorModel*>(sourceModel());
    const BusMonitor::Entry* entry = model->Entry(row);
    if (!entry)
        return false;
    if (m_group >= 0 && static_cast<int>(entry->Place.Group) != m_group)
        return false;
    if (m_failuresOnly && !Failed(entry->Code))
        return false;
    if (m_text.isEmpty())
        return true;
    for (const int column :
         {MonitorModel::kOperation, MonitorModel::kAddress, MonitorModel::kCommand, MonitorModel::kData})
        if (model->index(row, column).data().toString().contains(m_text, Qt::CaseInsensitive))
            return true;
    return false;
}
