#include "comm/adapters/Trace.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>

#include <algorithm>
#include <limits>
#include <utility>

namespace {

const QByteArray kHeadStart = QByteArrayLiteral("{\"trace\":");
constexpr qsizetype kLongestLine = 1'048'576; // parsed it may take 40 times as much memory
constexpr std::int64_t kNoInteger = std::numeric_limits<std::int64_t>::min();

QJsonValue ToJson(const DriverArgument::Place& place)
{
    struct Visitor {
        QJsonValue operator()(const std::int16_t* number) const { return *number; }
        QJsonValue operator()(const std::int32_t* number) const { return *number; }
        QJsonValue operator()(const QString* text) const { return *text; }
        QJsonValue operator()(const Bytes* bytes) const { return HexText(*bytes); }
    };
    return std::visit(Visitor{}, place);
}

template <typename Number>
bool Store(const QJsonValue& value, Number& number)
{
    const std::int64_t wide = value.toInteger(kNoInteger);
    const bool fits = std::in_range<Number>(wide);
    if (fits)
        number = static_cast<Number>(wide);
    return fits;
}

bool Store(const QJsonValue& value, QString& text)
{
    text = value.toString();
    return value.isString();
}

bool Store(const QJsonValue& value, Bytes& bytes)
{
    const std::optional<Bytes> parsed = ParseHex(value.toString());
    if (parsed)
        bytes = *parsed;
    return value.isString() && parsed;
}

bool FromJson(const QJsonValue& value, const DriverArgument::Place& place)
{
    struct Visitor {
        const QJsonValue& Value;
        bool operator()(std::int16_t* number) const { return Store(Value, *number); }
        bool operator()(std::int32_t* number) const { return Store(Value, *number); }
        bool operator()(QString* text) const { return Store(Value, *text); }
        bool operator()(Bytes* bytes) const { return Store(Value, *bytes); }
        bool operator()(const Bytes* /*given by the caller*/) const { return false; }
    };
    return std::visit(Visitor{value}, place);
}

/// A successful read never claims more bytes than came with it: callers walk the bytes by the count behind
/// them.
bool CountsFit(const DriverCall& call)
{
    for (std::size_t i = 1; i < call.Arguments.size(); ++i) {
        const auto* const bytes = std::get_if<Bytes*>(&call.Arguments[i - 1].Value);
        const auto* const count = std::get_if<std::int16_t*>(&call.Arguments[i].Value);
        if (bytes && count && (**count < 0 || static_cast<std::size_t>(**count) > (*bytes)->size()))
            return false;
    }
    return true;
}

QByteArray Json(const QJsonArray& array) { return QJsonDocument(array).toJson(QJsonDocument::Compact); }
QByteArray Json(const QJsonObject& object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

QByteArray Json(double number) { return QByteArray::number(number, 'g', QLocale::FloatingPointShortest); }

QJsonObject ToJson(const AdapterFacts& facts)
{
    return {{QStringLiteral("name"), facts.Name},
            {QStringLiteral("kind"), facts.Kind},
            {QStringLiteral("functions"), QJsonArray::fromStringList(facts.Functions)},
            {QStringLiteral("problem"), facts.Problem},
            {QStringLiteral("hertz"), facts.BusHertz}};
}

AdapterFacts FactsFromJson(const QJsonObject& object)
{
    AdapterFacts facts;
    facts.Name = object[u"name"].toString();
    facts.Kind = object[u"kind"].toString();
    for (const auto& function : object[u"functions"].toArray())
        facts.Functions << function.toString();
    facts.Problem = object[u"problem"].toString();
    facts.BusHertz = object[u"hertz"].toDouble(facts.BusHertz);
    return facts;
}

} // namespace

QByteArray TraceHead(const QString& time, const QString& adapter)
{
    return kHeadStart + "1,\"run\":" + Json(QJsonArray{time, adapter}) + "}\n";
}

QByteArray TraceLine(const TraceEntry& entry)
{
    // Composed by hand, because a person reads these lines and the library sorts the keys.
    QByteArray line = "{\"n\":" + QByteArray::number(entry.Number) + ",\"op\":\"" + entry.Name.toLatin1()
        + "\",\"in\":" + Json(entry.In) + ",\"res\":" + QByteArray::number(entry.Result)
        + ",\"out\":" + Json(entry.Out) + ",\"ms\":" + QByteArray::number(entry.Ms)
        + ",\"took\":" + QByteArray::number(entry.TookMs) + ",\"bus\":" + Json(entry.BusMicroseconds);
    if (entry.Facts)
        line += ",\"facts\":" + Json(ToJson(*entry.Facts));
    return line + "}\n";
}

std::optional<TraceEntry> ParseTraceLine(const QByteArray& line, QString& problem)
{
    QJsonParseError error;
    const QJsonObject object = QJsonDocument::fromJson(line, &error).object();
    if (error.error != QJsonParseError::NoError) {
        problem = QStringLiteral("no call (%1)").arg(error.errorString());
        return {};
    }
    TraceEntry entry;
    entry.Name = object[u"op"].toString();
    entry.In = object[u"in"].toArray();
    entry.Out = object[u"out"].toArray();
    const bool whole = Store(object[u"n"], entry.Number) && Store(object[u"res"], entry.Result)
        && Store(object[u"ms"], entry.Ms) && Store(object[u"took"], entry.TookMs) && object[u"bus"].isDouble()
        && object[u"in"].isArray() && object[u"out"].isArray();
    if (!whole) {
        problem = QStringLiteral("a call without n, in, res, out, ms, took or bus");
        return {};
    }
    entry.BusMicroseconds = object[u"bus"].toDouble();
    if (object.contains(u"facts"))
        entry.Facts = FactsFromJson(object[u"facts"].toObject());
    return entry;
}

TraceEntry EntryOf(const DriverCall& call)
{
    TraceEntry entry;
    entry.Number = static_cast<std::int32_t>(call.Number);
    entry.Name = QString::fromLatin1(call.Name);
    for (const DriverArgument& argument : call.Arguments) {
        if (argument.Direction != DriverArgument::Way::Out)
            entry.In.append(ToJson(argument.Value));
    }
    return entry;
}

QString ShownCall(const TraceEntry& entry)
{
    constexpr qsizetype kMostCharacters = 200; // a person reads this
    QString given = QString::fromUtf8(Json(entry.In));
    if (given.size() > kMostCharacters)
        given = given.left(kMostCharacters) + QStringLiteral("...");
    return entry.Name.left(kMostCharacters) + QLatin1Char(' ') + given;
}

void KeepAnswer(const DriverCall& call, TraceEntry& entry)
{
    if (const auto* const narrow = std::get_if<std::int16_t*>(&call.Result))
        entry.Result = **narrow;
    else if (const auto* const wide = std::get_if<std::int32_t*>(&call.Result))
        entry.Result = **wide;
    for (const DriverArgument& argument : call.Arguments) {
        if (argument.Direction != DriverArgument::Way::In)
            entry.Out.append(ToJson(argument.Value));
    }
}

QString GiveAnswer(const TraceEntry& entry, DriverCall& call)
{
    qsizetype next = 0;
    for (const DriverArgument& argument : call.Arguments) {
        if (argument.Direction == DriverArgument::Way::In)
            continue;
        if (next >= entry.Out.size() || !FromJson(entry.Out[next], argument.Value))
            return QStringLiteral("value %1 of \"out\" is missing or does not fit").arg(next + 1);
        ++next;
    }
    if (entry.Result == 0 && !CountsFit(call))
        return QStringLiteral("the count in \"out\" is larger than the bytes beside it");
    if (const auto* const narrow = std::get_if<std::int16_t*>(&call.Result)) {
        if (!std::in_range<std::int16_t>(entry.Result))
            return QStringLiteral("\"res\" is not a 16-bit code");
        **narrow = static_cast<std::int16_t>(entry.Result);
    } else if (const auto* const wide = std::get_if<std::int32_t*>(&call.Result)) {
        **wide = entry.Result;
    }
    return {};
}

TraceReader::TraceReader(QByteArray bytes) : m_bytes(std::move(bytes))
{
    const qsizetype head = m_bytes.lastIndexOf("\n" + kHeadStart) + 1;
    if (!QByteArrayView(m_bytes).sliced(head).startsWith(kHeadStart)) {
        m_problem = QStringLiteral("no line begins a run, so this is no trace");
        m_position = m_bytes.size();
        return;
    }
    m_line = static_cast<int>(std::count(m_bytes.cbegin(), m_bytes.cbegin() + head, '\n')) + 1;
    const qsizetype end = m_bytes.indexOf('\n', head);
    m_position = end < 0 ? m_bytes.size() : end + 1;
}

std::optional<TraceEntry> TraceReader::Next()
{
    if (!m_problem.isEmpty())
        return {};
    ++m_line;
    if (m_position >= m_bytes.size()) {
        m_problem = QStringLiteral("the trace ends here");
        return {};
    }
    qsizetype end = m_bytes.indexOf('\n', m_position);
    end = end < 0 ? m_bytes.size() : end;
    const qsizetype length = end - m_position;
    if (length > kLongestLine) {
        m_problem = QStringLiteral("a line longer than %1 characters").arg(kLongestLine);
        return {};
    }
    std::optional<TraceEntry> entry = ParseTraceLine(m_bytes.sliced(m_position, length), m_problem);
    m_position = end + 1;
    if (entry)
        entry->Line = m_line;
    return entry;
}
