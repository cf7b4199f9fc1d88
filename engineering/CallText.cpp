#include "engineering/CallText.h"

#include "engineering/Transaction.h"

#include <algorithm>
#include <array>

namespace {

constexpr qsizetype kLongest = 120; // characters

/// How many values at either end say whom a call means; a driver hands them back behind what it read.
struct Ends {
    AdapterCall Call;
    int SentFront, SentBack, CameFront, CameBack;
    bool Word; ///< the value left is a word
};

constexpr std::array kEnds{
    Ends{AdapterCall::WriteSMBusWord, 1, 1, 0, 1, true},
    Ends{AdapterCall::ReadSMBusWord, 1, 1, 0, 1, true},
    Ends{AdapterCall::WriteSMBusBlock, 1, 2, 1, 2, false},
    Ends{AdapterCall::ReadSMBusBlock, 1, 1, 0, 2, false},
    Ends{AdapterCall::WriteSMBusCommand, 1, 1, 1, 1, false},
    Ends{AdapterCall::ReadI2CBlockOnSMB, 1, 1, 0, 2, false},
    Ends{AdapterCall::WriteI2CBlockOnSMB, 1, 2, 1, 2, false},
    Ends{AdapterCall::ReadI2CBlockNoCmdOnSMB, 0, 1, 0, 2, false},
    Ends{AdapterCall::I2CReadBlock, 2, 0, 2, 1, false},
    Ends{AdapterCall::I2CWriteBlock, 2, 1, 2, 1, false},
};

QString ValueText(const QJsonValue& value, bool word)
{
    if (!value.isDouble())
        return value.toString();
    const auto number = value.toInteger();
    return word ? QStringLiteral("%1  %2").arg(HexNumber(number & 0xFFFF, 4)).arg(number & 0xFFFF)
                : QString::number(number);
}

QString Join(const QJsonArray& values, int front, int back, bool word)
{
    QStringList texts;
    for (qsizetype i = front; i < values.size() - back; ++i)
        texts << ValueText(values[i], word);
    const QString text = texts.join(QStringLiteral(", "));
    return text.size() > kLongest ? text.left(kLongest) + QStringLiteral("...") : text;
}

Ends EndsOf(const TraceEntry& call)
{
    const auto found = std::ranges::find(kEnds, static_cast<AdapterCall>(call.Number), &Ends::Call);
    return found == kEnds.end() ? Ends{} : *found;
}

} // namespace

QString SentText(const TraceEntry& call)
{
    const Ends ends = EndsOf(call);
    return Join(call.In, ends.SentFront, ends.SentBack, ends.Word);
}

QString CameText(const TraceEntry& call)
{
    const Ends ends = EndsOf(call);
    return call.Result == 0 ? Join(call.Out, ends.CameFront, ends.CameBack, ends.Word) : QString();
}
