#include "comm/adapters/LinuxLines.h"

#include <cerrno>
#include <gpiod.h>

namespace {

constexpr auto kConsumer = "tarnlo";

/// libgpiod tells why through errno, and not in every case.
int ErrorOf(int result)
{
    if (result >= 0)
        return 0;
    return errno != 0 ? errno : EIO;
}

} // namespace

LinuxLines::~LinuxLines()
{
    for (auto& [name, taken] : m_taken)
        gpiod_chip_close(taken.Chip);
}

int LinuxLines::Take(const QString& line, Taken*& taken)
{
    if (const auto found = m_taken.find(line); found != m_taken.end()) {
        taken = &found->second;
        return 0;
    }
    bool numeric = false;
    const auto colon = line.lastIndexOf(QLatin1Char(':'));
    const unsigned offset = line.mid(colon + 1).toUInt(&numeric);
    if (colon < 1 || !numeric)
        return EINVAL;
    errno = 0;
    Taken fresh;
    fresh.Chip = gpiod_chip_open_lookup(line.left(colon).toUtf8().constData());
    if (!fresh.Chip)
        return ErrorOf(-1);
    fresh.Line = gpiod_chip_get_line(fresh.Chip, offset);
    gpiod_line_request_config as{};
    as.consumer = kConsumer;
    as.request_type = GPIOD_LINE_REQUEST_DIRECTION_AS_IS;
    if (!fresh.Line || gpiod_line_request(fresh.Line, &as, 0) < 0) {
        const int error = ErrorOf(-1);
        gpiod_chip_close(fresh.Chip);
        return error;
    }
    taken = &m_taken.emplace(line, fresh).first->second;
    return 0;
}

/// A line that failed is let go: its chip may have been unplugged, and the next use finds the new one.
int LinuxLines::Drop(const QString& line, int error)
{
    if (const auto found = m_taken.find(line); error != 0 && found != m_taken.end()) {
        gpiod_chip_close(found->second.Chip);
        m_taken.erase(found);
    }
    return error;
}

int LinuxLines::Write(const QString& line, bool level)
{
    Taken* taken = nullptr;
    if (const int error = Take(line, taken))
        return error;
    errno = 0;
    const int done = taken->Output ? gpiod_line_set_value(taken->Line, level ? 1 : 0)
                                   : gpiod_line_set_direction_output(taken->Line, level ? 1 : 0);
    taken->Output = done >= 0;
    return Drop(line, ErrorOf(done));
}

int LinuxLines::Read(const QString& line, bool& level)
{
    Taken* taken = nullptr;
    if (const int error = Take(line, taken))
        return error;
    errno = 0;
    const int value = gpiod_line_get_value(taken->Line);
    if (value >= 0)
        level = value == 1;
    return Drop(line, ErrorOf(value));
}

int LinuxLines::Release(const QString& line)
{
    Taken* taken = nullptr;
    if (const int error = Take(line, taken))
        return error;
    errno = 0;
    taken->Output = false;
    return Drop(line, ErrorOf(gpiod_line_set_direction_input(taken->Line)));
}

QString LinuxLineProblem(const QString& line, int error)
{
    switch (error) {
    case EBUSY:
        return QStringLiteral("The output line %1 is used by another program or by the kernel.").arg(line);
    case EINVAL:
        return QStringLiteral("The output line \"%1\" is not understood or its chip has no such line; "
                              "[Adapter] of the settings takes chip:offset, for example gpiochip0:0.")
            .arg(line);
    case ENOENT:
        return QStringLiteral(
                   "There is no GPIO chip for the output line %1; gpiodetect lists those there are.")
            .arg(line);
    case EACCES:
    case EPERM:
        return QStringLiteral("You have no permission to use the output line %1. Install Tarnlo's udev rule "
                              "(60-tarnlo-adapters.rules) and plug the adapter in again.")
            .arg(line);
    default:
        return {};
    }
}
