#include "dataflash/CfgParser.h"

#include "dataflash/ValueEncoding.h"
#include "platform/WholeFile.h"
#include "simulator/FlashDefaults.h"
#include "tests/support/TestSupport.h"

#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

const QString kShipped = QStringLiteral(TARNLO_SOURCE_DIR "/targets/sim4s/sim4s-dataflash.toml");

struct ProblemCase {
    const char* items; ///< the file behind the head below, or all of it when it begins with "#"
    int line;
    int column;
    const char* text;
    bool error = true;
};

/// Four lines; what follows begins in line 5.
const QByteArray kHead("[[class]]\nname = \"C\"\n[[class.subclass]]\nname = \"S\"\n");

const ProblemCase kProblems[] = {
    {"#\na = ", 2, 5, "not TOML"},
    {"#\na = 1\na = 2\n", 3, 5, "not TOML"},
    {"#\n\xFF", 1, 2, "not TOML"},
    {"#\n\xC2\xB0 = 1\n", 2, 1, "not TOML"}, // a bare degree sign
    {"#", 1, 1, "no [[class]]"},
    {"#\nclass = 3\n", 2, 9, "double brackets"},
    {"#\nclass = [3]\n", 2, 10, "double brackets"},
    {"#\ntarget = 3\n[[class]]\nname='a'\n", 2, 10, "target must be a text"},
    {"#\n[[class]]\n", 2, 1, "the class has no name"},
    {"#\n[[class]]\nname=''\n", 3, 6, "the class has no name"},
    {"#\n[[class]]\nname='a'\n[[class]]\nname='A'\n", 5, 6, "class \"A\" is there already, in line 3"},
    {"#\n[[class]]\nname='a]'\n", 3, 6, "cannot be a name"},
    {"#\naccess-style='1:BlkSz=0'\n[[class]]\nname='a'\n", 2, 14, "BlkSz must be", false},
    {"", 3, 1, "subclass \"S\" has no id"},
    {"id = 65536\n", 5, 6, "id must be a whole number from 0 to 65535"},
    {"id = '1'\n", 5, 6, "id must be a whole number"},
    {"id = 1\n[[class.subclass]]\nname='T'\nid = 1\n", 8, 6, "id 1 is there already, in line 5"},
    {"id = 1\n[[class.subclass]]\nname='s'\nid = 2\n", 7, 6, "subclass \"s(C)\" is there already, in line 4"},
    {"id = 1\nlenght = 4\n", 6, 1, "no key \"lenght\"", false},
    {"id = 1\nlength = -1\n", 6, 10, "length must be"},
};

/// One item behind kHead and "id = 1": its lines begin in line 7.
const ProblemCase kItemProblems[] = {
    {"type='U1'\n", 6, 1, "the item has no name"},
    {"name='a'\n", 6, 1, "item \"a\" has no type"},
    {"name='a=b'\ntype='U1'\n", 7, 6, "cannot be the name of an item"},
    {"name='a'\ntype='U3'\n", 8, 6, "no data type \"U3\""},
    {"name='a'\ntype='U1'\noffset=65536\n", 9, 8, "offset must be"},
    {"name='a'\ntype='U1'\nprivate=1\n", 9, 9, "private must be"},
    {"name='a'\ntype='U1'\nhelpp='x'\n", 9, 1, "no key \"helpp\"", false},
    {"name='a'\ntype='U1'\nmin=5\nmax=4\n", 10, 5, "wrong way round"},
    {"name='a'\ntype='H1'\nmin=0x20\nmax='1F'\n", 10, 5, "wrong way round"},
    {"name='a'\ntype='U1'\ndefault=256\n", 9, 9, "outside 0 to 255"},
    {"name='a'\ntype='U1'\ndefault='x'\n", 9, 9, "no number"},
    {"name='a'\ntype='U1'\ndefault=1.5\n", 9, 9, "no whole number"},
    {"name='a'\ntype='U1'\ndefault=true\n", 9, 9, "default must be a number"},
    {"name='a'\ntype='H1'\ndefault=-1\n", 9, 9, "no hexadecimal number"},
    {"name='a'\ntype='F4'\ndefault=inf\n", 9, 9, "default of a F4"},
    {"name='a'\ntype='F4'\ndefault=-1.5\n", 9, 9, "reads back as 0", false},
    {"name='a'\ntype='F4'\ndefault=0.00012345\n", 9, 9, "taken as 0.000123", false},
    {"name='a'\ntype='S3'\ndefault='abc'\n", 9, 9, "3 characters, 2 fit"},
    {"name='a'\ntype='S3'\ndefault=1\n", 9, 9, "a text in quotes"},
    {"name='a'\ntype='S3'\nmin=1\n", 9, 5, "nothing about a string", false},
    {"name='a'\ntype='U1'\ndefault=9\nmax=8\n", 9, 9, "default 9 is above the maximum 8"},
    {"name='a'\ntype='U1'\nread='x+'\n", 9, 6, "read formula \"x+\""},
    {"name='a'\ntype='U1'\nwrite='foo(x)'\n", 9, 7, "write formula"},
    {"name='a'\ntype='U1'\nformat='q'\n", 9, 8, "Unknown display format"},
    {"name='a'\ntype='U1'\ndefault=4\nread='x/2'\n", 6, 1, "4 is shown as 2, which is stored as 2", false},
    {"name='a'\ntype='U2'\nlength=1\n[[class.subclass.item]]\nname='A'\ntype='U1'\n", 11, 6,
     "item \"A\" is there already, in line 7"},
    {"name='a'\ntype='U2'\n[[class.subclass.item]]\nname='b'\ntype='U1'\noffset=1\n", 12, 8,
     "item \"b\", bytes 1 to 1, overlaps \"a\", bytes 0 to 1 (line 6)"},
    {"name='a'\ntype='U4'\noffset=1\n[[class.subclass.item]]\nname='b'\ntype='S9'\noffset=0\n", 13, 8,
     "item \"b\", bytes 0 to 8, overlaps \"a\""},
};

void Check(const ProblemCase& given, const QByteArray& bytes)
{
    DataFlashTree tree;
    tree.Target = QStringLiteral("before");
    std::vector<CfgProblem> problems;
    const std::int32_t status = ParseDataFlashCfg(bytes, tree, problems);
    const bool found = std::ranges::any_of(problems, [&](const CfgProblem& problem) {
        return problem.Line == given.line && problem.Column == given.column && problem.Error == given.error
            && problem.Text.contains(QLatin1String(given.text));
    });
    std::string all;
    for (const CfgProblem& problem : problems)
        all += problem.InWords(QStringLiteral("\n")).toStdString();
    EXPECT_TRUE(found) << bytes.constData() << "\nwanted " << given.line << ':' << given.column << ' '
                       << given.text << all;
    EXPECT_EQ(status != 0, given.error) << bytes.constData() << all;
    EXPECT_EQ(tree.Target == QStringLiteral("before"), given.error) << "a failed load keeps the old tree";
}

TEST(DataFlashCfg, NamesEveryProblemWithItsPlace)
{
    for (const ProblemCase& given : kProblems)
        Check(given, given.items[0] == '#' ? QByteArray(given.items) : kHead + given.items);
    for (const ProblemCase& given : kItemProblems)
        Check(given, kHead + "id = 1\n[[class.subclass.item]]\n" + given.items);
    Check({"", 9, 8, "bytes 1 to 2 of 2"},
          kHead + "id = 1\nlength = 2\n[[class.subclass.item]]\nname='a'\noffset=1\ntype='U2'\n");
}

TEST(DataFlashCfg, CutsTextsAndBoundsTheMemory)
{
    DataFlashTree tree;
    std::vector<CfgProblem> problems;
    const QByteArray item = kHead + "id = 1\n[[class.subclass.item]]\nname='a'\ntype='U1'\nhelp='";
    ASSERT_EQ(ParseDataFlashCfg(item + QByteArray(511, 'x') + "'\n", tree, problems), 0);
    EXPECT_TRUE(problems.empty());
    ASSERT_EQ(ParseDataFlashCfg(item + QByteArray(512, 'y') + "'\n", tree, problems), 0);
    EXPECT_EQ(problems.size(), 1U);
    EXPECT_EQ(tree.Classes[0].SubClasses[0].Items[0].HelpText, QString(511, u'y'));

    QByteArray large("[[class]]\nname='C'\n");
    for (int id = 0; id < 17; ++id)
        large += "[[class.subclass]]\nname='" + QByteArray::number(id) + "'\nid=" + QByteArray::number(id)
            + "\nlength=65535\n";
    EXPECT_EQ(ParseDataFlashCfg(large, tree, problems), 3);
    EXPECT_EQ(problems.size(), 1U);
}

TEST(bCfgReader, AnswersWrongIndicesAndFailedLoads)
{
    const QTemporaryDir folder;
    const QString good = folder.filePath(QStringLiteral("good.toml"));
    const QString bad = folder.filePath(QStringLiteral("bad.toml"));
    ASSERT_EQ(SaveWhole(good,
                        kHead
                            + "id = 7\n[[class.subclass.item]]\nname='a'\ntype='U2'\nvalue=3\n"
                              "[[class.subclass.item]]\nname='b'\noffset=9\ntype='H1'\n"),
              QString());
    ASSERT_EQ(SaveWhole(bad, "x = [\n"), QString());
    bCfgReader reader;
    EXPECT_EQ(reader.LoadCfgFile(folder.filePath(QStringLiteral("none"))), 1);
    EXPECT_EQ(reader.LoadCfgFile(bad), 2);
    EXPECT_EQ(reader.LoadCfgFile(good), 0);
    QString text = QStringLiteral("old");
    std::int32_t id = -1;
    EXPECT_EQ(reader.GetName(0, 0, 2, text), 1);
    EXPECT_EQ(text, QString());
    EXPECT_EQ(reader.GetNextSubClass(0, -1, id, text), 1);
    EXPECT_EQ(reader.GetNextSubClass(0, 0, id, text), 0);
    EXPECT_EQ(id, 7);
    EXPECT_EQ(reader.GetValue(0, 0, 0, text), 0);
    EXPECT_EQ(text, QStringLiteral("3"));
    EXPECT_EQ(reader.GetSubClassLength(0, 0), 10);
    EXPECT_EQ(reader.AutoGenerateOffsets(), 0);
    EXPECT_EQ(reader.GetOffset(0, 0, 1), 2);
    EXPECT_EQ(reader.GetSubClassLength(0, 0), 3);

    RecordedMessages messages;
    DataFlashTree tree;
    ASSERT_TRUE(InitStructFromCfgFile(reader, good, messages, tree));
    EXPECT_EQ(messages.texts, QStringList());
    EXPECT_EQ(reader.GetNumClasses(), 0) << "unloaded again";
    EXPECT_EQ(reader.UnloadCfgFile(), 1);
    EXPECT_EQ(tree.Classes[0].SubClasses[0].Buffer, Bytes(10, 0xFF));
    EXPECT_TRUE(tree.Classes[0].SubClasses[0].Items[0].Value.isNull()) << "values come from the gauge";
    EXPECT_FALSE(InitStructFromCfgFile(reader, bad, messages, tree));
    EXPECT_EQ(tree.ItemCount(), 2);
    ASSERT_EQ(messages.texts.size(), 1);
    EXPECT_TRUE(messages.texts[0].contains(bad + QStringLiteral(", line 1, column 7: ")))
        << messages.texts[0].toStdString();
}

/// Loads without a single problem.
DataFlashTree Loaded(const QByteArray& bytes)
{
    DataFlashTree tree;
    std::vector<CfgProblem> problems;
    EXPECT_EQ(ParseDataFlashCfg(bytes, tree, problems), 0);
    for (const CfgProblem& problem : problems)
        ADD_FAILURE() << problem.InWords(QStringLiteral("configuration")).toStdString();
    return tree;
}

TEST(ShippedConfiguration, IsThatOfAWholeGauge)
{
    const DataFlashTree tree = Loaded(ReadWhole(kShipped).bytes);
    EXPECT_GE(tree.Classes.size(), 12U);
    EXPECT_GE(tree.SubClassCount(), 40);
    EXPECT_GE(tree.ItemCount(), 250);
    QSet<QString> types;
    for (const DataClass& one : tree.Classes)
        for (const SubClass& subClass : one.SubClasses)
            for (const DataItem& item : subClass.Items) {
                types << (item.DataType.startsWith(u'S') ? QStringLiteral("S") : item.DataType);
                EXPECT_FALSE(item.DefValue.isEmpty()) << item.Name.toStdString();
            }
    EXPECT_EQ(types.size(), 11);
}

TEST(ShippedConfiguration, HasTheFactoryBytesOfTheSimulatedGauge)
{
    const DataFlashTree tree = Loaded(ReadWhole(kShipped).bytes);
    const std::span<const FactorySubClass> factory = FactoryDataFlash();
    ASSERT_EQ(static_cast<std::size_t>(tree.SubClassCount()), factory.size());
    RecordedMessages messages;
    std::size_t next = 0;
    int start = 0;
    for (const DataClass& one : tree.Classes)
        for (const SubClass& subClass : one.SubClasses) {
            Bytes bytes(subClass.Buffer.size(), 0xFF);
            for (const DataItem& item : subClass.Items)
                EXPECT_TRUE(DataTypeToByte(bytes, item.Offset, item.DataType, item.DefValue, messages));
            const FactorySubClass& place = factory[next++];
            EXPECT_EQ(place.Id, subClass.Id);
            EXPECT_EQ(place.Start, start) << place.Id;
            EXPECT_EQ(place.Length, subClass.Length()) << place.Id;
            EXPECT_EQ(HexText(bytes),
                      QString::fromLatin1(place.Hex.data(), static_cast<qsizetype>(place.Hex.size())))
                << place.Id;
            start += (subClass.Length() + 31) / 32 * 32;
        }
    EXPECT_EQ(start, 2048);
}

TEST(DataFlashCfgBytes, LoadAgainAsTheSameTree)
{
    DataFlashTree tree = Loaded(ReadWhole(kShipped).bytes);
    tree.LegacyString = QStringLiteral("1:BlkSz=32");
    tree.Classes[0].SubClasses[0].Items[0].HelpText = QStringLiteral("a \"b\"\\\n\tc\x01");
    const QByteArray bytes = DataFlashCfgBytes(tree);
    const DataFlashTree again = Loaded(bytes);
    EXPECT_EQ(again.Classes[0].SubClasses[0].Items[0].HelpText, QStringLiteral("a \"b\"\\\n\tc\x01"));
    EXPECT_EQ(again.ItemCount(), tree.ItemCount());
    EXPECT_EQ(DataFlashCfgBytes(again), bytes);
}

TEST(DataFlashConfigPage, HasAnExampleThatLoads)
{
    const QByteArray page = ReadWhole(QStringLiteral(TARNLO_SOURCE_DIR "/docs/dataflash-config.md")).bytes;
    const qsizetype from = page.indexOf("```toml\n") + 8;
    const DataFlashTree tree = Loaded(page.mid(from, page.indexOf("```", from) - from));
    EXPECT_EQ(tree.ItemCount(), 6);
    EXPECT_EQ(tree.ByteCount(), 3 + 32);
}

} // namespace
