// Every access style from the host's side: what is sent, in which order, what becomes of the bytes, and that
// nothing is sent after the step that failed.

#include "dataflash/SubClassTransfer.h"

#include "tests/support/ScriptedAdapter.h"
#include "tests/support/TestSupport.h"

namespace {

constexpr std::uint16_t kId = 48;

struct Move {
    const char* name;
    AccessStyle style;
    std::uint16_t id;
    int length;
    bool write;
    /// In order: w word write, b block write (bytes: the first six), r block read, d pause, p poll; the poll
    /// that belongs to a write or pause is left out.
    const char* steps;
    const char* error; ///< when the last step fails
};

void PrintTo(const Move& move, std::ostream* out) { *out << move.name; }

Bytes Counting(int count, int from = 0)
{
    Bytes bytes;
    for (int i = 0; i < count; ++i)
        bytes.push_back(static_cast<std::uint8_t>(from + i));
    return bytes;
}

/// A gauge that answers every read with bytes that count up from the command, as many as the table says.
class Gauge final : public AdapterFunnel {
public:
    QStringList steps;
    int failAt = 0;
    int answer = 32;
    ErrorCode fault = ErrorCode::NoAcknowledge;
    [[nodiscard]] AdapterFacts Facts() const override { return {}; }

private:
    void Perform(DriverCall& call) override
    {
        const TraceEntry entry = EntryOf(call);
        const QString name = QString::fromLatin1(call.Name);
        const qsizetype before = steps.size();
        const bool poll = name == QLatin1String("AdpGetLastError");
        if (poll && m_polls)
            m_polls = false; // of the write or the pause before it
        else if (poll)
            steps << QStringLiteral("p");
        else if (name == QLatin1String("AdpDelay"))
            steps << QStringLiteral("d%1").arg(entry.In[0].toInt());
        else if (name == QLatin1String("AdpWriteSMBusWord"))
            steps << QStringLiteral("w%1=%2").arg(entry.In[0].toInt(), 0, 16).arg(entry.In[1].toInt());
        else if (name == QLatin1String("AdpWriteSMBusBlock"))
            steps << QStringLiteral("b%1=%2:%3")
                         .arg(entry.In[0].toInt(), 0, 16)
                         .arg(entry.In[2].toInt())
                         .arg(entry.In[1].toString().left(12));
        else
            steps << QStringLiteral("r%1").arg(entry.In[0].toInt(), 0, 16);
        const bool fails = steps.size() > before && steps.size() == failAt;
        if (!poll)
            m_polls = !fails && name != QLatin1String("AdpReadSMBusBlock");
        TraceEntry reply;
        KeepAnswer(call, reply);
        reply.Result = fails ? Number(fault) : 0;
        if (name == QLatin1String("AdpReadSMBusBlock") && reply.Result == 0) {
            reply.Out[0] = HexText(Counting(answer, entry.In[0].toInt()));
            reply.Out[1] = answer;
        }
        EXPECT_EQ(GiveAnswer(reply, call), QString());
    }
    bool m_polls = false; ///< the next poll belongs to the call before it
};

class Moves : public testing::TestWithParam<Move> {
protected:
    /// @return code; buffer then holds what was read
    std::int32_t Run(int failAt)
    {
        const Move& move = GetParam();
        gauge.failAt = failAt;
        gauge.answer = move.style.DFAccessStyle == 1 || move.style.DFAccessStyle == 6 ? 64 : 32;
        SubClassTransfer transfer(usb, {move.style, 22, 50});
        buffer.assign(static_cast<std::size_t>(transfer.Padded(move.length)), 0xEE);
        if (move.write)
            buffer = Counting(transfer.Padded(move.length));
        const std::int32_t code = move.write ? transfer.WriteSubClass_Style(move.id, move.length, buffer)
                                             : transfer.ReadSubClass_Style(move.id, move.length, buffer);
        errors = transfer.TakeErrors();
        return code;
    }
    Gauge gauge;
    TestTime time;
    RecordedMessages messages;
    frmUSB usb{gauge, time, messages, {}};
    Bytes buffer;
    QStringList errors;
    QStringList expected = QString::fromLatin1(GetParam().steps).split(u' ', Qt::SkipEmptyParts);
};

TEST_P(Moves, SendTheirStepsInOrder)
{
    EXPECT_EQ(Run(0), 0);
    EXPECT_EQ(gauge.steps, expected);
    EXPECT_EQ(errors, QStringList());
}

TEST_P(Moves, EndAtTheStepThatFailed)
{
    for (int failAt = 1; failAt <= expected.size(); ++failAt) {
        if (expected[failAt - 1].startsWith(u'd'))
            continue; // a pause cannot fail; its poll does
        gauge.steps.clear();
        EXPECT_EQ(Run(failAt), 772) << failAt;
        const bool leaves = gauge.steps.back() == QLatin1String("w60=0"); // the transfer mode, on every path
        EXPECT_EQ(gauge.steps.mid(0, failAt), expected.mid(0, failAt));
        EXPECT_EQ(gauge.steps.size(), leaves && failAt < expected.size() ? failAt + 1 : failAt);
        ASSERT_EQ(errors.size(), 1);
    }
    EXPECT_EQ(errors.back(), QString::fromLatin1(GetParam().error));
}

// clang-format off
const std::vector<Move> kMoves{
    {"OnePageRead", {0}, kId, 32, false, "w77=48 r78",
     "Error reading subClsId = 48 at block read cmd=120. Error code = 772"},
    {"TwoPageRead", {0}, kId, 33, false, "w77=48 r78 w77=48 r79",
     "Error reading subClsId = 48 at block read cmd=121. Error code = 772"},
    {"TwoPageWrite", {0}, kId, 33, true,
     "w77=48 b78=32:000102030405 d50 p w77=48 b79=32:202122232425 d50 p",
     "Error writing subClsId = 48 at block write cmd=121. Error code = 772"},
    {"LegacyRead", {1, 64, 88}, 90, 65, false, "r5a r5b",
     "Error reading subClsId = 90 at block 1. Error code = 772"},
    {"LegacyWriteFromItsBaseCommand", {1, 64, 100}, 90, 65, true,
     "b66=64:000102030405 d50 p b67=64:404142434445 d50 p",
     "Error writing legacy block cmd = 103 at block 1. Error code = 772"},
    {"ModeByteRead", {2}, kId, 40, false, "w60=1 w61=48 w62=0 r63 w62=32 r63 w60=0",
     "Error reading subClsId = 48 at block 1. Error code = 772"},
    {"ModeByteWriteInFours", {5}, kId, 40, true,
     "w60=4 w61=48 w62=0 b63=32:000102030405 d50 p w62=8 b63=8:202122232425 d50 p w60=0",
     "Error writing subClsId = 48 at block 1. Error code = 772"},
    {"ChunkedRead", {3}, 0x0130, 33, false, "b64=6:010130000020 r65 b64=6:010130002001 r65",
     "Error reading subClsId = 304 at block 1. Error code = 772"},
    {"ChunkedWriteInEights", {4}, kId, 40, true,
     "b64=6:080030000020 b65=32:000102030405 d50 p b64=6:080030000408 b65=8:202122232425 d50 p",
     "Error writing subClsId = 48 at block 1. Error code = 772"},
    {"RowsRead", {6}, 100, 40, false, "r59 r5a",
     "Error reading subClsId = 100 at block 1. Error code = 772"},
    {"RowsWriteWithWhatLiesAround", {6}, 66, 2, true, "r59 b59=64:595A00015D5E d50 p",
     "Error writing legacy block cmd = 89 at block 0. Error code = 772"},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Styles, Moves, testing::ValuesIn(kMoves),
                         [](const auto& row) { return row.param.name; });

struct TransferFixture : testing::Test {
    SubClassTransfer Make(int style, std::function<bool()> cancelled = {})
    {
        return {usb, {{static_cast<std::int16_t>(style)}, 22, 50}, std::move(cancelled)};
    }
    Gauge gauge;
    TestTime time;
    RecordedMessages messages;
    frmUSB usb{gauge, time, messages, {}};
};

using TransferRules = TransferFixture;

// The second page gives one byte to the subclass; the rest is what a write must send back.
TEST_F(TransferRules, KeepsWhatLiesBehindTheEndOnlyWhereThereIsRoom)
{
    SubClassTransfer transfer = Make(0);
    Bytes buffer(34, 0xEE);
    EXPECT_EQ(transfer.ReadSubClass_Style(kId, 33, buffer), 0);
    EXPECT_EQ(std::tuple(buffer[31], buffer[32], buffer[33]), std::tuple(0x78 + 31, 0x79, 0x7A));
    Bytes rows(40, 0xEE);
    SubClassTransfer linear = Make(6);
    gauge.answer = 64;
    EXPECT_EQ(linear.ReadSubClass_Style(100, 40, rows), 0);
    EXPECT_EQ(std::tuple(rows[0], rows[27], rows[28]), std::tuple(0x59 + 36, 0x59 + 63, 0x5A));
    EXPECT_EQ(linear.TakeErrors(), QStringList());
}

TEST_F(TransferRules, ShortAnswersLackedBytesAndUnknownPlacesAreFailures)
{
    Bytes buffer(64);
    SubClassTransfer transfer = Make(0);
    gauge.answer = 31;
    EXPECT_EQ(transfer.ReadSubClass_Style(kId, 32, buffer), 5);
    EXPECT_EQ(
        transfer.TakeErrors(),
        QStringList(QStringLiteral("Error reading subClsId = 48 at block read cmd=120. Error code = 5")));
    SubClassTransfer legacy({usb, {{1, 64, 88}, 22, 0}});
    gauge.steps.clear();
    EXPECT_EQ(legacy.ReadSubClass_Style(300, 10, buffer), 7) << "a command is a byte";
    EXPECT_EQ(legacy.WriteSubClass_Style(300, 10, buffer), 7);
    EXPECT_EQ(gauge.steps, QStringList());
    for (int style = 0; style <= 6; ++style) {
        SubClassTransfer nothing = Make(style);
        EXPECT_EQ(nothing.ReadSubClass_Style(kId, 0, buffer), 0);
        EXPECT_EQ(nothing.WriteSubClass_Style(kId, 0, buffer), 0);
    }
    EXPECT_EQ(gauge.steps, QStringList());
}

TEST_F(TransferRules, AnUnknownStyleMovesNoByte)
{
    Bytes buffer(32);
    SubClassTransfer transfer = Make(7);
    EXPECT_NE(transfer.ReadSubClass_Style(kId, 32, buffer), 0);
    EXPECT_NE(transfer.WriteSubClass_Style(kId, 32, buffer), 0);
    const QString text = QStringLiteral("Data flash style unsupported! 7");
    EXPECT_EQ(transfer.TakeErrors(), (QStringList{text, text}));
    EXPECT_EQ(gauge.steps, QStringList());
}

// A read ends between two blocks and says nothing about it; a write goes on to the end of its subclass.
TEST_F(TransferRules, CancelEndsAReadBetweenBlocks)
{
    for (const int style : {0, 1, 2, 3, 4, 5, 6}) {
        gauge.steps.clear();
        gauge.answer = style == 1 || style == 6 ? 64 : 32;
        SubClassTransfer transfer = Make(style, [] { return true; });
        Bytes buffer(256);
        EXPECT_EQ(transfer.ReadSubClass_Style(88, 200, buffer), 34) << style;
        EXPECT_EQ(gauge.steps.filter(QStringLiteral("r")).size(), 1) << style;
        const bool readsFirst = style == 6;
        EXPECT_EQ(transfer.WriteSubClass_Style(88, 200, buffer), readsFirst ? 34 : 0) << style;
        EXPECT_EQ(transfer.TakeErrors(), QStringList());
    }
}

} // namespace
