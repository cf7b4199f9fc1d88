#include "engineering/HistoryModel.h"

#include "look/Icons.h"
#include "look/Theme.h"

QVariant HistoryModel::data(const QModelIndex& index, int role) const
{
    const HistoryEntry* entry = m_history.Find(Serial(index.row()));
    if (!entry)
        return {};
    const int column = index.column();
    switch (role) {
    case Qt::DisplayRole:
        switch (column) {
        case kTime:
            return entry->At.time().toString(QStringLiteral("hh:mm:ss.zzz"));
        case kSent:
            return entry->Sent;
        case kAnswer:
            return entry->Answer;
        case kCode:
            return Number(entry->Code);
        case kText:
            return entry->Text;
        case kTook:
            return tr("%1 ms").arg(entry->TookMs);
        default:
            return {};
        }
    case Qt::ToolTipRole:
        return column == kTime                                        ? entry->At.toString(Qt::ISODateWithMs)
            : column == kAnswer || column == kText || column == kSent ? data(index, Qt::DisplayRole)
                                                                      : QVariant();
    case Qt::DecorationRole:
        if (column != kText || !Failed(entry->Code))
            return {};
        return entry->Code == ErrorCode::CompareDifferent
            ? ThemeIcon(QStringLiteral("neq"), IconInk::Caution)
            : ThemeIcon(QStringLiteral("error"), IconInk::Failed);
    case Qt::TextAlignmentRole:
        return QVariant(column == kCode || column == kTook ? Qt::AlignRight | Qt::AlignVCenter
                                                           : Qt::AlignLeft | Qt::AlignVCenter);
    case Qt::FontRole:
        return column == kSent || column == kAnswer ? Theme::Current().Font(Type::Mono) : QVariant();
    default:
        return {};
    }
}

QVariant HistoryModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= kColumnCount)
        return {};
    const QString captions[]{tr("Time"), tr("Sent"), tr("Answer"), tr("Code"), tr("Text"), tr("Took")};
    if (role == Qt::DisplayRole)
        return captions[section];
    if (role == Qt::TextAlignmentRole)
        return QVariant(section == kCode || section == kTook ? Qt::AlignRight | Qt::AlignVCenter
                                                             : Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}
