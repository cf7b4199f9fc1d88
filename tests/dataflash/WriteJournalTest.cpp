#include "dataflash/WriteJournal.h"

#include "tests/dataflash/FlashBench.h"

#include <QCoreApplication>
#include <QDir>

namespace {

Bytes Hex(const char* text) { return ParseHex(QString::fromLatin1(text)).value(); }

/// Subclass 16 holds a counted name of four in room for six, and the serial number 0x0102.
JournalContent Example()
{
    JournalContent content;
    content.Pack = {Hex("5445"), Hex("4E616D65"), 0x0102, 0x5A6E};
    content.Begun = QStringLiteral("2026-01-05T09:00:00.000");
    content.Entries
        = {{16, QStringLiteral("Pack (Data)"), Hex("044E616D6500000102"), Hex("054F7468657200FFEE")},
           {7, QStringLiteral("Other"), Hex("00"), Hex("01"), true}};
    return content;
}

} // namespace

TEST(WriteJournal, ReadsWhatItWrote)
{
    QString error;
    const JournalContent wrote = Example();
    const QByteArray bytes = JournalText(wrote) + "{\"sent\":7}\n{\"sent\":9}\n{\"se";
    const JournalContent read = ParseJournal(bytes, error);
    EXPECT_EQ(error, QString());
    EXPECT_EQ(read.Pack, wrote.Pack);
    EXPECT_EQ(read.Begun, wrote.Begun);
    ASSERT_EQ(read.Entries.size(), 2U);
    EXPECT_EQ(read.Entries[0].Old, wrote.Entries[0].Old);
    EXPECT_EQ(read.Entries[0].New, wrote.Entries[0].New);
    EXPECT_FALSE(read.Entries[0].Sent);
    EXPECT_TRUE(read.Entries[1].Sent);
}

// A journal whose images are not whole must never be written into a gauge.
TEST(WriteJournal, RefusesEveryCutAndEveryChangedByte)
{
    const QByteArray whole = JournalText(Example());
    QString error;
    for (qsizetype length = 0; length < whole.size(); ++length) {
        error.clear();
        EXPECT_TRUE(ParseJournal(whole.left(length), error).Entries.empty()) << length;
        EXPECT_FALSE(error.isEmpty()) << length;
    }
    for (qsizetype at = 0; at + 1 < whole.size(); ++at) {
        QByteArray spoilt = whole;
        spoilt[at] = static_cast<char>(spoilt[at] ^ 1);
        error.clear();
        const JournalContent read = ParseJournal(spoilt, error);
        EXPECT_FALSE(error.isEmpty() && !read.Entries.empty()) << at;
    }
}

// A write may change what the pack calls itself; torn in the middle, it may call itself anything between.
TEST(WriteJournal, KnowsItsPackByOldNewAndTornNames)
{
    const JournalContent content = Example();
    const auto belongs = [&](const char* device, int serial, int date = 0x5A6E) {
        return content.Belongs(
            {Hex("5445"), Hex(device), static_cast<std::uint16_t>(serial), static_cast<std::uint16_t>(date)});
    };
    EXPECT_TRUE(belongs("4E616D65", 0x0102));
    EXPECT_TRUE(belongs("4F74686572", 0xFFEE));
    EXPECT_TRUE(belongs("4F74686572", 0x0102));
    EXPECT_TRUE(belongs("4F746D65", 0x01EE)) << "half of each";
    EXPECT_FALSE(belongs("4E616D65", 0x0103));
    EXPECT_FALSE(belongs("4E616D66", 0x0102));
    EXPECT_FALSE(belongs("4E616D65", 0x0102, 0x5A6F)) << "the date stands in no image";
    EXPECT_TRUE(content.Belongs({std::nullopt, std::nullopt, 0x0102, std::nullopt})) << "what can be read";
    EXPECT_FALSE(content.Belongs({}));
}

TEST(WriteJournal, TakesOverWhatAnEarlierWriteLeft)
{
    MemoryJournals files;
    WriteJournal journal(files);
    ASSERT_EQ(journal.Begin(Example()), QString());
    JournalContent second = Example();
    second.Begun = QStringLiteral("2026-01-05T10:00:00.000");
    second.Entries
        = {{16, QStringLiteral("Pack (Data)"), Hex("044E74686572000102"), Hex("040000000000000102")}};
    WriteJournal later(files);
    ASSERT_EQ(later.Begin(second), QString());
    QStringList problems;
    std::optional<JournalContent> left = WriteJournal(files).Open(second.Pack, problems);
    ASSERT_TRUE(left);
    ASSERT_EQ(left->Entries.size(), 2U);
    EXPECT_EQ(left->Find(16)->Old, Example().Entries[0].Old) << "what was read in between was torn";
    EXPECT_EQ(left->Find(16)->New, second.Entries[0].New);
    EXPECT_EQ(later.End({16}), QString());
    left = WriteJournal(files).Open(second.Pack, problems);
    ASSERT_TRUE(left);
    EXPECT_EQ(left->Entries.size(), 1U);
    EXPECT_EQ(left->Entries[0].Id, 7);
    EXPECT_EQ(later.End({7}), QString());
    EXPECT_TRUE(files.files.empty());
    EXPECT_EQ(problems, QStringList());
}

TEST(WriteJournal, OtherPacksAndDamagedFilesStay)
{
    const QTemporaryDir folder;
    JournalFolder files(folder.filePath(QStringLiteral("Journal")));
    EXPECT_EQ(files.Names(), QStringList());
    ASSERT_EQ(files.Save(QStringLiteral("damaged.journal"), "{}\n"), QString());
    WriteJournal journal(files);
    ASSERT_EQ(journal.Begin(Example()), QString());
    ASSERT_EQ(journal.Sent(7), QString());
    JournalContent other = Example();
    other.Pack.Serial = 9;
    WriteJournal second(files);
    ASSERT_EQ(second.Begin(other), QString());
    EXPECT_EQ(files.Names().size(), 3);
    QStringList problems;
    const std::optional<JournalContent> found = WriteJournal(files).Open(Example().Pack, problems);
    ASSERT_TRUE(found);
    EXPECT_TRUE(found->Find(7)->Sent);
    ASSERT_EQ(problems.size(), 1);
    EXPECT_TRUE(problems[0].contains(QLatin1String("damaged.journal")));
    EXPECT_EQ(journal.Forget(), QString());
    EXPECT_EQ(files.Names().size(), 2);
    EXPECT_EQ(journal.Forget(), QString());
}

// Two programs that share the folder, each with a pack that says the same of itself.
TEST(WriteJournal, OneProgramAtATimeWritesToAPack)
{
    const QTemporaryDir folder;
    JournalFolder mine(folder.path());
    JournalFolder yours(folder.path());
    WriteJournal writing(mine);
    WriteJournal other(yours);
    ASSERT_EQ(writing.Begin(Example()), QString());
    EXPECT_TRUE(other.Begin(Example()).contains(QString::number(QCoreApplication::applicationPid())));
    QStringList problems;
    EXPECT_FALSE(other.Open(Example().Pack, problems)) << "it is not pending, it is under way";
    EXPECT_EQ(problems.size(), 1);
    JournalContent elsewhere = Example();
    elsewhere.Pack.Serial = 9;
    EXPECT_EQ(other.Begin(elsewhere), QString()) << "another pack";
    writing.Release();
    EXPECT_TRUE(other.Open(Example().Pack, problems));
    EXPECT_EQ(problems.size(), 1);
}

TEST(WriteJournal, SaysWhyItCannotBeSaved)
{
    const QTemporaryDir folder;
    QFile blocked(folder.filePath(QStringLiteral("Journal")));
    ASSERT_TRUE(blocked.open(QIODevice::WriteOnly)); // a file where the folder should be
    JournalFolder files(blocked.fileName());
    WriteJournal journal(files);
    EXPECT_TRUE(journal.Begin(Example()).contains(blocked.fileName()));
    EXPECT_TRUE(files.Append(QStringLiteral("none.journal"), "x").contains(QLatin1String("none.journal")));
    EXPECT_FALSE(files.Remove(QStringLiteral("none.journal")).isEmpty());
}
