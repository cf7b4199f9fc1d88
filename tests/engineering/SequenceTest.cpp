#include "engineering/ProSettings.h"
#include "engineering/TransactionFields.h"

#include "tests/engineering/EngineeringBench.h"

#include <gtest/gtest.h>

namespace {

struct LineCase {
    const char* name;
    const char* text;
    const char* problems; ///< "2:what the problem holds", with "|" between
};
void PrintTo(const LineCase& line, std::ostream* out) { *out << line.name; }

class SequenceLines : public testing::TestWithParam<LineCase> { };

TEST_P(SequenceLines, NamesEveryWrongLine)
{
    const Sequence sequence = ParseSequence(QString::fromUtf8(GetParam().text));
    const QStringList wanted
        = QString::fromUtf8(GetParam().problems).split(QLatin1Char('|'), Qt::SkipEmptyParts);
    ASSERT_EQ(static_cast<int>(sequence.Problems.size()), wanted.size())
        << ProblemsText(sequence).toStdString();
    for (int i = 0; i < wanted.size(); ++i) {
        const SequenceProblem& problem = sequence.Problems[static_cast<std::size_t>(i)];
        EXPECT_EQ(problem.Line, wanted[i].section(QLatin1Char(':'), 0, 0).toInt());
        EXPECT_TRUE(problem.Text.contains(wanted[i].section(QLatin1Char(':'), 1)))
            << problem.Text.toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Lines, SequenceLines,
    testing::Values(
        LineCase{"Good",
                 "# nothing\r\n\n write-word 0x04 -1500 at 0x18 # load\r\nread-word 9 expect 0x10 mask 0xF0\n"
                 "i2c-write 0xA0 0 55AA\npeek 0x200 16 expect 0102030405060708090A0B0C0D0E0F10\n"
                 "wait 5 gpio-read 0 expect 1\nmessage half # way\nloop 2\nend\n",
                 ""},
        LineCase{"UnknownWord", "\nwrite-wrod 0 1", "2:\"write-wrod\" is nothing that can be sent"},
        LineCase{"MissingAndTooMany", "write-word 4\nread-word 9 9\nread-word",
                 "1:lacks its word|2:\"9\" is one word|3:lacks its command"},
        LineCase{"OutOfRange",
                 "command 256\nwrite-word 0 65536\npeek 0xFFF0 32\npoke 0xFFFF 0102\ngpio-write 0 2",
                 "1:from 0 to 255|2:from -32768 to 65535|3:ends at 0xFFFF|4:ends at 0xFFFF|5:level"},
        LineCase{"NotANumber",
                 "read-word 9x\nread-word --9\nread-word 0x\ni2c-read 0xA1 0 1\nread-word 9 at 0x17",
                 "1:9x|2:--9|3:0x|4:even|5:even"},
        LineCase{"Bytes", "write-block 9 123\nwrite-block 9 zz\nwrite-block 9 0x", "1:pairs|2:pairs|3:pairs"},
        LineCase{"Expect",
                 "write-word 0 1 expect 1\nread-block 9 expect 0102 mask FF\nread-word 9 expect\nread-word 9 "
                 "expect 1 mask",
                 "1:no answer|2:the mask has 1 bytes|3:lacks its value|4:mask lacks"},
        LineCase{"Wait", "wait 100 read-word 9\nwait 100\nwait read-word 9 expect 1\ndelay -1",
                 "1:expect|2:nothing that can be sent|3:milliseconds|4:milliseconds"},
        LineCase{"Loops", "end\nloop 0\nloop 3\nloop 2\nend", "1:no loop|2:number of turns|3:no end"},
        LineCase{"HalfALoop", "loop 2 x\nend\nloop 2\nend x", "1:one word|2:no loop|4:one word|3:no end"},
        LineCase{"TooDeep",
                 "loop 1\nloop 1\nloop 1\nloop 1\nloop 1\nloop 1\nloop 1\nloop 1\nloop "
                 "1\nend\nend\nend\nend\nend\nend\nend\nend",
                 "9:deep"}),
    [](const auto& row) { return row.param.name; });

TEST(Sequence, StopsAtAHundredProblemsAndCountsLoopsWithoutOverflow)
{
    EXPECT_EQ(ParseSequence(QStringLiteral("oops\n").repeated(100'000)).Problems.size(), 100U);
    QString deep;
    for (int i = 0; i < 8; ++i)
        deep += QStringLiteral("loop 1000000\n");
    deep += QStringLiteral("read-word 9\n");
    for (int i = 0; i < 8; ++i)
        deep += QStringLiteral("end\n");
    EXPECT_EQ(ParseSequence(deep).Turns(), std::int64_t{1} << 62);
    EXPECT_EQ(
        ParseSequence(QStringLiteral("delay 1\nloop 3\nread-word 9\nloop 2\ncommand 1\nend\nend")).Turns(),
        10);
}

TEST(Transaction, IsReadBackAsItIsWritten)
{
    for (const char* text : {"read-word 0x09", "write-word 0x04 0xFA24 at 0x18", "write-block 0x2F 0102FF",
                             "command 0x10", "peek 0x0200 300", "poke 0x0200 AA", "i2c-read 0xA0 0x10 16",
                             "i2c-write 0xA0 0x10 55AA", "gpio-read 3", "gpio-write 0 1"}) {
        QStringList words = QString::fromLatin1(text).split(QLatin1Char(' '));
        QString problem;
        const auto transaction = TakeTransaction(words, problem);
        ASSERT_TRUE(transaction) << text;
        EXPECT_EQ(TransactionText(*transaction), QString::fromLatin1(text));
        // the fields of a window give it again, in either base
        for (const bool hex : {true, false}) {
            if (transaction->Kind < TransactionKind::GpioRead) {
                EXPECT_EQ(Enter(InBase(FieldsOf(*transaction, hex), !hex)).Sent, transaction) << text;
            }
        }
    }
}

TEST(Expectation, LooksAtTheMaskedBitsAndAtTheLength)
{
    QString problem;
    const auto masked = ParseExpectation(TransactionKind::ReadWord, QStringLiteral("0x0080"),
                                         QStringLiteral("0x00F0"), problem);
    ASSERT_TRUE(masked);
    EXPECT_TRUE(masked->Met({0x8F, 0x12}));
    EXPECT_FALSE(masked->Met({0x90, 0x00}));
    EXPECT_FALSE(masked->Met({0x80}));
    const auto bytes = ParseExpectation(TransactionKind::ReadBlock, QStringLiteral("0102"), {}, problem);
    ASSERT_TRUE(bytes);
    EXPECT_TRUE(bytes->Met({1, 2}));
    EXPECT_FALSE(bytes->Met({1, 2, 3}));
    EXPECT_FALSE(bytes->Met({1, 3}));
    EXPECT_TRUE(
        ParseExpectation(TransactionKind::ReadWord, QStringLiteral("-2"), {}, problem)->Met({0xFE, 0xFF}));
}

TEST(TransactionFields, NameTheFieldThatIsWrong)
{
    const auto wrong = [](TransactionKind kind, const char* address, const char* place, const char* data,
                          const char* expect = "", const char* mask = "", bool hex = true) {
        const auto text = [](const char* value) { return QString::fromLatin1(value); };
        return Enter({kind, hex, text(address), text(place), text(data), text(expect), text(mask)}).Wrong;
    };
    using Kind = TransactionKind;
    using Field = TransactionField;
    EXPECT_EQ(wrong(Kind::ReadWord, "", "FF", "ignored"), Field::None);
    EXPECT_EQ(wrong(Kind::ReadWord, "17", "09", ""), Field::Address);
    EXPECT_EQ(wrong(Kind::ReadWord, "", "100", ""), Field::Place);
    EXPECT_EQ(wrong(Kind::ReadWord, "", "300", "", "", "", false), Field::Place);
    EXPECT_EQ(wrong(Kind::WriteWord, "", "4", ""), Field::Data);
    EXPECT_EQ(wrong(Kind::WriteBlock, "", "4", "1 2", "", "", true), Field::Data);
    EXPECT_EQ(wrong(Kind::WriteBlock, "", "4", "10, 27 255", "", "", false), Field::None);
    EXPECT_EQ(wrong(Kind::WriteBlock, "", "4", "256", "", "", false), Field::Data);
    EXPECT_EQ(wrong(Kind::Poke, "", "FFFF", "0102"), Field::Data);
    EXPECT_EQ(wrong(Kind::ReadWord, "", "9", "", "zz"), Field::Expect);
    EXPECT_EQ(wrong(Kind::ReadBlock, "", "9", "", "0102", "FF"), Field::Mask);
    EXPECT_EQ(wrong(Kind::I2CRead, "", "0", "4"), Field::Address);
}

TEST(ProSettings, GiveAccessCommandsAndSayWhatIsWrongWithOne)
{
    EngineeringBench bench;
    const ProSettings settings = ReadProSettings(bench.profiles, bench.state);
    ASSERT_TRUE(settings.Memory);
    EXPECT_EQ(settings.Memory->Data, 0x4A);
    ASSERT_EQ(settings.Access.size(), 3U); // a number may be missing
    EXPECT_EQ(settings.Access[0].Name, QStringLiteral("Type"));
    EXPECT_EQ(settings.Access[0].Steps.Steps.size(), 2U);
    EXPECT_TRUE(settings.Access[1].Problem.contains(QStringLiteral("key 2, step 1: write-word lacks")));
    bench.Put(QStringLiteral("target.ini"), "[Pro]\nMemoryAddressCmd=300\nMemoryDataCmd=1\n");
    bench.state.TargetConfigPath = bench.folder.filePath(QStringLiteral("target.ini"));
    ProfileStore fresh;
    EXPECT_FALSE(ReadProSettings(fresh, bench.state).Memory);
    EXPECT_TRUE(ReadProSettings(fresh, bench.state).Problem.contains(QStringLiteral("MemoryAddressCmd")));
}

} // namespace
