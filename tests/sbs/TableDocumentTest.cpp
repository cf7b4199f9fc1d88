#include "sbs/TableDocument.h"

#include "platform/WholeFile.h"
#include "sbs/TablePreview.h"

#include "tests/support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <random>

namespace {

const QStringList kVoltage = QStringLiteral("!Voltage;Volt;1;9;x;x*1000;1;d.000;V").split(u';');
const QStringList kStatus = QStringLiteral("Status;;1;16;x;x;0;hhhh;hex").split(u';');

QString Tsv(const std::vector<QStringList>& rows)
{
    QString text;
    for (const QStringList& row : rows)
        text += row.join(u'\t') + u'\n';
    return text;
}

std::vector<QStringList> RowsOf(const TableDocument& document)
{
    std::vector<QStringList> rows;
    for (int row = 0; row < document.Rows(); ++row)
        rows.push_back(document.Cells(row));
    return rows;
}

/// Follows a document by its notices alone, as a grid does.
class Follower final : public TableWatcher {
public:
    explicit Follower(TableDocument& document) : m_document(document), rows(RowsOf(document))
    {
        m_document.SetWatcher(this);
    }
    ~Follower() override { m_document.SetWatcher(nullptr); }

private:
    void RowsComing(int at, int count) override
    {
        EXPECT_EQ(m_document.Rows(), static_cast<int>(rows.size()));
        m_at = at;
        m_count = count;
    }
    void RowsCame() override
    {
        rows.insert(rows.begin() + m_at, static_cast<std::size_t>(m_count), QStringList());
        RowsChanged(m_at, m_count);
    }
    void RowsGoing(int at, int count) override { rows.erase(rows.begin() + at, rows.begin() + at + count); }
    void RowsGone() override { EXPECT_EQ(m_document.Rows(), static_cast<int>(rows.size())); }
    void RowsChanged(int at, int count) override
    {
        for (int row = at; row < at + count; ++row)
            rows[static_cast<std::size_t>(row)] = m_document.Cells(row);
    }
    void TableComing() override { }
    void TableCame() override { rows = RowsOf(m_document); }

    TableDocument& m_document;
    int m_at = 0;
    int m_count = 0;

public:
    std::vector<QStringList> rows;
};

struct Files : testing::Test {
    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("a.sbs"));
    TableDocument document;
    void Fill(const std::vector<QStringList>& rows) { document.Paste({0, 0}, Tsv(rows)); }
};

using TableDocumentFiles = Files;

TEST_F(TableDocumentFiles, GiveBackWhatWasSavedAndTellTheirKind)
{
    struct Case {
        TableKind kind;
        QString file;
        std::vector<QStringList> rows;
    };
    const Case cases[]{
        {TableKind::Registers, QStringLiteral("odd-flags.sbs"), {kVoltage, kStatus}},
        {TableKind::Registers, QStringLiteral("empty.sbs"), {}},
        {TableKind::Flags, QStringLiteral("f.bin"), {QStringLiteral("Status;A||B;1;16").split(u';')}},
        {TableKind::Flags, QStringLiteral("defaultFlags.sbs"), {}},
        {TableKind::Targets,
         QStringLiteral("Srec.tgt"),
         {QStringLiteral("T;-1;1;2;3;-2147483648;5").split(u';')}},
    };
    for (const Case& row : cases) {
        const QString file = folder.filePath(row.file);
        document.New(row.kind);
        Fill(row.rows);
        ASSERT_EQ(document.Save(file), QString());
        EXPECT_FALSE(document.Changed());
        EXPECT_EQ(GuessKind(file, ReadWhole(file).bytes), row.kind) << row.file.toStdString();
        TableDocument opened;
        ASSERT_EQ(opened.Open(file, row.kind), QString());
        EXPECT_EQ(RowsOf(opened), row.rows);
        EXPECT_EQ(opened.Note(), QString());
    }
}

TEST_F(TableDocumentFiles, KeepTheOldFileWhenACellDoesNotConvert)
{
    Fill({kVoltage, kStatus});
    ASSERT_EQ(document.Save(path), QString());
    const QByteArray before = ReadWhole(path).bytes;
    document.SetCell({1, 3}, QStringLiteral("1G"));
    const QString problem = document.Save(path);
    for (const char* part : {"row 1", "ReadCommand", "\"1G\"", "hexadecimal"})
        EXPECT_TRUE(problem.contains(QLatin1String(part))) << part;
    EXPECT_EQ(document.FirstWrong(), (TablePlace{1, 3}));
    EXPECT_TRUE(document.Changed());
    EXPECT_EQ(ReadWhole(path).bytes, before);
}

TEST_F(TableDocumentFiles, SayWhenTheirEndIsNoWholeRow)
{
    Fill({kVoltage, kStatus});
    ASSERT_EQ(document.Save(path), QString());
    ASSERT_EQ(SaveWhole(path, ReadWhole(path).bytes.chopped(3)), QString());
    TableDocument opened;
    ASSERT_EQ(opened.Open(path, TableKind::Registers), QString());
    EXPECT_EQ(RowsOf(opened), std::vector{kVoltage});
    EXPECT_TRUE(opened.Note().contains(QStringLiteral("no whole row")));
    EXPECT_NE(opened.Open(folder.filePath(QStringLiteral("none.sbs")), TableKind::Flags), QString());
    EXPECT_EQ(RowsOf(opened), std::vector{kVoltage}); // what was open stays
}

TEST_F(TableDocumentFiles, ChangedKnowsTheWayBackToTheSavedTable)
{
    Fill({kVoltage});
    ASSERT_EQ(document.Save(path), QString());
    document.SetCell({0, 0}, QStringLiteral("A"));
    EXPECT_TRUE(document.Edited(0, 0));
    EXPECT_FALSE(document.Edited(0, 1));
    document.Undo();
    EXPECT_FALSE(document.Changed());
    document.Undo();
    EXPECT_TRUE(document.Changed());
    document.Insert(0); // the saved table is now on a branch that no undo or redo reaches
    document.Undo();
    EXPECT_TRUE(document.Changed());
    EXPECT_EQ(document.RedoText(), QStringLiteral("insertion of a row"));
}

TEST(TableDocument, UndoAndRedoGoThroughEveryTableThatWas)
{
    std::mt19937 random(7);
    const auto below = [&](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
    TableDocument document;
    Follower follower(document);
    std::vector<std::vector<QStringList>> were{RowsOf(document)};
    for (int i = 0; i < 400; ++i) {
        const int rows = document.Rows();
        const int first = rows > 0 ? below(rows) : 0;
        const int last = rows > 0 ? first + below(std::min(rows - first, 3)) : 0;
        switch (rows == 0 ? 0 : below(6)) {
        case 0:
            document.Insert(rows > 0 ? first : 0);
            break;
        case 1:
            document.SetCell({first, below(document.Columns())}, QStringLiteral("v%1").arg(i));
            break;
        case 2:
            document.Remove({first, last, below(rows)});
            break;
        case 3:
            document.Duplicate(first, last);
            break;
        case 4:
            if (!document.Move(first, last, below(2) == 0 ? -1 : 1))
                continue;
            break;
        default:
            document.Paste({first, below(document.Columns())}, QStringLiteral("p%1\tq\nr\ns").arg(i));
        }
        were.push_back(RowsOf(document));
        ASSERT_EQ(follower.rows, were.back()) << i;
    }
    for (std::size_t i = were.size(); i-- > 1;) {
        ASSERT_EQ(RowsOf(document), were[i]) << i;
        document.Undo();
        ASSERT_EQ(follower.rows, were[i - 1]) << i;
    }
    EXPECT_FALSE(document.Changed());
    EXPECT_EQ(document.Undo(), -1);
    while (!document.RedoText().isEmpty())
        document.Redo();
    EXPECT_EQ(follower.rows, were.back());
}

TEST(TableDocument, PastesWhatSpreadsheetsCopy)
{
    struct Case {
        QString text;
        TablePlace at;
        QString cells; ///< of columns 0 and 1 of both rows
        bool cut;
    };
    const Case cases[]{
        {QStringLiteral("A\tB\r\nC\tD\r\n"), {0, 0}, QStringLiteral("A B C D"), false},
        {QStringLiteral("\"A\tx\"\t\"say \"\"b\"\"\"\nC\tD"),
         {0, 0},
         QStringLiteral("A\tx say \"b\" C D"),
         false},
        {QStringLiteral("A\"\t\tB"), {1, 0}, QStringLiteral("Voltage Volt A\" "), false},
        {QStringLiteral("m\tn"), {0, 8}, QStringLiteral("Voltage Volt Voltage Volt"), true},
    };
    for (const Case& row : cases) {
        TableDocument document;
        const QStringList cells = QStringList(kVoltage).replaceInStrings(QStringLiteral("!"), QString());
        document.Paste({0, 0}, Tsv({cells, cells}));
        EXPECT_EQ(document.Paste(row.at, row.text).Cut, row.cut);
        EXPECT_EQ(QStringList(document.Cells(0).mid(0, 2) + document.Cells(1).mid(0, 2)).join(u' '),
                  row.cells);
        const std::vector<QStringList> rows = RowsOf(document);
        TableDocument copy;
        copy.Paste({0, 0}, document.Copy(0, 1, 0, 8));
        EXPECT_EQ(RowsOf(copy), rows);
    }
}

struct CheckCase {
    const char* name;
    TableKind kind;
    QString cells;
    int column;
    CellCheck::Level level;
};
class TableDocumentCheck : public testing::TestWithParam<CheckCase> { };

TEST_P(TableDocumentCheck, JudgesACell)
{
    const CheckCase& row = GetParam();
    TableDocument document(row.kind);
    document.Paste({0, 0}, row.cells.split(u';').join(u'\t'));
    const CellCheck check = document.Check({0, row.column});
    EXPECT_EQ(check.What, row.level) << check.Text.toStdString();
    EXPECT_EQ(check.Text.isEmpty(), row.level == CellCheck::Level::Fine);
    EXPECT_EQ(document.FirstWrong().has_value(), row.level == CellCheck::Level::Wrong);
}

using Level = CellCheck::Level;
constexpr auto kReg = TableKind::Registers;
constexpr auto kFlag = TableKind::Flags;
INSTANTIATE_TEST_SUITE_P(
    Cells, TableDocumentCheck,
    testing::Values(
        CheckCase{"StyleAsText", kReg, QStringLiteral("D;L;word;9;x;x;0;d;V"), 2, Level::Wrong},
        CheckCase{"StyleBeyondTheList", kReg, QStringLiteral("D;L;15;9;x;x;0;d;V"), 2, Level::Odd},
        CheckCase{"CommandNegative", kReg, QStringLiteral("D;L;1;-1;x;x;0;d;V"), 3, Level::Wrong},
        CheckCase{"CommandOfTwoBytes", kReg, QStringLiteral("D;L;1;1FF;x;x;0;d;V"), 3, Level::Odd},
        CheckCase{"SubcommandOfTwoBytes", kReg, QStringLiteral("D;L;2;1FF;x;x;0;d;V"), 3, Level::Fine},
        CheckCase{"FactorCut", kReg, QStringLiteral("D;L;1;9;x/(;x;0;d;V"), 4, Level::Odd},
        CheckCase{"FactorThatFailsForOneValue", kReg, QStringLiteral("D;L;1;9;100/x;x;0;d;V"), 4,
                  Level::Fine},
        CheckCase{"WriteFactorOfAReadOnlyRow", kReg, QStringLiteral("D;L;1;9;x;?;0;d;V"), 5, Level::Fine},
        CheckCase{"WriteableTooLarge", kReg, QStringLiteral("D;L;1;9;x;x;256;d;V"), 6, Level::Wrong},
        CheckCase{"FormatInCapitals", kReg, QStringLiteral("D;L;1;9;x;x;0;D;V"), 7, Level::Odd},
        CheckCase{"OutsideTheCharacterSet", kReg, QStringLiteral("D;L;1;9;x;x;0;d;\u03a9"), 8, Level::Wrong},
        CheckCase{"MoreNamesThanBits", kFlag, QStringLiteral("F;A|B|C;0;2"), 1, Level::Odd},
        CheckCase{"NoBits", kFlag, QStringLiteral("F;A;0;0"), 3, Level::Odd},
        CheckCase{"NumberTooWide", TableKind::Targets, QStringLiteral("T;1;2147483648;0;0;0;0"), 2,
                  Level::Wrong}),
    [](const auto& row) { return row.param.name; });

TEST(TablePreview, ShowsWhatTheRegisterViewWouldShow)
{
    struct Case {
        QString cells;
        QString raw;
        QString shown; ///< empty: a problem is named
        bool problem;
    };
    const Case cases[]{
        {kVoltage.join(u';'), QStringLiteral("14873"), QStringLiteral("14.873"), false},
        {kStatus.join(u';'), QStringLiteral("0x1a"), QStringLiteral("001A"), false},
        {QStringLiteral("I;;1;A;x;x;0;d;mA"), QStringLiteral("65535"), QStringLiteral("-1"), false},
        {QStringLiteral("I;;1;A;x;x;0;d;mA"), QStringLiteral("65536"), QString(), true},
        {QStringLiteral("B;;3;A;x;x;0;d;"), QStringLiteral("200"), QStringLiteral("-56"), false},
        {QStringLiteral("B;;3;A;x;x;0;d;"), QStringLiteral("-1"), QString(), true},
        {QStringLiteral("T;;1;8;x/10;x;1;d;K"), QStringLiteral("2981"), QStringLiteral("298.1"), true},
        {QStringLiteral("T;;1;8;x/;x;0;d;K"), QStringLiteral("5"), QString(), true},
        {QStringLiteral("T;;1;8;x;x;0;q;K"), QStringLiteral("5"), QString(), true},
    };
    for (const Case& row : cases) {
        const QStringList cells = row.cells.split(u';');
        const TypedRaw typed = ParseRaw(row.raw, static_cast<ReadStyle>(cells[2].toShort()));
        const RegisterPreview preview = typed.Raw ? PreviewRegister(cells, *typed.Raw) : RegisterPreview{};
        EXPECT_EQ(preview.Shown, row.shown) << row.cells.toStdString();
        EXPECT_EQ(!typed.Problem.isEmpty() || !preview.Problem.isEmpty(), row.problem)
            << row.cells.toStdString();
    }
}

} // namespace
