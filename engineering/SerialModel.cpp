#include "engineering/SerialModel.h"

#include <algorithm>

namespace {

constexpr int kUnsettled = 16; // rows at the end that may have been under way when they were shown

} // namespace

int SerialModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_end - m_first);
}

void SerialModel::Sync()
{
    const std::int64_t first = SourceFirst();
    const std::int64_t end = SourceEnd();
    const int before = rowCount();
    if (before > 0) {
        const int from = std::max(0, before - kUnsettled);
        emit dataChanged(index(from, 0), index(before - 1, columnCount() - 1));
    }
    if (const std::int64_t gone = std::min(first, m_end) - m_first; gone > 0) {
        beginRemoveRows({}, 0, static_cast<int>(gone) - 1);
        m_first += gone;
        endRemoveRows();
    }
    if (m_first == m_end)
        m_first = m_end = std::max(m_end, first);
    if (end > m_end) {
        beginInsertRows({}, rowCount(), rowCount() + static_cast<int>(end - m_end) - 1);
        m_end = end;
        endInsertRows();
    }
}
