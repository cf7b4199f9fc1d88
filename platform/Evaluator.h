#pragma once

#include <QString>
#include <QStringView>

/// Value of an arithmetic expression, or why there is none.
struct Evaluated {
    double value = 0; ///< always finite; 0 after an error
    QString error; ///< empty, or plain words: "division by zero", "expected a number"
    int column = 0; ///< of the error, counting from 1
    [[nodiscard]] bool Ok() const { return error.isEmpty(); }
};

/// Evaluates + - * / ( ) ^ \ mod, and, or, not, &H literals, decimal numbers with "." and exponents, and the
/// functions abs int sgn sqr log sin cos tan atn round (names ignore case). BASIC's rules: ^ binds strongest
/// and to the left (2^3^2 is 64), then a sign (-5^2 is -25; any number of signs may stand in a row), then *
/// and /, then \ (on integers), then mod, then + and -, then not, and, or on integers. The locale plays no
/// part; nesting deeper than 200 and a result that is not finite are errors.
[[nodiscard]] Evaluated Evaluate(QStringView text);
