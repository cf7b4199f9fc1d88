#include "sbs/clsSBSCfgRW.h"

#include "sbs/TableCodec.h"

namespace {

/// Rows are checked against the capacity and not against the count, on purpose: a slot between the two
/// answers with its empty fields.
template <class Record>
const Record* Slot(const std::vector<Record>& records, std::int16_t row)
{
    const bool inside = row >= 0 && static_cast<std::size_t>(row) < records.size();
    return inside ? &records[static_cast<std::size_t>(row)] : nullptr;
}

template <class Record>
QString TextOf(const std::vector<Record>& records, std::int16_t row, QString Record::*field)
{
    const Record* record = Slot(records, row);
    return record != nullptr ? record->*field : QString();
}

template <class Record, class Number>
std::int16_t NumberOf(const std::vector<Record>& records, std::int16_t row, Number Record::*field)
{
    const Record* record = Slot(records, row);
    return record != nullptr ? record->*field : std::int16_t{-1};
}

QString NumberTextOf(const std::vector<SBSFlagRec>& records, std::int16_t row,
                     std::int16_t SBSFlagRec::*field)
{
    const SBSFlagRec* record = Slot(records, row);
    return record != nullptr ? QString::number(record->*field) : QString();
}

int Report(const QString& problem, QString* error)
{
    if (error != nullptr)
        *error = problem;
    return 0;
}

} // namespace

clsSBSCfgRW::clsSBSCfgRW() : m_sbs(TableCodec::kFirstCapacity), m_flags(TableCodec::kFirstCapacity) { }

int clsSBSCfgRW::LoadSBSInfo(const QString& fileName, QString* error)
{
    return Report(TableCodec::Load(fileName, m_sbs, m_numSBSRows), error);
}

int clsSBSCfgRW::LoadFlagsInfo(const QString& fileName, QString* error)
{
    return Report(TableCodec::Load(fileName, m_flags, m_numFlags), error);
}

void clsSBSCfgRW::UnloadFlagsInfo()
{
    m_flags.assign(TableCodec::kFirstCapacity, {});
    m_numFlags = 0;
}

QString clsSBSCfgRW::GetSBSDesc(std::int16_t row) const { return TextOf(m_sbs, row, &SBSInfoRec::Desc); }

QString clsSBSCfgRW::GetSBSLogDesc(std::int16_t row) const
{
    return TextOf(m_sbs, row, &SBSInfoRec::LogDesc);
}

std::int16_t clsSBSCfgRW::GetSBSReadStyle(std::int16_t row) const
{
    return NumberOf(m_sbs, row, &SBSInfoRec::ReadStyle);
}

std::int16_t clsSBSCfgRW::GetSBSReadCommand(std::int16_t row) const
{
    return NumberOf(m_sbs, row, &SBSInfoRec::ReadCommand);
}

QString clsSBSCfgRW::GetSBSReadFactor(std::int16_t row) const
{
    return TextOf(m_sbs, row, &SBSInfoRec::ReadFactor);
}

QString clsSBSCfgRW::GetSBSWriteFactor(std::int16_t row) const
{
    return TextOf(m_sbs, row, &SBSInfoRec::WriteFactor);
}

std::int16_t clsSBSCfgRW::GetSBSWriteable(std::int16_t row) const
{
    return NumberOf(m_sbs, row, &SBSInfoRec::Writeable);
}

QString clsSBSCfgRW::GetSBSDisplayFormat(std::int16_t row) const
{
    return TextOf(m_sbs, row, &SBSInfoRec::DisplayFormat);
}

QString clsSBSCfgRW::GetSBSUnit(std::int16_t row) const { return TextOf(m_sbs, row, &SBSInfoRec::Unit); }

bool clsSBSCfgRW::GetSBSRow(std::int16_t row, SBSInfoRec& record) const
{
    const SBSInfoRec* slot = Slot(m_sbs, row);
    if (slot != nullptr)
        record = *slot;
    return slot != nullptr;
}

QString clsSBSCfgRW::GetFlagCaption(std::int16_t row) const
{
    return TextOf(m_flags, row, &SBSFlagRec::Caption);
}

QString clsSBSCfgRW::GetFlagBitDesc(std::int16_t row) const
{
    return TextOf(m_flags, row, &SBSFlagRec::BitDesc);
}

QString clsSBSCfgRW::GetFlagSBSRowNum(std::int16_t row) const
{
    return NumberTextOf(m_flags, row, &SBSFlagRec::SBSRowNum);
}

QString clsSBSCfgRW::GetFlagBitWidth(std::int16_t row) const
{
    return NumberTextOf(m_flags, row, &SBSFlagRec::BitWidth);
}

void clsSBSCfgRW::PopulateSBSInfo(TextGrid& grid) const { TableCodec::Populate(grid, m_sbs, m_numSBSRows); }

void clsSBSCfgRW::PopulateSBSFlagsInfo(TextGrid& grid) const
{
    TableCodec::Populate(grid, m_flags, m_numFlags);
}

QString clsSBSCfgRW::PopulateSrecTarget(TextGrid& grid, const QString& fileName) const
{
    std::vector<SrecTargetRec> records;
    std::int16_t count = 0;
    QString problem = TableCodec::Load(fileName, records, count);
    if (problem.isEmpty())
        TableCodec::Populate(grid, records, count);
    return problem;
}

QString clsSBSCfgRW::WriteSBSInfo(const TextGrid& grid, const QString& fileName) const
{
    return TableCodec::Save<SBSInfoRec>(grid, fileName);
}

QString clsSBSCfgRW::WriteSBSFlagsInfo(const TextGrid& grid, const QString& fileName) const
{
    return TableCodec::Save<SBSFlagRec>(grid, fileName);
}

QString clsSBSCfgRW::WriteSrecTarget(const TextGrid& grid, const QString& fileName) const
{
    return TableCodec::Save<SrecTargetRec>(grid, fileName);
}
