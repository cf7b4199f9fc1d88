#include "platform/WholeFile.h"
#include "tests/support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

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

namespace {

/// Saves in a process of its own, which is killed when it stops for the given time before or after a system
/// call. @return whether it came that far
bool SaveKilledAt(int stop, const QString& path, const QByteArray& bytes)
{
    const pid_t child = ::fork();
    if (child == 0) {
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        ::raise(SIGSTOP);
        (void)SaveWhole(path, bytes);
        ::_exit(0);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSTOPPED(status)) << "this machine lets no process be traced";
    for (int seen = 0; WIFSTOPPED(status) && seen < stop; ++seen) {
        ::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        ::waitpid(child, &status, 0);
    }
    if (!WIFSTOPPED(status))
        return false;
    ::kill(child, SIGKILL);
    ::waitpid(child, &status, 0);
    return true;
}

} // namespace

TEST(SaveWhole, ACrashAtAnySystemCallLeavesTheOldFileOrTheNewOne)
{
    const QByteArray oldBytes(3000, 'o');
    const QByteArray newBytes(70'000, 'n');
    int stop = 1;
    int olds = 0;
    for (bool killed = true; killed; ++stop) {
        const QTemporaryDir folder;
        const QString path = folder.filePath(Q("a.gg"));
        ASSERT_EQ(SaveWhole(path, oldBytes), QString());
        killed = SaveKilledAt(stop, path, newBytes);
        const QByteArray left = ReadWhole(path).bytes;
        ASSERT_TRUE(left == newBytes || (killed && left == oldBytes)) << "stop " << stop;
        olds += left == oldBytes ? 1 : 0;
    }
    EXPECT_GT(olds, 10); // it was stopped in the middle, too
    EXPECT_LT(olds, stop - 2);
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
