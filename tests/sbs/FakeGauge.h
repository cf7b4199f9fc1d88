#pragma once

#include "comm/adapters/AdapterFunnel.h"
#include "comm/adapters/Trace.h"

#include <QStringList>

#include <array>
#include <functional>
#include <optional>

/// A gauge of 256 words for every bus: a word read at n gives words[n], a byte read its low byte. Keeps the
/// calls as text and makes call number failAt answer with a fault.
class FakeGauge final : public AdapterFunnel {
public:
    QStringList calls;
    int failAt = 0;
    ErrorCode fault = ErrorCode::NoAcknowledge;
    std::array<std::uint16_t, 256> words{};
    Bytes block;
    std::optional<std::int32_t> frames; ///< what a framed transfer gives in place of the words
    std::function<void()> onCall; ///< events inside a bus operation
    [[nodiscard]] AdapterFacts Facts() const override { return {}; }

private:
    void Perform(DriverCall& call) override
    {
        calls << ShownCall(EntryOf(call));
        const bool due = calls.size() == failAt;
        if (onCall)
            onCall();
        if (due)
            return AnswerWith(call, fault);
        switch (call.Number) {
        case AdapterCall::ReadSMBusWord:
            *std::get<std::int16_t*>(call.Arguments[1].Value)
                = static_cast<std::int16_t>(words[Number(call, 0)]);
            break;
        case AdapterCall::ReadSMBusBlock:
            *std::get<Bytes*>(call.Arguments[1].Value) = block;
            *std::get<std::int16_t*>(call.Arguments[2].Value) = static_cast<std::int16_t>(block.size());
            break;
        case AdapterCall::ReadI2CBlockOnSMB:
            *std::get<Bytes*>(call.Arguments[1].Value) = {LowByte(Number(call, 0))};
            break;
        case AdapterCall::I2CReadBlock:
            *std::get<Bytes*>(call.Arguments[2].Value) = {LowByte(Number(call, 1))};
            break;
        case AdapterCall::ReadOneWire: {
            auto& value = *std::get<std::int32_t*>(call.Arguments[1].Value);
            const std::size_t cmd = static_cast<std::size_t>(value & 0xFF);
            const std::int32_t low = LowByte(cmd);
            const std::int32_t high = LowByte(cmd + 1);
            const bool framed = (value & 0x10000) != 0;
            if (framed && frames)
                value = *frames;
            else
                value = framed ? (low << 1 | 0x200) | (high << 1 | 0x200) << 10 : low | high << 8;
            break;
        }
        default:
            break;
        }
    }
    static std::size_t Number(const DriverCall& call, std::size_t argument)
    {
        return static_cast<std::size_t>(*std::get<std::int16_t*>(call.Arguments[argument].Value)) & 0xFF;
    }
    [[nodiscard]] std::uint8_t LowByte(std::size_t place) const
    {
        return static_cast<std::uint8_t>(words[place & 0xFF] & 0xFF);
    }
};
