#include "engineering/frmBusHealth.h"

#include "tests/engineering/EngineeringBench.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QTableView>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

namespace {

TEST(BusHealthWindow, ShowsSortsFiltersExportsAndResetsTheCounts)
{
    EngineeringBench bench;
    bench.watch.Health.Reset();
    frmBusHealth window(bench.watch.Health, bench.profiles, bench.state, bench.messages);
    window.resize(1000, 700);
    window.show();
    auto* grid = window.findChild<QTableView*>(QStringLiteral("grdHealth"));
    auto* empty = window.findChild<QLabel*>(QStringLiteral("lblHealthEmpty"));
    EXPECT_TRUE(empty->isVisible());
    ErrorCode err = ErrorCode::Ok;
    std::int16_t word = 0;
    for (const int cmd : {9, 0x2F, 9, 0x0A}) // 0x2F is reserved
        bench.usb.ReadSMBusWord_(static_cast<std::uint8_t>(cmd), word, 0x16, err);
    QTRY_COMPARE(grid->model()->rowCount(), 3);
    EXPECT_FALSE(empty->isVisible());
    const auto cell
        = [&](int row, int column) { return grid->model()->index(row, column).data().toString(); };
    grid->sortByColumn(4, Qt::DescendingOrder); // NACK
    EXPECT_EQ(cell(0, 1), QStringLiteral("0x2F"));
    EXPECT_EQ(cell(0, 4), QStringLiteral("1"));
    grid->sortByColumn(3, Qt::DescendingOrder); // calls
    EXPECT_EQ(cell(0, 1), QStringLiteral("0x09"));
    for (int plot = 0; plot < 3; ++plot)
        window.findChild<QComboBox*>(QStringLiteral("cboPlot"))->setCurrentIndex(plot);
    window.findChild<QLineEdit*>(QStringLiteral("txtHealthFilter"))->setText(QStringLiteral("0x0a"));
    EXPECT_EQ(grid->model()->rowCount(), 1);
    const QString path = bench.folder.filePath(QStringLiteral("health.csv"));
    ASSERT_TRUE(window.SaveCsv(path)); // all rows, whatever the filter shows
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll().count('\n'), 4);
    EXPECT_FALSE(window.SaveCsv(bench.folder.filePath(QStringLiteral("no/such/folder.csv"))));
    EXPECT_EQ(bench.messages.texts.size(), 1);
    window.findChild<QToolButton*>(QStringLiteral("cmdResetHealth"))->click();
    EXPECT_EQ(grid->model()->rowCount(), 0);
    EXPECT_TRUE(window.findChild<QLabel*>(QStringLiteral("lblHealth"))
                    ->text()
                    .startsWith(QStringLiteral("0 registers")));
}

} // namespace
