#include "plugins/NamedCall.h"

#include "platform/Bytes.h"

#include <QHash>
#include <QMetaMethod>

#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace {

struct Parameter {
    QString Name;
    QMetaType Type;
    bool Written = false;
};

struct Method {
    int Index = -1;
    QMetaType Result;
    std::vector<Parameter> Parameters;
};

using Methods = QHash<QString, Method>;

constexpr std::size_t kMostArguments = 12;

/// Everything that is invokable in the object's own class, looked up once a class. The user-interface
/// thread's alone.
const Methods& MethodsOf(const QMetaObject* type)
{
    static QHash<const QMetaObject*, Methods> known;
    const auto found = known.constFind(type);
    if (found != known.cend())
        return *found;
    Methods methods;
    for (int i = type->methodOffset(); i < type->methodCount(); ++i) {
        const QMetaMethod method = type->method(i);
        if (method.methodType() != QMetaMethod::Method
            || method.parameterCount() >= static_cast<int>(kMostArguments))
            continue;
        Method entry{i, method.returnMetaType(), {}};
        for (int p = 0; p < method.parameterCount(); ++p) {
            QByteArray typeName = method.parameterTypeName(p);
            const bool written = typeName.endsWith('&');
            if (written) // the meta-object knows no type of a reference
                typeName.chop(1);
            entry.Parameters.push_back(
                {QString::fromLatin1(method.parameterNames().at(p)), QMetaType::fromName(typeName), written});
        }
        methods.insert(QString::fromLatin1(method.name()), entry);
    }
    return *known.insert(type, methods);
}

struct Range {
    double Lowest;
    double Highest;
};

/// A word may be given as a number or as its bit pattern.
Range RangeOf(int type)
{
    using Word = std::numeric_limits<std::int16_t>;
    switch (type) {
    case QMetaType::UChar:
        return {0, 255};
    case QMetaType::Short:
        return {Word::min(), std::numeric_limits<std::uint16_t>::max()};
    default:
        return {std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()};
    }
}

/// @return empty, or what is wrong with the value; slot has the parameter's type already
QString TakeNumber(const QVariant& given, int type, QVariant& slot)
{
    const Range range = RangeOf(type);
    const int kind = given.typeId();
    bool ok = kind != QMetaType::QString && kind != QMetaType::QByteArray && kind != QMetaType::Bool;
    const double number = ok ? given.toDouble(&ok) : 0;
    if (!ok || std::trunc(number) != number || number < range.Lowest || number > range.Highest)
        return QStringLiteral("must be a whole number from %1 to %2")
            .arg(range.Lowest, 0, 'f', 0)
            .arg(range.Highest, 0, 'f', 0);
    const auto whole = static_cast<std::int64_t>(number);
    if (type == QMetaType::UChar)
        slot.setValue(static_cast<quint8>(whole));
    else if (type == QMetaType::Short)
        slot.setValue(static_cast<qint16>(static_cast<std::uint16_t>(whole & 0xFFFF)));
    else
        slot.setValue(static_cast<qint32>(whole));
    return {};
}

QString Take(const QVariant& given, QVariant& slot)
{
    const int type = slot.typeId();
    if (type == QMetaType::UChar || type == QMetaType::Short || type == QMetaType::Int)
        return TakeNumber(given, type, slot);
    const int kind = given.typeId();
    if (type == QMetaType::QByteArray && kind == QMetaType::QString) {
        const std::optional<Bytes> bytes = ParseHex(given.toString());
        if (!bytes)
            return QStringLiteral("must be hexadecimal digits, two a byte");
        slot
            = QByteArray(reinterpret_cast<const char*>(bytes->data()), static_cast<qsizetype>(bytes->size()));
        return {};
    }
    if (kind != type) {
        const bool text = type == QMetaType::QString;
        return text                         ? QStringLiteral("must be a text")
            : type == QMetaType::QByteArray ? QStringLiteral("must be bytes, or a text of hexadecimal digits")
                                            : QStringLiteral("must be an object of texts");
    }
    slot = given;
    return {};
}

QVariantMap Refused(const QString& text) { return {{QStringLiteral("error"), text}}; }

QString NamesOf(const Method& method)
{
    QStringList names;
    for (const Parameter& parameter : method.Parameters)
        names << (parameter.Written ? parameter.Name + QLatin1Char('&') : parameter.Name);
    return names.isEmpty() ? QStringLiteral("none") : names.join(QStringLiteral(", "));
}

} // namespace

QVariantMap CallByName(QObject& object, const QString& method, const QVariantMap& arguments)
{
    const Methods& methods = MethodsOf(object.metaObject());
    const auto found = methods.constFind(method);
    if (found == methods.cend())
        return Refused(QStringLiteral("there is no operation \"%1\"").arg(method.left(80)));
    const Method& entry = *found;

    std::array<QVariant, kMostArguments> slots_;
    std::array<void*, kMostArguments + 1> places{};
    const bool hasResult = entry.Result.id() != QMetaType::Void;
    QVariant result = hasResult ? QVariant(entry.Result) : QVariant();
    places[0] = hasResult ? result.data() : nullptr;
    qsizetype used = 0;
    for (std::size_t i = 0; i < entry.Parameters.size(); ++i) {
        const Parameter& parameter = entry.Parameters[i];
        slots_[i] = QVariant(parameter.Type);
        const auto given = arguments.constFind(parameter.Name);
        if (given != arguments.cend()) {
            ++used;
            if (const QString wrong = Take(*given, slots_[i]); !wrong.isEmpty())
                return Refused(QStringLiteral("%1: \"%2\" %3").arg(method, parameter.Name, wrong));
        } else if (!parameter.Written) {
            return Refused(QStringLiteral("%1: \"%2\" is missing; the arguments are %3")
                               .arg(method, parameter.Name, NamesOf(entry)));
        }
        places[i + 1] = slots_[i].data();
    }
    if (used != arguments.size())
        return Refused(QStringLiteral("%1 has other arguments; they are %2").arg(method, NamesOf(entry)));

    object.qt_metacall(QMetaObject::InvokeMetaMethod, entry.Index, places.data());

    QVariantMap answer;
    for (std::size_t i = 0; i < entry.Parameters.size(); ++i)
        if (entry.Parameters[i].Written)
            answer.insert(entry.Parameters[i].Name, slots_[i]);
    if (hasResult)
        answer.insert(QStringLiteral("result"), result);
    return answer;
}
