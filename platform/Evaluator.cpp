#include "platform/Evaluator.h"

#include <QVarLengthArray>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace {

constexpr int kDeepest = 200;
/// Up to here every integer has its own double.
constexpr double kLargestInteger = 9007199254740992.0;

/// How strongly an operator binds; 0 ends an expression.
enum Power : int { kNothing, kOr, kAnd, kNot, kSum, kMod, kIntegerQuotient, kProduct, kSign, kPower };

struct Operator {
    Power power = kNothing;
    char kind = 0; ///< the character itself, or the first letter of the word
    int length = 0;
};

struct Function {
    std::string_view name;
    double (*apply)(double);
};
constexpr std::array kFunctions{
    Function{"abs", [](double v) { return std::fabs(v); }},
    Function{"int", [](double v) { return std::floor(v); }},
    Function{"sgn", [](double v) { return v > 0 ? 1.0
                                       : v < 0  ? -1.0
                                                : 0.0; }},
    Function{"sqr", [](double v) { return std::sqrt(v); }},
    Function{"log", [](double v) { return std::log(v); }},
    Function{"sin", [](double v) { return std::sin(v); }},
    Function{"cos", [](double v) { return std::cos(v); }},
    Function{"tan", [](double v) { return std::tan(v); }},
    Function{"atn", [](double v) { return std::atan(v); }},
    Function{"round", [](double v) { return std::nearbyint(v); }}, // ties to even, as BASIC rounds
};

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsBlank(char c) { return c == ' ' || c == '\t'; }

/// Reads operands and operators from left to right; an operator takes as its right side all that binds
/// stronger.
class Reader {
public:
    Reader(const char* begin, const char* end) : m_begin(begin), m_at(begin), m_end(end) { }

    Evaluated Read()
    {
        const double value = Expression(kNothing);
        SkipBlanks();
        if (m_at != m_end)
            Fail(*m_at == ')'       ? QStringLiteral("\")\" without \"(\"")
                     : *m_at == ',' ? QStringLiteral("expected an operator; decimals are written with \".\"")
                                    : QStringLiteral("expected an operator"),
                 m_at);
        if (!m_error.isEmpty())
            return {0, m_error, m_column};
        return {value + 0.0, {}, 0}; // turns -0 into 0
    }

private:
    double Expression(Power above)
    {
        double left = Operand(above);
        for (;;) {
            SkipBlanks();
            const Operator next = PeekOperator();
            if (next.power <= above)
                return left;
            const char* place = m_at;
            m_at += next.length;
            const double right = Expression(next.power);
            left = Apply(next.kind, left, right, place);
        }
    }

    double Operand(Power above)
    {
        SkipBlanks();
        bool negative = false;
        bool sign = false;
        for (; m_at != m_end && (*m_at == '-' || *m_at == '+'); SkipBlanks()) {
            negative ^= *m_at++ == '-';
            sign = true;
        }
        if (sign) { // a loop, not a call for each sign: a row of a million signs must not use up the stack
            // 2^-3^2 groups to the left like every row of ^
            const double value = above == kPower ? Operand(kPower) : Expression(kSign);
            return negative ? -value : value;
        }
        if (m_at == m_end)
            return Fail(QStringLiteral("expected a number"), m_at);
        if (IsDigit(*m_at) || *m_at == '.')
            return Number();
        if (*m_at == '&')
            return HexNumber();
        if (*m_at == '(')
            return Parentheses();
        if (IsLetter(*m_at))
            return Word();
        return Fail(QStringLiteral("expected a number"), m_at);
    }

    double Number()
    {
        double value = 0;
        const auto [end, fault] = std::from_chars(m_at, m_end, value);
        if (fault == std::errc::result_out_of_range)
            return Fail(QStringLiteral("number out of range"), m_at);
        if (fault != std::errc{})
            return Fail(QStringLiteral("expected a number"), m_at);
        m_at = end;
        return value;
    }

    double HexNumber()
    {
        const char* place = m_at;
        std::uint64_t value = 0;
        if (m_end - m_at < 3 || (m_at[1] != 'H' && m_at[1] != 'h'))
            return Fail(QStringLiteral("expected &H and hexadecimal digits"), place);
        const auto [end, fault] = std::from_chars(m_at + 2, m_end, value, 16);
        if (fault == std::errc::invalid_argument)
            return Fail(QStringLiteral("expected &H and hexadecimal digits"), place);
        if (fault != std::errc{} || static_cast<double>(value) > kLargestInteger)
            return Fail(QStringLiteral("number out of range"), place);
        m_at = end;
        return static_cast<double>(value);
    }

    double Parentheses()
    {
        const char* place = m_at++;
        if (++m_depth > kDeepest)
            return Fail(QStringLiteral("nested deeper than %1").arg(kDeepest), place);
        const double value = Expression(kNothing);
        SkipBlanks();
        if (m_at == m_end || *m_at != ')')
            return Fail(QStringLiteral("expected \")\""), m_at);
        ++m_at;
        --m_depth;
        return value;
    }

    double Word()
    {
        const char* place = m_at;
        const std::string_view word = PeekWord();
        m_at += word.size();
        if (Same(word, "not")) {
            if (++m_depth > kDeepest)
                return Fail(QStringLiteral("nested deeper than %1").arg(kDeepest), place);
            const double value = static_cast<double>(~Integer(Expression(kNot), place));
            --m_depth;
            return value;
        }
        for (const Function& function : kFunctions) {
            if (!Same(word, function.name))
                continue;
            SkipBlanks();
            if (m_at == m_end || *m_at != '(')
                return Fail(QStringLiteral("expected \"(\""), m_at);
            return Finite(function.apply(Parentheses()), place);
        }
        return Fail(QStringLiteral("unknown word \"%1\"").arg(QLatin1String(word.data(), int(word.size()))),
                    place);
    }

    Operator PeekOperator() const
    {
        if (m_at == m_end)
            return {};
        switch (*m_at) {
        case '+':
        case '-':
            return {kSum, *m_at, 1};
        case '*':
        case '/':
            return {kProduct, *m_at, 1};
        case '\\':
            return {kIntegerQuotient, *m_at, 1};
        case '^':
            return {kPower, *m_at, 1};
        default:
            break;
        }
        const std::string_view word = PeekWord();
        if (Same(word, "mod"))
            return {kMod, 'm', 3};
        if (Same(word, "and"))
            return {kAnd, 'a', 3};
        if (Same(word, "or"))
            return {kOr, 'o', 2};
        return {};
    }

    double Apply(char kind, double left, double right, const char* place)
    {
        switch (kind) {
        case '+':
            return Finite(left + right, place);
        case '-':
            return Finite(left - right, place);
        case '*':
            return Finite(left * right, place);
        case '/':
            return right == 0 ? DivisionByZero(place) : Finite(left / right, place);
        case '^':
            return left == 0 && right < 0 ? DivisionByZero(place) : Finite(std::pow(left, right), place);
        default:
            break;
        }
        const std::int64_t a = Integer(left, place);
        const std::int64_t b = Integer(right, place);
        if (kind == 'a')
            return static_cast<double>(a & b);
        if (kind == 'o')
            return static_cast<double>(a | b);
        if (b == 0)
            return DivisionByZero(place);
        return static_cast<double>(kind == 'm' ? a % b : a / b);
    }

    std::int64_t Integer(double value, const char* place)
    {
        if (std::fabs(value) > kLargestInteger) {
            Fail(QStringLiteral("too large for an integer operation"), place);
            return 0;
        }
        return static_cast<std::int64_t>(std::nearbyint(value)); // BASIC rounds before it works on integers
    }

    double Finite(double value, const char* place)
    {
        if (std::isfinite(value))
            return value;
        return Fail(std::isnan(value) ? QStringLiteral("no real result")
                                      : QStringLiteral("result out of range"),
                    place);
    }

    double DivisionByZero(const char* place) { return Fail(QStringLiteral("division by zero"), place); }

    /// Keeps the first error and ends the text, so that every loop above ends.
    double Fail(const QString& error, const char* place)
    {
        if (m_error.isEmpty()) {
            m_error = error;
            m_column = static_cast<int>(place - m_begin) + 1;
        }
        m_at = m_end;
        return 0;
    }

    void SkipBlanks()
    {
        while (m_at != m_end && IsBlank(*m_at))
            ++m_at;
    }

    std::string_view PeekWord() const
    {
        const char* end = m_at;
        while (end != m_end && IsLetter(*end))
            ++end;
        return {m_at, static_cast<std::size_t>(end - m_at)};
    }

    static bool Same(std::string_view word, std::string_view lowerCase)
    {
        return word.size() == lowerCase.size()
            && std::equal(word.begin(), word.end(), lowerCase.begin(),
                          [](char a, char b) { return (a | 32) == b; });
    }

    const char* m_begin;
    const char* m_at;
    const char* m_end;
    int m_depth = 0;
    QString m_error;
    int m_column = 0;
};

} // namespace

Evaluated Evaluate(QStringView text)
{
    QVarLengthArray<char, 256> plain(text.size());
    // a character outside ASCII becomes one that no rule accepts; columns stay
    std::transform(text.begin(), text.end(), plain.begin(),
                   [](QChar c) { return c.unicode() < 0x80 ? static_cast<char>(c.unicode()) : '\x7F'; });
    return Reader(plain.constData(), plain.constData() + plain.size()).Read();
}
