#pragma once

#include "comm/adapters/SimulatedAdapter.h"
#include "flashimage/FlashProgrammer.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

/// A simulated gauge that can be programmed, with faults that its bus is to have.
struct SimulatedGauge {
    explicit SimulatedGauge(const FaultSettings& faults = {})
        : adapter(time, WithFaults(faults)), usb(adapter, time, messages, {})
    {
        Open();
        settings.RetROMCmd = 8;
        settings.RetROMWd = 0x5AA5;
        settings.GG_FWEXEC = 0x46574558;
        settings.ROMComm = 0x18;
        programmer.Use(target, settings, address);
    }
    static SimulatorSettings WithFaults(const FaultSettings& faults)
    {
        SimulatorSettings simulator;
        simulator.Faults = faults;
        return simulator;
    }
    void Open()
    {
        QString name = QStringLiteral("Simulated");
        adapter.AdpOpenDevice(name);
    }
    clsSrecFlash ReadBack()
    {
        clsSrecFlash image;
        EXPECT_EQ(programmer.Read(image).Code, ErrorCode::Ok);
        return image;
    }
    ErrorCode ReadVoltage()
    {
        std::int16_t word = 0;
        return adapter.AdpReadSMBusWord(0x09, word, address);
    }
    GaugeMode Mode()
    {
        ErrorCode err = ErrorCode::Ok;
        return programmer.AskMode(err);
    }

    TestTime time;
    RecordedMessages messages;
    SimulatedAdapter adapter;
    frmUSB usb;
    GaugeAccess access{time, messages};
    FlashProgrammer programmer{usb, access, time};
    FlashTarget target{QStringLiteral("sim"), 0x800, 0, 0x4000, 2048, 0x100000, 0x8000};
    TargetSettings settings;
    std::int16_t address = 0x16;
};
