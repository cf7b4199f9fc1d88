#include "engineering/MonitorModel.h"

#include "engineering/Transaction.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QJsonDocument>

namespace {

constexpr qsizetype kLongest = 120; // characters in a cell

QString Values(const QJsonArray& values)
{
    QStringList texts;
    for (const auto& value : values)
        texts << (value.isDouble() ? QString::number(value.toInteger()) : value.toString());
    const QString text = texts.join(QStringLiteral(", "));
    return text.size() > kLongest ? text.left(kLongest) + QStringLiteral("...") : text;
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
        case kGiven:
            return Values(entry->Call.In);
        case kCode:
            return entry->Done ? QVariant(Number(entry->Code)) : QVariant();
        case kAnswer:
            return entry->Done ? Values(entry->Call.Out) : tr("under way");
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
        return column == kOperation || column == kTook ? QVariant() : Theme::Current().Font(Type::Mono);
    default:
        return {};
    }
}

QVariant MonitorModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= kColumnCount)
        return {};
    const QString captions[]{tr("Time"),  tr("Operation"), tr("Address"), tr("Command"),
                             tr("Given"), tr("Code"),      tr("Came"),    tr("Took")};
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
    for (const int column : {MonitorModel::kOperation, MonitorModel::kAddress, MonitorModel::kCommand,
                             MonitorModel::kGiven, MonitorModel::kAnswer})
        if (model->index(row, column).data().toString().contains(m_text, Qt::CaseInsensitive))
            return true;
    return false;
}
