#include "platform/ProgramFolder.h"
#include "platform/WholeFile.h"
#include "tests/support/TestSupport.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class ProgramFolderTest : public testing::Test {
protected:
    void SetUp() override
    {
        for (const char* name : {"bin", "override", "env", "share/tarnlo/home/Generic", "Zm 41"})
            QDir(root.path()).mkpath(QLatin1String(name));
        Put("share/tarnlo/home/tarnlo.ini", "[GUI]\n");
        Put("share/tarnlo/home/Generic/Config.ini", "installed");
        Put("Zm 41/Table.sbs", "");
    }
    QString At(const char* name) const { return root.filePath(QLatin1String(name)); }
    void Put(const char* name, const QByteArray& bytes) const
    {
        ASSERT_EQ(SaveWhole(At(name), bytes), QString());
    }

    QTemporaryDir root;
    ProgramPlaces places{{}, At("bin"), At("data")};
    QString problem;
};

} // namespace

TEST_F(ProgramFolderTest, TakesTheFirstPlaceGiven)
{
    places.environment = At("env/");
    EXPECT_EQ(ProgramFolder(At("override/"), places), At("override"));
    EXPECT_EQ(ProgramFolder({}, places), At("env"));
    Put("bin/tarnlo.ini", "");
    places.environment.clear();
    EXPECT_EQ(ProgramFolder({}, places), At("bin"));
    EXPECT_FALSE(QFileInfo::exists(At("data"))); // nothing is filled that is not used
    EXPECT_EQ(ProgramFolder(QStringLiteral("a/../b"), places), QDir::currentPath() + QStringLiteral("/b"));
}

TEST_F(ProgramFolderTest, FillsTheUsersFolderOnceAndKeepsWhatIsThere)
{
    QDir(root.path()).mkpath(QStringLiteral("data/Generic"));
    Put("data/Generic/Config.ini", "mine");
    EXPECT_EQ(ProgramFolder({}, places, &problem), At("data"));
    EXPECT_EQ(problem, QString());
    EXPECT_EQ(ReadWhole(At("data/tarnlo.ini")).bytes, "[GUI]\n");
    EXPECT_EQ(ReadWhole(At("data/Generic/Config.ini")).bytes, "mine");
    QFile::remove(At("data/Generic/Config.ini"));
    EXPECT_EQ(ProgramFolder({}, places, &problem), At("data"));
    EXPECT_FALSE(QFileInfo::exists(At("data/Generic/Config.ini"))); // what was deleted later stays deleted
}

TEST_F(ProgramFolderTest, SaysWhyTheUsersFolderIsNotFilled)
{
    places.dataFolder = At("share/tarnlo/home/tarnlo.ini/data"); // below a file
    EXPECT_EQ(ProgramFolder({}, places, &problem), places.dataFolder);
    EXPECT_TRUE(problem.contains(places.dataFolder));
    places = {{}, At("env"), At("data")};
    QFile::remove(At("share/tarnlo/home/tarnlo.ini"));
    EXPECT_EQ(ProgramFolder({}, places, &problem), At("data"));
    EXPECT_TRUE(problem.contains(At("share/tarnlo/home")));
}

TEST_F(ProgramFolderTest, ResolvesPathsAsWritten)
{
    Put("Zm 41/table.sbs", "");
    const struct {
        const char* written;
        const char* found;
    } kCases[] = {{"Zm 41/Table.sbs", "Zm 41/Table.sbs"},  {"Zm 41\\table.sbs", "Zm 41/table.sbs"},
                  {"ZM 41\\TABLE.SBS", "Zm 41/Table.sbs"}, {"zm 41//..\\ENV", "Zm 41/../env"},
                  {"zm 41\\none.sbs", "zm 41/none.sbs"},   {"\\zm 41\\table.SBS", "Zm 41/Table.sbs"}};
    for (const auto& c : kCases)
        EXPECT_EQ(QDir::cleanPath(ResolvePath(root.path(), QLatin1String(c.written))),
                  QDir::cleanPath(At(c.found)))
            << c.written;
    EXPECT_EQ(ResolvePath(QStringLiteral("/elsewhere"), At("ZM 41/table.sbs")), At("Zm 41/table.sbs"));
}
