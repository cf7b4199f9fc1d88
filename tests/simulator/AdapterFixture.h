#pragma once

#include "comm/adapters/SimulatedAdapter.h"
#include "tests/support/TestSupport.h"

/// An opened simulated adapter on a clock that stands still.
struct AdapterOnClock {
    explicit AdapterOnClock(const SimulatorSettings& settings = {}) : adapter(time, settings)
    {
        QString name = QStringLiteral("Simulated");
        adapter.AdpOpenDevice(name);
    }
    ErrorCode Read(int cmd, int& word)
    {
        std::int16_t value = 0;
        const ErrorCode err = adapter.AdpReadSMBusWord(static_cast<std::int16_t>(cmd), value, address);
        word = static_cast<std::uint16_t>(value);
        return err;
    }
    int Word(int cmd) ///< -1 when it fails
    {
        int word = 0;
        return Failed(Read(cmd, word)) ? -1 : word;
    }
    ErrorCode Write(int cmd, int word) ///< with the poll that belongs to it
    {
        const ErrorCode err = adapter.AdpWriteSMBusWord(static_cast<std::int16_t>(cmd),
                                                        static_cast<std::int16_t>(word), address);
        return Failed(err) ? err : adapter.AdpGetLastError();
    }
    ErrorCode ReadBlock(int cmd, Bytes& block)
    {
        std::int16_t length = 0;
        return adapter.AdpReadSMBusBlock(static_cast<std::int16_t>(cmd), block, length, address);
    }

    TestTime time;
    SimulatedAdapter adapter;
    std::int16_t address = 0x16;
};
