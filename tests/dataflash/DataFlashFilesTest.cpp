#include "dataflash/AutoExport.h"
#include "dataflash/EachItem.h"
#include "dataflash/GgBackup.h"
#include "dataflash/GgFile.h"
#include "dataflash/ItemBytes.h"
#include "dataflash/SpecialExport.h"
#include "dataflash/UnitRecords.h"
#include "platform/WholeFile.h"
#include "tests/dataflash/AllTypes.h"
#include "tests/support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#define Q QStringLiteral

namespace {

/// As after a Read All: values, and the bytes that they were decoded from.
DataFlashTree Read(DataFlashTree tree)
{
    for (DataClass& dataClass : tree.Classes)
        for (SubClass& subClass : dataClass.SubClasses)
            for (DataItem& item : subClass.Items) {
                const Bytes bytes = BytesOf(item, item.Value).value();
                std::ranges::copy(bytes, subClass.Buffer.begin() + item.Offset);
                item.ReadValue = item.Value = TextOf(item, subClass.Buffer);
            }
    return tree;
}

DataItem& Float(DataFlashTree& tree) { return tree.Classes[1].SubClasses[0].Items[3]; }
DataItem& String(DataFlashTree& tree) { return tree.Classes[1].SubClasses[0].Items[4]; }

} // namespace

TEST(GgBackup, BringsEveryByteAndEveryTextBack)
{
    const QTemporaryDir folder;
    DataFlashTree tree = AllTypes(&TypeCase::Zero);
    String(tree).Value = Q(" \"x\" "); // no .gg file carries this
    Float(tree).Value = Q("-1"); // decodes to 0
    tree = Read(tree);
    tree.Classes[0].SubClasses[0].Items[0].Value = Q("99"); // an edit is not what the gauge holds
    const QDateTime now(QDate(2026, 1, 5), QTime(9, 0));
    const GgBackup first = SaveBackup(tree, Q("Pack"), Q("a/b 1"), now, folder.filePath(Q("x/y")));
    ASSERT_EQ(first.Problem, QString());
    EXPECT_EQ(first.File, folder.filePath(Q("x/y/a_b 1 2026-01-05 09-00-00.gg")));
    EXPECT_NE(SaveBackup(tree, Q("Pack"), Q("a/b 1"), now, folder.filePath(Q("x/y"))).File, first.File);

    DataFlashTree again = AllTypes();
    GgImport import = ReadGg(first.File, again, Q("Pack"));
    EXPECT_EQ(import.Unknown, QStringList());
    ApplyGg(import, again);
    EXPECT_EQ(String(again).Value, Q(" \"x\" "));
    EXPECT_EQ(again.Classes[0].SubClasses[0].Items[0].Value, Q("0"));
    const ProfileFile file(ReadWhole(first.File).bytes);
    EXPECT_EQ(GgBytes(file, tree.Classes[1].SubClasses[0]), tree.Classes[1].SubClasses[0].Buffer);

    // a line that a person edited counts, not the bytes
    QByteArray bytes = ReadWhole(first.File).bytes;
    bytes.replace("Item S8 =  \"x\" ", "Item S8 = mine");
    import = ParseGg(bytes, again, Q("Pack"));
    ASSERT_EQ(import.Changed.size(), 1U);
    EXPECT_EQ(import.Changed[0].New, Q("mine"));
}

TEST(GgBackup, IsNoneWhenAnythingIsLeftOut)
{
    const QTemporaryDir folder;
    const auto save = [&](const DataFlashTree& tree, const QString& where) {
        return SaveBackup(tree, Q("Pack"), Q("p"), QDateTime(), where);
    };
    const DataFlashTree read = Read(AllTypes(&TypeCase::Zero));
    DataFlashTree unread = read;
    unread.Classes[1].SubClasses[0].Items[2].ReadValue = QString();
    EXPECT_TRUE(save(unread, folder.path()).Problem.contains(Q("Two (Others Ω) was not read")));
    DataFlashTree half = read; // a read that failed in the middle
    half.Classes[0].SubClasses[0].Buffer[0] = 0x55;
    EXPECT_FALSE(save(half, folder.path()).Ok());
    DataFlashTree twice = read; // two blocks under one number
    twice.Classes[1].SubClasses[0].Id = 48;
    EXPECT_TRUE(save(twice, folder.path()).Problem.contains(Q("do not come back")));
    EXPECT_FALSE(save(read, Q("/proc/none")).Ok());
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files), QStringList())
        << "what is left looks like a backup";
}

TEST(AutoExport, TakesIntervalsOf15To86400Seconds)
{
    TestTime time;
    const QString retained = Q("The original value has been retained.");
    const QStringList low{Q("The AutoExport interval must be at least 15 seconds."), retained};
    const QStringList high{Q("The entered value must be less than 86400"), retained};
    const struct {
        const char* typed;
        QStringList said;
        int ms;
    } cases[] = {{"14", low, 20'000},    {"14.999", low, 20'000},   {"", low, 20'000},
                 {"abc", low, 20'000},   {"nan", low, 20'000},      {"15", {}, 15'000},
                 {" 16.5 ", {}, 16'500}, {"86400", {}, 86'400'000}, {"86400.5", high, 20'000},
                 {"inf", high, 20'000},  {"-1e300", low, 20'000}};
    for (const auto& row : cases) {
        AutoExport automatic(time, {});
        ASSERT_EQ(automatic.SetInterval(Q("20")), QStringList());
        EXPECT_EQ(automatic.SetInterval(QLatin1String(row.typed)), row.said) << row.typed;
        EXPECT_EQ(automatic.IntervalMs(), row.ms) << row.typed;
    }
}

TEST(AutoExport, ALongIntervalIsCountedInWholeSecondsOverSeveralTicks)
{
    TestTime time;
    AutoExport automatic(time, [](const QString&, QStringList&) { return QString(); });
    const struct {
        const char* seconds;
        int timer;
        int actsAtTick;
    } cases[] = {{"15", 15'000, 1}, {"65.534", 65'534, 1}, {"65.535", 65'535, 1}, {"65.9", 65'535, 1},
                 {"66", 65'535, 2}, {"131", 65'535, 2},    {"132", 65'535, 3}};
    const QTemporaryDir folder;
    for (const auto& row : cases) {
        ASSERT_EQ(automatic.SetInterval(QLatin1String(row.seconds)), QStringList());
        EXPECT_EQ(automatic.SetAutoExportTimer(), row.timer) << row.seconds;
        automatic.Start(folder.filePath(Q("a")));
        for (int tick = 1; tick <= 2 * row.actsAtTick; ++tick) {
            time.Advance(row.timer);
            EXPECT_EQ(automatic.Tick().has_value(), tick % row.actsAtTick == 0) << row.seconds << ' ' << tick;
        }
    }
}

TEST(AutoExport, NumbersFilesFromAboveTheHighestAndStartsAgainAfter32767)
{
    const QTemporaryDir folder;
    const QString base = folder.filePath(Q("pack"));
    TestTime time;
    QString problem;
    const auto start = [&](const char* present, int next) {
        if (*present) {
            EXPECT_EQ(SaveWhole(folder.filePath(QLatin1String(present)), "x"), QString());
        }
        AutoExport automatic(time, [&](const QString& path, QStringList&) {
            return problem.isEmpty() ? SaveWhole(path, "new") : problem;
        });
        automatic.Start(base);
        EXPECT_EQ(automatic.NextNumber(), next) << present;
        return automatic;
    };
    start("", 0);
    start("pack_00007.gg", 8);
    for (const char* other :
         {"pack_32768.gg", "pack_0009.gg", "pack_00010.gg.bak", "other_00011.gg", "pack_-0012.gg"})
        start(other, 8);
    AutoExport automatic = start("pack_32766.gg", 32767);
    problem = Q("the read failed");
    EXPECT_EQ(automatic.Tick()->Problem, problem);
    EXPECT_FALSE(QFile::exists(base + Q("_32767.gg")));
    problem.clear();
    EXPECT_EQ(automatic.Tick()->File, base + Q("_32767.gg"));
    EXPECT_EQ(automatic.Tick()->File, base + Q("_00000.gg"));
    EXPECT_EQ(automatic.Tick()->File, base + Q("_00001.gg"));
    AutoExport again = start("", 0); // 32767 is there
    EXPECT_TRUE(again.Tick()->Replaced);
}

TEST(AutoExport, ATickInsideAnExportDoesNothing)
{
    const QTemporaryDir folder;
    TestTime time;
    int inside = 0;
    AutoExport* self = nullptr;
    AutoExport automatic(time, [&](const QString&, QStringList&) {
        inside += self->Tick().has_value() ? 1 : 0;
        return QString();
    });
    self = &automatic;
    automatic.Start(folder.filePath(Q("a")));
    EXPECT_TRUE(automatic.Tick().has_value());
    EXPECT_EQ(inside, 0);
    EXPECT_EQ(automatic.NextNumber(), 1);
}

TEST(SpecialExport, FillsTheTemplateOrSaysWithWhichCode)
{
    DataFlashTree tree = AllTypes(&TypeCase::Max);
    String(tree).Value = Q("a\"b");
    DataItem& scaled = tree.Classes[0].SubClasses[0].Items[3]; // I2
    ASSERT_EQ(scaled.DataType, Q("U2"));
    scaled.ReadFormula = Q("x/1000");
    scaled.Units = Q("V");
    DataItem& broken = tree.Classes[0].SubClasses[0].Items[1];
    broken.ReadFormula = Q("x/0");
    tree.Classes[0].SubClasses[0].Items[0].Value = QString();
    tree.Classes[1].Name = Q("T");
    const struct {
        QByteArray text;
        int code;
        QByteArray result; ///< or a part of the reason
    } cases[] = {
        {"${Header.DeviceName}\r\n", 0, "Pack\r\n"},
        {"${numbers/one/ITEM u2} ${Numbers/One/Item U2|Unit}, ${Numbers/One/Item U2|Native|csv}", 0,
         "60 V, \"60000\""},
        {"x${Numbers/One/Item U2|Hex}$${y}$", 0, "xEA60${y}$"},
        {"${T/Two/Item S8|csv},${T/Two/Item S8|json}", 0, "\"a\"\"b\",\"a\\\"b\""},
        {"a\n${each}\n${Id} ${Item}\n${end}\nz", 0,
         "a\n48 Item I1\n48 Item U1\n48 Item I2\n48 Item U2\n48 Item I4\n48 Item U4\n"
         "49 Item H1\n49 Item H2\n49 Item H4\n49 Item F4\n49 Item S8\nz"},
        {"\n${Numbers/One/Nope}", 4, "line 2: this target has no item Numbers/One/Nope"},
        {"${Value}", 3, "means nothing here"},
        {"${Numbers/One/Item U2|Wat}", 3, "means nothing here"},
        {"${each}\n${Wat}\n${end}", 3, "line 2"},
        {"${each}\n", 3, "no ${end}"},
        {"${end}", 3, "no ${each}"},
        {"${each}\n${each}\n${end}\n${end}", 3, "no ${end}"},
        {"${Numbers/One", 3, "no \"}\""},
        {"\xFF", 3, "UTF-8"},
        {"${Numbers/One/Item I1}", 5, "Item I1 has no value"},
        {"${Numbers/One/Item U1}", 6, "Item U1"},
    };
    const QTemporaryDir home;
    const QTemporaryDir out;
    const QString result = out.filePath(Q("r.csv"));
    ASSERT_EQ(SaveWhole(home.filePath(Q("SpecialExport.ini")), "[SpecialExport]\nConfigFile=T.TXT\n"),
              QString());
    for (const auto& row : cases) {
        ASSERT_EQ(SaveWhole(home.filePath(Q("t.txt")), row.text), QString());
        ASSERT_EQ(SaveWhole(result, "old"), QString());
        RecordedMessages messages;
        QStringList warnings;
        EXPECT_EQ(SpecialExport(tree, Q("Pack"), Q("now"), home.path(), result, messages, warnings),
                  row.code == 0);
        EXPECT_EQ(ReadWhole(result).bytes, row.code == 0 ? row.result : "old") << row.text.constData();
        if (row.code != 0) {
            ASSERT_EQ(messages.texts.size(), 1);
            const QStringList lines = messages.texts[0].split(QLatin1Char('\n'));
            EXPECT_EQ(lines[0], Q("Error in conversion! Error code (decimal) = %1").arg(row.code));
            EXPECT_TRUE(lines[1].contains(QString::fromUtf8(row.result))) << lines[1].toStdString();
        }
        EXPECT_FALSE(QFile::exists(home.filePath(Q("~ggtmp~.tmp"))));
    }
}

TEST(SpecialExport, WithoutAPlaceToReadOrWriteHasItsOwnCodes)
{
    const QTemporaryDir home;
    const auto code = [&](const QString& folder, const QString& result) {
        RecordedMessages messages;
        QStringList warnings;
        EXPECT_FALSE(SpecialExport(AllTypes(), Q("Pack"), Q("now"), folder, result, messages, warnings));
        EXPECT_FALSE(QFile::exists(home.filePath(Q("~ggtmp~.tmp"))));
        return messages.texts.value(0).section(QLatin1Char('\n'), 0, 0).section(QLatin1Char(' '), -1);
    };
    EXPECT_EQ(code(home.path(), home.filePath(Q("r"))), Q("1"));
    ASSERT_EQ(SaveWhole(home.filePath(Q("SpecialExport.ini")), "[SpecialExport]\nConfigFile=t.txt\n"),
              QString());
    EXPECT_EQ(code(home.path(), home.filePath(Q("r"))), Q("2"));
    ASSERT_EQ(SaveWhole(home.filePath(Q("t.txt")), "fixed"), QString());
    EXPECT_EQ(code(home.path(), home.filePath(Q("none/r"))), Q("8"));
    ASSERT_TRUE(QDir(home.path()).mkdir(Q("~ggtmp~.tmp"))); // in the way
    RecordedMessages messages;
    QStringList warnings;
    EXPECT_FALSE(SpecialExport(AllTypes(), {}, {}, home.path(), home.filePath(Q("r")), messages, warnings));
    EXPECT_TRUE(messages.texts.value(0).contains(Q("= 7\n")));
}

TEST(UnitRecords, ALineThatACrashCutStaysAlone)
{
    const QTemporaryDir folder;
    UnitRecord record;
    record.Serial = Q("../7");
    EXPECT_EQ(AppendRecord(folder.filePath(Q("r")), record), QString());
    const QString path = folder.filePath(Q("r/_.._7.jsonl"));
    ASSERT_EQ(SaveWhole(path, ReadWhole(path).bytes + "{\"time\":\"20"), QString());
    EXPECT_EQ(AppendRecord(folder.filePath(Q("r")), record), QString());
    const QList<QByteArray> lines = ReadWhole(path).bytes.split('\n');
    ASSERT_EQ(lines.size(), 4);
    EXPECT_EQ(lines[0], lines[2]);
    EXPECT_NE(AppendRecord(path, record), QString());
}
