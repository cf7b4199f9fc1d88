#include "sbs/Conversion.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

namespace {

struct ShowCase {
    const char* name;
    RawValue raw;
    int style;
    const char* factor;
    const char* format;
    const char* text;
};

QString Text(const char* text) { return QString::fromLatin1(text); }

class ShownText : public testing::TestWithParam<ShowCase> { };

} // namespace

TEST_P(ShownText, IsTheRawValueThroughFactorAndFormat)
{
    const ShowCase& given = GetParam();
    const Converted converted
        = ApplyFactor(given.raw, static_cast<ReadStyle>(given.style), Text(given.factor));
    ASSERT_EQ(converted.error, QString());
    const Formatted formatted = FormatValue(converted, Text(given.format));
    EXPECT_EQ(formatted.text, Text(given.text));
    EXPECT_EQ(formatted.message + formatted.error, QString());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ShownText,
    testing::Values(
        ShowCase{"Unchanged", 3712, 1, "X", "d", "3712"}, ShowCase{"EmptyFactor", -5, 1, "", "d", "-5"},
        ShowCase{"Tenth", 3712, 1, "x/10", "d", "371.2"}, ShowCase{"Doubled", 21, 1, "2*x", "d", "42"},
        ShowCase{"EveryX", 3, 1, "X*x+x", "d", "12"}, ShowCase{"MinusMinus", -5, 1, "2-x", "d", "7"},
        ShowCase{"SignBindsLess", -5, 1, "x^2", "d", "-25"},
        ShowCase{"BinaryNoise", 2981, 1, "x/10-273.15", "d", "24.95"},
        ShowCase{"Real", 2981, 1, "x/10-273.15", "f", "24.95"},
        ShowCase{"RealThird", 1, 1, "x/3", "f", "0.333333"},
        ShowCase{"Third", 1, 1, "x/3", "d", "0.333333333333333"},
        ShowCase{"Tiny", 1, 1, "x/1e7", "d", "0.0000001"}, ShowCase{"TinyReal", -1, 1, "x/1e7", "f", "0"},
        ShowCase{"LargeReal", 1, 1, "x*123456789012345", "f", "123456789012345"},
        ShowCase{"HugeReal", 1, 1, "x*1e15", "f", "1e+15"},
        ShowCase{"TwoPlaces", 1234, 1, "x", "d.00", "12.34"},
        ShowCase{"MinusPlaces", -5, 1, "x", "d.00", "-0.05"}, ShowCase{"OnePlace", -5, 1, "x", "d.0", "-0.5"},
        ShowCase{"NoPlace", 7, 1, "x", "d.", "7."}, ShowCase{"HalfToEvenDown", 5, 1, "x/2", "d.0", "0.2"},
        ShowCase{"HalfToEvenUp", 7, 1, "x/2", "d.0", "0.4"},
        ShowCase{"NoMinusZero", -1, 1, "x/4", "d.0", "0.0"}, ShowCase{"Blanks", 26, 1, "x", "  d  ", "26"},
        ShowCase{"ByteSigned", 200, 3, "x", "d", "-56"}, ShowCase{"Byte127", 127, 6, "x", "d", "127"},
        ShowCase{"ByteSignedPlaces", 251, 9, "X", "d.0", "-0.5"},
        ShowCase{"ByteUnsigned", 200, 12, "x", "u", "200"},
        ShowCase{"ByteEvaluated", 200, 12, "x*1", "d", "200"},
        ShowCase{"WordNotByte", 200, 13, "x", "d", "200"}, ShowCase{"Unsigned", -1, 1, "x", "u", "65535"},
        ShowCase{"UnsignedPlaces", -1, 1, "x", "u.00", "655.35"},
        ShowCase{"UnsignedEvaluated", -5, 1, "2*x", "u", "65526"},
        ShowCase{"UnsignedFraction", -1, 1, "x/2", "u", "-0.5"},
        ShowCase{"UnsignedLowest", -32768, 1, "x", "u", "32768"},
        ShowCase{"UnsignedBelow", -32768, 1, "x*2", "u", "-65536"},
        ShowCase{"HexPadded", 26, 1, "x", "hhhh", "001A"},
        ShowCase{"HexCut", 24855, 1, "x*3", "hhhh", "2345"},
        ShowCase{"HexMinus", -1, 1, "x", "hhhhhh", "00FFFF"}, ShowCase{"HexRounded", 5, 1, "x/2", "hh", "02"},
        ShowCase{"HexWide", -32768, 1, "x*2", "hhhhhhhh", "FFFF0000"},
        ShowCase{"Mask", 0x1234, 1, "x", "b0FF0|", "230"},
        ShowCase{"MaskWithoutBar", -1, 1, "x", "bF0", "F0"},
        ShowCase{"MaskTail", -1, 1, "x", "b8000|rest", "8000"}),
    [](const auto& row) { return row.param.name; });

TEST(Conversion, NamesWhatAFactorOrFormatCannotDo)
{
    for (const char* factor : {"x/0", "x+", "exp(x)", "1e308*x*1e308", "((((x"}) {
        const Converted converted = ApplyFactor(12, ReadStyle::SMBusWord, Text(factor));
        EXPECT_TRUE(converted.error.contains(Text(factor))) << factor;
    }
    const Converted one{1, false, {}};
    for (const char* format : {"", " ", "D", "x", "bXY|", "b|", "b12345678901234567|"}) {
        const Formatted formatted = FormatValue(one, Text(format));
        EXPECT_EQ(formatted.message, Text("Error: Unknown display format encountered!")) << format;
        EXPECT_EQ(formatted.text, QString());
    }
    EXPECT_FALSE(FormatValue({1e20, false, {}}, Text("hhhh")).error.isEmpty());
}

namespace {

struct WriteCase {
    const char* name;
    const char* typed;
    const char* factor;
    int raw;
    bool ok = true;
};

class TypedText : public testing::TestWithParam<WriteCase> { };

} // namespace

TEST_P(TypedText, BecomesAWordOrIsRefused)
{
    const WriteWord word = ConvertForWrite(Text(GetParam().typed), Text(GetParam().factor));
    EXPECT_EQ(word.error.isEmpty(), GetParam().ok) << word.error.toStdString();
    EXPECT_EQ(word.raw, GetParam().raw);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, TypedText,
    testing::Values(WriteCase{"Plain", "42", "x", 42}, WriteCase{"EmptyFactor", " -7 ", "", -7},
                    WriteCase{"Scaled", "371.2", "x*10", 3712}, WriteCase{"HalfToEven", "2.5", "x", 2},
                    WriteCase{"HalfToEvenOdd", "3.5", "x", 4}, WriteCase{"Hex", "&H1F", "x", 31},
                    WriteCase{"Highest", "65535.4", "x", 65535}, WriteCase{"Lowest", "-32768", "x", -32768},
                    WriteCase{"TooHigh", "65535.6", "x", 0, false},
                    WriteCase{"TooLow", "-32769", "x", 0, false}, WriteCase{"Empty", "  ", "x", 0, false},
                    WriteCase{"Word", "abc", "x", 0, false}, WriteCase{"Comma", "1,5", "x", 0, false},
                    WriteCase{"OnlyX", "x", "x", 0, false}),
    [](const auto& row) { return row.param.name; });

TEST(Conversion, RefusesALongTextBeforeItIsMultiplied)
{
    const QString factor = QString(65535, u'x');
    EXPECT_FALSE(ConvertForWrite(QString(1'000'000, u'1'), factor).error.isEmpty());
}
