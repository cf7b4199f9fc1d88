#include "comm/GaugeIdentity.h"

namespace {

constexpr std::uint8_t kSpecificationInfo = 0x1A;
constexpr auto kSection = u"AutoDetect";

QString Hex(int number, int digits)
{
    return QStringLiteral("%1").arg(number, digits, 16, QLatin1Char('0')).toUpper();
}

/// A number of [AutoDetect] within its width, else the fallback and a problem.
std::int32_t Number(ProfileStore& profiles, const QString& file, const QString& key, std::int32_t fallback,
                    std::int32_t lowest, std::int32_t highest, QString& problem)
{
    const std::int32_t number = profiles.Integer(file, kSection, key, fallback);
    if (number >= lowest && number <= highest)
        return number;
    problem = QStringLiteral("%1: [AutoDetect] %2 is %3; it must lie within %4 and %5.")
                  .arg(file, key, QString::number(number), QString::number(lowest), QString::number(highest));
    return fallback;
}

} // namespace

IdentityRequest ReadIdentityRequest(ProfileStore& profiles, const StartupState& state)
{
    IdentityRequest request;
    const auto byte = [&](const QString& file, const QString& key, std::int32_t fallback) {
        return static_cast<std::uint8_t>(Number(profiles, file, key, fallback, 0, 0xFF, request.Problem));
    };
    const auto word
        = [&](const QString& key, std::int32_t fallback) { // a bit pattern, with or without a sign
              return static_cast<std::int16_t>(Number(profiles, state.ProgramSettingsFile, key, fallback,
                                                      -0x8000, 0xFFFF, request.Problem));
          };
    request.Command = byte(state.ProgramSettingsFile, QStringLiteral("Command"), request.Command);
    request.TypeWord = word(QStringLiteral("TypeWord"), request.TypeWord);
    request.VersionWord = word(QStringLiteral("VersionWord"), request.VersionWord);
    if (!state.TargetConfigPath.isEmpty()) {
        request.Allowed = profiles.Integer(state.TargetConfigPath, kSection, u"Identity", 1) != 0;
        if (const std::uint8_t command = byte(state.TargetConfigPath, QStringLiteral("MA"), 0); command != 0)
            request.Command = command;
    }
    return request;
}

ErrorCode ReadGaugeIdentity(frmUSB& usb, const IdentityRequest& request, std::int16_t addr, QString& identity)
{
    if (!request.Allowed)
        return ErrorCode::IncorrectParam;
    ErrorCode err = ErrorCode::Ok;
    std::int16_t specification = 0;
    std::int16_t type = 0;
    std::int16_t version = 0;
    // A device that is no battery may take the write below for something else: it must answer like one first.
    usb.ReadSMBusWord_(kSpecificationInfo, specification, addr, err);
    if (!Failed(err))
        usb.WriteSMBusWord_(request.Command, request.TypeWord, addr, err);
    if (!Failed(err))
        usb.ReadSMBusWord_(request.Command, type, addr, err);
    if (!Failed(err))
        usb.WriteSMBusWord_(request.Command, request.VersionWord, addr, err);
    if (!Failed(err))
        usb.ReadSMBusWord_(request.Command, version, addr, err);
    if (!Failed(err)) {
        const auto pattern = static_cast<std::uint16_t>(version);
        identity = QStringLiteral("Device:%1, Ver:%2.%3")
                       .arg(Hex(static_cast<std::uint16_t>(type), 0), Hex(pattern >> 8, 0),
                            Hex(pattern & 0xFF, 2));
    }
    return err;
}
