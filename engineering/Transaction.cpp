#include "engineering/Transaction.h"

#include <algorithm>

namespace {

constexpr std::int64_t kMostBlockBytes = 255;
constexpr std::int64_t kMostMemoryBytes = 4096;
constexpr std::int64_t kLastMemoryAddress = 0xFFFF;

constexpr std::array kForms{
    TransactionForm{TransactionKind::ReadWord, "read-word", "Read word", "c", "word", false, true, false},
    TransactionForm{TransactionKind::WriteWord, "write-word", "Write word", "cw", "word", true, false, false},
    TransactionForm{TransactionKind::ReadBlock, "read-block", "Read block", "c", "block", false, false, true},
    TransactionForm{TransactionKind::WriteBlock, "write-block", "Write block", "ch", "block", true, false,
                    false},
    TransactionForm{TransactionKind::Command, "command", "Send command", "c", "command", true, false, false},
    TransactionForm{TransactionKind::Peek, "peek", "Peek memory", "mn", "block", false, false, true},
    TransactionForm{TransactionKind::Poke, "poke", "Poke memory", "mh", "block", true, false, false},
    TransactionForm{TransactionKind::I2CRead, "i2c-read", "Read I2C", "arn", "i2c", false, false, true},
    TransactionForm{TransactionKind::I2CWrite, "i2c-write", "Write I2C", "arh", "i2c", true, false, false},
    TransactionForm{TransactionKind::GpioRead, "gpio-read", "Read line", "l", "gpio", false, true, false},
    TransactionForm{TransactionKind::GpioWrite, "gpio-write", "Set line", "lv", "gpio", true, false, false},
};

bool TakesAddress(const TransactionForm& form)
{
    return form.Arguments[0] != 'a' && form.Arguments[0] != 'l';
}

/// Takes one argument off the front.
class ArgumentTaker {
public:
    ArgumentTaker(QStringList& words, const QString& of, QString& problem)
        : m_words(words), m_of(of), m_problem(problem)
    {
    }
    template <typename Number>
    bool Whole(const char* what, std::int64_t min, std::int64_t max, Number& number)
    {
        const auto value
            = Next(what) ? ParseWhole(m_word, QString::fromLatin1(what), min, max, m_problem) : std::nullopt;
        if (value)
            number = static_cast<Number>(*value & 0xFFFFFFFF);
        return value.has_value();
    }
    bool Hex(Bytes& bytes, std::int64_t most)
    {
        if (!Next("bytes"))
            return false;
        const std::optional<Bytes> parsed = ParseHex(m_word);
        if (!parsed || parsed->empty())
            m_problem = QStringLiteral("bytes are pairs of hexadecimal digits, such as 0A1B, not \"%1\"")
                            .arg(m_word.left(60));
        else if (static_cast<std::int64_t>(parsed->size()) > most)
            m_problem = QStringLiteral("%1 bytes are too many; at most %2").arg(parsed->size()).arg(most);
        else
            bytes = *parsed;
        return m_problem.isEmpty();
    }

private:
    bool Next(const char* what)
    {
        if (m_words.isEmpty()) {
            m_problem = QStringLiteral("%1 lacks its %2").arg(m_of, QString::fromLatin1(what));
            return false;
        }
        m_word = m_words.takeFirst();
        return true;
    }

    QStringList& m_words;
    QString m_of;
    QString& m_problem;
    QString m_word;
};

bool TakeArgument(char letter, ArgumentTaker& taker, Transaction& transaction)
{
    std::int16_t address = 0;
    switch (letter) {
    case 'c':
        return taker.Whole("command", 0, 255, transaction.Place);
    case 'm':
        return taker.Whole("memory address", 0, kLastMemoryAddress, transaction.Place);
    case 'r':
        return taker.Whole("register", 0, 255, transaction.Place);
    case 'l':
        return taker.Whole("line", 0, 32767, transaction.Place);
    case 'w':
        return taker.Whole("word", -32768, 65535, transaction.Word);
    case 'v':
        return taker.Whole("level", 0, 1, transaction.Word);
    case 'n':
        return taker.Whole("length", 1,
                           transaction.Kind == TransactionKind::Peek ? kMostMemoryBytes : kMostBlockBytes,
                           transaction.Length);
    case 'h':
        return taker.Hex(transaction.Data,
                         transaction.Kind == TransactionKind::Poke ? kMostMemoryBytes : kMostBlockBytes);
    case 'a':
        if (!taker.Whole("bus address", 0, 254, address))
            return false;
        transaction.Address = address;
        return true;
    default:
        return false;
    }
}

bool EvenAddress(const Transaction& transaction, QString& problem)
{
    if (transaction.Address.value_or(0) % 2 != 0)
        problem = QStringLiteral("bus addresses are in 8-bit form and even; %1 is not")
                      .arg(HexNumber(*transaction.Address));
    return problem.isEmpty();
}

std::uint8_t Low(std::int32_t value) { return static_cast<std::uint8_t>(value & 0xFF); }

Bytes WordBytes(std::int16_t word) { return {Low(word), Low(word >> 8)}; }

void Cut(Bytes& data, std::int16_t length)
{
    data.resize(std::min(data.size(), static_cast<std::size_t>(std::max<std::int16_t>(length, 0))));
}

} // namespace

std::span<const TransactionForm> TransactionForms() { return kForms; }

const TransactionForm& FormOf(TransactionKind kind) { return kForms[static_cast<std::size_t>(kind)]; }

QString HexNumber(std::int64_t value, int digits)
{
    return QStringLiteral("0x")
        + QString::number(value, 16).toUpper().rightJustified(digits, QLatin1Char('0'));
}

std::optional<std::int64_t> ParseWhole(const QString& text, const QString& what, std::int64_t min,
                                       std::int64_t max, QString& problem, bool hexadecimal)
{
    const QString trimmed = text.trimmed();
    const bool negative = trimmed.startsWith(QLatin1Char('-'));
    QString digits = negative ? trimmed.mid(1) : trimmed;
    const bool prefixed = digits.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    if (prefixed)
        digits.remove(0, 2);
    bool ok = false;
    std::int64_t value = digits.toLongLong(&ok, prefixed || hexadecimal ? 16 : 10);
    // toLongLong would take a second sign
    ok = ok && digits.at(0).isLetterOrNumber();
    value = negative ? -value : value;
    if (!ok)
        problem = QStringLiteral("%1 must be a number, not \"%2\"").arg(what, text.left(60));
    else if (value < min || value > max)
        problem = QStringLiteral("%1 must be from %2 to %3, not %4")
                      .arg(what)
                      .arg(min)
                      .arg(max)
                      .arg(text.left(60));
    else
        return value;
    return {};
}

QString TransactionText(const Transaction& transaction)
{
    const TransactionForm& form = FormOf(transaction.Kind);
    QString text = QString::fromLatin1(form.Word);
    for (const char* letter = form.Arguments; *letter != '\0'; ++letter) {
        text += QLatin1Char(' ');
        switch (*letter) {
        case 'a':
            text += HexNumber(transaction.Address.value_or(0));
            break;
        case 'm':
            text += HexNumber(transaction.Place, 4);
            break;
        case 'w':
            text += HexNumber(transaction.Word, 4);
            break;
        case 'l':
            text += QString::number(transaction.Place);
            break;
        case 'v':
            text += QString::number(transaction.Word);
            break;
        case 'n':
            text += QString::number(transaction.Length);
            break;
        case 'h':
            text += HexText(transaction.Data);
            break;
        default:
            text += HexNumber(transaction.Place);
        }
    }
    if (TakesAddress(form) && transaction.Address)
        text += QStringLiteral(" at ") + HexNumber(*transaction.Address);
    return text;
}

std::optional<Transaction> TakeTransaction(QStringList& words, QString& problem)
{
    problem.clear();
    const QString word = words.isEmpty() ? QString() : words.takeFirst();
    const auto form = std::ranges::find_if(
        kForms, [&](const TransactionForm& known) { return word == QLatin1String(known.Word); });
    if (form == kForms.end()) {
        problem = QStringLiteral("\"%1\" is nothing that can be sent").arg(word.left(60));
        return {};
    }
    Transaction transaction;
    transaction.Kind = form->Kind;
    ArgumentTaker taker(words, word, problem);
    for (const char* letter = form->Arguments; *letter != '\0'; ++letter)
        if (!TakeArgument(*letter, taker, transaction))
            return {};
    if (TakesAddress(*form) && !words.isEmpty() && words.first() == QLatin1String("at")) {
        words.removeFirst();
        if (!TakeArgument('a', taker, transaction))
            return {};
    }
    if (!EvenAddress(transaction, problem))
        return {};
    if (form->Kind == TransactionKind::Peek
        && transaction.Place + transaction.Length > kLastMemoryAddress + 1)
        problem = QStringLiteral("the memory ends at 0xFFFF, before the last byte asked for");
    if (form->Kind == TransactionKind::Poke
        && transaction.Place + static_cast<std::int64_t>(transaction.Data.size()) > kLastMemoryAddress + 1)
        problem = QStringLiteral("the memory ends at 0xFFFF, before the last byte given");
    return problem.isEmpty() ? std::optional(transaction) : std::nullopt;
}

QString AnswerText(TransactionKind kind, const TransactionResult& result)
{
    if (Failed(result.Code) || result.Data.empty())
        return {};
    if (kind == TransactionKind::GpioRead)
        return QString::number(result.Data.front());
    if (FormOf(kind).AnswersWord && result.Data.size() == 2) {
        const int word = result.Data[0] | result.Data[1] << 8;
        return QStringLiteral("%1  %2").arg(HexNumber(word, 4)).arg(word);
    }
    QString text;
    for (const std::uint8_t byte : result.Data)
        text += HexText({&byte, 1}) + QLatin1Char(' ');
    text.chop(1);
    return text;
}

TransactionResult TransactionSender::Send(const Transaction& transaction)
{
    TransactionResult result;
    result.At = m_time.Now();
    const std::int64_t start = m_time.MonotonicMs();
    result.Code = Transfer(transaction, result.Data);
    result.TookMs = m_time.MonotonicMs() - start;
    if (Failed(result.Code))
        result.Data.clear();
    return result;
}

ErrorCode TransactionSender::Transfer(const Transaction& transaction, Bytes& data)
{
    ErrorCode err = ErrorCode::Ok;
    const std::int16_t addr = transaction.Address.value_or(m_gauge);
    const auto place = static_cast<std::int16_t>(transaction.Place & 0x7FFF);
    const std::uint8_t cmd = Low(transaction.Place);
    std::int16_t word = 0;
    auto length = static_cast<std::int16_t>(transaction.Data.size());
    switch (transaction.Kind) {
    case TransactionKind::ReadWord:
        m_usb.ReadSMBusWord_(cmd, word, addr, err);
        data = WordBytes(word);
        break;
    case TransactionKind::WriteWord:
        m_usb.WriteSMBusWord_(cmd, static_cast<std::int16_t>(transaction.Word), addr, err);
        break;
    case TransactionKind::ReadBlock:
        m_usb.ReadSMBusBlock_(cmd, data, length, addr, err);
        Cut(data, length);
        break;
    case TransactionKind::WriteBlock:
        m_usb.WriteSMBusBlock(cmd, transaction.Data, length, addr, err);
        break;
    case TransactionKind::Command:
        m_usb.WriteSMBusCommand(cmd, addr, err);
        break;
    case TransactionKind::Peek:
        return Peek(transaction, addr, data);
    case TransactionKind::Poke:
        return Poke(transaction, addr);
    case TransactionKind::I2CRead:
        length = static_cast<std::int16_t>(transaction.Length);
        m_usb.I2CReadBlock_(addr, place, data, length, err);
        Cut(data, length);
        break;
    case TransactionKind::I2CWrite:
        m_usb.I2CWriteBlock(addr, place, transaction.Data, length, err);
        break;
    case TransactionKind::GpioRead:
        m_usb.GPIORead(place, word, err);
        data = WordBytes(word);
        break;
    case TransactionKind::GpioWrite:
        m_usb.GPIOWrite(place, static_cast<std::int16_t>(transaction.Word), err);
        break;
    }
    return err;
}

ErrorCode TransactionSender::Peek(const Transaction& transaction, std::int16_t addr, Bytes& data)
{
    if (!m_memory)
        return ErrorCode::IncorrectParam;
    const auto wanted = static_cast<std::size_t>(transaction.Length);
    ErrorCode err = ErrorCode::Ok;
    while (!Failed(err) && data.size() < wanted) {
        const auto from = static_cast<std::int16_t>(transaction.Place + static_cast<int>(data.size()));
        m_usb.WriteSMBusWord_(m_memory->Address, from, addr, err);
        Bytes block;
        std::int16_t length = 0;
        if (!Failed(err))
            m_usb.ReadSMBusBlock_(m_memory->Data, block, length, addr, err);
        Cut(block, length);
        if (!Failed(err) && block.empty())
            err = ErrorCode::WrongNumBytes;
        if (!Failed(err))
            data.insert(data.end(), block.begin(), block.end());
        // less than a block and less than asked for: the memory ends here
        if (!Failed(err) && static_cast<int>(block.size()) < m_memory->BlockSize && data.size() < wanted)
            err = ErrorCode::WrongNumBytes;
    }
    data.resize(std::min(data.size(), wanted));
    return err;
}

ErrorCode TransactionSender::Poke(const Transaction& transaction, std::int16_t addr)
{
    if (!m_memory)
        return ErrorCode::IncorrectParam;
    ErrorCode err = ErrorCode::Ok;
    const auto most = static_cast<std::size_t>(std::max(m_memory->BlockSize, 1));
    for (std::size_t done = 0; !Failed(err) && done < transaction.Data.size(); done += most) {
        const std::size_t count = std::min(most, transaction.Data.size() - done);
        const auto first = transaction.Data.begin() + static_cast<std::ptrdiff_t>(done);
        m_usb.WriteSMBusWord_(m_memory->Address,
                              static_cast<std::int16_t>(transaction.Place + static_cast<int>(done)), addr,
                              err);
        if (!Failed(err))
            m_usb.WriteSMBusBlock(m_memory->Data, Bytes(first, first + static_cast<std::ptrdiff_t>(count)),
                                  static_cast<std::int16_t>(count), addr, err);
    }
    return err;
}

QString TransactionSender::Explain(const Transaction& transaction, ErrorCode code) const
{
    const TransactionForm& form = FormOf(transaction.Kind);
    const bool memory
        = transaction.Kind == TransactionKind::Peek || transaction.Kind == TransactionKind::Poke;
    if (code == ErrorCode::WrongNumBytes && memory)
        return QStringLiteral("The gauge's memory ends before the last byte asked for.");
    if (code == ErrorCode::NoAcknowledge && memory)
        return QStringLiteral(
            "The gauge did not acknowledge: it is sealed, or it has no memory at this place.");
    if (code != ErrorCode::IncorrectParam)
        return {};
    if (memory && !m_memory)
        return QStringLiteral(
            "Nothing was sent: the target names no memory commands. Set MemoryAddressCmd and "
            "MemoryDataCmd in section [Pro] of its configuration file.");
    const AdapterFacts facts = m_usb.Facts();
    if (!facts.Functions.contains(QLatin1String(form.Function)))
        return QStringLiteral("Nothing was sent: the adapter %1 cannot do this (%2). It offers: %3.")
            .arg(facts.Name, QString::fromLatin1(form.Caption).toLower(),
                 facts.Functions.isEmpty() ? QStringLiteral("nothing")
                                           : facts.Functions.join(QStringLiteral(", ")));
    return QStringLiteral("The adapter %1 refused these values.").arg(facts.Name)
        + (facts.Problem.isEmpty() ? QString() : QLatin1Char(' ') + facts.Problem);
}
