#include "platform/Evaluator.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <string>

struct ValueCase {
    const char* text;
    double value;
};

TEST(Evaluate, GivesTheValue)
{
    // on a machine that has it, a decimal comma must change nothing
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    constexpr ValueCase kCases[] = {
        {"3712/10", 371.2},
        {"(3712-32768)/10-273.15", -3178.75},
        {"-5*0.1", -0.5},
        {"10/-4", -2.5},
        {"1e3", 1000},
        {"1.5E+2", 150},
        {".5", 0.5},
        {"5.", 5},
        {"007", 7},
        {" 2\t- -5 ", 7},
        {"2--5", 7}, // 2-x with -5
        {"+--+-5", -5},
        {"-5^2", -25}, // x^2 with -5
        {"2^3^2", 64},
        {"2^-1", 0.5},
        {"2^-3^2", 0.015625},
        {"2*-3^2", -18},
        {"&H1F+&hff", 286},
        {"&HFFFF and 255", 255},
        {"10 MOD 4*2", 2},
        {"10mod-3", 1},
        {"-10 mod 3", -1},
        {"7\\2*3", 1}, // 7 \ (2*3)
        {"7.5\\2", 4}, // both sides are rounded first, ties to even
        {"17 mod 5\\2", 1}, // 17 mod (5 \ 2)
        {"1+6 mod 4", 3},
        {"not 0 and 6 or 1", 7},
        {"not 1+1", -3},
        {"2+not 1", 0},
        {"1 or 2 and 2", 3},
        {"Abs(-3)+Int(-1.5)+sgn(-9)+SQR(16)", 4},
        {"round(2.5)+round(3.5)", 6},
        {"log(1)+sin(0)+cos(0)+tan(0)+4*atn(1)", 1 + 3.141592653589793},
        {"1-1/3*3", 0},
    };
    for (const ValueCase& c : kCases) {
        const Evaluated result = Evaluate(QString::fromLatin1(c.text));
        EXPECT_TRUE(result.Ok()) << c.text << ": " << result.error.toStdString();
        EXPECT_NEAR(result.value, c.value, 1e-12) << c.text;
    }
    EXPECT_FALSE(std::signbit(Evaluate(u"-0").value));
    std::setlocale(LC_ALL, "C");
}

struct ErrorCase {
    const char* text;
    const char* error;
    int column;
};

TEST(Evaluate, NamesTheFaultAndItsColumn)
{
    constexpr ErrorCase kCases[] = {
        {"", "expected a number", 1},
        {"  ", "expected a number", 3},
        {"2+", "expected a number", 3},
        {"5--", "expected a number", 4},
        {"(2", "expected \")\"", 3},
        {"2)", "\")\" without \"(\"", 2},
        {"1 2", "expected an operator", 3},
        {"1.2.3", "expected an operator", 4},
        {"2(3)", "expected an operator", 2},
        {"0x1F", "expected an operator", 2},
        {"10%3", "expected an operator", 3},
        {"1e", "expected an operator", 2},
        {".", "expected a number", 1},
        {"1,5", "expected an operator; decimals are written with \".\"", 2},
        {"1/0", "division by zero", 2},
        {"0/0", "division by zero", 2},
        {"3+5\\0.4", "division by zero", 4},
        {"5 mod 0", "division by zero", 3},
        {"0^-1", "division by zero", 2},
        {"1e309", "number out of range", 1},
        {"1e308*10", "result out of range", 6},
        {"&H", "expected &H and hexadecimal digits", 1},
        {"&G1", "expected &H and hexadecimal digits", 1},
        {"1+&HFFFFFFFFFFFFFFFFF", "number out of range", 3},
        {"1e300 mod 7", "too large for an integer operation", 7},
        {"(-8)^0.5", "no real result", 5},
        {"sqr(-1)", "no real result", 1},
        {"log(0)", "result out of range", 1},
        {"2*sqrt(4)", "unknown word \"sqrt\"", 3},
        {"inf", "unknown word \"inf\"", 1},
        {"abs 3", "expected \"(\"", 5},
        {"while(1){}0", "unknown word \"while\"", 1},
        {"2*\xD7", "expected a number", 3},
    };
    for (const ErrorCase& c : kCases) {
        const Evaluated result = Evaluate(QString::fromLatin1(c.text));
        EXPECT_EQ(result.error, QString::fromLatin1(c.error)) << c.text;
        EXPECT_EQ(result.column, c.column) << c.text;
        EXPECT_EQ(result.value, 0) << c.text;
    }
}

TEST(Evaluate, BoundsNestingAndTakesLongTexts)
{
    const auto nested = [](const std::string& open, std::size_t count, const std::string& close) {
        std::string text;
        for (std::size_t n = 0; n < count; ++n)
            text += open;
        text += "1";
        for (std::size_t n = 0; n < count; ++n)
            text += close;
        return Evaluate(QString::fromStdString(text));
    };
    EXPECT_EQ(nested("(", 200, ")").value, 1);
    EXPECT_EQ(nested("(", 201, ")").error, QStringLiteral("nested deeper than 200"));
    EXPECT_EQ(nested("(", 1'000'000, ")").column, 201);
    EXPECT_EQ(nested("abs(", 300'000, ")").error, QStringLiteral("nested deeper than 200"));
    EXPECT_EQ(nested("not ", 300'000, "").error, QStringLiteral("nested deeper than 200"));
    EXPECT_EQ(nested("-", 1'000'000, "").value, 1);
    EXPECT_EQ(nested("1+", 500'000, "").value, 500'001);
    EXPECT_EQ(nested("1^-", 300'000, "").value, 1); // each sign behind ^ must not cost stack
}
