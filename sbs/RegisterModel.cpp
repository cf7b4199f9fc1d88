#include "sbs/RegisterModel.h"

#include "sbs/RowTexts.h"

#include <algorithm>
#include <array>

void RegisterModel::LoadInitSBSGrid()
{
    beginResetModel();
    m_plotted.clear();
    endResetModel();
    emit PlottedChanged();
}

void RegisterModel::MoveSBSDataToGrid()
{
    if (rowCount() == 0)
        return;
    emit dataChanged(index(0, kValueColumn), index(rowCount() - 1, kUnitColumn));
    emit dataChanged(index(0, kMinColumn), index(rowCount() - 1, kAgeColumn));
}

void RegisterModel::RefreshAges()
{
    if (rowCount() > 0)
        emit dataChanged(index(0, kAgeColumn), index(rowCount() - 1, kAgeColumn), {Qt::DisplayRole});
}

void RegisterModel::RefreshSwitches()
{
    if (rowCount() > 0)
        emit dataChanged(index(0, kScanColumn), index(rowCount() - 1, kPlotColumn));
}

void RegisterModel::SetPlotted(int row, bool on)
{
    const auto place = std::ranges::find(m_plotted, row);
    if (on == (place != m_plotted.end()))
        return;
    if (!on) {
        *place = -1; // the other curves keep their places, and with them their colours
    } else if (const auto free = std::ranges::find(m_plotted, -1); free != m_plotted.end()) {
        *free = row;
    } else {
        m_plotted.push_back(row);
    }
    emit dataChanged(index(row, kPlotColumn), index(row, kPlotColumn));
    emit PlottedChanged();
}

int RegisterModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_scan.RowCount();
}

int RegisterModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(kRegisterColumns);
}

QString RegisterModel::Text(int row, int column) const
{
    const RowState& state = m_scan.Row(row);
    const auto at = static_cast<std::int16_t>(row);
    switch (column) {
    case kDescColumn:
        return ShownDescription(m_scan.Tables().GetSBSDesc(at));
    case kValueColumn:
        return state.Text;
    case kUnitColumn: {
        const QString unit = m_scan.Tables().GetSBSUnit(at);
        if (unit.isEmpty() && m_scan.Tables().GetSBSDisplayFormat(at).trimmed().startsWith(QLatin1Char('h')))
            return QStringLiteral("hex");
        return unit == QLatin1String("mAh") && !m_scan.CapacityUnit().isEmpty() ? m_scan.CapacityUnit()
                                                                                : unit;
    }
    case kMinColumn:
        return m_scan.StatisticText(row, state.Min);
    case kMaxColumn:
        return m_scan.StatisticText(row, state.Max);
    case kAgeColumn:
        if (!m_scan.ScanOn(row))
            return state.Reads > 0 ? tr("off") : QStringLiteral("--");
        if (const auto age = m_scan.AgeMs(row))
            return AgeText(*age);
        return QStringLiteral("--");
    default:
        return {};
    }
}

RegisterMark RegisterModel::Mark(int row) const
{
    const RowState& state = m_scan.Row(row);
    if (!state.Reason.isEmpty())
        return RegisterMark::Failed;
    if (!state.Changed)
        return RegisterMark::None;
    return state.Direction < 0 ? RegisterMark::Down : RegisterMark::Up;
}

QVariant RegisterModel::data(const QModelIndex& index, int role) const
{
    const int row = index.row();
    const int column = index.column();
    switch (role) {
    case Qt::DisplayRole:
        return Text(row, column);
    case Qt::EditRole:
        return column == kValueColumn ? m_scan.Row(row).Text : QVariant();
    case Qt::ToolTipRole:
        return RowToolTip(m_scan, row);
    case Qt::TextAlignmentRole: {
        const bool figure = column == kValueColumn || column >= kMinColumn;
        return static_cast<int>((figure ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    }
    case Qt::CheckStateRole: {
        const auto state
            = [](bool on) { return QVariant(static_cast<int>(on ? Qt::Checked : Qt::Unchecked)); };
        if (column == kScanColumn)
            return state(m_scan.ScanOn(row));
        if (column == kLogColumn)
            return state(m_scan.LogOn(row));
        if (column == kPlotColumn)
            return state(std::ranges::find(m_plotted, row) != m_plotted.end());
        return {};
    }
    case kMarkRole:
        return static_cast<int>(Mark(row));
    case kCurveRole: {
        const auto place = std::ranges::find(m_plotted, row);
        return place == m_plotted.end() ? -1 : static_cast<int>(place - m_plotted.begin());
    }
    case kEmphasisRole:
        return IsEmphasised(m_scan.Tables().GetSBSDesc(static_cast<std::int16_t>(row)));
    default:
        return {};
    }
}

bool RegisterModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (role == Qt::CheckStateRole) {
        const bool on = value.toInt() == Qt::Checked;
        if (index.column() == kScanColumn)
            m_scan.SetScan(index.row(), on);
        else if (index.column() == kLogColumn && m_scan.CanLog(index.row()))
            m_scan.SetLog(index.row(), on);
        else if (index.column() == kPlotColumn)
            SetPlotted(index.row(), on);
        else
            return false;
        const int row = index.row();
        emit dataChanged(this->index(row, 0), this->index(row, kRegisterColumns - 1));
        return true;
    }
    if (role == Qt::EditRole && index.column() == kValueColumn) {
        emit WriteRequested(index.row(), value.toString());
        return true;
    }
    return false;
}

QVariant RegisterModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    static const std::array kTitles{tr("Description"), tr("Value"), tr("Unit"), tr("Scan"), tr("Log"),
                                    tr("Plot"),        tr("Min"),   tr("Max"),  tr("Age")};
    if (role == Qt::DisplayRole)
        return kTitles[static_cast<std::size_t>(section)];
    if (role == Qt::TextAlignmentRole) {
        const bool figure = section == kValueColumn || section >= kMinColumn;
        const bool mark = section >= kScanColumn && section <= kPlotColumn;
        return static_cast<int>((mark         ? Qt::AlignHCenter
                                     : figure ? Qt::AlignRight
                                              : Qt::AlignLeft)
                                | Qt::AlignVCenter);
    }
    return {};
}

Qt::ItemFlags RegisterModel::flags(const QModelIndex& index) const
{
    Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
    const auto row = static_cast<std::int16_t>(index.row());
    if (index.column() == kLogColumn && !m_scan.CanLog(index.row()))
        return Qt::ItemIsSelectable; // a row without a log caption cannot be logged
    if (index.column() >= kScanColumn && index.column() <= kPlotColumn)
        flags |= Qt::ItemIsUserCheckable;
    if (index.column() == kValueColumn && m_scan.Tables().GetSBSWriteable(row) > 0)
        flags |= Qt::ItemIsEditable;
    return flags;
}
