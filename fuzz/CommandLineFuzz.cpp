#include "settings/ProgramSettings.h"

#include <cstddef>
#include <cstdlib>

// Whatever is typed, the program starts: a chosen path lies below the program folder or is absolute.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    StartupState state = InitialState(QStringLiteral("/home"));
    ParseCommandLine(QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)),
                     state);
    if (!state.TargetConfigPath.isEmpty() && !state.TargetConfigPath.startsWith(QLatin1Char('/')))
        std::abort();
    return 0;
}
