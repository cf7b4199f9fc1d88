#include "platform/Evaluator.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>

namespace {

/// @param row  expression, "->", value
void ExpectValue(const char* row)
{
    const QStringList sides = QString::fromLatin1(row).split(QStringLiteral("->"));
    const Evaluated result = Evaluate(sides[0]);
    EXPECT_TRUE(result.Ok()) << row << ": " << result.error.toStdString();
    EXPECT_NEAR(result.value, sides[1].toDouble(), 1e-12) << row;
}

} // namespace

// "2--5" is 2-x and "-5^2" is x^2 with x = -5; \ and mod round both sides first, ties to even.
TEST(Evaluate, GivesTheValue)
{
    for (const char* row : {"3712/10 -> 371.2",
                            "(3712-32768)/10-273.15 -> -3178.75",
                            "-5*0.1 -> -0.5",
                            "10/-4 -> -2.5",
                            "1e3 -> 1000",
                            "1.5E+2 -> 150",
                            ".5 -> 0.5",
                            "5. -> 5",
                            "007 -> 7",
                            " 2\t- -5  -> 7",
                            "2--5 -> 7",
                            "+--+-5 -> -5",
                            "-5^2 -> -25",
                            "2^3^2 -> 64",
                            "2^-1 -> 0.5",
                            "2^-3^2 -> 0.015625",
                            "2*-3^2 -> -18",
                            "&H1F+&hff -> 286",
                            "&HFFFF and 255 -> 255",
                            "10 MOD 4*2 -> 2",
                            "10mod-3 -> 1",
                            "-10 mod 3 -> -1",
                            "7\\2*3 -> 1",
                            "7.5\\2 -> 4",
                            "17 mod 5\\2 -> 1",
                            "1+6 mod 4 -> 3",
                            "not 0 and 6 or 1 -> 7",
                            "not 1+1 -> -3",
                            "2+not 1 -> 0",
                            "1 or 2 and 2 -> 3",
                            "Abs(-3)+Int(-1.5)+sgn(-9)+SQR(16) -> 4",
                            "round(2.5)+round(3.5) -> 6",
                            "log(1)+sin(0)+cos(0)+tan(0)+4*atn(1) -> 4.141592653589793",
                            "1-1/3*3 -> 0"})
        ExpectValue(row);
    EXPECT_FALSE(std::signbit(Evaluate(u"-0").value));
}

TEST(Evaluate, WorksTheSameUnderADecimalComma)
{
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8"))
        GTEST_SKIP() << "the locale de_DE.UTF-8 is not installed";
    ExpectValue("1.5+.25e1 -> 4");
    EXPECT_FALSE(Evaluate(u"1,5").Ok());
    std::setlocale(LC_ALL, "C");
}

TEST(Evaluate, NamesTheFaultAndItsColumn)
{
    const struct {
        const char* error;
        std::vector<const char*> texts; ///< "|" stands in front of the column
    } kCases[] = {{"expected a number", {"|", "  |", "2+|", "5--|", "|.", "2*|\xD7"}},
                  {"expected an operator", {"1 |2", "1.2|.3", "2|(3)", "0|x1F", "10|%3", "1|e"}},
                  {"expected an operator; decimals are written with \".\"", {"1|,5"}},
                  {"expected \")\"", {"(2|", "abs(2|"}},
                  {"expected \"(\"", {"abs |3", "abs|"}},
                  {"\")\" without \"(\"", {"2|)"}},
                  {"expected &H and hexadecimal digits", {"|&H", "2+|&G1"}},
                  {"unknown word \"sqrt\"", {"2*|sqrt(4)"}},
                  {"unknown word \"while\"", {"|while(1){}0"}},
                  {"unknown word \"inf\"", {"|inf"}},
                  {"division by zero", {"1|/0", "0|/0", "3+5|\\0.4", "5 |mod 0", "0|^-1"}},
                  {"number out of range", {"|1e309", "1+|&HFFFFFFFFFFFFFFFFF"}},
                  {"result out of range", {"1e308|*10", "|log(0)"}},
                  {"too large for an integer operation", {"1e300 |mod 7"}},
                  {"no real result", {"(-8)|^0.5", "|sqr(-1)"}}};
    for (const auto& [error, texts] : kCases) {
        for (const char* text : texts) {
            QString marked = QString::fromLatin1(text);
            const int column = static_cast<int>(marked.indexOf(QLatin1Char('|'))) + 1;
            const Evaluated result = Evaluate(marked.remove(QLatin1Char('|')));
            EXPECT_EQ(result.error, QLatin1String(error)) << text;
            EXPECT_EQ(result.column, column) << text;
            EXPECT_EQ(result.value, 0) << text;
        }
    }
}

TEST(Evaluate, BoundsNestingAndTakesLongTexts)
{
    const auto nested = [](const char* open, int count, const char* close) {
        return Evaluate(QString::fromLatin1(open).repeated(count) + QLatin1Char('1')
                        + QString::fromLatin1(close).repeated(count));
    };
    const QString tooDeep = QStringLiteral("nested deeper than 200");
    EXPECT_EQ(nested("(", 200, ")").value, 1);
    EXPECT_EQ(nested("(", 201, ")").error, tooDeep);
    EXPECT_EQ(nested("(", 1'000'000, ")").column, 201);
    EXPECT_EQ(nested("abs(", 300'000, ")").error, tooDeep);
    EXPECT_EQ(nested("not ", 300'000, "").error, tooDeep);
    EXPECT_EQ(nested("-", 1'000'000, "").value, 1);
    EXPECT_EQ(nested("1+", 500'000, "").value, 500'001);
    EXPECT_EQ(nested("1^-", 300'000, "").value, 1); // each sign behind ^ must not cost stack
}
