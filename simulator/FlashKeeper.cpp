#include "simulator/FlashKeeper.h"

#include "platform/WholeFile.h"

#include <QFileInfo>

#include <array>

namespace {

constexpr std::uint16_t kPackData = 16;
constexpr std::size_t kSerialAt = 31;

} // namespace

FlashKeeper::FlashKeeper(GaugeFlash& flash, const SimulatorSettings& settings)
    : m_flash(flash), m_file(settings.FlashFile)
{
    if (const GaugeFlash::Place* pack = flash.Find(kPackData))
        flash.WriteData(pack->Start + kSerialAt,
                        std::array{static_cast<std::uint8_t>(settings.Seed >> 8 & 0xFF),
                                   static_cast<std::uint8_t>(settings.Seed & 0xFF)});
    if (!m_file.isEmpty() && QFileInfo::exists(m_file)) {
        const FileBytes file = ReadWhole(m_file, GaugeFlash::kDataSize + GaugeFlash::kProgramSize);
        m_problem = file.error;
        if (m_problem.isEmpty()
            && !flash.TakeImage({reinterpret_cast<const std::uint8_t*>(file.bytes.data()),
                                 static_cast<std::size_t>(file.bytes.size())}))
            m_problem = QStringLiteral("%1 holds no flash of the simulated gauge: it must have %2 bytes")
                            .arg(m_file)
                            .arg(GaugeFlash::kDataSize + GaugeFlash::kProgramSize);
        if (!m_problem.isEmpty()) {
            m_problem
                += QStringLiteral(". The gauge starts as it leaves the factory and the file is left alone.");
            m_file.clear(); // what lies there may be somebody's
        }
    }
    m_kept = flash.Changes();
}

void FlashKeeper::Keep()
{
    if (m_file.isEmpty() || m_flash.Changes() == m_kept)
        return;
    m_kept = m_flash.Changes();
    const Bytes image = m_flash.Image();
    m_problem = SaveWhole(
        m_file, {reinterpret_cast<const char*>(image.data()), static_cast<qsizetype>(image.size())});
}
