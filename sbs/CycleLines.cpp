#include "sbs/CycleLines.h"

namespace {

constexpr std::int16_t kChargerLine = 0;
constexpr std::int16_t kLoadLine = 1;
constexpr std::int16_t kAllReleased = 0;

const QString& Owner()
{
    static const QString owner = QStringLiteral("Auto-cycle");
    return owner;
}

/// Keeps the first failure and every missing line.
void Note(ErrorCode code, const QString& key, LineResult& result)
{
    if (!Failed(code))
        return;
    if (code == ErrorCode::IncorrectParam)
        result.MissingKeys << key;
    if (result.Ok())
        result.Code = code;
}

} // namespace

LineResult AdapterLines::Switch(Direction direction, const AutoCycleSettings& wiring)
{
    LineResult result;
    const ExclusiveAccess access(m_access, Owner());
    if (!access) {
        result.Code = ErrorCode::BusBusy;
        return result;
    }
    if (wiring.TwoPins()) {
        const bool charge = direction == Direction::Charge;
        WriteLine(charge ? kLoadLine : kChargerLine, false, wiring, result);
        if (result.Ok())
            WriteLine(charge ? kChargerLine : kLoadLine, true, wiring, result);
    } else {
        WritePowerLine(direction, wiring, result);
    }
    return result;
}

LineResult AdapterLines::BothOff(const AutoCycleSettings& wiring)
{
    LineResult result;
    m_access.TakeBack(); // off cannot wait until a plug-in is done with the bus
    const ExclusiveAccess access(m_access, Owner());
    if (!access) {
        result.Code = ErrorCode::BusBusy;
        return result;
    }
    if (!wiring.TwoPins()) {
        Release(result);
        return result;
    }
    WriteLine(kLoadLine, false, wiring, result);
    WriteLine(kChargerLine, false, wiring, result);
    if (!result.Ok() && result.MissingKeys.isEmpty()) {
        LineResult released;
        Release(released);
        if (released.Ok())
            return released;
    }
    return result;
}

void AdapterLines::WritePowerLine(Direction direction, const AutoCycleSettings& wiring, LineResult& result)
{
    const bool charge = direction == Direction::Charge;
    const bool high = charge == (wiring.PinHi != 0);
    ErrorCode err = ErrorCode::Ok;
    m_usb.EEPower(high ? 1 : 0, err);
    // only the way to charging polls the adapter once more: a charger that did not come on is worth knowing,
    // and the way to discharging has always gone without
    if (!Failed(err) && charge)
        m_usb.CheckForError(err);
    Note(err, QStringLiteral("PowerLine"), result);
}

void AdapterLines::WriteLine(std::int16_t line, bool on, const AutoCycleSettings& wiring, LineResult& result)
{
    const bool charger = line == kChargerLine;
    const bool high = on == ((charger ? wiring.ChgHi : wiring.LoadHi) != 0);
    ErrorCode err = ErrorCode::Ok;
    m_usb.GPIOWrite(line, high ? 1 : 0, err);
    Note(err, charger ? QStringLiteral("ChgLine") : QStringLiteral("LoadLine"), result);
}

void AdapterLines::Release(LineResult& result)
{
    ErrorCode err = ErrorCode::Ok;
    m_usb.I2CWireControl(kAllReleased, err);
    Note(err, QStringLiteral("PowerLine"), result);
}
