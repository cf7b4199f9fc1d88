#pragma once

#include "engineering/TransactionHistory.h"

#include <QString>

/// A transaction as a person types it. Fields that the kind does not have are not looked at.
struct TransactionFields {
    TransactionKind Kind = TransactionKind::ReadWord;
    bool Hex = true; ///< plain digits are hexadecimal and bytes are pairs of digits; else both are decimal
    QString Address; ///< empty: the gauge's
    QString Place; ///< command, memory address or register
    QString Data; ///< word, bytes or length
    QString Expect; ///< empty: any answer will do
    QString Mask; ///< empty: every bit counts
};

enum class TransactionField : std::uint8_t { None, Address, Place, Data, Expect, Mask };

struct EnteredTransaction {
    std::optional<Transaction> Sent; ///< nothing: a field is wrong
    std::optional<Expectation> Expected;
    TransactionField Wrong = TransactionField::None;
    QString Problem; ///< plain words on the wrong field
};

[[nodiscard]] EnteredTransaction Enter(const TransactionFields& fields);
/// The fields that give a transaction again; what is expected stays empty.
[[nodiscard]] TransactionFields FieldsOf(const Transaction& transaction, bool hex);
/// The same fields written in the other base; a field that is wrong stays as it is.
[[nodiscard]] TransactionFields InBase(const TransactionFields& fields, bool hex);

enum class DataShape : std::uint8_t { None, Word, ByteList, Length };
[[nodiscard]] DataShape DataOf(TransactionKind kind);

/// Every way to read an answer, for a line below the history: unsigned, signed, bits, characters.
[[nodiscard]] QString AnswerDetail(const Bytes& data, bool word);
