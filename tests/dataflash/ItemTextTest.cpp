#include "dataflash/ItemText.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

namespace {

QString Text(const char* text) { return QString::fromUtf8(text); }

DataItem Item(const char* type, const char* read = "", const char* write = "", const char* format = "")
{
    DataItem item;
    item.DataType = Text(type);
    item.ReadFormula = Text(read);
    item.WriteFormula = Text(write);
    item.DisplayFmt = Text(format);
    return item;
}

const char* const kFromKelvin = "x/10-273.15";
const char* const kToKelvin = "(x+273.15)*10";

struct TextCase {
    DataItem item;
    const char* from;
    const char* to; ///< or part of the reason, after "!"
};

void Check(const std::vector<TextCase>& cases, TextDirection direction)
{
    for (const TextCase& given : cases) {
        const ItemText converted = ConvertDisplayNative(given.item, Text(given.from), direction);
        const std::string where = given.item.DataType.toStdString() + ' ' + given.from;
        EXPECT_EQ(converted.Ok(), given.to[0] != '!') << where << ": " << converted.Error.toStdString();
        if (converted.Ok())
            EXPECT_EQ(converted.Text, Text(given.to)) << where;
        else
            EXPECT_TRUE(converted.Error.contains(Text(given.to + 1)))
                << where << converted.Error.toStdString();
    }
}

TEST(ConvertDisplayNative, ShowsNativeTexts)
{
    Check(
        {{Item("I2"), "-5", "-5"},
         {Item("U2", kFromKelvin, kToKelvin, "f"), "3332", "60.05"},
         {Item("U2", "x/3"), "1", "0.333333"},
         {Item("I2", "X"), "1234", "1234"},
         {Item("I2", "", "", "d.00"), "-5", "-0.05"},
         {Item("H2"), "001F", "001F"},
         {Item("H2", "x/2"), "001F", "15.5"},
         {Item("H1", "", "", "d"), "C8", "200"}, // a byte of the data flash says itself whether it is signed
         {Item("I1", "", "", "hh"), "-1", "FF"},
         {Item("F4"), "0.25", "0.25"},
         {Item("S9", "x*2", "x", "d"), "a x b", "a x b"},
         {Item("U1", "1/x"), "0", "!division by zero"},
         {Item("U1", "", "", "z"), "1", "!Unknown display format"},
         {Item("U1", "x*2"), "", ""},
         {Item("U1"), "one", "!no number"},
         {Item("X9"), "1", "!X9"}},
        TextDirection::NativeToShown);
}

TEST(ConvertDisplayNative, TakesWhatIsTyped)
{
    Check({{Item("I2"), " -5 ", "-5"},
           {Item("U2", kFromKelvin, kToKelvin, "f"), "60.05", "3332"},
           {Item("U2"), "2.5", "2"}, // half to even
           {Item("U2"), "3.5", "4"},
           {Item("U2"), "0x10", "16"},
           {Item("U2"), "&h10", "16"},
           {Item("U1"), "255.5", "!outside 0 to 255"},
           {Item("I1"), "-128.5", "-128"},
           {Item("U1", "", "x/0"), "1", "!division by zero"},
           {Item("I2", "", "", "d.00"), "65.12", "6512"},
           {Item("I2", "", "", "d.00"), "-0.05", "-5"},
           {Item("I2", "", "", "d.00"), "7", "700"},
           {Item("I2", "", "", "d.00"), ".125", "12"},
           {Item("I2", "", "", "d.00"), "+1e1", "1000"},
           {Item("I2", "", "x*2", "d.0"), "1.5", "30"},
           {Item("H2"), "1f", "001F"},
           {Item("H2"), "12345", "!outside"},
           {Item("H2"), "xyz", "!no hexadecimal"},
           {Item("H2", "x/2", "x*2"), "15.5", "001F"},
           {Item("I1", "", "", "hh"), "FF", "-1"},
           {Item("F4"), "0.12345678", "0.123457"},
           {Item("F4"), "1e-9", "!too small"},
           {Item("F4"), "1e39", "!too large"},
           {Item("F4"), "nan", "!no number"},
           {Item("U1"), "1+1", "!no number"},
           {Item("U1"), "", ""},
           {Item("S9"), " kept ", " kept "}},
          TextDirection::ShownToNative);
    const QString lots(1'000'000, u'1');
    EXPECT_FALSE(ConvertDisplayNative(Item("F4", "", "x*x*x*x"), lots, TextDirection::ShownToNative).Ok());
}

TEST(DecimalPoint, GoesInAndOut)
{
    struct PointCase {
        const char* digits;
        int decimals;
        const char* text;
    };
    for (const PointCase& given :
         {PointCase{"1234", 2, "12.34"}, {"-5", 2, "-0.05"}, {"0", 3, "0.000"}, {"120", 1, "12.0"}}) {
        EXPECT_EQ(InsertDecimalPoint(Text(given.digits), given.decimals), Text(given.text));
        EXPECT_EQ(RemoveDecimalPoint(Text(given.text), given.decimals), Text(given.digits));
    }
    EXPECT_EQ(RemoveDecimalPoint(Text("0.125"), 2), Text("12.5"));
    EXPECT_EQ(RemoveDecimalPoint(Text("3"), 2), Text("300"));
}

TEST(NormalNative, SpellsAsTheBytesDecode)
{
    struct NormalCase {
        const char* type;
        const char* given;
        const char* normal; ///< empty: refused
    };
    for (const NormalCase& given : {NormalCase{"H2", "0x1f", "001F"},
                                    {"U2", "+007.0", "7"},
                                    {"F4", "1e2", "100"},
                                    {"F4", "-0.0", "0"},
                                    {"F4", "-1.5", "-1.5"},
                                    {"F4", "2e38", ""},
                                    {"F4", "0.0000001", ""},
                                    {"S4", "abc", "abc"},
                                    {"S4", "abcd", ""},
                                    {"U1", "256", ""},
                                    {"U1", "", ""}}) {
        const ItemText normal = NormalNative(Item(given.type), Text(given.given));
        EXPECT_EQ(normal.Text, Text(given.normal)) << given.type << given.given;
        EXPECT_EQ(normal.Ok(), *given.normal != 0);
    }
}

TEST(CheckRange, NamesTheLimitAsItIsShown)
{
    DataItem item = Item("U2", kFromKelvin, kToKelvin, "f");
    item.Units = Text("°C");
    item.MinVal = Text("2732");
    item.MaxVal = Text("3532");
    EXPECT_EQ(CheckRange(item, Text("2732")), QString());
    EXPECT_EQ(CheckRange(item, Text("3532")), QString());
    EXPECT_EQ(CheckRange(item, Text("2731")), Text("-0.05 is below the minimum 0.05 °C"));
    EXPECT_EQ(CheckRange(item, Text("3533")), Text("80.15 is above the maximum 80.05 °C"));
    DataItem hex = Item("H2");
    hex.MaxVal = Text("00FF");
    EXPECT_FALSE(CheckRange(hex, Text("0100")).isEmpty());
    EXPECT_TRUE(CheckRange(hex, Text("00FF")).isEmpty());
}

} // namespace
