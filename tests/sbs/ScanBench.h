#pragma once

#include "platform/WholeFile.h"
#include "sbs/ScanEngine.h"
#include "tests/sbs/FakeGauge.h"
#include "tests/support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

/// Keeps messages and whether the bus was held when they showed.
class BusAwareMessages final : public UserMessages {
public:
    QStringList texts;
    bool shownWhileHeld = false;
    void Show(const QString& text) override
    {
        texts << text;
        shownWhileHeld = shownWhileHeld || GaugeAccess::Held();
    }
    Answer Ask(const QString&, Answers) override { return Answer::No; }
};

/// A scan engine over a fake gauge.
class ScanBench {
public:
    FakeGauge gauge;
    TestTime time;
    BusAwareMessages messages;
    ErrorList errors{time};
    StartupState state;
    TargetSettings target;
    clsSBSCfgRW tables;
    frmUSB usb{gauge, time, messages, {}};
    GaugeAccess access{time, messages};
    RegisterReader reader{usb, state, target};
    ScanEngine engine{reader, access, time, messages, errors, tables};

    /// Rows as "Desc;LogDesc;style;command;read factor;write factor;writeable;format;unit".
    explicit ScanBench(const QStringList& registers, const QStringList& flags = {}, FormState form = {})
    {
        QTemporaryDir folder;
        const QString file = folder.filePath(QStringLiteral("table"));
        EXPECT_EQ(tables.WriteSBSInfo(Grid(registers), file), QString());
        tables.LoadSBSInfo(file);
        EXPECT_EQ(tables.WriteSBSFlagsInfo(Grid(flags), file), QString());
        tables.LoadFlagsInfo(file);
        engine.Reset(form);
    }
    [[nodiscard]] QStringList Shown() const
    {
        QStringList texts;
        for (int row = 0; row < engine.RowCount(); ++row)
            texts << engine.Row(row).Text;
        return texts;
    }

private:
    static TextGrid Grid(const QStringList& rows)
    {
        TextGrid grid{{QStringList()}};
        for (const QString& row : rows)
            grid.cells.push_back(row.split(u';'));
        return grid;
    }
};
