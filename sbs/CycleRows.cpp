#include "sbs/CycleRows.h"

namespace {

CycleReading Reading(const ScanEngine& scan, std::int32_t row)
{
    if (row < 0 || row >= scan.RowCount() || !scan.ScanOn(row)
        || scan.Tables().GetSBSReadStyle(static_cast<std::int16_t>(row)) == 0)
        return {};
    const std::optional<RawValue>& raw = scan.Row(row).Raw;
    return raw ? CycleReading::Of(*raw) : CycleReading::Failed();
}

} // namespace

CycleValues ReadCycleValues(const ScanEngine& scan, const AutoCycleSettings& settings, const PassReport& pass)
{
    return {Reading(scan, settings.RemCapRow), Reading(scan, settings.BattVoltRow),
            Reading(scan, settings.BattStatRow), !pass.WhollyFailed()};
}
