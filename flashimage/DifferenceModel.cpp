#include "flashimage/DifferenceModel.h"

#include "look/Theme.h"

#include <algorithm>

namespace {

constexpr std::uint64_t kShownBytes = 12;

} // namespace

void DifferenceModel::Show(const ImageDocument* first, const ImageDocument* second)
{
    beginResetModel();
    m_first = first;
    m_second = second;
    m_all.clear();
    m_count = m_bytes = 0;
    if (first && second)
        for (const ImageArea area : {ImageArea::Data, ImageArea::Program}) {
            const RegionDiff diff = CompareRegions(first->Region(area), second->Region(area));
            m_count += diff.RangeCount;
            m_bytes += diff.ByteCount;
            for (const DiffRange& range : diff.Ranges)
                m_all.push_back({area, range});
        }
    endResetModel();
}

void DifferenceModel::Clear() { Show(nullptr, nullptr); }

std::vector<DiffRange> DifferenceModel::Of(ImageArea area) const
{
    std::vector<DiffRange> ranges;
    for (const Difference& difference : m_all)
        if (difference.Area == area)
            ranges.push_back(difference.Range);
    return ranges;
}

int DifferenceModel::Next(ImageDocument::Place from, bool forward) const
{
    if (m_all.empty())
        return -1;
    const int last = static_cast<int>(m_all.size()) - 1;
    const auto place = [](const Difference& one) { return ImageDocument::Place{one.Area, one.Range.Start}; };
    if (forward) {
        const auto found = std::find_if(m_all.begin(), m_all.end(),
                                        [&](const Difference& one) { return place(one) > from; });
        return found == m_all.end() ? 0 : static_cast<int>(found - m_all.begin());
    }
    const auto found = std::find_if(m_all.rbegin(), m_all.rend(),
                                    [&](const Difference& one) { return place(one) < from; });
    return found == m_all.rend() ? last : last - static_cast<int>(found - m_all.rbegin());
}

int DifferenceModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_all.size());
}

int DifferenceModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int{kColumns};
}

QString DifferenceModel::BytesOf(const ImageDocument& document, const Difference& difference) const
{
    QString text;
    const std::uint64_t shown = std::min(difference.Range.Size, kShownBytes);
    for (std::uint64_t i = 0; i < shown; ++i) {
        const auto byte
            = document.ByteAt(difference.Area, difference.Range.Start + static_cast<std::uint32_t>(i));
        text += byte ? QStringLiteral("%1 ").arg(*byte, 2, 16, QLatin1Char('0')).toUpper()
                     : QStringLiteral("-- ");
    }
    return text + (shown < difference.Range.Size ? QStringLiteral("...") : QString());
}

QVariant DifferenceModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || !m_first || !m_second)
        return {};
    const Difference& difference = m_all[static_cast<std::size_t>(index.row())];
    const int column = index.column();
    if (role == Qt::TextAlignmentRole)
        return QVariant((column == kNumber || column == kBytes ? Qt::AlignRight : Qt::AlignLeft)
                        | Qt::AlignVCenter);
    if (role == Qt::FontRole && (column == kAddress || column == kFirst || column == kSecond))
        return Theme::Current().Font(Type::Mono);
    if (role != Qt::DisplayRole)
        return {};
    switch (column) {
    case kNumber:
        return index.row() + 1;
    case kAddress:
        return QStringLiteral("%1").arg(difference.Range.Start, 8, 16, QLatin1Char('0')).toUpper();
    case kBytes:
        return QString::number(difference.Range.Size);
    case kFirst:
        return BytesOf(*m_first, difference);
    case kSecond:
        return BytesOf(*m_second, difference);
    default:
        return AreaName(difference.Area);
    }
}

QVariant DifferenceModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return QVariant((section == kNumber || section == kBytes ? Qt::AlignRight : Qt::AlignLeft)
                        | Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    switch (section) {
    case kNumber:
        return tr("No.");
    case kAddress:
        return tr("Address");
    case kBytes:
        return tr("Bytes");
    case kFirst:
        return m_first ? m_first->Name() : QString();
    case kSecond:
        return m_second ? m_second->Name() : QString();
    default:
        return tr("Region");
    }
}
