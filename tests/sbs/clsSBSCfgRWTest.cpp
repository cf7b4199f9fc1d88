#include "sbs/clsSBSCfgRW.h"

#include "platform/WholeFile.h"
#include "tests/support/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// One register row: "AB" "L", style 1, command 0x0016, "x" "", writeable, "hhhh" "mV".
const QByteArray kRow = QByteArray::fromHex("0200"
                                            "4142"
                                            "0100"
                                            "4C"
                                            "0100"
                                            "1600"
                                            "0100"
                                            "78"
                                            "0000"
                                            "01"
                                            "0400"
                                            "68686868"
                                            "0200"
                                            "6D56");

class Tables : public testing::Test {
protected:
    QString File(const QByteArray& bytes)
    {
        const QString path = m_folder.filePath(QStringLiteral("t.sbs"));
        EXPECT_EQ(SaveWhole(path, bytes), QString());
        return path;
    }
    static QByteArray Content(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArrayLiteral("missing");
    }
    QTemporaryDir m_folder;
    clsSBSCfgRW m_tables;
};

} // namespace

TEST_F(Tables, ReadEachFieldAtItsPlaceInTheFile)
{
    SBSInfoRec row;
    EXPECT_EQ(m_tables.LoadSBSInfo(File(kRow)), 0);
    ASSERT_TRUE(m_tables.GetSBSRow(0, row));
    const auto text = [](const char* latin) { return QString::fromLatin1(latin); };
    EXPECT_EQ(row, (SBSInfoRec{text("AB"), text("L"), 1, 0x16, text("x"), {}, 1, text("hhhh"), text("mV")}));
    EXPECT_EQ(m_tables.GetSBSUnit(0), text("mV"));
}

// A cut record is dropped without a word at whatever byte the file ends.
TEST_F(Tables, DropALastRecordThatIsCut)
{
    for (qsizetype cut = 0; cut < kRow.size(); ++cut) {
        QString error;
        m_tables.LoadSBSInfo(File(kRow + kRow.first(cut)), &error);
        EXPECT_EQ(error, QString());
        EXPECT_EQ(m_tables.GetNumSBSRows(), 1);
        EXPECT_EQ(m_tables.GetSBSDesc(1), QString()); // nothing of it shows
    }
}

TEST_F(Tables, AnswerByCapacityAndNotByCount)
{
    struct Case {
        int records;
        int last; ///< highest row that answers as an unused slot
    };
    for (const Case& given : {Case{0, 20}, Case{21, 20}, Case{22, 30}, Case{31, 30}, Case{32, 40}}) {
        m_tables.LoadSBSInfo(File(kRow.repeated(given.records)));
        m_tables.LoadFlagsInfo(File(QByteArray(8 * given.records, '\0')));
        ASSERT_EQ(m_tables.GetNumSBSRows(), given.records);
        const auto last = static_cast<std::int16_t>(given.last);
        const auto beyond = static_cast<std::int16_t>(given.last + 1);
        const bool used = given.last < given.records;
        EXPECT_EQ(m_tables.GetSBSReadStyle(last), used ? 1 : 0);
        EXPECT_EQ(m_tables.GetSBSReadCommand(last), used ? 0x16 : 0);
        EXPECT_EQ(m_tables.GetFlagBitWidth(last), QStringLiteral("0"));
        EXPECT_EQ(m_tables.GetSBSReadStyle(beyond), -1);
        EXPECT_EQ(m_tables.GetSBSReadCommand(beyond), -1);
        EXPECT_EQ(m_tables.GetSBSWriteable(beyond), -1);
        EXPECT_EQ(m_tables.GetSBSDesc(beyond), QString());
        EXPECT_EQ(m_tables.GetFlagSBSRowNum(beyond), QString());
    }
}

TEST_F(Tables, KeepWhatIsLoadedWhenAFileCannotBeTaken)
{
    m_tables.LoadSBSInfo(File(kRow));
    const QString missing = m_folder.filePath(QStringLiteral("missing.sbs"));
    for (const QString& path : {missing, m_folder.path(), File(QByteArray(17 * 32768, '\0'))}) {
        QString error;
        EXPECT_EQ(m_tables.LoadSBSInfo(path, &error), 0);
        EXPECT_TRUE(error.contains(path)) << error.toStdString();
        EXPECT_EQ(m_tables.GetNumSBSRows(), 1);
    }
}

TEST_F(Tables, GoThroughTheGridByteForByte)
{
    // A negative command, every byte value in a text, the ends of each number's range.
    QByteArray text;
    for (int byte = 0; byte < 256; ++byte)
        text += static_cast<char>(byte);
    const QByteArray odd = QByteArray::fromHex("0001") + text
        + QByteArray::fromHex("0000"
                              "0080"
                              "FFFF"
                              "0000"
                              "0000"
                              "FF"
                              "0000"
                              "0000");
    const QByteArray flags = QByteArray::fromHex("0100"
                                                 "46"
                                                 "0300"
                                                 "417C42"
                                                 "FFFF"
                                                 "1000");
    const QByteArray targets = QByteArray::fromHex("0100"
                                                   "53"
                                                   "FF7F"
                                                   "00000080"
                                                   "FFFFFF7F"
                                                   "00000000"
                                                   "01000000"
                                                   "FFFFFFFF");
    const QString out = m_folder.filePath(QStringLiteral("out"));
    TextGrid grid;

    m_tables.LoadSBSInfo(File(odd + kRow));
    m_tables.PopulateSBSInfo(grid);
    EXPECT_EQ(grid.cells[1][3], QStringLiteral("FFFF"));
    EXPECT_EQ(grid.cells[2][3], QStringLiteral("16"));
    EXPECT_EQ(m_tables.WriteSBSInfo(grid, out), QString());
    EXPECT_EQ(Content(out), odd + kRow);

    m_tables.LoadFlagsInfo(File(flags));
    m_tables.PopulateSBSFlagsInfo(grid);
    EXPECT_EQ(m_tables.WriteSBSFlagsInfo(grid, out), QString());
    EXPECT_EQ(Content(out), flags);

    EXPECT_EQ(m_tables.PopulateSrecTarget(grid, File(targets)), QString());
    EXPECT_EQ(grid.cells[1][2], QStringLiteral("-2147483648"));
    EXPECT_EQ(m_tables.WriteSrecTarget(grid, out), QString());
    EXPECT_EQ(Content(out), targets);

    grid.cells.resize(1); // the header alone
    EXPECT_EQ(m_tables.WriteSBSInfo(grid, out), QString());
    EXPECT_EQ(Content(out), QByteArray());
}

TEST_F(Tables, NameTheCellThatDoesNotConvertAndKeepTheOldFile)
{
    struct Case {
        int column;
        const char16_t* name;
        QString text;
    };
    const Case cases[] = {
        {2, u"ReadStyle", {}},
        {2, u"ReadStyle", QStringLiteral("32768")},
        {2, u"ReadStyle", QStringLiteral("1.5")},
        {3, u"ReadCommand", QStringLiteral("10000")},
        {3, u"ReadCommand", QStringLiteral("-1")},
        {3, u"ReadCommand", QStringLiteral("0G")},
        {6, u"Writeable", QStringLiteral("256")},
        {6, u"Writeable", QStringLiteral("-1")},
        {0, u"Desc", QStringLiteral("\u03A9")},
        {8, u"Unit", QString(65536, u'm')},
    };
    const QString path = File(kRow + kRow);
    m_tables.LoadSBSInfo(path);
    for (const Case& given : cases) {
        TextGrid grid;
        m_tables.PopulateSBSInfo(grid);
        grid.cells[2][given.column] = given.text;
        const QString error = m_tables.WriteSBSInfo(grid, path);
        const QString place = QStringLiteral("row 1, column %1 (%2), \"%3\"")
                                  .arg(given.column)
                                  .arg(QString::fromUtf16(given.name), given.text.left(60));
        EXPECT_TRUE(error.contains(place)) << error.toStdString();
        EXPECT_TRUE(error.contains(path));
        EXPECT_EQ(Content(path), kRow + kRow);
    }
}
