#pragma once

#include "comm/adapters/SimulatedAdapter.h"
#include "sbs/AutoCycle.h"
#include "sbs/RegisterLog.h"
#include "sbs/ScanEngine.h"
#include "tests/support/TestSupport.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

/// Long runs take minutes; ./test --long asks for them.
inline bool LongTests() { return !qEnvironmentVariableIsEmpty("TARNLO_LONG_TESTS"); }

/// A log reaches the disk record by record, which is not what these tests wait for.
inline QString FastFolder()
{
    const QString memory = QStringLiteral("/dev/shm");
    return (QFileInfo(memory).isWritable() ? memory : QDir::tempPath())
        + QStringLiteral("/tarnlo-soak-XXXXXX");
}

/// The core objects of a register view over any adapter, put together as the program does it.
class CoreBench {
public:
    StartupState state;
    TargetSettings target;
    clsSBSCfgRW tables;
    frmUSB usb;
    GaugeAccess access;
    RegisterReader reader{usb, state, target};
    ErrorList errors;
    ScanEngine engine;
    RegisterLog log;
    AdapterLines lines{usb, access};
    AutoCycle cycle;

    CoreBench(Pc61vRW& driver, TimeSource& time, UserMessages& messages, const clsSBSCfgRW& loaded)
        : tables(loaded), usb(driver, time, messages, {}), access(time, messages), errors(time),
          engine(reader, access, time, messages, errors, tables),
          log(time, messages, [] { return !ExclusiveAccess::HeldBelow(); }), cycle(lines, time, messages)
    {
        engine.Reset({});
        bool open = false;
        usb.OpenFirstFreeDevice(open);
        EXPECT_TRUE(open);
    }
    QString StartLog(const QString& path)
    {
        std::vector<LogSwitch> rows;
        for (int row = 0; row < engine.RowCount(); ++row)
            rows.push_back({tables.GetSBSLogDesc(static_cast<std::int16_t>(row)), engine.LogOn(row)});
        return log.Start(path, {QStringLiteral("800"), {}, QStringLiteral("soak"), true, {}},
                         LogColumns(rows));
    }
    bool Record()
    {
        // a log keeps its columns when other tables are loaded
        return log.Record(
            [this](int row) { return row < engine.RowCount() ? engine.Row(row).Text : QString(); }, false);
    }
};

/// Word registers at the given commands, all writeable.
inline clsSBSCfgRW WordTable(const std::vector<int>& commands)
{
    TextGrid grid{{QStringList()}};
    for (const int command : commands)
        grid.cells.push_back({QStringLiteral("Row%1").arg(command), QStringLiteral("R%1").arg(command),
                              QStringLiteral("1"), QString::number(command, 16), QStringLiteral("x"),
                              QStringLiteral("x"), QStringLiteral("1"), QStringLiteral("u"), QString()});
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("table"));
    clsSBSCfgRW tables;
    EXPECT_EQ(tables.WriteSBSInfo(grid, file), QString());
    tables.LoadSBSInfo(file);
    EXPECT_EQ(tables.GetNumSBSRows(), static_cast<int>(commands.size()));
    return tables;
}
