#include "engineering/TransactionFields.h"

#include <QRegularExpression>

#include <cstring>

namespace {

constexpr std::int64_t kMostBytes = 255;
constexpr std::int64_t kMostMemoryBytes = 4096;

bool HasArgument(TransactionKind kind, char letter)
{
    return std::strchr(FormOf(kind).Arguments, letter) != nullptr;
}

bool IsMemory(TransactionKind kind) { return HasArgument(kind, 'm'); }

/// Bytes as they are typed: pairs of hexadecimal digits, or decimal numbers with blanks or commas between.
std::optional<Bytes> ParseTyped(const QString& text, bool hex, QString& problem)
{
    if (hex) {
        const std::optional<Bytes> bytes = ParseHex(text);
        if (!bytes || bytes->empty())
            problem = QStringLiteral("Bytes are pairs of hexadecimal digits, such as 0A 1B.");
        return bytes && !bytes->empty() ? bytes : std::nullopt;
    }
    static const QRegularExpression between(QStringLiteral("[\\s,]+"));
    Bytes bytes;
    for (const QString& word : text.split(between, Qt::SkipEmptyParts)) {
        QString reason;
        const auto byte = ParseWhole(word, QStringLiteral("byte"), 0, 255, reason);
        if (!byte) {
            problem = QStringLiteral("Bytes are numbers from 0 to 255 with blanks between, such as 10 27.");
            return {};
        }
        bytes.push_back(static_cast<std::uint8_t>(*byte));
    }
    if (bytes.empty())
        problem = QStringLiteral("At least one byte is needed.");
    return bytes.empty() ? std::nullopt : std::optional(bytes);
}

QString TypedBytes(const Bytes& bytes, bool hex)
{
    QStringList words;
    for (const std::uint8_t byte : bytes)
        words << (hex ? HexText({&byte, 1}) : QString::number(byte));
    return words.join(QLatin1Char(' '));
}

QString TypedNumber(std::int64_t value, bool hex, int digits)
{
    return hex ? QString::number(value, 16).toUpper().rightJustified(digits, QLatin1Char('0'))
               : QString::number(value);
}

QString Sentence(QString text)
{
    if (!text.isEmpty())
        text[0] = text[0].toUpper();
    return text.endsWith(QLatin1Char('.')) ? text : text + QLatin1Char('.');
}

/// Reads field after field; the first wrong one ends it.
class Reader {
public:
    explicit Reader(const TransactionFields& fields) : m_fields(fields) { }

    EnteredTransaction Read()
    {
        Transaction sent;
        sent.Kind = m_fields.Kind;
        if (!ReadAddress(sent) || !ReadPlace(sent) || !ReadData(sent) || !ReadExpected())
            return m_entered;
        m_entered.Sent = sent;
        return m_entered;
    }

private:
    bool Refuse(TransactionField field, const QString& problem)
    {
        m_entered.Wrong = field;
        m_entered.Problem = Sentence(problem);
        return false;
    }
    bool Number(TransactionField field, const QString& text, const char* what, std::int64_t min,
                std::int64_t max, std::int64_t& number)
    {
        QString problem;
        const auto value = ParseWhole(text, QString::fromLatin1(what), min, max, problem, m_fields.Hex);
        number = value.value_or(0);
        return value || Refuse(field, problem);
    }
    bool ReadAddress(Transaction& sent)
    {
        const bool needed = HasArgument(sent.Kind, 'a');
        if (m_fields.Address.trimmed().isEmpty() && !needed)
            return true;
        std::int64_t address = 0;
        if (!Number(TransactionField::Address, m_fields.Address, "address", 0, 254, address))
            return false;
        if (address % 2 != 0)
            return Refuse(TransactionField::Address,
                          QStringLiteral("addresses are in 8-bit form and even, twice the 7-bit address"));
        sent.Address = static_cast<std::int16_t>(address);
        return true;
    }
    bool ReadPlace(Transaction& sent)
    {
        const bool memory = IsMemory(sent.Kind);
        std::int64_t place = 0;
        const char* what = memory ? "memory address" : HasArgument(sent.Kind, 'r') ? "register" : "command";
        if (!Number(TransactionField::Place, m_fields.Place, what, 0, memory ? 65535 : 255, place))
            return false;
        sent.Place = static_cast<std::int32_t>(place);
        return true;
    }
    bool ReadData(Transaction& sent)
    {
        const std::int64_t most = IsMemory(sent.Kind) ? kMostMemoryBytes : kMostBytes;
        std::int64_t number = 0;
        QString problem;
        switch (DataOf(sent.Kind)) {
        case DataShape::None:
            return true;
        case DataShape::Word:
            if (!Number(TransactionField::Data, m_fields.Data, "word", -32768, 65535, number))
                return false;
            sent.Word = static_cast<std::uint16_t>(number & 0xFFFF);
            return true;
        case DataShape::Length: {
            // how many is decimal in either base: nobody counts bytes in hexadecimal
            const auto length = ParseWhole(m_fields.Data, QStringLiteral("length"), 1, most, problem);
            sent.Length = static_cast<std::int32_t>(length.value_or(0));
            if (!length)
                return Refuse(TransactionField::Data, problem);
            return InMemory(sent, *length);
        }
        case DataShape::ByteList: {
            const auto bytes = ParseTyped(m_fields.Data, m_fields.Hex, problem);
            if (!bytes)
                return Refuse(TransactionField::Data, problem);
            if (static_cast<std::int64_t>(bytes->size()) > most)
                return Refuse(TransactionField::Data,
                              QStringLiteral("at most %1 bytes go at once").arg(most));
            sent.Data = *bytes;
            return InMemory(sent, static_cast<std::int64_t>(bytes->size()));
        }
        }
        return true;
    }
    bool InMemory(const Transaction& sent, std::int64_t count)
    {
        return !IsMemory(sent.Kind) || sent.Place + count <= 0x10000
            || Refuse(TransactionField::Data,
                      QStringLiteral("the memory ends at 0xFFFF, before the last byte"));
    }
    bool ReadExpected()
    {
        const TransactionForm& form = FormOf(m_fields.Kind);
        if (m_fields.Expect.trimmed().isEmpty() || (!form.AnswersWord && !form.AnswersBytes))
            return true;
        QString problem;
        QString expect = m_fields.Expect;
        QString mask = m_fields.Mask.trimmed();
        if (form.AnswersBytes) {
            const auto bytes = ParseTyped(expect, m_fields.Hex, problem);
            if (!bytes)
                return Refuse(TransactionField::Expect, problem);
            expect = HexText(*bytes);
            const auto bits = mask.isEmpty() ? Bytes() : ParseTyped(mask, m_fields.Hex, problem);
            if (!bits)
                return Refuse(TransactionField::Mask, problem);
            mask = HexText(*bits);
        }
        m_entered.Expected = ParseExpectation(m_fields.Kind, expect, mask, problem, m_fields.Hex);
        return m_entered.Expected
            || Refuse(problem.contains(QLatin1String("mask")) ? TransactionField::Mask
                                                              : TransactionField::Expect,
                      problem);
    }

    const TransactionFields& m_fields;
    EnteredTransaction m_entered;
};

} // namespace

DataShape DataOf(TransactionKind kind)
{
    if (HasArgument(kind, 'w') || HasArgument(kind, 'v'))
        return DataShape::Word;
    if (HasArgument(kind, 'n'))
        return DataShape::Length;
    return HasArgument(kind, 'h') ? DataShape::ByteList : DataShape::None;
}

EnteredTransaction Enter(const TransactionFields& fields) { return Reader(fields).Read(); }

TransactionFields FieldsOf(const Transaction& transaction, bool hex)
{
    TransactionFields fields;
    fields.Kind = transaction.Kind;
    fields.Hex = hex;
    if (transaction.Address)
        fields.Address = TypedNumber(*transaction.Address, hex, 2);
    fields.Place = TypedNumber(transaction.Place, hex, IsMemory(transaction.Kind) ? 4 : 2);
    switch (DataOf(transaction.Kind)) {
    case DataShape::Word:
        fields.Data = TypedNumber(transaction.Word, hex, 4);
        break;
    case DataShape::Length:
        fields.Data = QString::number(transaction.Length);
        break;
    case DataShape::ByteList:
        fields.Data = TypedBytes(transaction.Data, hex);
        break;
    case DataShape::None:
        break;
    }
    return fields;
}

TransactionFields InBase(const TransactionFields& fields, bool hex)
{
    TransactionFields result = fields;
    result.Hex = hex;
    if (hex == fields.Hex)
        return result;
    QString problem;
    const auto number = [&](QString& text, int digits) {
        if (const auto value = ParseWhole(text, {}, -32768, 65535, problem, fields.Hex))
            text = *value < 0 ? text : TypedNumber(*value, hex, digits);
    };
    const auto bytes = [&](QString& text) {
        if (const auto value = ParseTyped(text, fields.Hex, problem))
            text = TypedBytes(*value, hex);
    };
    number(result.Address, 2);
    number(result.Place, IsMemory(fields.Kind) ? 4 : 2);
    if (DataOf(fields.Kind) == DataShape::Word)
        number(result.Data, 4);
    else if (DataOf(fields.Kind) == DataShape::ByteList)
        bytes(result.Data);
    for (QString* text : {&result.Expect, &result.Mask}) {
        if (FormOf(fields.Kind).AnswersBytes)
            bytes(*text);
        else
            number(*text, 4);
    }
    return result;
}

QString AnswerDetail(const Bytes& data, bool word)
{
    if (data.empty())
        return {};
    if (word && data.size() == 2) {
        const auto value = static_cast<std::uint16_t>(data[0] | data[1] << 8);
        QString bits = QString::number(value, 2).rightJustified(16, QLatin1Char('0'));
        for (const int at : {12, 8, 4})
            bits.insert(at, QLatin1Char(' '));
        return QStringLiteral("%1 = %2, signed %3, bits %4")
            .arg(HexNumber(value, 4))
            .arg(value)
            .arg(static_cast<std::int16_t>(value))
            .arg(bits);
    }
    QString characters;
    for (const std::uint8_t byte : data)
        characters += byte >= 0x20 && byte < 0x7F ? QLatin1Char(static_cast<char>(byte)) : QLatin1Char('.');
    return QStringLiteral("%1 bytes, \"%2\"").arg(data.size()).arg(characters);
}
