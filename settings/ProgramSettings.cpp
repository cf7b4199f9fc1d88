#include "settings/ProgramSettings.h"

#include "platform/ProgramFolder.h"
#include "settings/Width.h"

#include <QByteArray>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace {

/// The number at the beginning of the text, 0 without one, rounded half to even into 16 bits.
std::int16_t LeadingNumber(const QString& text)
{
    constexpr double kLargest = std::numeric_limits<std::int16_t>::max();
    QByteArray number = text.toLatin1();
    if (number.startsWith('+'))
        number.remove(0, 1);
    const bool begins = !number.isEmpty() && (number[0] == '.' || (number[0] >= '0' && number[0] <= '9'));
    if (!begins) // from_chars would take "inf" and "nan"
        return 0;
    double value = 0;
    const auto fault = std::from_chars(number.constData(), number.constData() + number.size(), value).ec;
    if (fault == std::errc::result_out_of_range)
        value = kLargest;
    return static_cast<std::int16_t>(std::nearbyint(std::min(value, kLargest)));
}

} // namespace

StartupState InitialState(const QString& programFolder)
{
    StartupState state;
    state.ProgramFolder = programFolder;
    state.ProgramSettingsFile = ProgramSettingsFileIn(programFolder);
    return state;
}

void ParseCommandLine(const QString& commandLine, StartupState& state)
{
    for (QString piece : commandLine.split(QLatin1Char('-'))) {
        piece.remove(QLatin1Char(' '));
        if (piece.startsWith(QLatin1Char('d')))
            state.AutoDetectMode = LeadingNumber(piece.mid(1));
        else if (piece.startsWith(QLatin1Char('t')))
            SetTargetConfigPath(state, piece.mid(1));
    }
}

void SetTargetConfigPath(StartupState& state, const QString& name)
{
    const bool absolute = name.startsWith(QLatin1Char('/'));
    state.TargetConfigPath = absolute ? name : state.ProgramFolder + QLatin1Char('/') + name;
}

void ReadTargetAddress(ProfileStore& profiles, UserMessages& messages, const QString& file,
                       StartupState& state)
{
    const std::int32_t address
        = profiles.Integer(file, u"Communication", u"TargetAddress", state.TargetAddress);
    if (FitsWord(address))
        state.TargetAddress = static_cast<std::int16_t>(address);
    else
        messages.Show(WidthProblem(file, u"Communication", u"TargetAddress", address));
}
