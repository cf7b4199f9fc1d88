#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

/// Every byte is a character, so this never fails; the five bytes without a letter (81, 8D, 8F, 90, 9D)
/// become the control characters of the same number. Encoding the result gives the same bytes.
[[nodiscard]] QString DecodeWindows1252(QByteArrayView bytes);

struct Windows1252Text {
    QByteArray bytes; ///< "?" stands where a character does not fit
    QString misfit; ///< empty, or the first character that does not fit and its number: "Ω (U+03A9)"
};
[[nodiscard]] Windows1252Text EncodeWindows1252(QStringView text);
