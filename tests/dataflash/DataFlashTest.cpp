#include "comm/adapters/AdapterFunnel.h"

#include "tests/dataflash/FlashBench.h"

namespace {

const QString kBusy = QStringLiteral("The USB connection is busy! Failed communication!");
const QString kReadAllFirst
    = QStringLiteral("The last 'Read All' had errors. Tarnlo is unable to preserve data integrity.\n"
                     "The Write operation will be aborted! An automatic 'Read All' will be initiated!");
const QString kMayChange = QStringLiteral(
    "The data on screen may change! Please 'Read All' and modify before attempting to write.");
const QString kNotAllRead
    = QStringLiteral("The last 'Read All' had errors or all Data was not read before being modified.\n"
                     "Tarnlo is unable to preserve data integrity. The Write operation will be aborted!");
const QString kNoValue = QStringLiteral(
    "Incorrect value found. Please read all the values first before attempting to change them.");

SimulatorSettings Failing(std::int64_t transaction, Fault kind)
{
    return {.Faults = {.Scheduled = {{transaction, kind}}}};
}

/// A target file for preserve sets and the row delay.
void PutTarget(FlashBench& bench, const QTemporaryDir& folder, const QByteArray& lines)
{
    QFile file(folder.filePath(QStringLiteral("Config.ini")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(lines);
    bench.program.state.TargetConfigPath = file.fileName();
}

using Fate = TransferReport::Fate;

} // namespace

TEST(DataFlash, ReadsEveryItemAndMarksOnlyWhatASecondReadChanged)
{
    FlashBench bench;
    EXPECT_FALSE(bench.flash.LastReadAllOK());
    const TransferReport first = bench.flash.ReadAllDF();
    EXPECT_EQ(first.Result, 0) << bench.said.join(u'\n').toStdString();
    EXPECT_TRUE(bench.flash.LastReadAllOK());
    EXPECT_EQ(bench.Item(16, "Device Name").Value, QStringLiteral("SIM4S44"));
    for (const DataClass& dataClass : bench.flash.Tree().Classes)
        for (const SubClass& subClass : dataClass.SubClasses) {
            EXPECT_EQ(subClass.Buffer, bench.Held(subClass.Id));
            for (const DataItem& item : subClass.Items)
                EXPECT_FALSE(item.ChangedFlag || item.Edited()) << item.Name.toStdString();
        }
    DataItem& edited = bench.Item(1, "Cell OV Threshold");
    edited.Value = QStringLiteral("4250");
    bench.Item(16, "Device Name").Value = QStringLiteral("sim4s44");
    bench.Item(1, "Cell OV Delay").Value.clear();
    EXPECT_EQ(bench.flash.ReadAllDF().Result, 0);
    EXPECT_TRUE(edited.ChangedFlag);
    EXPECT_EQ(edited.Value, QStringLiteral("4300")) << "what the gauge holds is shown";
    EXPECT_FALSE(bench.Item(16, "Device Name").ChangedFlag) << "letter case plays no part";
    EXPECT_FALSE(bench.Item(1, "Cell OV Delay").ChangedFlag) << "it had no value";
}

TEST(DataFlash, AFailedSubclassIsNamedAndTheOthersAreRead)
{
    FlashBench bench(Failing(3, Fault::AddressNack)); // the block of the first subclass
    const TransferReport report = bench.flash.ReadAllDF();
    EXPECT_EQ(report.Result, 772);
    EXPECT_FALSE(bench.flash.LastReadAllOK());
    EXPECT_EQ(
        bench.said,
        (QStringList{QStringLiteral("Error reading subClsId = 1 at block read cmd=120. Error code = 772"),
                     QStringLiteral("Error reading Data Flash Subclass 1, Code = 772")}));
    EXPECT_EQ(report.Entries[0].What, Fate::Failed);
    EXPECT_EQ(report.Entries[1].What, Fate::Done);
    EXPECT_TRUE(report.Text.contains(QLatin1String("Subclass 1, Voltage (Safety)")))
        << report.Text.toStdString();
    EXPECT_TRUE(bench.Item(1, "Cell OV Threshold").Value.isEmpty());
    EXPECT_EQ(bench.Item(2, "Charge OC Threshold").Value, QStringLiteral("5000"));

    FlashBench unplugged(Failing(3, Fault::Unplug));
    EXPECT_EQ(unplugged.flash.ReadAllDF().Entries[1].What, Fate::NotReached);
    EXPECT_EQ(unplugged.said.size(), 2) << "one fault, not one a subclass";
}

TEST(DataFlash, WriteAllWithoutACleanReadAllReadsInsteadOfWriting)
{
    FlashBench bench;
    const Bytes before = bench.Held(1);
    TransferReport report = bench.flash.WriteAll(true);
    EXPECT_EQ(report.Result, 5041);
    EXPECT_EQ(bench.said, QStringList(kReadAllFirst));
    EXPECT_TRUE(bench.flash.LastReadAllOK());
    EXPECT_EQ(bench.Item(1, "Cell OV Threshold").Value, QStringLiteral("4300"));
    bench.Item(1, "Cell OV Threshold").Value = QStringLiteral("4250");
    report = bench.flash.WriteAll(true);
    EXPECT_EQ(report.Result, 0) << report.Text.toStdString();
    EXPECT_TRUE(report.Verified);
    Bytes after = before;
    after[0] = 4250 >> 8;
    after[1] = 4250 & 0xFF;
    EXPECT_EQ(bench.Held(1), after);
    EXPECT_TRUE(bench.journals.files.empty());
    EXPECT_FALSE(bench.Item(1, "Cell OV Threshold").Edited());
    EXPECT_FALSE(bench.Item(1, "Cell OV Threshold").ChangedFlag) << "it took";
}

// A stored -1.0 reads as 0 by the format's own asymmetry: nobody edited it, so it stays what it was. So do
// the bytes between items and behind the end of a subclass.
TEST(DataFlash, BytesThatNobodyEditedSurvive)
{
    FlashBench bench;
    GaugeFlash& flash = bench.adapter.Bench().Flash();
    const GaugeFlash::Place learning = *flash.Find(27);
    const Bytes minusOne{0x80, 0x80, 0, 0};
    flash.WriteData(learning.Start + 5U, minusOne); // Error Per Capacity
    flash.WriteData(learning.Start + learning.Length, Bytes{0x12, 0x34}); // the rest of its row
    const Bytes row(flash.Data().begin() + learning.Start, flash.Data().begin() + learning.Start + 32);
    ASSERT_EQ(bench.flash.ReadAllDF().Result, 0);
    ASSERT_EQ(bench.Item(27, "Error Per Capacity").Value, bench.Item(27, "Error Per Capacity").ReadValue);
    bench.Item(27, "Learning Cold Limit").Value = QStringLiteral("2831");
    EXPECT_EQ(bench.flash.WriteChanged(true).Result, 0) << bench.said.join(u'\n').toStdString();
    Bytes wanted = row;
    wanted[3] = 2831 & 0xFF;
    EXPECT_EQ(Bytes(flash.Data().begin() + learning.Start, flash.Data().begin() + learning.Start + 32),
              wanted);
}

TEST(DataFlash, WriteChangedSendsTheEditedSubclassesAlone)
{
    FlashBench bench;
    EXPECT_EQ(bench.flash.WriteChanged(true).Text,
              QStringLiteral("No value was edited; nothing was written."));
    bench.Item(1, "Cell OV Threshold").Value = QStringLiteral("4250");
    EXPECT_EQ(bench.flash.WriteChanged(true).Result, 5041) << "never read";
    EXPECT_EQ(bench.said, QStringList(kNotAllRead));
    ASSERT_EQ(bench.flash.ReadAllDF().Result, 0);
    bench.Item(24, "Note 4").Value = QStringLiteral("four");
    bench.Item(1, "Cell OV Threshold").Value = QStringLiteral("4250");
    const WritePlan plan = bench.flash.PlanChanged();
    ASSERT_EQ(plan.Entries.size(), 2U);
    EXPECT_EQ(plan.Bytes, 32 + 128);
    EXPECT_NEAR(plan.Seconds, 5 * 0.0537 + 6 * 0.0038, 0.001); // pages, verify and the read before
    const std::int64_t before = bench.adapter.Faults().Transactions();
    EXPECT_EQ(bench.flash.WriteChanged(true).Result, 0);
    EXPECT_EQ(bench.adapter.Faults().Transactions() - before, 4 + 2 + 10 + 10);
    EXPECT_EQ(bench.Held(24)[96], 4);
    const WritePlan whole = bench.flash.PlanAll();
    EXPECT_EQ(whole.Bytes, 2048);
    EXPECT_NEAR(whole.Seconds, 3.43 + 0.24, 0.02);
}

TEST(DataFlash, AnItemWithoutAValueStopsTheWholeWrite)
{
    FlashBench bench;
    ASSERT_EQ(bench.flash.ReadAllDF().Result, 0);
    bench.Item(1, "Cell OV Threshold").Value = QStringLiteral("4250");
    const Bytes before = bench.Held(1);
    for (const char* text : {"", "12.5", "99999", "abc"}) {
        bench.said.clear();
        bench
            .Item(66,
                  PackLayout().Classes.back().SubClasses.front().Items.front().Name.toLatin1().constData())
            .Value
            = QString::fromLatin1(text);
        const std::int64_t transactions = bench.adapter.Faults().Transactions();
        const TransferReport report = bench.flash.WriteAll(true);
        EXPECT_EQ(report.Result, 5042) << text;
        EXPECT_EQ(bench.said.value(0), kNoValue);
        EXPECT_TRUE(bench.said.value(1).startsWith(QLatin1String("Subclass 66, ")))
            << bench.said.value(1).toStdString();
        EXPECT_EQ(bench.adapter.Faults().Transactions(), transactions);
    }
    EXPECT_EQ(bench.Held(1), before) << "it comes first, and was not written either";
}

TEST(DataFlash, AnItemThatDidNotTakeIsNamedAndMarked)
{
    SimulatorSettings settings{.Faults = {}};
    FlashBench dry(settings);
    ASSERT_EQ(dry.flash.ReadAllDF().Result, 0);
    const std::int64_t read = dry.adapter.Faults().Transactions();
    settings.Faults.Scheduled = {{read + 4 + 2 + 2, Fault::LyingWrite}}; // the block of the one page
    FlashBench bench(settings);
    ASSERT_EQ(bench.flash.ReadAllDF().Result, 0);
    bench.Item(1, "Cell OV Threshold").Value = QStringLiteral("4250");
    const TransferReport report = bench.flash.WriteChanged(true);
    EXPECT_EQ(report.Result, 11);
    EXPECT_FALSE(report.Verified);
    ASSERT_EQ(report.Entries.size(), 1U);
    EXPECT_EQ(report.Entries[0].What, Fate::NotVerified);
    EXPECT_EQ(report.Entries[0].Offsets, std::vector{1}); // 4300 is 10CC, 4250 is 109A
    EXPECT_TRUE(bench.Item(1, "Cell OV Threshold").ChangedFlag);
    EXPECT_EQ(bench.Item(1, "Cell OV Threshold").Value, QStringLiteral("4300"));
    EXPECT_EQ(bench.journals.files.size(), 1U) << "it can still be finished";
    EXPECT_EQ(bench.flash.FinishPendingWrite().Result, 0);
    EXPECT_EQ(bench.Held(1)[1], 4250 & 0xFF);
    EXPECT_FALSE(bench.flash.LastReadAllOK()) << "the screen is out of date";
}

TEST(DataFlash, WithoutItsRowDelayTheGaugeIsStillBusy)
{
    const QTemporaryDir folder;
    FlashBench bench;
    PutTarget(bench, folder, "[DataFlash]\nRowDelay=20\n");
    ASSERT_EQ(bench.flash.ReadAllDF().Result, 0);
    bench.Item(24, "Note 1").Value = QStringLiteral("x");
    EXPECT_EQ(bench.flash.WriteChanged(false).Result, 772);
    EXPECT_EQ(bench.said.value(0),
              QStringLiteral("Error writing subClsId = 24 at block write cmd=121. Error code = 772"));
    EXPECT_EQ(bench.said.value(1), QStringLiteral("Error writing Data Flash, Code = 772"));
    const std::optional<PendingWrite> pending = [&] {
        bench.time.Advance(100);
        return bench.flash.FindPendingWrite();
    }();
    ASSERT_TRUE(pending);
    EXPECT_EQ(pending->Entries.size(), 1U);
}

TEST(DataFlash, PreserveSetsKeepWhatTheGaugeHoldsNow)
{
    const QTemporaryDir folder;
    FlashBench bench;
    PutTarget(bench, folder,
              "[DFWrPreserve1]\nName=Identity\nS1=22\nD1=16/29,31\n[DFWrPreserve2]\n[DFWrPreserve3]\nS1=x\n"
              "[DFWrPreserve4]\nD1=16/30\n");
    EXPECT_EQ(bench.flash.PreserveSets(),
              (QStringList{QStringLiteral("Identity"), QStringLiteral("Set 2"), QStringLiteral("Set 3"),
                           QStringLiteral("Set 4")}));
    ASSERT_EQ(bench.flash.ReadAllDF().Result, 0);
    bench.Item(16, "Serial Number").Value = QStringLiteral("777");
    bench.Item(16, "Device Name").Value = QStringLiteral("OTHER");
    bench.Item(22, "Cell Lot Code").Value = QStringLiteral("5");
    // meanwhile the gauge counts on in what is to be kept
    GaugeFlash& flash = bench.adapter.Bench().Flash();
    flash.WriteData(flash.Find(16)->Start + 31U, Bytes{0x12, 0x34});
    flash.WriteData(flash.Find(22)->Start + 12U, Bytes{9, 9, 9, 9});
    const TransferReport report = bench.flash.WritePreserve(1, true);
    EXPECT_EQ(report.Result, 0) << report.Text.toStdString() << bench.said.join(u'\n').toStdString();
    EXPECT_EQ(flash.Unsigned(16, 31, 2), 0x1234U);
    EXPECT_EQ(flash.Text(16, 12), (Bytes{'O', 'T', 'H', 'E', 'R'}));
    EXPECT_EQ(flash.Unsigned(22, 12, 4), 0x09090909U);
    EXPECT_EQ(bench.Item(16, "Serial Number").Value, QString::number(0x1234));
    // the next Write All preserves nothing
    bench.Item(16, "Serial Number").Value = QStringLiteral("777");
    EXPECT_EQ(bench.flash.WriteAll(true).Result, 0);
    EXPECT_EQ(flash.Unsigned(16, 31, 2), 777U);

    const std::int64_t transactions = bench.adapter.Faults().Transactions();
    bench.said.clear();
    EXPECT_TRUE(bench.flash.WritePreserve(2, true).Cancelled);
    EXPECT_EQ(bench.said,
              QStringList(QStringLiteral(
                  "No preserve selection! Do you want to WriteAll without preserving any data?")));
    EXPECT_EQ(bench.flash.WritePreserve(3, true).Result, 7) << "a set must not be guessed";
    EXPECT_TRUE(bench.said.last().contains(QLatin1String("[DFWrPreserve3], key S1")));
    EXPECT_EQ(bench.flash.WritePreserve(4, true).Result, 7) << "no item begins there";
    EXPECT_EQ(bench.adapter.Faults().Transactions(), transactions);
    bench.program.messages.answers = {Answer::Yes};
    EXPECT_EQ(bench.flash.WritePreserve(2, false).Result, 0);
}

// The two operations that others call with the bus in their hands: nothing is shown meanwhile.
TEST(DataFlash, SingleSubclassesKeepTheirMessagesForTheCaller)
{
    FlashBench bench;
    EXPECT_EQ(bench.flash.WriteDFSubClass(0, 0), 5042) << "no values yet";
    EXPECT_EQ(bench.said, QStringList());
    EXPECT_EQ(bench.flash.TakeMessages().value(0), kNoValue);
    EXPECT_EQ(bench.flash.ReadDFSubClass(0, 0), 0);
    bench.Item(1, "Cell OV Threshold").Value = QStringLiteral("4250");
    EXPECT_EQ(bench.flash.WriteDFSubClass(0, 0), 0);
    EXPECT_EQ(bench.Held(1)[1], 4250 & 0xFF);
    EXPECT_TRUE(bench.journals.files.empty());
    EXPECT_EQ(bench.flash.ReadDFSubClass(0, 99), 7);
    EXPECT_EQ(bench.flash.TakeMessages(), QStringList());
}

TEST(DataFlash, WithoutAJournalNoByteGoesOut)
{
    FlashBench bench;
    ASSERT_EQ(bench.flash.ReadAllDF().Result, 0);
    const Bytes before = bench.Held(1);
    bench.Item(1, "Cell OV Threshold").Value = QStringLiteral("4250");
    bench.journals.failure = QStringLiteral("the disk is full");
    EXPECT_EQ(bench.flash.WriteAll(true).Result, 5043);
    EXPECT_TRUE(bench.said.value(0).contains(bench.journals.failure));
    EXPECT_EQ(bench.Held(1), before);
}

// Events run in every operation: a second one does nothing, an edit stays, the bus is never held while
// somebody is told something, and Cancel leaves whole subclasses.
TEST(DataFlash, ReentryCancelAndEditsMeanwhile)
{
    FlashBench bench;
    ASSERT_EQ(bench.flash.ReadAllDF().Result, 0);
    for (const char* name : {"Note 1", "Note 2", "Note 3", "Note 4"})
        bench.Item(24, name).Value = QStringLiteral("new");
    bench.Item(26, "Start Charge").Value = QStringLiteral("50");
    bench.Item(32, "Cycle Count").Value = QStringLiteral("9");
    int nested = 0;
    bench.flash.OnProgress = [&](int done, int of, const QString& step) {
        if (done == of)
            return;
        EXPECT_TRUE(GaugeAccess::Held());
        EXPECT_TRUE(bench.flash.ReadAllDF().Cancelled);
        EXPECT_TRUE(bench.flash.WriteAll(true).Cancelled);
        EXPECT_FALSE(bench.flash.LoadFile(QStringLiteral("other.toml")));
        EXPECT_EQ(bench.flash.ReadDFSubClass(0, 0), 34);
        ++nested;
        if (step.contains(QLatin1String("Notes")))
            bench.Item(24, "Note 4").Value = QStringLiteral("edited meanwhile");
        if (step.contains(QLatin1String("Capacity")))
            bench.flash.Cancel();
    };
    const TransferReport report = bench.flash.WriteChanged(true);
    EXPECT_GT(nested, 0);
    EXPECT_TRUE(report.Cancelled);
    EXPECT_EQ(report.Result, 34);
    ASSERT_EQ(report.Entries.size(), 3U);
    EXPECT_EQ(report.Entries[0].What, Fate::Done) << "to the end of its subclass";
    EXPECT_EQ(report.Entries[1].What, Fate::NotReached);
    EXPECT_EQ(report.Entries[2].What, Fate::NotReached);
    EXPECT_EQ(bench.Held(24)[96], 3);
    EXPECT_TRUE(bench.Item(24, "Note 4").Edited()) << "typed while it was sent";
    EXPECT_EQ(bench.said, QStringList());
    EXPECT_FALSE(GaugeAccess::Held());
    bench.flash.OnProgress = {};
    const std::optional<PendingWrite> pending = bench.flash.FindPendingWrite();
    ASSERT_TRUE(pending);
    EXPECT_EQ(pending->Entries[0].What, PendingWrite::Now::New);
    EXPECT_EQ(pending->Entries[1].What, PendingWrite::Now::Old);
    bench.flash.ForgetPendingWrite();
    EXPECT_FALSE(bench.flash.FindPendingWrite());
}

TEST(DataFlash, ABusySomebodyIsToldAndNothingIsTouched)
{
    FlashBench bench;
    {
        const ExclusiveAccess plugin(bench.program.access, QStringLiteral("Plug-in"));
        const TransferReport report = bench.flash.ReadAllDF();
        EXPECT_EQ(report.Result, 94);
        EXPECT_EQ(bench.said, QStringList(kBusy));
    }
    EXPECT_EQ(bench.adapter.Faults().Transactions(), 0);
    EXPECT_FALSE(bench.flash.LastReadAllOK());
}

TEST(DataFlash, WaitsTwentySecondsForAnAdapterThatIsSilent)
{
    FlashBench bench;
    bench.program.usb.CloseDevice();
    const std::int64_t begun = bench.time.MonotonicMs();
    bench.flash.WaitforPacketsToBeSent();
    EXPECT_EQ(bench.time.MonotonicMs() - begun, 20'000);
    EXPECT_EQ(bench.said,
              QStringList(QStringLiteral("Timeout waiting for packets to be sent. No response on ping.")));
}

// Real buses have no version of their own and refuse the question at once.
TEST(DataFlash, ABusWithoutAVersionIsNotWaitedFor)
{
    class Versionless final : public AdapterFunnel {
    public:
        explicit Versionless(Pc61vRW& inner) : m_inner(inner) { }
        [[nodiscard]] AdapterFacts Facts() const override { return m_inner.Facts(); }

    private:
        void Perform(DriverCall& call) override
        {
            if (call.Number == AdapterCall::GetVersion)
                AnswerWith(call, ErrorCode::IncorrectParam);
            else
                call.On(m_inner);
        }
        Pc61vRW& m_inner;
    };
    TestTime time;
    SimulatedAdapter simulated(time, {});
    Versionless adapter(simulated);
    MemoryJournals journals;
    FlashProgram program(adapter, time, journals);
    const std::int64_t begun = time.MonotonicMs();
    program.flash.WaitforPacketsToBeSent();
    EXPECT_LT(time.MonotonicMs() - begun, 100);
    EXPECT_EQ(program.messages.texts, QStringList());
}

// The pack that is connected later may be another one.
TEST(DataFlash, AJournalOfAnotherPackStays)
{
    FlashBench bench;
    ASSERT_EQ(bench.flash.ReadAllDF().Result, 0);
    bench.Item(24, "Note 1").Value = QStringLiteral("new");
    bench.flash.OnProgress = [&](int, int, const QString&) { bench.flash.Cancel(); };
    EXPECT_TRUE(bench.flash.WriteChanged(true).Cancelled);
    ASSERT_EQ(bench.journals.files.size(), 1U);
    FlashBench other({.Seed = 2});
    other.program.usb.CloseDevice();
    FlashProgram program(other.adapter, other.time, bench.journals);
    EXPECT_FALSE(program.flash.FindPendingWrite());
    EXPECT_EQ(program.flash.FinishPendingWrite().Result, 7);
    program.flash.ForgetPendingWrite();
    EXPECT_EQ(bench.journals.files.size(), 1U);
}

// Every style, through the gauge of the simulated pack: read, written, verified.
TEST(DataFlash, EveryAccessStyleReachesTheSameBytes)
{
    struct Layout {
        int simulated;
        const char* style;
        int id; ///< of the subclass with Notes, 128 bytes from its row on
    };
    const int start = GaugeFlash().Find(24)->Start;
    for (const Layout& layout :
         {Layout{0, "0", 24}, Layout{0, "2", 24}, Layout{0, "3", 24}, Layout{0, "4", 24}, Layout{0, "5", 24},
          Layout{1, "1:BlkSz=64:BaseCmd=88", 88 + start / 64}, Layout{6, "6", start}}) {
        FlashBench bench({.DataFlashStyle = layout.simulated});
        const int skipped = layout.simulated == 1 ? start % 64 : 0; // a command is a whole row
        const QTemporaryDir folder;
        QFile file(folder.filePath(QStringLiteral("style.toml")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QStringLiteral("target = \"T\"\naccess-style = \"%1\"\n[[class]]\nname = \"C\"\n"
                                  "[[class.subclass]]\nname = \"S\"\nid = %2\nlength = %3\n"
                                  "[[class.subclass.item]]\nname = \"First\"\ntype = \"U1\"\noffset = %4\n"
                                  "[[class.subclass.item]]\nname = \"Last\"\ntype = \"U1\"\noffset = %5\n")
                       .arg(QLatin1String(layout.style))
                       .arg(layout.id)
                       .arg(100 + skipped)
                       .arg(skipped)
                       .arg(99 + skipped)
                       .toUtf8());
        file.close();
        ASSERT_TRUE(bench.flash.LoadFile(file.fileName())) << bench.said.join(u'\n').toStdString();
        const Bytes before = bench.Held(24);
        ASSERT_EQ(bench.flash.ReadAllDF().Result, 0) << layout.style << bench.said.join(u'\n').toStdString();
        std::vector<DataItem>& items = bench.flash.Tree().Classes[0].SubClasses[0].Items;
        EXPECT_EQ(items[0].Value, QString::number(before[0])) << layout.style;
        items[0].Value = QStringLiteral("17");
        items[1].Value = QStringLiteral("18");
        EXPECT_EQ(bench.flash.WriteAll(true).Result, 0)
            << layout.style << bench.said.join(u'\n').toStdString();
        Bytes wanted = before;
        wanted[0] = 17;
        wanted[99] = 18;
        EXPECT_EQ(bench.Held(24), wanted) << layout.style;
    }
}
