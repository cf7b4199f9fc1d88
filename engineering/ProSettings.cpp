#include "engineering/ProSettings.h"

#include "platform/ProgramFolder.h"

namespace {

constexpr int kMostCommands = 50;
constexpr std::int32_t kMostBlock = 255;

AccessCommand ReadCommand(const QString& text, const QString& place)
{
    AccessCommand command;
    const qsizetype colon = text.indexOf(QLatin1Char(':'));
    command.Name = text.left(colon).trimmed();
    command.Written = colon < 0 ? QString() : text.mid(colon + 1).trimmed();
    command.Steps = ParseSequence(QString(command.Written).replace(QLatin1Char(';'), QLatin1Char('\n')));
    if (colon < 0 || command.Name.isEmpty() || command.Steps.Steps.empty())
        command.Problem = QStringLiteral("%1: a name, \":\" and what is sent are needed.").arg(place);
    if (!command.Steps.Problems.empty())
        command.Problem = QStringLiteral("%1, step %2: %3.")
                              .arg(place)
                              .arg(command.Steps.Problems.front().Line)
                              .arg(command.Steps.Problems.front().Text);
    return command;
}

} // namespace

ProSettings ReadProSettings(ProfileStore& profiles, const StartupState& state)
{
    ProSettings settings;
    if (state.TargetConfigPath.isEmpty())
        return settings;
    const QString file = ResolvePath(state.ProgramFolder, state.TargetConfigPath);
    const auto value = [&](QStringView key, std::int32_t fallback) {
        return profiles.Integer(file, u"Pro", key, fallback);
    };
    const std::int32_t address = value(u"MemoryAddressCmd", -1);
    const std::int32_t data = value(u"MemoryDataCmd", -1);
    const std::int32_t block = value(u"MemoryBlock", 32);
    const bool given = address != -1 || data != -1;
    if (address >= 0 && address <= 255 && data >= 0 && data <= 255 && block >= 1 && block <= kMostBlock)
        settings.Memory = {static_cast<std::uint8_t>(address), static_cast<std::uint8_t>(data), block};
    else if (given)
        settings.Problem
            = QStringLiteral("%1, section [Pro]: MemoryAddressCmd and MemoryDataCmd are commands from 0 "
                             "to 255 and MemoryBlock is 1 to 255 bytes; peek and poke are off.")
                  .arg(file);
    for (int i = 1; i <= kMostCommands; ++i) {
        const QString text = profiles.String(file, u"Access", QString::number(i));
        if (!text.isEmpty())
            settings.Access.push_back(
                ReadCommand(text, QStringLiteral("%1, section [Access], key %2").arg(file).arg(i)));
    }
    return settings;
}
