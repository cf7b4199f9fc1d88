#pragma once

#include "engineering/Transaction.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

/// What an answer must be. Bits that the mask clears may be anything; the length counts always.
struct Expectation {
    Bytes Value; ///< a word low byte first
    Bytes Mask; ///< as long as the value

    [[nodiscard]] bool Met(const Bytes& data) const;
    bool operator==(const Expectation&) const = default;
};

/// An expected value, and a mask where one is given: numbers for kinds that answer a word, pairs of
/// hexadecimal digits for the others.
/// @param mask  empty: every bit counts
/// @param hexadecimal  plain digits of numbers count as hexadecimal
[[nodiscard]] std::optional<Expectation> ParseExpectation(TransactionKind kind, const QString& value,
                                                          const QString& mask, QString& problem,
                                                          bool hexadecimal = false);
/// "expect 0x0080 mask 0x0080", as in a sequence file.
[[nodiscard]] QString ExpectationText(TransactionKind kind, const Expectation& expected);

/// One line of a sequence that does something.
struct SequenceStep {
    enum class Kind : std::uint8_t { Send, Delay, Wait, Message, Loop, End };
    Kind Does = Kind::Send;
    int Line = 0; ///< from 1
    Transaction Sent; ///< of Send and Wait
    std::optional<Expectation> Expected;
    std::int64_t Ms = 0; ///< of Delay; of Wait: how long at most
    std::int64_t Count = 0; ///< of Loop: turns
    std::size_t Partner = 0; ///< of Loop and End: index of the other one
    QString Text; ///< the line without blanks around it and comment
};

struct SequenceProblem {
    int Line = 0;
    QString Text;
};

/// A sequence as it stands in a file; docs/sequencer.md describes the form.
struct Sequence {
    std::vector<SequenceStep> Steps;
    std::vector<SequenceProblem> Problems; ///< any: the sequence must not run; the first 100

    /// Steps that a run takes when nothing fails, loops counted out; at most 2^62.
    [[nodiscard]] std::int64_t Turns() const;
    /// What a run may change, one line each; empty when it only reads.
    [[nodiscard]] QStringList Writes() const;
};

inline constexpr qint64 kMostSequenceBytes = 1024 * 1024;

/// Never fails: what is wrong stands in Problems, with its line.
[[nodiscard]] Sequence ParseSequence(const QString& text);
/// "line 3: command lacks its word", a line each; with the file's name in front where there is one.
[[nodiscard]] QString ProblemsText(const Sequence& sequence, const QString& file = {});
