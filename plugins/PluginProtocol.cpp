#include "plugins/PluginProtocol.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

namespace PluginProtocol {
namespace {

constexpr double kHighestId = 9007199254740992.0; // a double counts so far

QJsonValue ToJson(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::UChar:
    case QMetaType::Short:
        return value.toInt();
    case QMetaType::QByteArray:
        return QString::fromLatin1(value.toByteArray().toHex().toUpper());
    case QMetaType::QVariantMap: {
        QJsonObject object;
        const QVariantMap map = value.toMap();
        for (auto i = map.cbegin(); i != map.cend(); ++i)
            object.insert(i.key(), ToJson(*i));
        return object;
    }
    default:
        return QJsonValue::fromVariant(value);
    }
}

QByteArray Line(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QJsonObject Request(std::int64_t id, const char* kind, const QString& name)
{
    return {{QStringLiteral("id"), static_cast<qint64>(id)}, {QLatin1String(kind), name}};
}

Message Bad(const QString& text)
{
    Message message;
    message.Text = text;
    return message;
}

Message HelloOf(const QJsonObject& object)
{
    Message message;
    message.What = Message::Kind::Hello;
    message.Value = object.value(u"hello").toVariant();
    message.Name = object.value(u"as").toString(QStringLiteral("plugin"));
    message.Text = object.value(u"token").toString();
    return message;
}

} // namespace

Message Parse(const QByteArray& line)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(line, &error);
    if (!document.isObject())
        return Bad(error.error == QJsonParseError::NoError
                       ? QStringLiteral("the line is no JSON object")
                       : QStringLiteral("the line is no JSON object: %1 at byte %2")
                             .arg(error.errorString())
                             .arg(error.offset + 1));
    const QJsonObject object = document.object();
    if (object.contains(u"hello"))
        return HelloOf(object);

    Message message;
    const double id = object.value(u"id").toDouble(-1);
    const bool hasId = id >= 0 && id < kHighestId && std::trunc(id) == id;
    if (hasId)
        message.Id = static_cast<std::int64_t>(id);
    if (object.contains(u"error")) { // may belong to no request
        message.What = Message::Kind::Error;
        message.Text = object.value(u"error").toString();
        return message;
    }
    if (!hasId)
        return Bad(QStringLiteral("\"id\" must be a whole number from 0 to 2^53"));
    if (object.contains(u"result")) {
        message.What = Message::Kind::Result;
        message.Value = object.value(u"result").toVariant();
        return message;
    }
    Message bad = Bad(
        QStringLiteral("the line is neither a request (\"call\") nor an answer (\"result\", \"error\")"));
    bad.Id = message.Id;
    for (const auto& [key, kind] : {std::pair{u"call", Message::Kind::Call},
                                    {u"get", Message::Kind::Get},
                                    {u"set", Message::Kind::Set}}) {
        const QJsonValue name = object.value(key);
        if (name.isUndefined())
            continue;
        const QJsonValue arguments = object.value(u"args");
        if (!name.isString() || !(arguments.isUndefined() || arguments.isObject())) {
            bad.Text = QStringLiteral("\"%1\" must be a name, \"args\" an object").arg(QStringView(key));
            return bad;
        }
        message.What = kind;
        message.Name = name.toString();
        message.Arguments = arguments.toObject().toVariantMap();
        message.Value = object.value(u"value").toVariant();
        return message;
    }
    return bad;
}

QByteArray Hello(const QString& role, const QString& token)
{
    return Line({{QStringLiteral("hello"), kVersion},
                 {QStringLiteral("as"), role},
                 {QStringLiteral("token"), token}});
}

QByteArray HelloAnswer(const QString& program)
{
    return Line({{QStringLiteral("hello"), kVersion}, {QStringLiteral("program"), program}});
}

QByteArray Call(std::int64_t id, const QString& operation, const QVariantMap& arguments)
{
    QJsonObject object = Request(id, "call", operation);
    if (!arguments.isEmpty())
        object.insert(u"args", ToJson(arguments));
    return Line(object);
}

QByteArray Get(std::int64_t id, const QString& property) { return Line(Request(id, "get", property)); }

QByteArray Set(std::int64_t id, const QString& property, const QVariant& value)
{
    QJsonObject object = Request(id, "set", property);
    object.insert(u"value", ToJson(value));
    return Line(object);
}

QByteArray Result(std::int64_t id, const QVariant& result)
{
    return Line(
        {{QStringLiteral("id"), static_cast<qint64>(id)}, {QStringLiteral("result"), ToJson(result)}});
}

QByteArray Error(std::optional<std::int64_t> id, const QString& text)
{
    return Line({{QStringLiteral("id"), id ? QJsonValue(static_cast<qint64>(*id)) : QJsonValue()},
                 {QStringLiteral("error"), text}});
}

bool Lines::Take(const QByteArray& bytes)
{
    qsizetype from = 0;
    while (!m_tooLong && from < bytes.size()) {
        const qsizetype end = bytes.indexOf('\n', from);
        const qsizetype count = (end < 0 ? bytes.size() : end + 1) - from;
        if (m_rest.size() + count > kLongestLine) {
            m_tooLong = true;
            m_rest.clear();
            break;
        }
        m_rest.append(bytes.constData() + from, count);
        from += count;
        if (end >= 0) {
            m_rest.chop(1);
            if (m_rest.endsWith('\r'))
                m_rest.chop(1);
            m_lines.push_back(std::exchange(m_rest, {}));
        }
    }
    return !m_tooLong;
}

std::optional<QByteArray> Lines::Next()
{
    if (m_lines.empty())
        return std::nullopt;
    QByteArray line = std::move(m_lines.front());
    m_lines.pop_front();
    return line;
}

} // namespace PluginProtocol
