#pragma once

#include "comm/ErrorCodes.h"
#include "platform/Bytes.h"
#include "simulator/BusHost.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <span>

/// The adapter's side of flash work: puts the gauge into its boot ROM and talks to it, row by row on the bus.
/// Every operation says in which mode the gauge was left: 13 its firmware runs, 14 its boot ROM, 0 not known.
class FlashLoader {
public:
    FlashLoader(BusHost& host, std::uint8_t gaugeAddress) : m_host(host), m_gauge(gaugeAddress) { }

    /// Asks ROM, then gauge.
    ErrorCode Mode(std::int16_t& status);
    [[nodiscard]] bool RomAnswers();
    ErrorCode Program(std::int32_t area, std::uint32_t address, std::span<const std::uint8_t> bytes,
                      std::span<const std::uint8_t> options, std::int32_t flags, std::int16_t& status);
    ErrorCode Read(std::int32_t area, std::uint32_t address, std::size_t length, std::int32_t flags,
                   Bytes& bytes, std::int16_t& status);
    void SetMassErase(bool on) { m_massErase = on; }

    ErrorCode ProgramSrec(const QString& path, std::int16_t& status, std::int32_t& detail);
    ErrorCode ReadSrec(const QString& path, std::int16_t& status, std::int32_t& detail);
    ErrorCode ProgramWithConfiguration(const QString& srecPath, const QString& configPath,
                                       const QString& third);

private:
    ErrorCode NeedRom(std::int32_t flags, std::int16_t& status);
    ErrorCode MassEraseOnce();
    ErrorCode EraseRow(std::uint32_t address);
    ErrorCode ProgramRows(std::uint32_t address, std::span<const std::uint8_t> bytes);
    ErrorCode ReadBytes(std::uint32_t address, std::size_t length, Bytes& bytes);
    ErrorCode Identity(std::uint16_t& device, std::uint16_t& version);

    BusHost& m_host;
    std::uint8_t m_gauge;
    bool m_massErase = false;
};
