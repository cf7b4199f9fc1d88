#include "dataflash/ValueEncoding.h"

#include "dataflash/AccessStyle.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

QString Text(const char* text) { return QString::fromLatin1(text); }

Bytes Hex(const char* digits) { return ParseHex(Text(digits)).value(); }

struct DecodeCase {
    const char* type;
    const char* bytes;
    const char* text;
};

TEST(ByteToDataType, ShowsEveryType)
{
    const DecodeCase cases[] = {
        {"I1", "80", "-128"},
        {"u1", "80", "128"},
        {"H1", "0A", "0A"},
        {"I2", "8000", "-32768"},
        {"I2", "7FFF", "32767"},
        {"U2", "8000", "32768"},
        {"h2", "00ff", "00FF"},
        {"I4", "80000000", "-2147483648"},
        {"U4", "FFFFFFFF", "4294967295"},
        {"H4", "0000BEEF", "0000BEEF"},
        {"F4", "81000000", "1"},
        {"F4", "7F800000", "-0.25"},
        {"F4", "87480000", "100"},
        {"F4", "81800000", "0"}, // the sign takes the exponent's top bit with it
        {"F4", "FF800000", "-0.25"},
        {"F4", "00000000", "0"},
        {"F4", "00800000", "0"}, // not "-0"
        {"F4", "7C4CCCCD", "0.05"},
        {"F4", "6D000000", "0.000001"}, // 2^-20 is 9.5e-7
        {"F4", "FF7FFFFF", "170141173319264429905852091742258462720"}, // no exponent
        {"S5", "0941424344", "ABCD"}, // a count that is too large is cut
        {"S5", "024142FFFF", "AB"},
        {"S3", "01E9FF", "\xE9"},
        {"S1", "FF", ""},
    };
    RecordedMessages messages;
    for (const DecodeCase& given : cases) {
        Bytes buffer = Hex(given.bytes);
        buffer.insert(buffer.begin(), {0xAA, 0xBB, 0xCC});
        EXPECT_EQ(ByteToDataType(buffer, 3, Text(given.type), messages), Text(given.text))
            << given.type << ' ' << given.bytes;
        EXPECT_TRUE(ByteToDataType(buffer, 4, Text(given.type), messages).isNull()) << "past the end";
        EXPECT_TRUE(ByteToDataType(buffer, -1, Text(given.type), messages).isNull());
    }
    EXPECT_FALSE(ByteToDataType(Hex("00FF"), 0, Text("S2"), messages).isNull()) << "empty, but known";
    EXPECT_EQ(messages.texts, QStringList());
}

TEST(DataType, UnknownOnesGiveTheFixedMessageAndNothingElse)
{
    for (const char* type : {"", "I", "I3", "F2", "X9", "S", "S0", "S257", "S05", "I1x", "I-1", "2"}) {
        RecordedMessages messages;
        Bytes buffer = Hex("01020304");
        EXPECT_EQ(WidthOf(Text(type)), std::nullopt) << type;
        EXPECT_EQ(ByteToDataType(buffer, 2, Text(type), messages), QString());
        EXPECT_FALSE(DataTypeToByte(buffer, 3, Text(type), Text("1"), messages));
        EXPECT_EQ(messages.texts,
                  (QStringList{Text("Unknown Datatype ") + Text(type) + Text("Offset = 2"),
                               Text("Unknown Datatype ") + Text(type) + Text("Offset = 3")}));
        EXPECT_EQ(buffer, Hex("01020304"));
    }
    EXPECT_EQ(WidthOf(Text("s256")), 256);
}

struct EncodeCase {
    const char* type;
    const char* text;
    const char* bytes; ///< or part of the reason of a refusal, after "!"
};

TEST(DataTypeToByte, EncodesOrRefuses)
{
    const EncodeCase cases[] = {
        {"I1", "-128", "80"},
        {"I1", "128", "!outside -128 to 127"},
        {"U1", " 255 ", "FF"},
        {"U1", "-1", "!outside 0 to 255"},
        {"U1", "1.5", "!whole"},
        {"U1", "2.0", "02"},
        {"U1", "", "!no value"},
        {"U1", "0x10", "!no number"},
        {"U1", "1,5", "!no number"},
        {"U1", "abc", "!no number"},
        {"U1", "1e400", "!outside"},
        {"I2", "-1", "FFFF"},
        {"U2", "65535", "FFFF"},
        {"U2", "65535.5", "!outside"},
        {"I4", "-2147483648", "80000000"},
        {"U4", "4294967295", "FFFFFFFF"},
        {"U4", "4294967296", "!outside"},
        {"H1", "0x1f", "1F"},
        {"H1", "&H1F", "1F"},
        {"H1", "100", "!outside 00 to FF"},
        {"H2", "00001234", "1234"},
        {"H2", "-1", "!no hexadecimal"},
        {"H2", "1.0", "!no hexadecimal"},
        {"H2", "0x", "!no hexadecimal"},
        {"H4", "DEADBEEF", "DEADBEEF"},
        {"F4", "1", "81000000"},
        {"F4", "0.5", "80000000"},
        {"F4", "3.0", "82400000"},
        {"F4", "100", "87480000"},
        {"F4", "-0.25", "7F800000"},
        {"F4", "-1", "81800000"},
        {"F4", "-0.0", "00000000"},
        {"F4", "0.1", "7D4CCCCC"}, // truncated, not rounded
        {"F4", "0.99999999", "81000000"}, // a hair below 1 takes the next exponent, and nothing is left
        {"F4", "0.9999999", "807FFFFE"},
        {"F4", "1e39", "FF7FFFFF"},
        {"F4", "-1e400", "FFFFFFFF"},
        {"F4", "1e-400", "00000000"},
        {"F4", "nan", "!no number"},
        {"F4", "inf", "!no number"},
        {"S5", "ABCD", "0441424344"},
        {"S5", "A", "0141000000"},
        {"S5", " ", "0120000000"},
        {"S5", "ABCDE", "!5 characters, 4 fit"},
        {"S5", "", "!no value"},
        {"S3", "\xFF", "01FF00"},
        {"S1", "", "00"},
        {"S1", "A", "!0 fit"},
    };
    for (const EncodeCase& given : cases) {
        RecordedMessages messages;
        const int width = WidthOf(Text(given.type)).value();
        const Bytes before(static_cast<std::size_t>(width) + 2, 0xEE);
        Bytes buffer = before;
        QString why;
        const bool ok = DataTypeToByte(buffer, 1, Text(given.type), Text(given.text), messages, &why);
        EXPECT_EQ(ok, given.bytes[0] != '!') << given.type << ' ' << given.text;
        if (ok) {
            EXPECT_EQ(HexText(buffer), Text("EE") + Text(given.bytes) + Text("EE"))
                << given.type << given.text;
        } else {
            EXPECT_EQ(buffer, before);
            EXPECT_TRUE(why.contains(Text(given.bytes + 1))) << why.toStdString();
        }
        EXPECT_FALSE(DataTypeToByte(buffer, 3, Text(given.type), Text("1"), messages)) << "past the end";
        EXPECT_EQ(messages.texts, QStringList());
    }
    RecordedMessages messages;
    Bytes buffer(4);
    QString why;
    EXPECT_FALSE(DataTypeToByte(buffer, 0, Text("S4"), QString(QChar(0x3A9)), messages, &why));
    EXPECT_TRUE(why.contains(QChar(0x3A9)));
}

TEST(Xemics, EdgesOfTheFormat)
{
    struct Edge {
        double value;
        XemicsBytes bytes;
    };
    const Edge edges[] = {
        {0x1p-129, {0x00, 0x00, 0x00, 0x00}},  {0x1.8p-129, {0x00, 0x40, 0x00, 0x00}},
        {-0x1p-129, {0x00, 0x80, 0x00, 0x00}}, {-0x1.fp-130, {0, 0, 0, 0}},
        {0x1p126, {0xFF, 0x00, 0x00, 0x00}},   {0x1p127, {0xFF, 0x7F, 0xFF, 0xFF}},
        {-INFINITY, {0xFF, 0xFF, 0xFF, 0xFF}}, {NAN, {0, 0, 0, 0}},
    };
    for (const Edge& edge : edges)
        EXPECT_EQ(IEEEToXemics(edge.value), edge.bytes) << edge.value;
    EXPECT_FALSE(std::signbit(XemicsToIEEE({0x00, 0x80, 0, 0})));
    EXPECT_EQ(XemicsToIEEE({0x6D, 0x06, 0x37, 0xBD}), 0.000001);
}

TEST(ParseLegacyString, TakesTheStyleAndTheSettingsOfStyleOne)
{
    struct StyleCase {
        const char* text;
        int style;
        int block;
        int base;
        bool problem = false;
    };
    const StyleCase cases[] = {
        {"", 0, 64, 88},
        {"  ", 0, 64, 88},
        {"1", 1, 64, 88},
        {"1:BlkSz=64:BaseCmd=88", 1, 64, 88},
        {" 1 : blksz = 32 : other=9 : BASECMD=0 ", 1, 32, 0},
        {"1:BlkSz=255", 1, 255, 88},
        {"1:BlkSz=256", 1, 64, 88, true},
        {"1:BlkSz=0", 1, 64, 88, true},
        {"1:BlkSz=:BaseCmd=x", 1, 64, 88, true},
        {"6:BlkSz=32", 6, 64, 88},
        {"7x", 7, 64, 88},
        {"abc", 0, 64, 88},
        {"-2", -2, 64, 88},
        {"99999999999999999999", 32767, 64, 88, true},
    };
    for (const StyleCase& given : cases) {
        QString problem;
        const AccessStyle style = ParseLegacyString(Text(given.text), problem);
        EXPECT_EQ(style.DFAccessStyle, given.style) << given.text;
        EXPECT_EQ(style.DFBlockSize, given.block) << given.text;
        EXPECT_EQ(style.DFBaseCmd, given.base) << given.text;
        EXPECT_EQ(!problem.isEmpty(), given.problem) << problem.toStdString();
    }
}

} // namespace
