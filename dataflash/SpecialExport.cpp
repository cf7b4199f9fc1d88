#include "dataflash/SpecialExport.h"

#include "dataflash/EachItem.h"
#include "dataflash/GgFile.h"
#include "dataflash/ItemBytes.h"
#include "dataflash/ItemText.h"
#include "platform/ProgramFolder.h"
#include "platform/WholeFile.h"

#include <QFile>
#include <QHash>
#include <QScopeGuard>

#include <optional>

namespace {

constexpr qint64 kLargestTemplate = 16LL * 1024 * 1024;

/// An item with what stands around it.
struct ItemRef {
    const DataClass* Class;
    const SubClass* Sub;
    const DataItem* Item;
};

/// Walks the template from ${ to }. A failure is kept in the result and ends the walk.
class Filler {
public:
    Filler(const DataFlashTree& tree, const GgHeader& header) : m_header(header)
    {
        ForEachItem(tree,
                    [this](const ItemPlace&, const DataClass& dataClass, const SubClass& subClass,
                           const DataItem& item) {
                        const ItemRef ref{&dataClass, &subClass, &item};
                        m_items.push_back(ref);
                        m_byName.insert(QString(dataClass.Name + QLatin1Char('/') + subClass.Name
                                                + QLatin1Char('/') + item.Name)
                                            .toCaseFolded(),
                                        ref);
                    });
    }

    Conversion Fill(const QString& text)
    {
        QString out;
        const QStringList lines = text.split(QLatin1Char('\n'));
        for (qsizetype index = 0; index < lines.size() && Fine(); ++index) {
            m_line = static_cast<int>(index) + 1;
            const bool last = index + 1 == lines.size();
            const QString end = last ? QString() : QStringLiteral("\n");
            const QString order = lines[index].trimmed();
            if (order == QLatin1String("${each}")) {
                const qsizetype close = EndOf(lines, index);
                if (close < 0) {
                    Fail(ConversionError::BadTemplate, QStringLiteral("${each} has no ${end}"));
                    break;
                }
                for (const ItemRef& item : m_items)
                    for (qsizetype inner = index + 1; inner < close && Fine(); ++inner) {
                        m_line = static_cast<int>(inner) + 1;
                        out += Line(lines[inner], &item) + QLatin1Char('\n');
                    }
                index = close;
            } else if (order == QLatin1String("${end}")) {
                Fail(ConversionError::BadTemplate, QStringLiteral("${end} has no ${each}"));
            } else {
                out += Line(lines[index], nullptr) + end;
            }
        }
        m_result.Bytes = Fine() ? out.toUtf8() : QByteArray();
        return m_result;
    }

private:
    [[nodiscard]] bool Fine() const { return m_result.Error == ConversionError::None; }

    void Fail(ConversionError error, const QString& reason)
    {
        if (!Fine())
            return;
        m_result.Error = error;
        m_result.Reason = QStringLiteral("line %1: %2").arg(m_line).arg(reason);
    }

    static qsizetype EndOf(const QStringList& lines, qsizetype each)
    {
        for (qsizetype index = each + 1; index < lines.size(); ++index) {
            const QString order = lines[index].trimmed();
            if (order == QLatin1String("${end}"))
                return index;
            if (order == QLatin1String("${each}"))
                return -1; // a loop in a loop has nothing of its own to go over
        }
        return -1;
    }

    QString Line(const QString& line, const ItemRef* item)
    {
        QString out;
        qsizetype at = 0;
        while (Fine()) {
            const qsizetype open = line.indexOf(QLatin1String("${"), at);
            if (open < 0)
                break;
            if (open > at && line[open - 1] == QLatin1Char('$')) { // "$${" stands for "${"
                out += line.mid(at, open - 1 - at) + QLatin1String("${");
                at = open + 2;
                continue;
            }
            const qsizetype close = line.indexOf(QLatin1Char('}'), open);
            if (close < 0) {
                Fail(ConversionError::BadTemplate, QStringLiteral("\"${\" has no \"}\""));
                break;
            }
            out += line.mid(at, open - at) + Placeholder(line.mid(open + 2, close - open - 2), item);
            at = close + 1;
        }
        return out + line.mid(at);
    }

    /// "NAME", "NAME|form" or "NAME|form|quoting".
    QString Placeholder(const QString& text, const ItemRef* item)
    {
        const QStringList parts = text.split(QLatin1Char('|'));
        QString value;
        qsizetype next = 1;
        if (const std::optional<QString> header = Header(parts[0])) {
            value = *header;
        } else {
            const bool inLoop = !parts[0].contains(QLatin1Char('/'));
            const auto named = m_byName.constFind(parts[0].toCaseFolded());
            const ItemRef* about = inLoop ? item : named != m_byName.constEnd() ? &*named : nullptr;
            if (!about) {
                Fail(inLoop ? ConversionError::BadTemplate : ConversionError::UnknownItem,
                     inLoop ? QStringLiteral("${%1} means nothing here").arg(parts[0])
                            : QStringLiteral("this target has no item %1").arg(parts[0]));
                return {};
            }
            QString field = inLoop ? parts[0] : QStringLiteral("Value");
            if (!inLoop && parts.size() > 1 && !IsQuoting(parts[1]))
                field = parts[next++];
            const std::optional<QString> found = Field(*about, field);
            if (!found) {
                Fail(ConversionError::BadTemplate, QStringLiteral("${%1} means nothing here").arg(text));
                return {};
            }
            value = *found;
        }
        for (; next < parts.size(); ++next) {
            if (!IsQuoting(parts[next])) {
                Fail(ConversionError::BadTemplate, QStringLiteral("${%1} means nothing here").arg(text));
                return {};
            }
            value = Quoted(value, parts[next]);
        }
        return value;
    }

    [[nodiscard]] std::optional<QString> Header(const QString& name) const
    {
        if (name == QLatin1String("Header.Version"))
            return m_header.Version;
        if (name == QLatin1String("Header.DeviceName"))
            return m_header.DeviceName;
        if (name == QLatin1String("Header.Time"))
            return m_header.Time;
        return std::nullopt;
    }

    std::optional<QString> Field(const ItemRef& about, const QString& name)
    {
        const DataItem& item = *about.Item;
        const std::pair<const char*, QString> plain[] = {
            {"Class", about.Class->Name}, {"SubClass", about.Sub->Name},
            {"Item", item.Name},          {"FullName", item.FullName},
            {"Type", item.DataType},      {"Id", QString::number(about.Sub->Id)},
            {"Unit", item.Units},         {"Offset", QString::number(item.Offset)},
            {"Help", item.HelpText},
        };
        for (const auto& [key, text] : plain)
            if (name == QLatin1String(key))
                return text;
        if (name == QLatin1String("Value"))
            return BytesOrFail(about) ? Shown(about, item.Value) : QString();
        if (name == QLatin1String("Default"))
            return item.DefValue.isEmpty() ? QString() : Shown(about, item.DefValue);
        if (name == QLatin1String("Min"))
            return item.MinVal.isEmpty() ? QString() : Shown(about, item.MinVal);
        if (name == QLatin1String("Max"))
            return item.MaxVal.isEmpty() ? QString() : Shown(about, item.MaxVal);
        if (name == QLatin1String("Native"))
            return BytesOrFail(about) ? item.Value : QString();
        if (name == QLatin1String("Hex")) {
            const std::optional<Bytes> bytes = BytesOrFail(about);
            return bytes ? HexText(*bytes) : QString();
        }
        return std::nullopt;
    }

    std::optional<Bytes> BytesOrFail(const ItemRef& about)
    {
        std::optional<Bytes> bytes = BytesOf(*about.Item, about.Item->Value);
        if (!bytes)
            Fail(ConversionError::NoValue, QStringLiteral("%1 has no value").arg(NameOf(about)));
        return bytes;
    }

    QString Shown(const ItemRef& about, const QString& native)
    {
        const ItemText shown = ConvertDisplayNative(*about.Item, native, TextDirection::NativeToShown);
        if (!shown.Ok())
            Fail(ConversionError::NotConverted,
                 QStringLiteral("%1 = %2: %3").arg(NameOf(about), native, shown.Error));
        return shown.Text;
    }

    static QString NameOf(const ItemRef& about)
    {
        return QStringLiteral("%1/%2/%3").arg(about.Class->Name, about.Sub->Name, about.Item->Name);
    }

    static bool IsQuoting(const QString& name)
    {
        return name == QLatin1String("csv") || name == QLatin1String("json");
    }

    static QString Quoted(QString text, const QString& how)
    {
        if (how == QLatin1String("csv"))
            return QLatin1Char('"') + text.replace(QLatin1Char('"'), QLatin1String("\"\""))
                + QLatin1Char('"');
        QString out = QStringLiteral("\"");
        for (const QChar c : text) {
            if (c == QLatin1Char('"') || c == QLatin1Char('\\'))
                out += QLatin1Char('\\') + QString(c);
            else if (c < QLatin1Char(' '))
                out += QStringLiteral("\\u%1").arg(static_cast<int>(c.unicode()), 4, 16, QLatin1Char('0'));
            else
                out += c;
        }
        return out + QLatin1Char('"');
    }

    const GgHeader& m_header;
    std::vector<ItemRef> m_items;
    QHash<QString, ItemRef> m_byName;
    int m_line = 0;
    Conversion m_result;
};

Conversion Failed(ConversionError error, const QString& reason) { return {{}, error, reason}; }

/// From the temporary file alone, as it was written.
Conversion Convert(const QString& temporary, const QString& templateFile, const DataFlashTree& tree,
                   const QString& deviceName)
{
    const FileBytes written = ReadWhole(temporary);
    if (!written.error.isEmpty())
        return Failed(ConversionError::TemporaryFile, written.error);
    DataFlashTree values = tree;
    ClearValues(values);
    const GgImport import = ParseGg(written.bytes, values, deviceName);
    if (!import.Ok())
        return Failed(ConversionError::TemporaryFile, import.Error);
    ApplyGg(import, values);
    const ProfileFile file(written.bytes);
    const GgHeader header{file.String(u"Header", u"Tarnlo Version"), file.String(u"Header", u"DeviceName"),
                          file.String(u"Header", u"Time")};
    const FileBytes text = ReadWhole(templateFile, kLargestTemplate);
    if (!text.error.isEmpty())
        return Failed(ConversionError::TemplateUnreadable, text.error);
    Conversion conversion = FillTemplate(text.bytes, values, header);
    if (conversion.Error != ConversionError::None)
        conversion.Reason = QStringLiteral("%1, %2").arg(templateFile, conversion.Reason);
    return conversion;
}

} // namespace

Conversion FillTemplate(const QByteArray& text, const DataFlashTree& tree, const GgHeader& header)
{
    if (!QUtf8StringView(text).isValidUtf8())
        return Failed(ConversionError::BadTemplate, QStringLiteral("the template is not UTF-8"));
    return Filler(tree, header).Fill(QString::fromUtf8(text));
}

bool SpecialExport(const DataFlashTree& tree, const QString& deviceName, const QString& isoTime,
                   const QString& programFolder, const QString& path, UserMessages& messages,
                   QStringList& warnings)
{
    const QString settings = programFolder + QStringLiteral("/SpecialExport.ini");
    const QString temporary = programFolder + QStringLiteral("/~ggtmp~.tmp");
    const auto removed = qScopeGuard([&temporary] { QFile::remove(temporary); });
    ProfileStore profiles;
    const QString written = profiles.String(settings, u"SpecialExport", u"ConfigFile");
    Conversion conversion;
    if (written.isEmpty())
        conversion
            = Failed(ConversionError::NoTemplate,
                     QStringLiteral("%1 has no key ConfigFile in section SpecialExport").arg(settings));
    else if (const QString problem = ExportDF(tree, deviceName, isoTime, temporary, warnings);
             !problem.isEmpty())
        conversion = Failed(ConversionError::TemporaryFile, problem);
    else
        conversion = Convert(temporary, ResolvePath(programFolder, written), tree, deviceName);
    if (conversion.Error == ConversionError::None) {
        const QString problem = SaveWhole(path, conversion.Bytes);
        if (problem.isEmpty())
            return true;
        conversion = Failed(ConversionError::NotSaved, problem);
    }
    messages.Show(QStringLiteral("Error in conversion! Error code (decimal) = %1\n%2")
                      .arg(static_cast<int>(conversion.Error))
                      .arg(conversion.Reason));
    return false;
}
