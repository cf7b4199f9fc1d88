#include "engineering/Sequence.h"

#include <QStringView>

#include <algorithm>

namespace {

constexpr int kMostLines = 10'000;
constexpr std::size_t kMostProblems = 100;
constexpr std::size_t kDeepestLoop = 8;
constexpr std::int64_t kMostLoops = 1'000'000;
constexpr std::int64_t kLongestWaitMs = 86'400'000; // a day
constexpr std::int64_t kMostTurns = std::int64_t{1} << 62;

Bytes WordBytes(std::int64_t word)
{
    return {static_cast<std::uint8_t>(word & 0xFF), static_cast<std::uint8_t>(word >> 8 & 0xFF)};
}

QString WordText(const Bytes& bytes) { return HexNumber(bytes[0] | bytes[1] << 8, 4); }

/// From "#" at the start of a word on it is a comment; a message may hold one.
QString WithoutComment(const QString& line)
{
    for (qsizetype at = line.indexOf(QLatin1Char('#')); at >= 0; at = line.indexOf(QLatin1Char('#'), at + 1))
        if (at == 0 || line[at - 1].isSpace())
            return line.left(at);
    return line;
}

/// Takes the lines of a sequence one after the other.
class SequenceParser {
public:
    explicit SequenceParser(Sequence& sequence) : m_sequence(sequence) { }

    void Take(int line, const QString& text)
    {
        m_step = {};
        m_step.Line = line;
        m_words = text.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (m_words.isEmpty() || m_words.first().startsWith(QLatin1Char('#')))
            return;
        const bool message = m_words.first() == QLatin1String("message");
        m_step.Text = (message ? text : WithoutComment(text)).trimmed();
        if (!message)
            m_words = m_step.Text.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
        QString problem;
        // loops are opened and closed by whole lines alone: a wrong one must leave no index behind
        if (TakeStep(problem) && KeepLoops(problem))
            m_sequence.Steps.push_back(m_step);
        else
            Complain(line, problem);
    }
    void End()
    {
        for (const std::size_t open : m_loops)
            Complain(m_sequence.Steps[open].Line, QStringLiteral("this loop has no end"));
    }
    void Complain(int line, const QString& text)
    {
        if (m_sequence.Problems.size() < kMostProblems)
            m_sequence.Problems.push_back({line, text});
    }
    [[nodiscard]] bool Full() const { return m_sequence.Problems.size() >= kMostProblems; }

private:
    bool TakeStep(QString& problem)
    {
        using Kind = SequenceStep::Kind;
        const QString word = m_words.first();
        bool done = true;
        if (word == QLatin1String("delay")) {
            m_step.Does = Kind::Delay;
            done = TakeNumber(m_step.Ms, "delay", "milliseconds", 0, kLongestWaitMs, problem);
        } else if (word == QLatin1String("wait")) {
            m_step.Does = Kind::Wait;
            done = TakeNumber(m_step.Ms, "wait", "milliseconds", 1, kLongestWaitMs, problem)
                && TakeSend(problem);
            if (done && !m_step.Expected) {
                problem
                    = QStringLiteral("wait needs something to read and \"expect\" behind it; \"delay\" only "
                                     "lets time pass");
                done = false;
            }
        } else if (word == QLatin1String("loop")) {
            m_step.Does = Kind::Loop;
            done = TakeNumber(m_step.Count, "loop", "number of turns", 1, kMostLoops, problem);
        } else if (word == QLatin1String("end")) {
            m_step.Does = Kind::End;
            m_words.removeFirst();
        } else if (word == QLatin1String("message")) {
            m_step.Does = Kind::Message;
            m_words.clear();
        } else {
            done = TakeSend(problem);
        }
        if (done && !m_words.isEmpty()) {
            problem = QStringLiteral("\"%1\" is one word too many").arg(m_words.first().left(60));
            done = false;
        }
        return done;
    }

    bool TakeNumber(std::int64_t& number, const char* of, const char* what, std::int64_t min,
                    std::int64_t max, QString& problem)
    {
        m_words.removeFirst();
        if (m_words.isEmpty()) {
            problem = QStringLiteral("%1 lacks its %2").arg(QLatin1String(of), QLatin1String(what));
            return false;
        }
        const auto value = ParseWhole(m_words.takeFirst(), QString::fromLatin1(what), min, max, problem);
        number = value.value_or(0);
        return value.has_value();
    }

    bool TakeSend(QString& problem)
    {
        const auto sent = TakeTransaction(m_words, problem);
        if (!sent)
            return false;
        m_step.Sent = *sent;
        if (m_words.isEmpty() || m_words.first() != QLatin1String("expect"))
            return true;
        m_words.removeFirst();
        if (m_words.isEmpty()) {
            problem = QStringLiteral("expect lacks its value");
            return false;
        }
        const QString value = m_words.takeFirst();
        QString mask;
        if (!m_words.isEmpty() && m_words.first() == QLatin1String("mask")) {
            m_words.removeFirst();
            if (m_words.isEmpty()) {
                problem = QStringLiteral("mask lacks its value");
                return false;
            }
            mask = m_words.takeFirst();
        }
        m_step.Expected = ParseExpectation(sent->Kind, value, mask, problem);
        return m_step.Expected.has_value();
    }

    bool KeepLoops(QString& problem)
    {
        const std::size_t index = m_sequence.Steps.size();
        if (m_step.Does == SequenceStep::Kind::Loop) {
            if (m_loops.size() >= kDeepestLoop) {
                problem = QStringLiteral("loops stand at most %1 deep").arg(kDeepestLoop);
                return false;
            }
            m_loops.push_back(index);
        } else if (m_step.Does == SequenceStep::Kind::End) {
            if (m_loops.empty()) {
                problem = QStringLiteral("this end has no loop");
                return false;
            }
            m_step.Partner = m_loops.back();
            m_sequence.Steps[m_step.Partner].Partner = index;
            m_loops.pop_back();
        }
        return true;
    }

    Sequence& m_sequence;
    SequenceStep m_step;
    QStringList m_words;
    std::vector<std::size_t> m_loops; ///< open ones, by index
};

} // namespace

bool Expectation::Met(const Bytes& data) const
{
    if (data.size() != Value.size() || Mask.size() != Value.size())
        return false;
    for (std::size_t i = 0; i < data.size(); ++i)
        if (((data[i] ^ Value[i]) & Mask[i]) != 0)
            return false;
    return true;
}

std::optional<Expectation> ParseExpectation(TransactionKind kind, const QString& value, const QString& mask,
                                            QString& problem, bool hexadecimal)
{
    const TransactionForm& form = FormOf(kind);
    if (!form.AnswersWord && !form.AnswersBytes) {
        problem = QStringLiteral("%1 has no answer to expect").arg(QLatin1String(form.Word));
        return {};
    }
    if (form.AnswersWord) {
        const auto number
            = ParseWhole(value, QStringLiteral("expected value"), -32768, 65535, problem, hexadecimal);
        const auto bits = mask.isEmpty()
            ? std::optional<std::int64_t>(0xFFFF)
            : ParseWhole(mask, QStringLiteral("mask"), 0, 65535, problem, hexadecimal);
        return number && bits ? std::optional(Expectation{WordBytes(*number), WordBytes(*bits)})
                              : std::nullopt;
    }
    const std::optional<Bytes> bytes = ParseHex(value);
    const std::optional<Bytes> bits
        = mask.isEmpty() ? Bytes(bytes ? bytes->size() : 0, 0xFF) : ParseHex(mask);
    if (!bytes || bytes->empty() || !bits)
        problem
            = QStringLiteral("expected bytes and their mask are pairs of hexadecimal digits, such as 0A1B");
    else if (bits->size() != bytes->size())
        problem = QStringLiteral("the mask has %1 bytes, the expected value %2")
                      .arg(bits->size())
                      .arg(bytes->size());
    else
        return Expectation{*bytes, *bits};
    return {};
}

QString ExpectationText(TransactionKind kind, const Expectation& expected)
{
    const bool word = FormOf(kind).AnswersWord && expected.Value.size() == 2;
    const auto text = [word](const Bytes& bytes) { return word ? WordText(bytes) : HexText(bytes); };
    QString shown = QStringLiteral("expect ") + text(expected.Value);
    if (std::ranges::any_of(expected.Mask, [](std::uint8_t bits) { return bits != 0xFF; }))
        shown += QStringLiteral(" mask ") + text(expected.Mask);
    return shown;
}

std::int64_t Sequence::Turns() const
{
    std::int64_t turns = 0;
    std::vector<std::int64_t> before; // what stood outside each open loop
    for (const SequenceStep& step : Steps) {
        if (step.Does == SequenceStep::Kind::Loop) {
            before.push_back(turns);
            turns = 0;
        } else if (step.Does == SequenceStep::Kind::End && !before.empty()) {
            const std::int64_t count = Steps[step.Partner].Count;
            turns = turns > kMostTurns / count ? kMostTurns : turns * count;
            turns = std::min(kMostTurns, turns + before.back());
            before.pop_back();
        } else {
            ++turns;
        }
    }
    return turns;
}

QStringList Sequence::Writes() const
{
    QStringList writes;
    for (const SequenceStep& step : Steps)
        if ((step.Does == SequenceStep::Kind::Send || step.Does == SequenceStep::Kind::Wait)
            && FormOf(step.Sent.Kind).Writes)
            writes << step.Text;
    return writes;
}

Sequence ParseSequence(const QString& text)
{
    Sequence sequence;
    SequenceParser parser(sequence);
    int number = 0;
    for (const QStringView line : QStringView(text).tokenize(u'\n')) {
        if (++number > kMostLines) {
            parser.Complain(number, QStringLiteral("a sequence has at most %1 lines").arg(kMostLines));
            break;
        }
        if (parser.Full())
            break;
        parser.Take(number, line.toString());
    }
    parser.End();
    return sequence;
}

QString ProblemsText(const Sequence& sequence, const QString& file)
{
    QStringList lines;
    for (const SequenceProblem& problem : sequence.Problems)
        lines << (file.isEmpty() ? QString() : file + QStringLiteral(", "))
                + QStringLiteral("line %1: %2").arg(problem.Line).arg(problem.Text);
    return lines.join(QLatin1Char('\n'));
}
