// Any bytes as a sequence: the parser ends, a wrong line has its number, loops are whole, and every transaction
// that it took is written and read back as the same.

#include "engineering/Sequence.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Sequence sequence
        = ParseSequence(QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    for (const SequenceProblem& problem : sequence.Problems)
        if (problem.Line < 1 || problem.Text.isEmpty())
            std::abort();
    if (!sequence.Problems.empty())
        return 0;
    if (sequence.Turns() < 0)
        std::abort();
    for (std::size_t i = 0; i < sequence.Steps.size(); ++i) {
        const SequenceStep& step = sequence.Steps[i];
        if (step.Does == SequenceStep::Kind::Loop && sequence.Steps.at(step.Partner).Partner != i)
            std::abort();
        if (step.Does != SequenceStep::Kind::Send && step.Does != SequenceStep::Kind::Wait)
            continue;
        QStringList words = TransactionText(step.Sent).split(QLatin1Char(' '));
        QString problem;
        const auto again = TakeTransaction(words, problem);
        if (!again || *again != step.Sent || !words.isEmpty())
            std::abort();
        if (step.Expected && step.Expected->Mask.size() != step.Expected->Value.size())
            std::abort();
    }
    return 0;
}
