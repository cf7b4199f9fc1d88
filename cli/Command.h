#pragma once

#include "comm/ErrorCodes.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <limits>
#include <vector>

class Arguments;
class CommandContext;

/// What scripts test after a run; docs/cli.md fixes the numbers.
namespace ExitStatus {
inline constexpr int kDone = 0;
inline constexpr int kRefused = 1; ///< refused or failed
inline constexpr int kWrongUsage = 2;
inline constexpr int kNoAnswer = 3; ///< the adapter or the gauge did not answer
} // namespace ExitStatus

/// The answer of one command or of one line of a batch, in both forms that it can be asked in.
struct Outcome {
    int Status = ExitStatus::kDone;
    QJsonObject Json;
    QString Text; ///< for people: lines joined by "\n", without the last line end
    QString Error; ///< plain words; empty when there is nothing to complain about
};
[[nodiscard]] Outcome Refused(const QString& error);
[[nodiscard]] Outcome WrongUsage(const QString& error);
/// @param error  empty: the text of the code
[[nodiscard]] Outcome NoAnswer(ErrorCode code, const QString& error = {});

enum class ArgumentKind { Text, Number, Switch, List };

/// One option ("--raw") or positional argument ("FILE"): the command line, the help, the batch keys and the
/// checks all come from here.
struct ArgumentSpec {
    const char* Name;
    const char* Help;
    ArgumentKind Kind = ArgumentKind::Text;
    bool Required = false;
    std::int64_t Min = std::numeric_limits<std::int32_t>::min();
    std::int64_t Max = std::numeric_limits<std::int32_t>::max();

    [[nodiscard]] bool IsOption() const { return Name[0] == '-'; }
    /// Key in a batch line: the name in lower case without the leading dashes, "_" for "-".
    [[nodiscard]] QString Key() const;
};

enum class BatchForm {
    None,
    Lines, ///< every line is one call of the command
    Ops, ///< "op" in the line names the command below this one
};

/// One command, such as "ini get". A command without a function only gathers those below it.
struct CommandSpec {
    const char* Path;
    const char* Summary;
    std::vector<ArgumentSpec> Arguments = {};
    std::vector<const char*> Examples = {};
    BatchForm Batch = BatchForm::None;
    Outcome (*Run)(CommandContext&, const ::Arguments&) = nullptr;
};

/// A whole number as people write it: decimal or 0x, with a sign.
[[nodiscard]] bool ParseNumber(const QString& text, std::int64_t& number);
