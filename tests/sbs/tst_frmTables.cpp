#include "sbs/frmTables.h"

#include "platform/WholeFile.h"

#include "tests/sbs/FakeGauge.h"
#include "tests/support/TestSupport.h"

#include <QAction>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace {

/// A program folder with one register table, and a fake gauge.
struct TablesWindow : testing::Test {
    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("default.sbs"));
    FakeGauge gauge;
    TestTime time;
    RecordedMessages messages;
    ErrorList errors{time};
    ProfileStore profiles;
    StartupState state;
    TargetSettings target;
    frmUSB usb{gauge, time, messages, {}};
    GaugeAccess access{time, messages};
    GaugeLink link{usb, access, profiles, messages, state, target};
    GaugeContext context{profiles, state, target, usb, access, link, time, messages, errors};
    std::unique_ptr<frmTables> window;

    void SetUp() override
    {
        state.ProgramFolder = folder.path();
        TableDocument table;
        table.Paste({0, 0},
                    QStringLiteral("Voltage\tVolt\t1\t9\tx\tx*1000\t0\td.000\tV\n"
                                   "Current\tAmp\t1\tA\tx\tx\t0\td\tmA\n"));
        ASSERT_EQ(table.Save(path), QString());
        window = std::make_unique<frmTables>(profiles, state, messages, &context);
        window->resize(1000, 600);
        window->show();
    }
    template <class Widget>
    Widget* Find(const char* name)
    {
        return window->findChild<Widget*>(QLatin1String(name));
    }
    QString Text(const char* label) { return Find<QLabel>(label)->text(); }
    QTableView* Grid() { return Find<QTableView>("grdTable"); }
    QString Cell(int row, int column)
    {
        return Grid()->model()->index(row, column).data(Qt::EditRole).toString();
    }
};

TEST_F(TablesWindow, KeepsAFieldThatDoesNotConvertUntilItIsMended)
{
    Grid()->setCurrentIndex(Grid()->model()->index(1, 3));
    Grid()->edit(Grid()->currentIndex());
    auto* field = Find<QLineEdit>("txtCell");
    ASSERT_TRUE(field);
    field->setText(QStringLiteral("1G"));
    EXPECT_EQ(Text("lblTableFooter"),
              QStringLiteral("Row 1, ReadCommand, \"1G\": not a hexadecimal number from 0 to FFFF"));
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(Cell(1, 3), QStringLiteral("A"));
    ASSERT_TRUE(field->isVisible());
    field->setText(QStringLiteral("14"));
    QTest::keyClick(field, Qt::Key_Return);
    QTRY_COMPARE(Cell(1, 3), QStringLiteral("14"));
    EXPECT_TRUE(window->windowTitle().startsWith(QStringLiteral("default.sbs*")));
    Find<QAction>("mnuTableUndo")->trigger();
    EXPECT_EQ(Cell(1, 3), QStringLiteral("A"));
    EXPECT_FALSE(window->windowTitle().contains(u'*'));
}

TEST_F(TablesWindow, MovesWholeRowsByCutAndPaste)
{
    Grid()->setCurrentIndex(Grid()->model()->index(1, 1));
    Find<QAction>("mnuTableCut")->trigger();
    ASSERT_EQ(Grid()->model()->rowCount(), 1);
    Find<QAction>("mnuTablePaste")->trigger();
    EXPECT_EQ(Grid()->model()->rowCount(), 2);
    EXPECT_EQ(Cell(0, 0) + Cell(0, 1) + Cell(0, 8), QStringLiteral("CurrentAmpmA"));
    EXPECT_EQ(Cell(1, 1), QStringLiteral("Volt"));
}

TEST_F(TablesWindow, PreviewsTheCurrentRowWithTypedAndReadValues)
{
    Grid()->setCurrentIndex(Grid()->model()->index(0, 0));
    Find<QLineEdit>("txtRaw")->setFocus();
    Find<QLineEdit>("txtRaw")->clear();
    QTest::keyClicks(Find<QLineEdit>("txtRaw"), QStringLiteral("14873"));
    EXPECT_EQ(Text("lblShown"), QStringLiteral("14.873 V"));

    gauge.words[10] = 0xFFFB;
    Grid()->setCurrentIndex(Grid()->model()->index(1, 0));
    {
        const ExclusiveAccess held(access, QStringLiteral("Scan")); // a click inside a row of a pass
        window->ReadNow();
        EXPECT_TRUE(window->Busy());
        QTest::qWait(50);
        EXPECT_TRUE(gauge.calls.isEmpty());
    }
    QTRY_VERIFY(!window->Busy());
    EXPECT_EQ(Text("lblShown"), QStringLiteral("-5 mA"));
    EXPECT_FALSE(GaugeAccess::Held());

    gauge.failAt = static_cast<int>(gauge.calls.size()) + 1;
    window->ReadNow();
    EXPECT_TRUE(Text("lblPreviewProblem").contains(ErrorCodeToText(gauge.fault)));
}

TEST_F(TablesWindow, AsksBeforeChangesAreLost)
{
    Find<QAction>("mnuTableRemove")->trigger();
    messages.answers = {Answer::Cancel};
    EXPECT_FALSE(window->close());
    messages.answers = {Answer::Yes};
    EXPECT_TRUE(window->close());
    TableDocument saved;
    ASSERT_EQ(saved.Open(path, TableKind::Registers), QString());
    EXPECT_EQ(saved.Rows(), 1);
    EXPECT_EQ(messages.texts.size(), 2);
}

TEST(Tables, OpensWithoutAdapterAndTargetAndSaysWhatToDo)
{
    ProfileStore profiles;
    const StartupState state;
    RecordedMessages messages;
    frmTables window(profiles, state, messages, nullptr);
    window.resize(640, 320);
    window.show();
    EXPECT_TRUE(window.findChild<QLabel*>(QStringLiteral("lblTableEmpty"))->isVisible());
    EXPECT_EQ(messages.texts, QStringList());
    window.findChild<QAction*>(QStringLiteral("mnuTableInsert"))->trigger();
    EXPECT_FALSE(window.findChild<QLabel*>(QStringLiteral("lblTableEmpty"))->isVisible());
    EXPECT_EQ(window.findChild<QTableView*>(QStringLiteral("grdTable"))->model()->rowCount(), 1);
}

} // namespace
