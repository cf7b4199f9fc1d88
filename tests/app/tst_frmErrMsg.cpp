#include "comm/frmErrMsg.h"
#include "tests/support/TestSupport.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

TEST(frmErrMsg, ReplacesItsMessageAndListsNewestFirst)
{
    TestTime time;
    ErrorList errors(time);
    frmErrMsg window(errors);
    window.ShowMsgBox(QStringLiteral("first"), QStringLiteral("where"));
    EXPECT_FALSE(window.isModal());
    window.ShowMsgBox(QStringLiteral("second"));
    EXPECT_EQ(window.findChild<QLabel*>(QStringLiteral("lblMsg"))->text(), QStringLiteral("second"));
    EXPECT_TRUE(window.findChild<QLabel*>(QStringLiteral("lblDetail"))->isHidden());

    auto* list = window.findChild<QListView*>(QStringLiteral("lstErr"));
    auto* copy = window.findChild<QPushButton*>(QStringLiteral("cmdCopy"));
    EXPECT_TRUE(list->isHidden());
    EXPECT_TRUE(copy->isHidden());
    window.findChild<QCheckBox*>(QStringLiteral("chkAdv"))->setChecked(true);
    EXPECT_FALSE(list->isHidden());
    ASSERT_EQ(list->model()->rowCount(), 2);
    EXPECT_EQ(list->model()->index(0, 0).data().toString(), QStringLiteral("2026-01-05 09:00:00 : second"));

    window.ShowMsgBox(QStringLiteral("second"));
    copy->click();
    EXPECT_EQ(QApplication::clipboard()->text(),
              QStringLiteral("2026-01-05 09:00:00 : second (2 times)\r\n2026-01-05 09:00:00 : first"));
    errors.Clear();
    EXPECT_FALSE(list->model()->index(1, 0).data().isValid())
        << "a list that shrank must not be read past its end";
    copy->click();
    EXPECT_EQ(QApplication::clipboard()->text(), QString());
}

TEST(frmErrMsg, ShowsWhatOthersAddedWhileItIsOpen)
{
    TestTime time;
    ErrorList errors(time);
    frmErrMsg window(errors);
    window.show();
    errors.Add(QStringLiteral("a factor failed"));
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return window.findChild<QListView*>(QStringLiteral("lstErr"))->model()->rowCount() == 1; }));
}
