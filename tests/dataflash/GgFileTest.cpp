#include "dataflash/GgFile.h"

#include "dataflash/DataFlashDiff.h"
#include "dataflash/EachItem.h"
#include "platform/WholeFile.h"
#include "tests/dataflash/AllTypes.h"
#include "tests/support/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#define Q QStringLiteral

namespace {

const QString kDevice = Q("Pack");

/// Two items of one subclass: "Number" (U2, 10 to 1000, now 5) and "Text" (S8, now "abc").
DataFlashTree Small()
{
    DataFlashTree tree;
    SubClass one{Q("One"), 48, Bytes(10), {}};
    one.Items.resize(2);
    one.Items[0].Name = Q("Number");
    one.Items[0].DataType = Q("U2");
    one.Items[0].MinVal = Q("10");
    one.Items[0].MaxVal = Q("1000");
    one.Items[0].Value = Q("5");
    one.Items[1].Name = Q("Text");
    one.Items[1].DataType = Q("S8");
    one.Items[1].Offset = 2;
    one.Items[1].Value = Q("abc");
    tree.Classes = {{Q("A"), {one}}};
    return tree;
}

QStringList Values(const DataFlashTree& tree)
{
    QStringList values;
    ForEachItem(tree, [&](const ItemPlace&, const DataClass&, const SubClass&, const DataItem& item) {
        values << item.Value;
    });
    return values;
}

QByteArray Text(const DataFlashTree& tree)
{
    QStringList warnings;
    return GgText(tree, kDevice, Q("2026-01-05T09:00:00"), warnings);
}

} // namespace

TEST(GgFile, IsLaidOutLineByLine)
{
    DataFlashTree tree = Small();
    tree.Classes[0].SubClasses.push_back({Q("Zwei µ"), 49, Bytes(1), {}});
    tree.Classes.push_back({Q("B"), {tree.Classes[0].SubClasses[0]}});
    EXPECT_EQ(Text(tree),
              "[Header]\r\nTarnlo Version = " TARNLO_VERSION "\r\nDeviceName = Pack\r\n"
              "Time = 2026-01-05T09:00:00\r\n\r\n[Data]\r\n"
              "\r\n[One(A)]\r\nNumber = 5\r\nText = abc\r\n[Zwei \xC2\xB5(A)]\r\n"
              "\r\n[One(B)]\r\nNumber = 5\r\nText = abc\r\n");
}

TEST(GgFile, ExportThenImportChangesNothingForEveryType)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(Q("a.gg"));
    for (const auto value : {&TypeCase::Least, &TypeCase::Most, &TypeCase::Min, &TypeCase::Max,
                             &TypeCase::Beyond, &TypeCase::Zero}) {
        DataFlashTree tree = AllTypes(value);
        if (value == &TypeCase::Min || value == &TypeCase::Max)
            tree.Classes[1].SubClasses[0].Items.back().Value = Q("x"); // a string has no limits
        QStringList warnings;
        ASSERT_EQ(ExportDF(tree, kDevice, Q("now"), path, warnings), QString());
        EXPECT_EQ(warnings, QStringList());
        const GgImport same = ReadGg(path, tree, kDevice);
        EXPECT_TRUE(same.Complete());
        EXPECT_EQ(same.Same, tree.ItemCount());
        EXPECT_TRUE(same.Changed.empty() && same.Warnings.isEmpty() && same.Unknown.isEmpty());
        DataFlashTree empty = AllTypes();
        const GgImport all = ReadGg(path, empty, kDevice);
        ApplyGg(all, empty);
        EXPECT_EQ(Values(empty), Values(tree));
        if (value == &TypeCase::Beyond) {
            EXPECT_EQ(static_cast<int>(all.OutOfRange.size()), tree.ItemCount() - 1);
        } else if (value == &TypeCase::Min || value == &TypeCase::Max) {
            EXPECT_TRUE(all.OutOfRange.empty());
        }
    }
}

TEST(GgFile, NamesWhatTheFileCannotCarryBackAndNothingElse)
{
    const struct {
        QString value;
        const char* reason;
    } cases[] = {{Q(" abc"), "blanks"},          {Q("abc\t"), "blanks"},
                 {Q("\"abc\""), "quotes"},       {Q("''"), "quotes"},
                 {Q("a\r\nNumber = 7"), "line"}, {QString(600, QLatin1Char('x')), "511"},
                 {Q("a\"b;=[c]"), ""},           {Q("ÿ"), ""}};
    for (const auto& row : cases) {
        DataFlashTree tree = Small();
        std::swap(tree.Classes[0].SubClasses[0].Items[0], tree.Classes[0].SubClasses[0].Items[1]);
        tree.Classes[0].SubClasses[0].Items[0].Value = row.value;
        QStringList warnings;
        const QByteArray bytes = GgText(tree, kDevice, Q("now"), warnings);
        ASSERT_EQ(warnings.size(), *row.reason ? 1 : 0) << row.value.toStdString();
        if (*row.reason) {
            EXPECT_TRUE(warnings[0].startsWith(Q("One(A) Text: "))
                        && warnings[0].contains(QLatin1String(row.reason)))
                << warnings[0].toStdString();
        }
        // a text from the gauge writes no other item
        EXPECT_EQ(ProfileFile(bytes).String(u"One(A)", u"Number"), Q("5"));
    }
}

TEST(GgFile, ReportsWhatAFileWouldDoAndNeverDoesItItself)
{
    const QByteArray head = "[Header]\nDeviceName=Pack\n";
    const struct {
        const char* name;
        QByteArray bytes;
        int changed, same, missing, unknown, refused, outOfRange;
        const char* said; ///< somewhere in the report
    } cases[] = {
        {"other order, case and form", head + "[ONE(a)]\ntext=abc\nNUMBER = 0005 \n", 0, 2, 0, 0, 0, 0, ""},
        {"changed", head + "[One(A)]\nNumber=10\nText=abd\n", 2, 0, 0, 0, 0, 0, "2 changed, 0 same"},
        {"below the minimum", head + "[One(A)]\nNumber=9\nText=abc\n", 1, 1, 0, 0, 0, 1,
         "Out of range: One(A) Number \"9\": 9 is below the minimum 10"},
        {"no number", head + "[One(A)]\nNumber=12x\nText=abc\n", 0, 1, 0, 0, 1, 0, "One(A) Number \"12x\""},
        {"too large", head + "[One(A)]\nNumber=65536\nText=abc\n", 0, 1, 0, 0, 1, 0, "65536"},
        {"huge", head + "[One(A)]\nNumber=1e999\nText=" + QByteArray(400, 'x') + "\n", 0, 0, 0, 0, 2, 0, ""},
        {"fraction", head + "[One(A)]\nNumber=10.5\nText=abc\n", 0, 1, 0, 0, 1, 0, "whole"},
        {"no value", head + "[One(A)]\nNumber=\nText=\n", 0, 0, 0, 0, 2, 0, "the file has no value"},
        {"outside a byte", head + "[One(A)]\nNumber=5\nText=\xCE\xA9\n", 0, 1, 0, 0, 1, 0, ""},
        {"Windows-1252", head + "[One(A)]\nNumber=5\nText=\xB5\n", 1, 1, 0, 0, 0, 0, ""},
        {"missing", head + "[One(A)]\nText=abc\n", 0, 1, 1, 0, 0, 0, "Missing value: One(A) Number"},
        {"unknown", head + "[One(A)]\nNumber=5\nText=abc\nNo=1\n[Two(A)]\nNumber=5\n", 0, 2, 0, 2, 0, 0,
         "Unknown: Two(A) Number"},
        {"key twice", head + "[One(A)]\nNumber=5\nText=abc\nnumber=7\n", 0, 2, 0, 0, 0, 0,
         "line 6: number stands twice in One(A)"},
        {"section twice", head + "[One(A)]\nNumber=5\n[one(a)]\nText=abc\nNumber=7\n", 0, 1, 1, 0, 0, 0,
         "line 5: section one(a) stands twice"},
        {"above the sections", "Number=5\n" + head + "[One(A)]\nNumber=5\nText=abc\n", 0, 2, 0, 0, 0, 0,
         "line 1: Number stands above"},
        {"cut", head + "[One(A)]\nText=abc\nNumber=1", 0, 1, 0, 0, 0, 0, "may be cut"},
        {"header alone", head, 0, 0, 2, 0, 0, 0, ""},
        {"other device", "[Header]\nDeviceName=Pack 2\n[One(A)]\nNumber=5\nText=abc\n", 0, 2, 0, 0, 0, 0,
         "made for the device \"Pack 2\""},
        {"no device", "[One(A)]\nNumber=5\nText=abc\n", 0, 2, 0, 0, 0, 0, "made for the device \"Unknown\""},
        {"empty", "", 0, 0, 0, 0, 0, 0, "no data flash file"},
        {"settings", "[Device]\nName=Pack\n", 0, 0, 0, 0, 0, 0, "no data flash file"},
        {"binary",
         QByteArray("\x7F"
                    "ELF\0\1\2[\xFF=\0]\n\xFE",
                    14),
         0, 0, 0, 0, 0, 0, "no data flash file"},
    };
    const DataFlashTree tree = Small();
    for (const auto& row : cases) {
        const GgImport import = ParseGg(row.bytes, tree, kDevice);
        const QString report = GgReport(import, tree).join(QLatin1Char('\n'));
        const bool cut = qstrcmp(row.name, "cut") == 0; // of 1..., which is below the minimum
        EXPECT_EQ(static_cast<int>(import.Changed.size()), row.changed + cut) << row.name;
        EXPECT_EQ(import.Same, row.same) << row.name;
        EXPECT_EQ(import.Missing.size(), row.missing) << row.name;
        EXPECT_EQ(import.UnknownCount, row.unknown) << row.name;
        EXPECT_EQ(static_cast<int>(import.Refused.size()), row.refused) << row.name;
        EXPECT_EQ(static_cast<int>(import.OutOfRange.size()), row.outOfRange + cut) << row.name;
        EXPECT_TRUE(report.contains(QLatin1String(row.said))) << row.name << '\n' << report.toStdString();
    }
}

TEST(GgFile, AFileForAnotherDeviceNeedsAYes)
{
    const QString question = Q("Mismatched Target name in GG file! Do you want to continue?");
    RecordedMessages messages;
    EXPECT_TRUE(AcceptDevice(ParseGg(Text(Small()), Small(), kDevice), messages));
    EXPECT_EQ(messages.texts, QStringList());
    const GgImport other = ParseGg(Text(Small()), Small(), Q("pack"));
    EXPECT_FALSE(AcceptDevice(other, messages));
    messages.answers = {Answer::Yes};
    EXPECT_TRUE(AcceptDevice(other, messages));
    EXPECT_EQ(messages.texts, QStringList({question, question}));
}

TEST(GgFile, AHugeFileIsRefusedAndAHostileOneKeepsItsReportShort)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(Q("huge.gg"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(1LL << 30));
    const GgImport huge = ReadGg(path, Small(), kDevice);
    EXPECT_TRUE(huge.Error.contains(path) && huge.Error.contains(Q("larger than")))
        << huge.Error.toStdString();

    if (qEnvironmentVariableIsEmpty("TARNLO_LONG_TESTS"))
        return;
    QByteArray bytes = "[Header]\n";
    while (bytes.size() < (16 << 20))
        bytes += 'k' + QByteArray::number(bytes.size()) + "=\n[x]\n";
    const GgImport hostile = ParseGg(bytes, Small(), kDevice);
    EXPECT_LE(hostile.Unknown.size(), GgImport::kListed);
    EXPECT_LE(hostile.Warnings.size(), GgImport::kListed);
    EXPECT_LT(GgReport(hostile, Small()).size(), 3 * GgImport::kListed);
}

TEST(DataFlashDiff, NeverCallsEqualWhatItCouldNotCompare)
{
    const DataFlashTree full = AllTypes(&TypeCase::Max);
    DataFlashTree other = full;
    EXPECT_FALSE(Compare(full, AllTypes()).Equal());
    EXPECT_FALSE(Compare(AllTypes(), AllTypes()).Equal()) << "nothing is known of either";
    other.Classes[1].SubClasses[0].Items[0].Value = Q("7f"); // as 7F
    EXPECT_TRUE(Compare(full, other).Equal());
    other.Classes[0].SubClasses[0].Items[2].Value = Q("2999");
    other.Classes.back().SubClasses.clear();
    const DataFlashDiff diff = Compare(full, other);
    EXPECT_EQ(diff.Same, 5);
    EXPECT_EQ(diff.Missing, 5);
    EXPECT_EQ(diff.Entries.size(), 6U);
    EXPECT_EQ(diff.Entries[0].Place, (ItemPlace{0, 0, 2}));
}

TEST(GgFile, TakesTheDefaultsFromAFile)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(Q("d.gg"));
    ASSERT_EQ(SaveWhole(path, "[Header]\nDeviceName=Pack\n[One(A)]\nNumber=500\nText=far too long\n"),
              QString());
    DataFlashTree tree = Small();
    tree.Classes[0].SubClasses[0].Items[1].DefValue = Q("own");
    const GgImport import = UseDefaultsFile(path, tree, kDevice);
    EXPECT_EQ(import.Refused.size(), 1U);
    EXPECT_EQ(Values(WithDefaults(tree)), QStringList({Q("500"), Q("own")}));
    EXPECT_EQ(Values(tree), QStringList({Q("5"), Q("abc")}));
}
