#pragma once

#include "comm/adapters/SimulatedAdapter.h"
#include "dataflash/DataFlash.h"
#include "dataflash/ValueEncoding.h"
#include "dataflash/bCfgReader.h"
#include "tests/support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <map>

inline bool LongTests() { return !qEnvironmentVariableIsEmpty("TARNLO_LONG_TESTS"); }

/// Journals that no disk slows down.
class MemoryJournals final : public JournalFiles {
public:
    QStringList Names() override
    {
        QStringList names;
        for (const auto& [name, bytes] : files)
            names << name;
        return names;
    }
    QByteArray Read(const QString& name, QString& problem) override
    {
        problem.clear();
        return files.at(name);
    }
    QString Save(const QString& name, const QByteArray& bytes) override
    {
        if (failure.isEmpty())
            files[name] = bytes;
        return failure;
    }
    QString Append(const QString& name, const QByteArray& bytes) override
    {
        files.at(name) += bytes;
        return {};
    }
    QString Remove(const QString& name) override
    {
        files.erase(name);
        return {};
    }

    std::map<QString, QByteArray> files;
    QString failure;
};

/// The layout of the simulated pack, loaded once.
inline const DataFlashTree& PackLayout()
{
    static const DataFlashTree tree = [] {
        DataFlashTree loaded;
        RecordedMessages messages;
        bCfgReader reader;
        EXPECT_TRUE(InitStructFromCfgFile(
            reader, QStringLiteral(TARNLO_SOURCE_DIR "/targets/sim4s/sim4s-dataflash.toml"), messages,
            loaded))
            << messages.texts.join(u'\n').toStdString();
        return loaded;
    }();
    return tree;
}

/// A program with an open adapter. Journals and adapter may outlive it, as a disk and a gauge do.
struct FlashProgram {
    FlashProgram(Pc61vRW& driver, TimeSource& clock, JournalFiles& journals)
        : usb(driver, clock, messages, {}), access(clock, messages),
          flash({usb, access, clock, messages, profiles, state, &journals})
    {
        bool open = false;
        usb.OpenFirstFreeDevice(open);
        EXPECT_TRUE(open);
        flash.Tree() = PackLayout();
    }
    ~FlashProgram() { usb.CloseDevice(); }
    FlashProgram(const FlashProgram&) = delete;
    FlashProgram& operator=(const FlashProgram&) = delete;

    RecordedMessages messages;
    ProfileStore profiles;
    StartupState state;
    frmUSB usb;
    GaugeAccess access;
    DataFlash flash;
};

struct FlashBench {
    explicit FlashBench(const SimulatorSettings& settings = {}) : adapter(time, settings) { }

    [[nodiscard]] Bytes Held(std::uint16_t id) const ///< what the gauge really has
    {
        return adapter.Bench().Flash().Copy(id, 0, adapter.Bench().Flash().Find(id)->Length);
    }
    DataItem& Item(std::uint16_t id, const char* name)
    {
        for (DataClass& dataClass : program.flash.Tree().Classes)
            for (SubClass& subClass : dataClass.SubClasses)
                for (DataItem& item : subClass.Items)
                    if (subClass.Id == id && item.Name == QLatin1String(name))
                        return item;
        throw std::invalid_argument(name);
    }

    TestTime time;
    SimulatedAdapter adapter;
    MemoryJournals journals;
    FlashProgram program{adapter, time, journals};
    DataFlash& flash = program.flash;
    QStringList& said = program.messages.texts;
};

/// Gives an item another value than it has.
inline void Change(DataItem& item)
{
    RecordedMessages messages;
    for (const char* text : {"1", "2", "A5", "5AA5", "5AA55AA5"}) {
        Bytes scratch(256);
        const QString value = QString::fromLatin1(text);
        if (item.Value != value && DataTypeToByte(scratch, 0, item.DataType, value, messages)) {
            item.Value = value;
            return;
        }
    }
}

inline void ChangeEverything(DataFlashTree& tree)
{
    for (DataClass& dataClass : tree.Classes)
        for (SubClass& subClass : dataClass.SubClasses)
            for (DataItem& item : subClass.Items)
                Change(item);
}
