#include "comm/BusSequence.h"
#include "engineering/Consent.h"
#include "engineering/frmConfirm.h"
#include "engineering/frmPro.h"

#include "tests/engineering/EngineeringBench.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTableView>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

namespace {

struct ProWindow : testing::Test {
    EngineeringBench bench;
    std::unique_ptr<frmPro> window;

    ProWindow() { Open(); }
    ~ProWindow() override { Consent::OfThisRun().WithdrawAll(); }
    void Open()
    {
        window.reset();
        window = std::make_unique<frmPro>(bench.context);
        window->resize(1200, 700);
        window->show();
    }
    template <class Control>
    Control* Find(const char* name)
    {
        return window->findChild<Control*>(QLatin1String(name));
    }
    QString Text(const char* label) { return Find<QLabel>(label)->text(); }
    void Click(const char* button) { Find<QPushButton>(button)->click(); }
    void Enter(TransactionKind kind, const char* command, const char* data = "", const char* expect = "")
    {
        Find<QComboBox>("cboKind")->setCurrentIndex(static_cast<int>(kind));
        Find<QLineEdit>("txtCmd")->setText(QString::fromLatin1(command));
        Find<QLineEdit>("txtData")->setText(QString::fromLatin1(data));
        Find<QLineEdit>("txtExpect")->setText(QString::fromLatin1(expect));
    }
    frmConfirm* Question() { return window->findChild<frmConfirm*>(QStringLiteral("frmConfirm")); }
    void Answer(const char* button, bool notAgain = false)
    {
        frmConfirm* question = Question();
        ASSERT_TRUE(question);
        question->findChild<QCheckBox*>(QStringLiteral("chkNotAgain"))->setChecked(notAgain);
        question->findChild<QPushButton*>(QLatin1String(button))->click();
        QTest::qWait(1); // it deletes itself
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    QAbstractItemModel* History() { return Find<QTableView>("grdHistory")->model(); }
    QString Cell(int row, int column) { return History()->index(row, column).data().toString(); }
    void Sequence(const char* text)
    {
        Find<QPlainTextEdit>("txtSequence")->setPlainText(QString::fromLatin1(text));
    }
};

TEST_F(ProWindow, ReadsAtOnceAndShowsWhatCame)
{
    Enter(TransactionKind::ReadWord, "1A", "", "31");
    Click("cmdSend");
    Enter(TransactionKind::ReadWord, "1A", "", "32");
    Click("cmdSend");
    ASSERT_EQ(History()->rowCount(), 2);
    EXPECT_EQ(Cell(0, 1), QStringLiteral("read-word 0x1A"));
    EXPECT_EQ(Cell(0, 2), QStringLiteral("0x0031  49"));
    EXPECT_EQ(Cell(0, 4), QStringLiteral("Communication OK"));
    EXPECT_EQ(Cell(1, 3), QStringLiteral("11"));
    EXPECT_EQ(Cell(1, 2), QStringLiteral("0x0031  49")); // a wrong answer is shown all the same
    EXPECT_TRUE(Text("lblDetail").contains(QStringLiteral("0000 0000 0011 0001")));
    EXPECT_FALSE(GaugeAccess::Held());
}

TEST_F(ProWindow, AsksBeforeItWritesOncePerRunIfWished)
{
    bench.calls.clear();
    Enter(TransactionKind::WriteWord, "04", "FA24");
    Click("cmdSend");
    ASSERT_TRUE(Question());
    EXPECT_EQ(Question()->findChild<QPlainTextEdit*>(QStringLiteral("txtConfirm"))->toPlainText(),
              QStringLiteral("write-word 0x04 0xFA24"));
    EXPECT_FALSE(GaugeAccess::Held());
    Answer("cmdCancel", true);
    EXPECT_EQ(bench.calls.size(), 0);
    Click("cmdSend");
    Answer("cmdConfirm", true); // a refusal is no consent for later
    EXPECT_EQ(bench.Calls("AdpWriteSMBusWord \\[4,-1500,22\\]"), 1);
    Click("cmdSend");
    EXPECT_FALSE(Question());
    EXPECT_EQ(bench.Calls("AdpWriteSMBusWord"), 2);
    Sequence("write-word 4 1"); // sequences are another matter
    Click("cmdRunSequence");
    EXPECT_TRUE(Question());
}

TEST_F(ProWindow, PutsAQuestionOffWhileARowOfAScanHoldsTheBus)
{
    Enter(TransactionKind::Poke, "0200", "01");
    {
        const ExclusiveAccess held(bench.access, QStringLiteral("Scan"));
        Click("cmdSend");
        QTest::qWait(50);
        EXPECT_FALSE(Question());
    }
    QTRY_VERIFY(Question());
    Answer("cmdConfirm");
    EXPECT_EQ(History()->rowCount(), 1);
}

TEST_F(ProWindow, RefusesWrongInputInItsField)
{
    bench.calls.clear();
    Enter(TransactionKind::WriteBlock, "2F", "0");
    Click("cmdSend");
    EXPECT_TRUE(Find<QLineEdit>("txtData")->property("refused").toBool());
    EXPECT_FALSE(Text("lblSendState").isEmpty());
    EXPECT_EQ(bench.calls.size(), 0);
    // the other base rewrites what is right and keeps what is not
    Enter(TransactionKind::WriteWord, "1A", "zz");
    Find<QComboBox>("cboBase")->setCurrentIndex(1);
    EXPECT_EQ(Find<QLineEdit>("txtCmd")->text(), QStringLiteral("26"));
    EXPECT_EQ(Find<QLineEdit>("txtData")->text(), QStringLiteral("zz"));
}

TEST_F(ProWindow, RepeatStopsAtAFailure)
{
    Enter(TransactionKind::ReadWord, "09");
    Find<QSpinBox>("spnRepeat")->setValue(5);
    Find<QSpinBox>("spnInterval")->setValue(0);
    bench.calls.clear();
    bench.failAt = 3;
    Click("cmdSend");
    EXPECT_FALSE(Find<QPushButton>("cmdSend")->isEnabled());
    QTRY_COMPARE(History()->rowCount(), 3);
    QTRY_VERIFY(Find<QPushButton>("cmdSend")->isEnabled());
    QTest::qWait(20);
    EXPECT_EQ(History()->rowCount(), 3);
    EXPECT_TRUE(
        Text("lblSendState").startsWith(QStringLiteral("3 of 5 sent, 1 failed. Stopped at this failure")));
    Find<QSpinBox>("spnInterval")->setValue(3'600'000);
    Click("cmdSend");
    Click("cmdStop");
    EXPECT_TRUE(Text("lblSendState").contains(QStringLiteral("Stopped by hand")));
    EXPECT_TRUE(Find<QPushButton>("cmdSend")->isEnabled());
}

TEST_F(ProWindow, RunsAccessCommandsAndKeepsABrokenOneFromBeingSent)
{
    Click("cmdSendAccess");
    Answer("cmdConfirm");
    EXPECT_EQ(History()->rowCount(), 2);
    EXPECT_EQ(Cell(1, 2), QStringLiteral("0x0800  2048"));
    EXPECT_EQ(Text("lblAccessState"), QStringLiteral("Type: done"));
    Find<QTableView>("grdAccess")->selectRow(1);
    Find<QTableView>("grdAccess")->setCurrentIndex(Find<QTableView>("grdAccess")->model()->index(1, 0));
    EXPECT_FALSE(Find<QPushButton>("cmdSendAccess")->isEnabled());
    EXPECT_TRUE(Text("lblAccessState").contains(QStringLiteral("key 2")));
}

TEST_F(ProWindow, ShowsWhereASequenceFailed)
{
    Sequence("read-word 9\nread-word oops");
    Click("cmdRunSequence");
    EXPECT_EQ(History()->rowCount(), 0);
    EXPECT_TRUE(Text("lblSequenceState").startsWith(QStringLiteral("1 line is wrong")));
    Sequence("read-word 9\nread-word 0x1A expect 7\nread-word 9");
    Click("cmdRunSequence");
    EXPECT_EQ(History()->rowCount(), 2);
    EXPECT_TRUE(Text("lblSequenceState").startsWith(QStringLiteral("Line 2,")));
}

TEST_F(ProWindow, CloseInTheMiddleOfASequenceGivesTheBusBackAndThenCloses)
{
    Sequence("gpio-write 1 1\nloop 1000\nread-word 9\nend\n");
    Find<QPlainTextEdit>("txtSequence")->document()->setModified(false);
    bench.calls.clear();
    bench.onCall = [this] {
        if (bench.calls.size() < 20)
            return;
        bench.onCall = {};
        EXPECT_TRUE(window->Busy());
        EXPECT_FALSE(window->close()); // the step under way ends first
        Click("cmdRunSequence"); // a second click does nothing
        EXPECT_TRUE(BusSequence::Running());
    };
    Click("cmdRunSequence");
    Answer("cmdConfirm");
    EXPECT_LT(bench.calls.size(), 40);
    EXPECT_FALSE(BusSequence::Running());
    EXPECT_FALSE(GaugeAccess::Held());
    EXPECT_EQ(bench.calls.last(), QStringLiteral("AdpGPIOWrite [1,0]"));
    QTRY_VERIFY(!window->isVisible());
}

TEST_F(ProWindow, WatchesTheBusOnlyWhenAskedAndRemembersIt)
{
    auto* grid = Find<QTableView>("grdMonitor");
    Enter(TransactionKind::ReadWord, "09");
    Click("cmdSend");
    EXPECT_EQ(bench.watch.Monitor.End(), 0);
    Find<QToolButton>("cmdWatch")->click();
    Click("cmdSend");
    Enter(TransactionKind::ReadWord, "2F");
    Click("cmdSend");
    QTRY_COMPARE(grid->model()->rowCount(), 2);
    Find<QCheckBox>("chkFailures")->setChecked(true);
    EXPECT_EQ(grid->model()->rowCount(), 1);
    EXPECT_EQ(grid->model()->index(0, 3).data().toString(), QStringLiteral("0x2F"));
    Find<QCheckBox>("chkFailures")->setChecked(false);
    Find<QLineEdit>("txtMonitorFilter")->setText(QStringLiteral("0x09"));
    EXPECT_EQ(grid->model()->rowCount(), 1);
    Find<QComboBox>("cboKind")->setCurrentIndex(2);
    EXPECT_TRUE(window->close());
    window.reset();
    EXPECT_FALSE(bench.watch.Monitor.Watching()); // nobody looks any more
    Open();
    EXPECT_TRUE(bench.watch.Monitor.Watching());
    EXPECT_EQ(Find<QComboBox>("cboKind")->currentIndex(), 2);
}

TEST_F(ProWindow, AsksAboutASequenceThatIsNotSaved)
{
    Find<QPlainTextEdit>("txtSequence")->insertPlainText(QStringLiteral("read-word 9"));
    bench.messages.answers = {::Answer::Cancel};
    EXPECT_FALSE(window->close());
    bench.messages.answers = {::Answer::No};
    EXPECT_TRUE(window->close());
}

} // namespace
