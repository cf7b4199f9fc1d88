#include "platform/WholeFile.h"
#include "tests/support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

#define Q QStringLiteral

TEST(SaveWhole, ReplacesTheFileBehindALinkAndLeavesNoOther)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(Q("a.ini"));
    const QString link = folder.filePath(Q("link.ini"));
    ASSERT_EQ(SaveWhole(path, "old"), QString());
    ASSERT_TRUE(QFile::link(path, link));
    EXPECT_EQ(SaveWhole(link, "new"), QString());
    EXPECT_EQ(ReadWhole(path).bytes, "new");
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 2);
}

TEST(SaveWhole, NamesTheFileThatCannotBeSavedAndTouchesNothing)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(Q("file"));
    ASSERT_EQ(SaveWhole(file, "kept"), QString());
    for (const QString& path :
         {folder.filePath(Q("no/such/folder")), file + Q("/below"), folder.path(), Q("/dev/full")})
        EXPECT_TRUE(SaveWhole(path, "x").startsWith(path + Q(" could not be saved: "))) << path.toStdString();
    EXPECT_EQ(ReadWhole(file).bytes, "kept");
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
}

TEST(ReadWhole, RefusesWhatIsNoFileOrTooLarge)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(Q("file"));
    const QString pipe = folder.filePath(Q("pipe"));
    ASSERT_EQ(SaveWhole(file, "123456"), QString());
    ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    EXPECT_EQ(ReadWhole(file, 6).bytes, "123456");
    for (const QString& path : {file, pipe, folder.path(), file + Q("none"), Q("/dev/zero")}) {
        const FileBytes read = ReadWhole(path, 5);
        EXPECT_TRUE(read.error.startsWith(path + Q(" could not be read: "))) << path.toStdString();
        EXPECT_TRUE(read.bytes.isEmpty());
    }
}
