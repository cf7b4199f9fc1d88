#include "platform/Bytes.h"
#include "platform/Pec.h"
#include "platform/Windows1252.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

TEST(ParseHex, TakesPairsAndRefusesWhatIsNoPair)
{
    const Bytes bytes{0x0A, 0xFF, 0x1B};
    for (const auto* good : {u"0AFF1B", u"0aff1b", u"0x0A FF 1b", u"  0A  FF 1B "})
        EXPECT_EQ(ParseHex(good), bytes) << QStringView(good).toString().toStdString();
    for (const auto* bad : {u"0AF", u"0 AFF", u"0G", u"0A,FF", u"x0A", u"0A0x"})
        EXPECT_FALSE(ParseHex(bad)) << QStringView(bad).toString().toStdString();
    EXPECT_EQ(HexText(bytes), QStringLiteral("0AFF1B"));
}

TEST(Windows1252, EveryByteComesBackAndTheFirstMisfitIsNamed)
{
    QByteArray all;
    for (int byte = 0; byte < 256; ++byte)
        all.append(static_cast<char>(byte));
    const QString text = DecodeWindows1252(all);
    EXPECT_EQ(text[0x80], QChar(0x20AC));
    EXPECT_EQ(text[0x9F], QChar(0x0178));
    EXPECT_EQ(text[0xE4], QChar(0x00E4));
    EXPECT_EQ(EncodeWindows1252(text).bytes, all);
    EXPECT_EQ(EncodeWindows1252(text).misfit, QString());
    EXPECT_EQ(EncodeWindows1252(u"mΩΣ").misfit, QStringLiteral("Ω (U+03A9)"));
    EXPECT_EQ(EncodeWindows1252(u"\U0001F50B").misfit, QStringLiteral("\U0001F50B (U+1F50B)"));
}

TEST(Pec, GivesTheCheckValueThatIsPublishedForThisCrc)
{
    const Bytes digits{'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(PecOf(digits), 0xF4); // host and simulated gauge share it: a slip would agree with itself
}
