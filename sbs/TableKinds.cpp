#include "sbs/TableKinds.h"

#include "sbs/Conversion.h"
#include "sbs/FlagView.h"
#include "sbs/TableCodec.h"

#include <QFileInfo>

#include <array>

namespace {

constexpr std::array kStyleNames{
    "nothing is read",
    "SMBus word",
    "SMBus subcommand",
    "I2C on SMBus, byte",
    "I2C on SMBus, word",
    "I2C on SMBus, subcommand",
    "Single wire framed, byte",
    "Single wire framed, word",
    "Single wire framed, subcommand",
    "Single wire plain, byte",
    "Single wire plain, word",
    "Single wire plain, subcommand",
    "Direct I2C, byte",
    "Direct I2C, word",
    "Direct I2C, subcommand",
};

enum RegisterColumn {
    kDesc,
    kLogDesc,
    kStyle,
    kCommand,
    kReadFactor,
    kWriteFactor,
    kWriteable,
    kFormat,
    kUnit
};
enum FlagColumn { kCaption, kBitDesc, kRowNum, kWidth };

/// Calls visit(record type) for the record of a kind.
template <class Visit>
auto WithRecord(TableKind kind, Visit&& visit)
{
    switch (kind) {
    case TableKind::Flags:
        return visit(SBSFlagRec{});
    case TableKind::Targets:
        return visit(SrecTargetRec{});
    case TableKind::Registers:
        break;
    }
    return visit(SBSInfoRec{});
}

const char* HelpOf(TableKind kind, qsizetype column)
{
    constexpr std::array kRegisters{
        "Name of the row in the register view.\n\"!\" in front emphasises it.",
        "Caption of the column in the log.\nEmpty: the row cannot be logged.",
        "Which bus, and how much is read: 0 to 14.\nOpen the list for the names.",
        "Register address in hexadecimal, such as 0D.\nSubcommands send all 16 bits, other styles the low 8.",
        "Turns the raw value x into what is shown:\nx leaves it, x/10 divides it, (x-2731)/10 is a "
        "temperature.\n"
        "Known: + - * / ( ) ^ \\ mod and or not abs int sqr log sin cos tan atn round &H.",
        "Turns a typed value x into what is sent, the way back of ReadFactor:\nx*10 where ReadFactor is "
        "x/10.",
        "0: read only.\n1 (any other number): a person may write the row.",
        "How the value looks: d signed, u unsigned, hhhh four hexadecimal digits,\n"
        "d.00 two decimals, bFF00| the bits under a mask, f a real number.",
        "Shown beside the value: mV, mA, %, ...",
    };
    constexpr std::array kFlags{
        "Caption of the line of bits.",
        "Names from the highest bit down, separated by \"|\".\nAn empty name is a reserved bit: OCA|TCA||OTA",
        "Row of the register table whose value is shown bit by bit.\nRows count from 0.",
        "Number of bits, 0 to 32.\nA register has 16; bits above have no value.",
    };
    constexpr std::array kTargets{
        "Name of the flash target.",
        "Its number, -32768 to 32767.",
        "First of five whole numbers of 32 bits.\nThe flash programming view gives them a meaning.",
        "Second number, 32 bits.",
        "Third number, 32 bits.",
        "Fourth number, 32 bits.",
        "Fifth number, 32 bits.",
    };
    const auto at = static_cast<std::size_t>(column);
    switch (kind) {
    case TableKind::Flags:
        return kFlags[at];
    case TableKind::Targets:
        return kTargets[at];
    case TableKind::Registers:
        break;
    }
    return kRegisters[at];
}

template <class Record>
std::vector<TableColumn> MakeColumns(TableKind kind)
{
    std::vector<TableColumn> columns;
    ForEachTableField<Record>([&](const auto& field) {
        const char* help = HelpOf(kind, static_cast<qsizetype>(columns.size()));
        columns.push_back({QString::fromLatin1(field.name), field.form, QString::fromLatin1(help)});
    });
    return columns;
}

bool Sensible(const SBSInfoRec& record) { return IsKnownStyle(static_cast<ReadStyle>(record.ReadStyle)); }
bool Sensible(const SBSFlagRec& record)
{
    return record.SBSRowNum >= 0 && record.BitWidth >= 0 && record.BitWidth <= kMostFlagBits;
}
bool Sensible(const SrecTargetRec&) { return true; }

/// Whether the bytes are whole records with sensible values to the end.
template <class Record>
bool ReadsAs(QByteArrayView bytes)
{
    TableCodec::Reader reader(bytes);
    std::size_t count = 0;
    while (!reader.AtEnd()) {
        Record record;
        if (++count > TableCodec::kMostRows || !reader.Take(record) || !Sensible(record))
            return false;
    }
    return count > 0;
}

CellCheck Odd(const QString& text) { return {CellCheck::Level::Odd, text}; }

/// A factor may fail for some values (1/x for 0): it is odd when it fails for all that are tried.
CellCheck CheckFactor(const QString& factor)
{
    QString reason;
    for (const RawValue raw : {RawValue{1}, RawValue{3712}, RawValue{0}, RawValue{-5}}) {
        const Converted converted = ApplyFactor(raw, ReadStyle::SMBusWord, factor);
        if (converted.Ok())
            return {};
        if (reason.isEmpty())
            reason = converted.error;
    }
    return Odd(reason);
}

CellCheck CheckRegisterCell(const QStringList& cells, int column)
{
    const QString& cell = cells[column];
    const int style = cells[kStyle].toInt();
    switch (column) {
    case kLogDesc:
        return cell.contains(QLatin1Char('\t'))
            ? Odd(QStringLiteral("a tab would shift the columns of the log"))
            : CellCheck{};
    case kStyle:
        return ReadStyleName(style).isEmpty()
            ? Odd(QStringLiteral("no such read style; the row will not be read"))
            : CellCheck{};
    case kCommand: {
        const int command = cell.toInt(nullptr, 16);
        const bool wholeWord = style > 0 && style % 3 == 2;
        return command > 0xFF && !wholeWord && style != 0
            ? Odd(QStringLiteral("this style sends the low byte alone: %1")
                      .arg(QString::number(command & 0xFF, 16).toUpper()))
            : CellCheck{};
    }
    case kReadFactor:
        return CheckFactor(cell);
    case kWriteFactor:
        return cells[kWriteable].toInt() != 0 ? CheckFactor(cell) : CellCheck{};
    case kFormat: {
        const Formatted formatted = FormatValue({1, false, {}}, cell);
        return formatted.message.isEmpty() && formatted.error.isEmpty()
            ? CellCheck{}
            : Odd(QStringLiteral("begins with none of d, u, h, b, f; every pass would show a message"));
    }
    default:
        return {};
    }
}

CellCheck CheckFlagCell(const QStringList& cells, int column, const clsSBSCfgRW* registers)
{
    const int number = cells[column].toInt();
    switch (column) {
    case kRowNum:
        if (number < 0)
            return Odd(QStringLiteral("rows count from 0"));
        if (registers && registers->GetNumSBSRows() > 0 && number >= registers->GetNumSBSRows())
            return Odd(QStringLiteral("the register table of the target ends at row %1")
                           .arg(registers->GetNumSBSRows() - 1));
        return {};
    case kWidth:
        if (number < 1 || number > kMostFlagBits)
            return Odd(QStringLiteral("1 to %1 bits can be shown").arg(kMostFlagBits));
        return {};
    case kBitDesc:
        if (cells[column].count(QLatin1Char('|')) + 1 > std::max(cells[kWidth].toInt(), 1))
            return Odd(QStringLiteral("%1 names for %2 bits; the last ones are not shown")
                           .arg(cells[column].count(QLatin1Char('|')) + 1)
                           .arg(cells[kWidth]));
        return {};
    default:
        return {};
    }
}

} // namespace

const std::vector<TableColumn>& ColumnsOf(TableKind kind)
{
    static const std::array all{MakeColumns<SBSInfoRec>(TableKind::Registers),
                                MakeColumns<SBSFlagRec>(TableKind::Flags),
                                MakeColumns<SrecTargetRec>(TableKind::Targets)};
    return all[static_cast<std::size_t>(kind)];
}

QStringList NewRowOf(TableKind kind)
{
    switch (kind) {
    case TableKind::Flags:
        return {QStringLiteral("New flags"), QString(), QStringLiteral("0"), QStringLiteral("16")};
    case TableKind::Targets:
        return QStringList{QStringLiteral("New target")} + QStringList(6, QStringLiteral("0"));
    case TableKind::Registers:
        break;
    }
    const QString x = QStringLiteral("x");
    const QString zero = QStringLiteral("0");
    return {QStringLiteral("New register"),
            QString(),
            QStringLiteral("1"),
            zero,
            x,
            x,
            zero,
            QStringLiteral("d"),
            QString()};
}

TableKind GuessKind(const QString& fileName, QByteArrayView bytes)
{
    const QString name = QFileInfo(fileName).fileName();
    if (name.endsWith(QLatin1String(".tgt"), Qt::CaseInsensitive))
        return TableKind::Targets;
    const bool registers = ReadsAs<SBSInfoRec>(bytes);
    const bool flags = ReadsAs<SBSFlagRec>(bytes);
    if (registers != flags)
        return registers ? TableKind::Registers : TableKind::Flags;
    if (!registers && ReadsAs<SrecTargetRec>(bytes))
        return TableKind::Targets;
    return name.contains(QLatin1String("flag"), Qt::CaseInsensitive) ? TableKind::Flags
                                                                     : TableKind::Registers;
}

QString ReadStyleName(int style)
{
    return style >= 0 && style < static_cast<int>(kStyleNames.size())
        ? QString::fromLatin1(kStyleNames[static_cast<std::size_t>(style)])
        : QString();
}

QString WhyWrong(TableKind kind, int column, const QString& cell)
{
    return WithRecord(kind, [&]<class Record>(const Record& types) {
        QString reason;
        int at = 0;
        ForEachTableField<Record>([&](const auto& field) {
            QByteArray bytes;
            if (at++ == column)
                reason = TableCodec::Append(bytes, cell, field.get(types), field.form);
        });
        return reason;
    });
}

CellCheck CheckCell(TableKind kind, const QStringList& cells, int column, const clsSBSCfgRW* registers)
{
    const QString wrong = WhyWrong(kind, column, cells[column]);
    if (!wrong.isEmpty())
        return {CellCheck::Level::Wrong, wrong};
    switch (kind) {
    case TableKind::Registers:
        return CheckRegisterCell(cells, column);
    case TableKind::Flags:
        return CheckFlagCell(cells, column, registers);
    case TableKind::Targets:
        break;
    }
    return {};
}

qint64 FileSizeOf(TableKind kind, const TextGrid& grid)
{
    return WithRecord(kind, [&]<class Record>(const Record&) -> qint64 {
        QByteArray bytes;
        return TableCodec::Encode<Record>(grid, bytes).isEmpty() ? bytes.size() : -1;
    });
}
