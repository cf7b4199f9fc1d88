#include "sbs/frmLogViewer.h"

#include "platform/WholeFile.h"
#include "sbs/PlotLegend.h"

#include "tests/support/TestSupport.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace {

struct LogViewer : testing::Test {
    QTemporaryDir folder;
    RecordedMessages messages;
    frmLogViewer window{messages};

    void SetUp() override
    {
        window.resize(1200, 700);
        window.show();
    }
    QString Write(const char* name, int records, int add, const QByteArray& end = {})
    {
        QByteArray text = "Gauge\r\n2026-01-05\r\nSample\tStamp\t~Elapsed(s)\tVolt\tAmp\r\n";
        for (int i = 0; i < records; ++i)
            text += QByteArray::number(i + 1) + "\t09:00:00\t" + QByteArray::number(i) + '\t'
                + QByteArray::number(12000 + i % 100 + add) + '\t' + QByteArray::number(i % 7) + "\r\n";
        const QString path = folder.filePath(QLatin1String(name));
        EXPECT_EQ(SaveWhole(path, text + end), QString());
        return path;
    }
    void Open(const QString& path)
    {
        window.OpenLog(path);
        QTRY_VERIFY(!window.Reading());
    }
    QTableWidget* Grid() { return window.findChild<QTableWidget*>(QStringLiteral("grdColumns")); }
    QStringList Legend()
    {
        QStringList names;
        for (const LegendItem& item : window.findChild<PlotLegend*>()->Items())
            names << item.Name;
        return names;
    }
    QStringList Problems()
    {
        QStringList texts;
        const auto* list = window.findChild<QListWidget*>(QStringLiteral("lstProblems"));
        for (int row = 0; row < list->count(); ++row)
            texts << list->item(row)->text();
        return texts;
    }
};

TEST_F(LogViewer, DrawsTheTickedColumnsInTickingOrder)
{
    Open(Write("a.log", 500, 0, "501\t09:0"));
    EXPECT_EQ(Legend(), (QStringList{QStringLiteral("Volt"), QStringLiteral("Amp")}));
    EXPECT_EQ(Grid()->item(0, 3)->text(), QStringLiteral("12099"));
    EXPECT_TRUE(Problems().at(0).contains(QStringLiteral("the file is cut")));
    Grid()->item(0, 0)->setCheckState(Qt::Unchecked);
    Grid()->item(0, 0)->setCheckState(Qt::Checked);
    EXPECT_EQ(Legend(), (QStringList{QStringLiteral("Amp"), QStringLiteral("Volt")}));
}

TEST_F(LogViewer, ComparesAndEndsTheComparison)
{
    Open(Write("a.log", 500, 0));
    window.CompareWith(Write("b.log", 400, 30));
    QTRY_VERIFY(!window.Reading());
    EXPECT_EQ(Legend().size(), 4);
    EXPECT_EQ(Grid()->item(0, 2)->text(), QStringLiteral("30"));
    window.findChild<QAction*>(QStringLiteral("mnuFileCompareEnd"))->trigger();
    EXPECT_EQ(Legend().size(), 2);
    EXPECT_EQ(Grid()->item(0, 2)->text(), QStringLiteral("12000"));
}

TEST_F(LogViewer, KeepsTheOpenLogWhenAnotherCannotBeRead)
{
    Open(Write("a.log", 10, 0));
    for (const QString& path :
         {folder.filePath(QStringLiteral("none.log")), folder.path(), Write("empty.log", 0, 0)}) {
        Open(path);
        EXPECT_TRUE(messages.texts.takeLast().contains(path));
        EXPECT_TRUE(window.windowTitle().startsWith(QStringLiteral("a.log")));
        EXPECT_EQ(Grid()->rowCount(), 2);
    }
}

TEST_F(LogViewer, ShowsWhatWasReadWhenCancelled)
{
    window.OpenLog(Write("long.log", 200'000, 0));
    auto* bar = window.findChild<QProgressBar*>(QStringLiteral("pbRead"));
    QTRY_VERIFY(bar->value() > 0);
    QTest::mouseClick(window.findChild<QPushButton*>(QStringLiteral("cmdCancelRead")), Qt::LeftButton);
    EXPECT_FALSE(window.Reading());
    EXPECT_EQ(Grid()->rowCount(), 2);
    EXPECT_TRUE(Problems().join(u' ').contains(QStringLiteral("cancelled")));
}

} // namespace
