#include "dataflash/frmDF.h"

#include "comm/adapters/SimulatedAdapter.h"
#include "dataflash/DataFlashGrid.h"
#include "platform/WholeFile.h"

#include "tests/support/FaultyAdapter.h"
#include "tests/support/TargetFolder.h"
#include "tests/support/TestSupport.h"

#include <QAction>
#include <QCheckBox>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QTableWidget>
#include <QTest>

#include <gtest/gtest.h>

namespace {

constexpr std::uint16_t kVoltage = 1; // subclass of the item that most tests edit
const QString kCellOv = QStringLiteral("Cell OV Threshold"); // U2, offset 0, 3700 to 4500 mV

/// The editor on the simulated pack's own configuration.
struct Editor {
    explicit Editor(int failAt = 0,
                    const QByteArray& configuration = TARNLO_SOURCE_DIR "/targets/sim4s/sim4s-dataflash.toml")
        : adapter(simulated, failAt, ErrorCode::NoAcknowledge)
    {
        home.Put(QStringLiteral("t/Config.ini"),
                 "[Device]\nName=Pack\n[DataFlash]\nRowDelay=50\nConfigFile=" + configuration
                     + "\n[DFWrPreserve1]\nName=Calibration\nS1=45\nD1=1/0,4\n");
        home.state.TargetConfigPath
            = home.state.ProgramFolder + QStringLiteral("/t\\Config.ini"); // as target lists write it
        bool open = false;
        usb.OpenFirstFreeDevice(open);
        window = new frmDF(context);
        window->resize(1280, 700);
        window->show();
        QCoreApplication::processEvents(); // looks for a write that never ended
    }
    ~Editor() { delete window; }

    template <class Widget>
    Widget* Find(const char* name)
    {
        return window->findChild<Widget*>(QLatin1String(name));
    }
    void Click(const char* name) { Find<QAbstractButton>(name)->click(); }
    void Trigger(const char* name) { Find<QAction>(name)->trigger(); }
    QString Text(const char* label) { return Find<QLabel>(label)->text(); }
    QString Notice() { return Text("lblNotice"); }
    DataFlashGrid* Grid() { return Find<DataFlashGrid>("grdDataFlash"); }
    /// The cell of an item's row; invalid when the item is not shown.
    QModelIndex Cell(const QString& item, int column = kItemValueColumn)
    {
        const auto found = Grid()->model()->match(Grid()->model()->index(0, 0), Qt::DisplayRole, item, 1,
                                                  Qt::MatchExactly | Qt::MatchRecursive);
        return found.isEmpty() ? QModelIndex() : found.first().siblingAtColumn(column);
    }
    QString Marks(const QString& item)
    {
        return Cell(item, kItemMarksColumn).data(Qt::AccessibleTextRole).toString();
    }
    int ShownItems()
    {
        const QAbstractItemModel* model = Grid()->model();
        int items = 0;
        for (int section = 0; section < model->rowCount(); ++section)
            items += model->rowCount(model->index(section, 0));
        return items;
    }
    QLineEdit* Field() ///< of the value under edit; those of ended edits may still wait for their deletion
    {
        for (auto* field : window->findChildren<QLineEdit*>(QStringLiteral("txtItemValue")))
            if (field->isVisible())
                return field;
        return nullptr;
    }
    /// Begins an edit as a person does, by typing over the row.
    QLineEdit* Type(const QString& item, const QString& text)
    {
        Grid()->setCurrentIndex(Cell(item, kItemNameColumn));
        QTest::keyClick(Grid(), Qt::Key_F2);
        QLineEdit* field = Field();
        if (field)
            field->setText(text);
        return field;
    }
    void Edit(const QString& item, const QString& text)
    {
        QTest::keyClick(Type(item, text), Qt::Key_Return);
        QCoreApplication::processEvents();
    }
    [[nodiscard]] int Held(std::uint16_t id, int offset) const ///< U2 in the gauge itself
    {
        return static_cast<int>(simulated.Bench().Flash().Unsigned(id, offset, 2));
    }
    QTableWidget* Table(const char* name) { return Find<QTableWidget>(name); }

    TargetFolder home{""};
    TestTime time;
    RecordedMessages messages;
    SimulatedAdapter simulated{time, {}};
    FaultyAdapter adapter;
    ErrorList errors{time};
    TargetSettings target;
    frmUSB usb{adapter, time, messages, {}};
    GaugeAccess access{time, messages};
    GaugeLink link{usb, access, home.profiles, messages, home.state, target};
    GaugeContext context{home.profiles, home.state, target, usb, access, link, time, messages, errors};
    QPointer<frmDF> window;
};

TEST(DataFlashEditor, RefusesWhatDoesNotFitAndLetsTheRangeBePassedOnPurpose)
{
    Editor editor;
    EXPECT_TRUE(editor.Notice().startsWith(QStringLiteral("Nothing read yet. Read All (Ctrl+R) reads")));
    editor.Click("cmdReadAll");
    EXPECT_TRUE(editor.Text("lblLastRead").endsWith(QStringLiteral("subclasses, no errors")))
        << editor.Text("lblLastRead").toStdString();
    const QString before = editor.Cell(kCellOv).data().toString();
    ASSERT_FALSE(before.isEmpty());

    QLineEdit* field = editor.Type(kCellOv, QStringLiteral("70000"));
    ASSERT_TRUE(field);
    struct Case {
        const char* typed;
        bool range; ///< only the range is hurt
    };
    for (const Case& c :
         {Case{"70000", false}, Case{"42x", false}, Case{"", false}, Case{"5000", true}, Case{"100", true}}) {
        field->setText(QLatin1String(c.typed));
        EXPECT_TRUE(field->property("refused").toBool()) << c.typed;
        EXPECT_EQ(editor.Find<QPushButton>("cmdUseAnyway")->isVisible(), c.range) << c.typed;
        QTest::keyClick(field, Qt::Key_Return);
        EXPECT_EQ(editor.Cell(kCellOv).data().toString(), before) << c.typed;
        ASSERT_TRUE(field->isVisible()) << c.typed;
    }
    field->setText(QStringLiteral("5000"));
    EXPECT_TRUE(editor.Text("lblRefusal").contains(QStringLiteral("4500"))) << "the limit";
    editor.Click("cmdUseAnyway");
    EXPECT_EQ(editor.Cell(kCellOv).data().toString(), QStringLiteral("5000"));
    EXPECT_TRUE(editor.Marks(kCellOv).contains(QStringLiteral("edited, not written")));
    EXPECT_EQ(editor.Text("lblItemGauge"), before + QStringLiteral(" mV"));

    editor.Trigger("mnuDataFlashUndo");
    EXPECT_EQ(editor.Cell(kCellOv).data().toString(), before);
    EXPECT_FALSE(editor.Marks(kCellOv).contains(QStringLiteral("edited")));
    editor.Trigger("mnuDataFlashRedo");
    EXPECT_EQ(editor.Cell(kCellOv).data().toString(), QStringLiteral("5000"));
    QTest::keyClick(editor.Grid(), Qt::Key_4); // a figure begins an edit and stands in it
    field = editor.Field();
    ASSERT_TRUE(field);
    EXPECT_EQ(field->text(), QStringLiteral("4"));
    QTest::keyClick(field, Qt::Key_Escape);
    EXPECT_EQ(editor.Cell(kCellOv).data().toString(), QStringLiteral("5000"));
}

TEST(DataFlashEditor, FindsOverAllClassesAndShowsOnlyWhatIsMarked)
{
    Editor editor;
    editor.Click("cmdReadAll");
    const int firstTab = editor.ShownItems();
    auto* search = editor.Find<QLineEdit>("txtSearch");
    search->setText(QStringLiteral("ov thresh voltage"));
    EXPECT_TRUE(editor.Cell(kCellOv).isValid());
    EXPECT_LT(editor.ShownItems(), firstTab);
    search->setText(QStringLiteral("no such item"));
    EXPECT_EQ(editor.ShownItems(), 0);
    EXPECT_TRUE(search->property("refused").toBool());
    search->clear();
    EXPECT_EQ(editor.ShownItems(), firstTab);

    editor.Edit(kCellOv, QStringLiteral("4201"));
    editor.Find<QTabBar>("tabsClasses")->setCurrentIndex(3);
    editor.Click("cmdOnlyEdited");
    EXPECT_EQ(editor.ShownItems(), 1);
    EXPECT_EQ(editor.Find<QTabBar>("tabsClasses")->tabText(0), QStringLiteral("All classes: 1"));
    editor.Trigger("mnuDataFlashUndo"); // takes the mark, not the row
    EXPECT_EQ(editor.ShownItems(), 1);
    editor.Click("cmdOnlyEdited");
    EXPECT_EQ(editor.Find<QTabBar>("tabsClasses")->currentIndex(), 3);

    int all = 0;
    int shown = 0;
    for (const bool on : {false, true}) {
        if (editor.Find<QAction>("mnuViewPrivate")->isChecked() != on)
            editor.Trigger("mnuViewPrivate");
        editor.Find<QLineEdit>("txtSearch")->setText(QStringLiteral("e"));
        (on ? all : shown) = editor.ShownItems();
        search->clear();
    }
    EXPECT_GT(all, shown) << "private items";
}

TEST(DataFlashEditor, WritesAfterAPlanAndABackupAndProvesIt)
{
    Editor editor;
    editor.Click("cmdReadAll");
    const int before = editor.Held(kVoltage, 0);
    editor.Edit(kCellOv, QStringLiteral("4201"));
    editor.Click("cmdWriteChanged");
    ASSERT_TRUE(editor.Find<QWidget>("panePlan")->isVisible());
    EXPECT_EQ(editor.Table("grdPlan")->rowCount(), 1);
    EXPECT_TRUE(editor.Text("lblPlanSummary")
                    .startsWith(QStringLiteral("1 subclass, 1 edited item, 32 bytes in 1 page")))
        << editor.Text("lblPlanSummary").toStdString();
    EXPECT_EQ(editor.Held(kVoltage, 0), before) << "nothing is sent before the plan is accepted";
    editor.Table("grdPlan")->item(0, 0)->setCheckState(Qt::Unchecked);
    EXPECT_FALSE(editor.Find<QPushButton>("cmdWritePlan")->isEnabled());
    editor.Table("grdPlan")->item(0, 0)->setCheckState(Qt::Checked);

    editor.Click("cmdWritePlan");
    EXPECT_EQ(editor.Held(kVoltage, 0), 4201);
    EXPECT_TRUE(editor.Notice().startsWith(QStringLiteral("1 subclass written and verified at")))
        << editor.Notice().toStdString();
    EXPECT_FALSE(editor.Marks(kCellOv).contains(QStringLiteral("edited")));
    const QDir backups(editor.home.state.ProgramFolder + QStringLiteral("/Backups"));
    ASSERT_EQ(backups.entryList({QStringLiteral("*.gg")}).size(), 1);
    const QString backup = backups.filePath(backups.entryList({QStringLiteral("*.gg")}).first());
    EXPECT_TRUE(
        ReadWhole(backup).bytes.contains("Cell OV Threshold = " + QByteArray::number(before) + "\r\n"))
        << "the values before the write";
    EXPECT_TRUE(editor.messages.texts.isEmpty()) << editor.messages.texts.join(u'\n').toStdString();

    editor.Trigger("mnuDataFlashWrPreserveArr1");
    ASSERT_TRUE(editor.Find<QWidget>("panePlan")->isVisible());
    EXPECT_EQ(editor.Table("grdPlan")->item(0, 6)->text(),
              QStringLiteral("offset 0, 4 keeps the bytes of the gauge"));
}

TEST(DataFlashEditor, WritesNothingWithoutACleanReadAll)
{
    Editor editor;
    editor.Click("cmdWriteAll");
    EXPECT_FALSE(editor.Find<QWidget>("panePlan")->isVisible());
    ASSERT_FALSE(editor.messages.texts.isEmpty());
    EXPECT_TRUE(editor.messages.texts.first().startsWith(QStringLiteral("The last 'Read All' had errors.")));
    EXPECT_TRUE(editor.window->Flash().LastReadAllOK()) << "the Read All that follows by itself";
    editor.Click("cmdWriteAll");
    EXPECT_TRUE(editor.Find<QWidget>("panePlan")->isVisible());
}

TEST(DataFlashEditor, EndsAReadWhenAskedAndIgnoresASecondClick)
{
    Editor editor;
    int pages = 0;
    editor.time.onEvents = [&] {
        if (++pages < 5)
            return editor.Click("cmdReadAll");
        EXPECT_TRUE(editor.Find<QWidget>("cmdCancelTransfer")->isVisible());
        editor.Click("cmdCancelTransfer");
    };
    editor.Click("cmdReadAll");
    editor.time.onEvents = nullptr;
    EXPECT_TRUE(editor.Notice().startsWith(QStringLiteral("Read All was cancelled")))
        << editor.Notice().toStdString();
    EXPECT_FALSE(editor.window->Busy());
    EXPECT_FALSE(editor.Find<QWidget>("cmdCancelTransfer")->isVisible());
    EXPECT_FALSE(GaugeAccess::Held());

    editor.time.onEvents = [&] { editor.window->close(); };
    editor.Click("cmdReadAll");
    editor.time.onEvents = nullptr;
    QTRY_VERIFY(!editor.window->isVisible());
    EXPECT_FALSE(GaugeAccess::Held());
}

TEST(DataFlashEditor, BringsEditsBackThatAReadReplacedAndAsksBeforeTheyAreLost)
{
    Editor editor;
    editor.Click("cmdReadAll");
    const QString before = editor.Cell(kCellOv).data().toString();
    editor.Edit(kCellOv, QStringLiteral("4201"));
    editor.Click("cmdReadAll");
    EXPECT_EQ(editor.Cell(kCellOv).data().toString(), before);
    EXPECT_TRUE(editor.Notice().contains(QStringLiteral("in place of 1 edit")))
        << editor.Notice().toStdString();
    editor.Click("cmdNoticeAct");
    EXPECT_EQ(editor.Cell(kCellOv).data().toString(), QStringLiteral("4201"));

    editor.messages.answers = {Answer::Cancel};
    EXPECT_FALSE(editor.window->close());
    editor.messages.answers = {Answer::Yes};
    EXPECT_TRUE(editor.window->close());
    EXPECT_EQ(editor.messages.texts.size(), 2);
}

TEST(DataFlashEditor, ShowsWhatAnImportWouldChangeBeforeItChangesAnything)
{
    Editor editor;
    editor.Click("cmdReadAll");
    const QString before = editor.Cell(kCellOv).data().toString();
    const QString path = editor.home.state.ProgramFolder + QStringLiteral("/golden.gg");
    editor.home.Put(QStringLiteral("golden.gg"),
                    "[Header]\r\nDeviceName = Other\r\n[Data]\r\n[Voltage(Safety)]\r\n"
                    "Cell OV Threshold = 4201\r\nCell OV Recovery = 60000\r\nCell OV Delay = word\r\n"
                    "No Such Item = 5\r\n");
    editor.messages.answers = {Answer::No};
    editor.window->ImportDF(path);
    EXPECT_EQ(editor.messages.texts.value(0),
              QStringLiteral("Mismatched Target name in GG file! Do you want to continue?"));
    EXPECT_FALSE(editor.Find<QWidget>("paneCompare")->isVisible());

    editor.messages.answers = {Answer::Yes};
    editor.window->ImportDF(path);
    ASSERT_TRUE(editor.Find<QWidget>("paneCompare")->isVisible());
    EXPECT_EQ(editor.Cell(kCellOv).data().toString(), before);
    EXPECT_EQ(editor.Table("grdCompare")->rowCount(), 3);
    EXPECT_EQ(editor.Find<QPushButton>("cmdTake")->text(), QStringLiteral("Take 1 value"))
        << "neither the one out of range nor the one that is no number";
    EXPECT_GT(editor.Find<QListWidget>("lstRemarks")->count(), 100) << "every item that the file lacks";
    editor.Click("cmdTake");
    EXPECT_EQ(editor.Cell(kCellOv).data().toString(), QStringLiteral("4201"));
    editor.Trigger("mnuDataFlashUndo");
    EXPECT_EQ(editor.Cell(kCellOv).data().toString(), before);

    editor.Trigger("mnuDefaultsTab");
    editor.Click("cmdOnlyDiffers");
    const int elsewhere = editor.ShownItems();
    EXPECT_FALSE(editor.Cell(kCellOv).isValid());
    editor.Click("cmdOnlyDiffers");
    editor.Trigger("mnuDefaultsCompare");
    EXPECT_EQ(editor.Table("grdCompare")->rowCount() >= elsewhere, true);
    EXPECT_FALSE(editor.Find<QPushButton>("cmdTake")->isEnabled()) << "a comparison ticks nothing by itself";
}

TEST(DataFlashEditor, OffersToFinishAWriteThatTheCableEnded)
{
    int writeBegins = 0;
    int writeEnds = 0;
    const auto write = [&](Editor& editor) {
        editor.Click("cmdReadAll");
        editor.Edit(kCellOv, QStringLiteral("4201"));
        editor.Click("cmdWriteChanged");
        editor.Find<QCheckBox>("chkVerify")->setChecked(false);
        writeBegins = editor.adapter.Calls();
        editor.Click("cmdWritePlan");
        writeEnds = editor.adapter.Calls();
    };
    {
        Editor whole;
        write(whole);
        EXPECT_FALSE(whole.Find<QWidget>("panePending")->isVisible());
    }
    bool offered = false;
    for (int call = writeBegins + 1; call <= writeEnds && !offered; ++call) {
        Editor editor(call);
        write(editor);
        offered = editor.Find<QWidget>("panePending")->isVisible();
        if (!offered)
            continue;
        EXPECT_TRUE(editor.Text("lblPendingList").contains(QStringLiteral("Voltage")))
            << editor.Text("lblPendingList").toStdString();
        editor.Click("cmdFinishWrite");
        EXPECT_FALSE(editor.Find<QWidget>("panePending")->isVisible());
        EXPECT_EQ(editor.Held(kVoltage, 0), 4201);
    }
    EXPECT_TRUE(offered);
}

TEST(DataFlashEditor, FoldsIntoASmallWindow)
{
    Editor editor;
    QMdiArea area;
    area.resize(630, 310);
    QMdiSubWindow* window = area.addSubWindow(editor.window);
    area.show();
    window->showMaximized();
    QCoreApplication::processEvents();
    EXPECT_TRUE(window->isMaximized());
    EXPECT_LE(editor.window->width(), area.width());
    const QRect inside = editor.window->rect();
    for (const char* name :
         {"cmdReadAll", "cmdDefaults", "cmdUndo", "txtSearch", "cmdOnlyDiffers", "grdDataFlash"}) {
        const auto* control = editor.Find<QWidget>(name);
        const QRect place(control->mapTo(editor.window, QPoint()), control->size());
        EXPECT_TRUE(control->isVisible() && inside.contains(place))
            << name << " at " << place.x() << "," << place.y() << " " << place.width() << "x"
            << place.height();
    }
    editor.Click("cmdReadAll");
    editor.Edit(kCellOv, QStringLiteral("4201"));
    editor.Click("cmdWriteChanged");
    const auto* write = editor.Find<QWidget>("cmdWritePlan");
    EXPECT_TRUE(write->isVisible());
    EXPECT_TRUE(inside.contains(QRect(write->mapTo(editor.window, QPoint()), write->size())));
    editor.Click("cmdWritePlan");
    EXPECT_EQ(editor.Held(kVoltage, 0), 4201);
    editor.messages.answers = {Answer::Yes};
    window->close();
}

TEST(DataFlashEditor, SaysWhatToDoWithoutAConfiguration)
{
    Editor editor(0, QByteArray());
    EXPECT_TRUE(editor.Find<QWidget>("cmdOpenConfiguration")->isVisible());
    EXPECT_TRUE(editor.Text("lblEmptyConfigurationText").contains(QStringLiteral("ConfigFile")));
    EXPECT_FALSE(editor.Find<QPushButton>("cmdReadAll")->isEnabled());
    editor.window->resize(560, 300);
    EXPECT_TRUE(editor.window->close());
}

} // namespace
