#include "platform/ProfileFile.h"
#include "platform/WholeFile.h"
#include "tests/support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#define Q QStringLiteral

namespace {

QByteArray Utf16(const QString& text)
{
    QByteArray bytes("\xFF\xFE");
    for (const QChar c : text)
        bytes.append(static_cast<char>(c.unicode() & 0xFF)).append(static_cast<char>(c.unicode() >> 8));
    return bytes;
}

} // namespace

struct ReadCase {
    const char* what;
    QByteArray bytes;
    QString value; ///< of [GUI] Skin, "-" when the key is not found
};

class ProfileRead : public testing::TestWithParam<ReadCase> { };

TEST_P(ProfileRead, FindsTheValue)
{
    const ProfileFile file(GetParam().bytes);
    EXPECT_EQ(file.String(u"GUI", u"Skin", Q("-")), GetParam().value);
    EXPECT_EQ(file.HasKey(u"GUI", u"Skin"), GetParam().value != u"-");
    EXPECT_EQ(file.ToBytes(), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Files, ProfileRead,
    testing::Values(ReadCase{"NamesIgnoreCase", "[gui]\nSKIN=Dark\n", Q("Dark")},
                    ReadCase{"CrLfAndNoLastLineEnd", "\r\n[GUI]\r\nSkin=Dark", Q("Dark")},
                    ReadCase{"LoneCr", "[GUI]\rSkin=Dark\rOther=1", Q("Dark")},
                    ReadCase{"BlanksAround", " [ GUI ] ; comment\n\tSkin \t=  Dark side  \n", Q("Dark side")},
                    ReadCase{"FirstKeyWins", "[GUI]\nSkin=A\nskin=B\n", Q("A")},
                    ReadCase{"FirstSectionWins", "[GUI]\nSkin=A\n[x]\n[gui]\nSkin=B\n", Q("A")},
                    ReadCase{"SecondSectionIsNotSearched", "[GUI]\n[x]\nSkin=C\n[gui]\nSkin=B\n", Q("-")},
                    ReadCase{"KeyBeforeAnySection", "Skin=A\n[GUI]\n", Q("-")},
                    ReadCase{"Comment", "[GUI]\n ;Skin=A\nSkin=B\n", Q("B")},
                    ReadCase{"SemicolonInValue", "[GUI]\nSkin=a;b, c=d\n", Q("a;b, c=d")},
                    ReadCase{"BackslashesStay", "[GUI]\nSkin=C:\\new\\temp\\\nNext=1\n",
                             Q("C:\\new\\temp\\")},
                    ReadCase{"DoubleQuotes", "[GUI]\nSkin=\" a \"\n", Q(" a ")},
                    ReadCase{"SingleQuotesOnePair", "[GUI]\nSkin=''a''\n", Q("'a'")},
                    ReadCase{"QuotesNotAtBothEnds", "[GUI]\nSkin=\"a\" b\n", Q("\"a\" b")},
                    ReadCase{"LoneQuote", "[GUI]\nSkin=\"\n", Q("\"")},
                    ReadCase{"EmptyIsFound", "[GUI]\nSkin=\n", Q("")},
                    ReadCase{"NoEqualsSign", "[GUI]\nSkin\n", Q("-")},
                    ReadCase{"BracketNotClosed", "[GUI]\n[Skin\nSkin=A\n", Q("A")},
                    ReadCase{"Utf8", "[GUI]\nSkin=\xC3\xA4\xE2\x98\x83\n", Q("ä☃")},
                    ReadCase{"Utf8Mark", "\xEF\xBB\xBF[GUI]\nSkin=\xC3\xA4", Q("ä")},
                    ReadCase{"Utf8MarkTwice", "\xEF\xBB\xBF\xEF\xBB\xBF[GUI]\nSkin=A", Q("-")},
                    ReadCase{"Windows1252", "[GUI]\nSkin=\xE4\x80\n", Q("ä€")},
                    ReadCase{"Utf16", Utf16(Q("[GUI]\r\nSkin=ä☃\r\n")), Q("ä☃")},
                    ReadCase{"Utf16CutInACharacter", Utf16(Q("[GUI]\nSkin=a")) + 'x', Q("a")},
                    ReadCase{"Utf16HalfPair", Utf16(Q("[GUI]\nSkin=a\n") + QChar(0xD800)), Q("a")},
                    ReadCase{"Longer", "[GUI]\nSkin=" + QByteArray(600, 'x'), QString(511, u'x')},
                    ReadCase{"Binary", QByteArray("\0\x01=\0[\xFF]\n[GUI]\nSkin=A\0B\n=", 24),
                             QString::fromLatin1("A\0B", 3)}),
    [](const auto& row) { return row.param.what; });

TEST(ProfileInteger, ReadsLeadingDigitsAndHoldsAtTheEnds)
{
    for (const char* row :
         {"12abc -> 12", "-7 -> -7", "+7 -> 7", "010 -> 10", "0x1F -> 31", "0XfFg -> 255", "-0x10 -> -16",
          "abc -> 0", "- -> 0", "0x -> 0", "1.9 -> 1", " -> 77", "\"\" -> 77", "\" 22\" -> 22",
          "2147483648 -> 2147483647", "-99999999999999999999999 -> -2147483648",
          "0xFFFFFFFFFFFFFFFFFF -> 2147483647"}) {
        const QStringList sides = QString::fromLatin1(row).split(Q("->"));
        const ProfileFile file("[s]\nk=" + sides[0].toUtf8());
        EXPECT_EQ(file.Integer(u"s", u"k", 77), sides[1].toInt()) << row;
    }
    EXPECT_EQ(ProfileFile().Integer(u"s", u"k", 77), 77);
}

TEST(ProfileFile, ListsSectionsAndTheirLines)
{
    const ProfileFile file("a=0\n[B]\n x = 1 \n;y=2\nz\n\nX=3\n[c]\n[b]\nq=4\n");
    EXPECT_EQ(file.SectionNames(), (QStringList{Q("B"), Q("c")}));
    EXPECT_EQ(file.SectionLines(u"b"), (QStringList{Q("x = 1"), Q("X=3")}));
    EXPECT_EQ(file.SectionLines(u"none"), QStringList());
}

struct EditCase {
    const char* what;
    QByteArray before;
    QByteArray after; ///< of Set([s], k, "new")
};

class ProfileSet : public testing::TestWithParam<EditCase> { };

TEST_P(ProfileSet, ChangesOneLineAndNothingElse)
{
    ProfileFile file(GetParam().before);
    file.Set(u"s", u"k", Q("new"));
    EXPECT_EQ(file.ToBytes(), GetParam().after);
    EXPECT_EQ(file.String(u"s", u"k"), Q("new"));
    EXPECT_EQ(ProfileFile(file.ToBytes()).String(u"s", u"k"), Q("new"));
}

INSTANTIATE_TEST_SUITE_P(
    Edits, ProfileSet,
    testing::Values(EditCase{"InPlace", "; c\r\n[S]\r\n K  = old ;x \r\nz=1\r\n",
                             "; c\r\n[S]\r\n K  = new \r\nz=1\r\n"},
                    EditCase{"FirstOfTwo", "[s]\nk=1\nk=2\n", "[s]\nk=new\nk=2\n"},
                    EditCase{"EmptyValue", "[s]\nk=\n[t]\n", "[s]\nk=new\n[t]\n"},
                    EditCase{"BehindTheLastKey", "[s]\r\na=1\r\n\r\n; of t\r\n[t]\r\n",
                             "[s]\r\na=1\r\nk=new\r\n\r\n; of t\r\n[t]\r\n"},
                    EditCase{"NoLastLineEnd", "[s]\r\na=1", "[s]\r\na=1\r\nk=new"},
                    EditCase{"EmptySection", "[s]\n[t]\nk=1\n", "[s]\nk=new\n[t]\nk=1\n"},
                    EditCase{"NewSection", "[t]\r\nk=1\r\n", "[t]\r\nk=1\r\n\r\n[s]\r\nk=new\r\n"},
                    EditCase{"NewSectionNoLineEnd", "[t]\nk=1", "[t]\nk=1\n\n[s]\nk=new\n"},
                    EditCase{"NewFile", "", "[s]\nk=new\n"},
                    EditCase{"Windows1252Kept", "[s]\nk=\xE4\nl=\xE4", "[s]\nk=new\nl=\xE4"},
                    EditCase{"Utf16Kept", Utf16(Q("[s]\nk=ä")), Utf16(Q("[s]\nk=new"))}),
    [](const auto& row) { return row.param.what; });

TEST(ProfileFile, RemovesSoThatNothingHiddenComesToLight)
{
    ProfileFile file("[s]\nk=1\n; c\nK=2\nl=3\n\n; of t\n[t]\nm=4\n[S]\nk=5\n");
    file.Unset(u"s", u"k");
    EXPECT_EQ(file.ToBytes(), "[s]\n; c\nl=3\n\n; of t\n[t]\nm=4\n[S]\nk=5\n");
    file.UnsetSection(u"s");
    EXPECT_EQ(file.ToBytes(), "; of t\n[t]\nm=4\n");
    EXPECT_EQ(file.String(u"t", u"M"), Q("4"));
}

class ProfileStoreTest : public testing::Test {
protected:
    QString Path(const char* name) const { return folder.filePath(QLatin1String(name)); }
    static void Put(const QString& path, const QByteArray& bytes)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    QTemporaryDir folder;
    ProfileStore store;
};

// Same size and inode, and within one tick of the clock that older kernels stamp files with.
TEST_F(ProfileStoreTest, SeesEveryChangeOnDisk)
{
    const QString path = Path("a.ini");
    EXPECT_EQ(store.Integer(path, u"s", u"k", -1), -1);
    for (int value = 100; value < 150; ++value) {
        Put(path, "[s]\nk=" + QByteArray::number(value));
        ASSERT_EQ(store.Integer(path, u"s", u"k"), value);
    }
    QFile::remove(path);
    EXPECT_EQ(store.Integer(path, u"s", u"k", -1), -1);
}

TEST_F(ProfileStoreTest, OpensPathsAsWrittenInFiles)
{
    QDir(folder.path()).mkdir(Q("Zm41"));
    Put(Path("Zm41/Config.ini"), "[s]\nk=1");
    const QString written = folder.path() + Q("/zm41\\config.INI");
    EXPECT_EQ(store.Integer(written, u"s", u"k"), 1);
    EXPECT_EQ(store.Write(written, u"s", u"k", Q("2")), QString());
    EXPECT_EQ(ReadWhole(Path("Zm41/Config.ini")).bytes, "[s]\nk=2");
}

TEST_F(ProfileStoreTest, WritesAndRemoves)
{
    const QString path = Path("new.ini");
    EXPECT_EQ(store.Write(path, u"s", u"k", Q("ä")), QString());
    EXPECT_EQ(store.String(path, u"s", u"k"), Q("ä"));
    EXPECT_EQ(store.Remove(path, u"s", u"k"), QString());
    EXPECT_EQ(ReadWhole(path).bytes, "[s]\n");
    EXPECT_EQ(store.Remove(path, u"s", {}), QString());
    EXPECT_EQ(ReadWhole(path).bytes, "");
}

TEST_F(ProfileStoreTest, KeepsTheOldFileWhenAWriteIsRefused)
{
    const QString ansi = Path("ansi.ini");
    Put(ansi, "[s]\nk=\xE4\n");
    EXPECT_THAT(store.Write(ansi, u"s", u"l", Q("☃")).toStdString(), testing::HasSubstr("ansi.ini"));
    EXPECT_EQ(store.String(ansi, u"s", u"l", Q("-")), Q("-"));
    for (const auto& value : {Q("a\nb"), Q("a\r[t]")})
        EXPECT_NE(store.Write(ansi, u"s", u"k", value), QString());
    for (const auto& key : {Q(""), Q("a=b"), Q(";a"), Q("[a"), Q(" a")})
        EXPECT_NE(store.Write(ansi, u"s", key, Q("1")), QString());
    EXPECT_NE(store.Write(ansi, u"s]", u"k", Q("1")), QString());
    const ProfileChange oneOfThemBad[]{{Q("s"), Q("k"), Q("1")}, {Q("s"), Q("a=b"), Q("1")}};
    EXPECT_NE(store.Write(ansi, oneOfThemBad), QString());
    EXPECT_EQ(ReadWhole(ansi).bytes, "[s]\nk=\xE4\n");

    EXPECT_NE(store.Write(Path("missing/folder.ini"), u"s", u"k", Q("1")), QString());
    EXPECT_FALSE(store.File(Path("missing/folder.ini")).HasKey(u"s", u"k"));
    EXPECT_THAT(store.Write(folder.path(), u"s", u"k", Q("1")).toStdString(), testing::HasSubstr("folder"));
    EXPECT_THAT(store.Problem(folder.path()).toStdString(), testing::HasSubstr("it is a folder"));
    EXPECT_EQ(store.Problem(Path("none.ini")), QString());
}
