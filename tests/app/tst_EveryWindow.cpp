#include "look/EveryWindow.h"
#include "tests/support/TestSupport.h"

#include <QApplication>
#include <QFileDialog>
#include <QFileIconProvider>
#include <QPushButton>
#include <QShortcut>
#include <QTest>

#include <gtest/gtest.h>

#include <QTemporaryDir>

TEST(EveryWindow, EnterPressesTheButtonThatHasTheKeyboardBeforeTheEnterOfItsPane)
{
    EveryWindow filter;
    qApp->installEventFilter(&filter);
    QWidget pane;
    QPushButton cancel(&pane);
    QShortcut write(QKeySequence(Qt::Key_Return), &pane, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
    int cancelled = 0;
    int written = 0;
    QObject::connect(&cancel, &QPushButton::clicked, [&cancelled] { ++cancelled; });
    QObject::connect(&write, &QShortcut::activated, [&written] { ++written; });
    pane.show();
    pane.activateWindow();
    cancel.setFocus();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&pane));
    QTest::keyClick(&cancel, Qt::Key_Return);
    QTest::keyClick(&cancel, Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_EQ(cancelled, 2);
    EXPECT_EQ(written, 0);
}

TEST(EveryWindow, AFileDialogDoesNotReadIntoTheFilesOfItsFolder)
{
    EveryWindow filter;
    qApp->installEventFilter(&filter);
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("notes")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("\x89PNG\r\n\x1a\n");
    file.close();
    QFileDialog dialog(nullptr, QString(), folder.path());
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.show();
    // a name without an ending says nothing; what Qt would have said comes from the bytes
    EXPECT_TRUE(QFileIconProvider().type(QFileInfo(file)).contains(QLatin1String("PNG")));
    EXPECT_FALSE(dialog.iconProvider()->type(QFileInfo(file)).contains(QLatin1String("PNG")));
}
