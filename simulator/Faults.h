#pragma once

#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Ways in which a bus transaction goes wrong. docs/simulator.md says what each does to the wire.
enum class Fault : std::uint8_t {
    None,
    AddressNack,
    DataNack,
    BadPec,
    Timeout,
    ClockStretch,
    ArbitrationLoss,
    ShortAnswer,
    ShortBlock,
    LongBlock,
    ZeroLength,
    BitFlip,
    Burst,
    LyingWrite,
    PartialWrite,
    StaleAnswer,
    OtherAnswer,
    DeviceReset,
    Unplug,
    UnknownCode,
};

struct FaultName {
    Fault Kind;
    const char* Name; ///< as the settings spell it
};
inline constexpr std::array kFaultNames{
    FaultName{Fault::AddressNack, "AddressNack"},
    FaultName{Fault::DataNack, "DataNack"},
    FaultName{Fault::BadPec, "BadPec"},
    FaultName{Fault::Timeout, "Timeout"},
    FaultName{Fault::ClockStretch, "ClockStretch"},
    FaultName{Fault::ArbitrationLoss, "ArbitrationLoss"},
    FaultName{Fault::ShortAnswer, "ShortAnswer"},
    FaultName{Fault::ShortBlock, "ShortBlock"},
    FaultName{Fault::LongBlock, "LongBlock"},
    FaultName{Fault::ZeroLength, "ZeroLength"},
    FaultName{Fault::BitFlip, "BitFlip"},
    FaultName{Fault::Burst, "Burst"},
    FaultName{Fault::LyingWrite, "LyingWrite"},
    FaultName{Fault::PartialWrite, "PartialWrite"},
    FaultName{Fault::StaleAnswer, "StaleAnswer"},
    FaultName{Fault::OtherAnswer, "OtherAnswer"},
    FaultName{Fault::DeviceReset, "DeviceReset"},
    FaultName{Fault::Unplug, "Unplug"},
    FaultName{Fault::UnknownCode, "UnknownCode"},
};

struct ScheduledFault {
    std::int64_t Transaction = 0; ///< counted from 1 since the adapter was made
    Fault Kind = Fault::None;
};

struct FaultSettings {
    std::vector<Fault> Kinds{}; ///< drawn from by chance, each as likely as the others
    int RatePpm = 0; ///< transactions in a million that go wrong by chance
    std::vector<ScheduledFault> Scheduled{};
    bool Reentry = false; ///< events run at every byte of a transfer, not once an operation

    [[nodiscard]] bool Any() const { return (RatePpm > 0 && !Kinds.empty()) || !Scheduled.empty(); }
};

/// One fault as it happened.
struct FaultRecord {
    Fault Kind = Fault::None;
    std::int64_t Transaction = 0;
    QString Detail;
};
