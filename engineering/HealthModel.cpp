#include "engineering/HealthModel.h"

#include "engineering/Transaction.h"
#include "look/Theme.h"

namespace {

QString Hex(std::int16_t value) { return value < 0 ? QString() : HexNumber(value); }

std::int64_t Count(const BusCounts& counts, int column)
{
    switch (column) {
    case HealthModel::kCalls:
        return counts.Calls;
    case HealthModel::kNack:
        return counts.Nack;
    case HealthModel::kPec:
        return counts.Pec;
    case HealthModel::kTimeouts:
        return counts.Timeouts;
    default:
        return counts.Other;
    }
}

} // namespace

QString DurationText(double microseconds)
{
    // the unit changes where the figures would get long
    return microseconds < 1000
        ? QStringLiteral("%1 us").arg(microseconds, 0, 'f', 0)
        : QStringLiteral("%1 ms").arg(microseconds / 1000, 0, 'f', microseconds < 100'000 ? 1 : 0);
}

QString RegisterText(const BusPlace& place)
{
    if (!place.Transfers())
        return QStringLiteral("All others");
    return QStringList{Hex(place.Address), Hex(place.Command), OperationText(place.Call)}
        .join(QLatin1Char(' '))
        .simplified();
}

int HealthModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

void HealthModel::Refresh()
{
    const std::vector<BusHealth::Row>& now = m_health.Rows();
    if (now.size() < m_rows.size()) {
        beginResetModel();
        m_rows = now;
        endResetModel();
        return;
    }
    const int before = rowCount();
    if (static_cast<int>(now.size()) > before) {
        beginInsertRows({}, before, static_cast<int>(now.size()) - 1);
        m_rows = now;
        endInsertRows();
    } else {
        m_rows = now;
    }
    if (before > 0)
        emit dataChanged(index(0, 0), index(before - 1, kColumnCount - 1));
}

QVariant HealthModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const BusHealth::Row& row = Row(index.row());
    const int column = index.column();
    const bool counts = column >= kCalls && column <= kOther;
    switch (role) {
    case Qt::DisplayRole:
        switch (column) {
        case kAddress:
            return Hex(row.Place.Address);
        case kCommand:
            return Hex(row.Place.Command);
        case kOperation:
            return row.Place.Transfers() ? OperationText(row.Place.Call) : tr("All others");
        case kMean:
            return DurationText(row.Counts.MeanUs());
        case kLongest:
            return DurationText(static_cast<double>(row.Counts.LongestUs));
        default:
            return QString::number(Count(row.Counts, column));
        }
    case kSortRole:
        switch (column) {
        case kAddress:
            return row.Place.Address;
        case kCommand:
            return row.Place.Command;
        case kOperation:
            return data(index, Qt::DisplayRole);
        case kMean:
            return row.Counts.MeanUs();
        case kLongest:
            return static_cast<qlonglong>(row.Counts.LongestUs);
        default:
            return static_cast<qlonglong>(Count(row.Counts, column));
        }
    case Qt::TextAlignmentRole:
        return QVariant(column >= kCalls ? Qt::AlignRight | Qt::AlignVCenter
                                         : Qt::AlignLeft | Qt::AlignVCenter);
    case Qt::FontRole:
        if (column < kOperation)
            return Theme::Current().Font(Type::Mono);
        // failures stand out by their weight: a colour alone would not be seen by everybody
        return counts && column > kCalls && Count(row.Counts, column) > 0
            ? Theme::Current().Font(Type::Strong)
            : QVariant();
    case Qt::ForegroundRole:
        return counts && column > kCalls && Count(row.Counts, column) == 0
            ? QVariant(QBrush(ToColour(Theme::Current().Colours().TextSecondary)))
            : QVariant();
    case Qt::ToolTipRole:
        return tr("%1\n%2 calls, %3 failed\nlongest %4, mean %5")
            .arg(RegisterText(row.Place))
            .arg(row.Counts.Calls)
            .arg(row.Counts.Failures())
            .arg(DurationText(static_cast<double>(row.Counts.LongestUs)), DurationText(row.Counts.MeanUs()));
    default:
        return {};
    }
}

QVariant HealthModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= kColumnCount)
        return {};
    const QString captions[]{tr("Address"),    tr("Command"),   tr("Operation"), tr("Calls"), tr("NACK"),
                             tr("PEC errors"), tr("Time-outs"), tr("Other"),     tr("Mean"),  tr("Longest")};
    const QString tips[]{tr("Bus address, 8-bit form"),   tr("Command or register"),
                         tr("What was done there"),       tr("All of them, failed ones included"),
                         tr("No acknowledge (772)"),      tr("The packet error check was wrong (3)"),
                         tr("No answer in time (8, 92)"), tr("Every other code"),
                         tr("Mean time of a call"),       tr("Longest time of a call")};
    if (role == Qt::DisplayRole)
        return captions[section];
    if (role == Qt::ToolTipRole)
        return tips[section];
    if (role == Qt::TextAlignmentRole)
        return QVariant(section >= kCalls ? Qt::AlignRight | Qt::AlignVCenter
                                          : Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}
