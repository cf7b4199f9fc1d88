#include "dataflash/GgFile.h"

#include "dataflash/DataFlashDiff.h"
#include "dataflash/EachItem.h"
#include "dataflash/ItemBytes.h"
#include "dataflash/ItemText.h"
#include "platform/WholeFile.h"

#include <QSet>

#include <algorithm>

namespace {

constexpr qint64 kLargestFile = 16LL * 1024 * 1024; // a hundred times a full configuration
constexpr qsizetype kBytesARow = 32;
constexpr qsizetype kLongestValue = 511; // what the profile reader gives
constexpr QStringView kHeader = u"Header";
constexpr QStringView kBytes = u"Bytes";

QString SectionName(const SubClass& subClass, const DataClass& dataClass)
{
    return subClass.Name + QLatin1Char('(') + dataClass.Name + QLatin1Char(')');
}

/// A line end inside a value could bring a line of its own: the text of a gauge must not write other values.
QString OneLine(QString text)
{
    return text.replace(QLatin1Char('\r'), QLatin1Char(' ')).replace(QLatin1Char('\n'), QLatin1Char(' '));
}

/// The file as it is written, and read again at once.
QString CarriedBack(const QString& value)
{
    return ProfileFile("[s]\nk = " + OneLine(value).toUtf8()).String(u"s", u"k");
}

QString WhyLost(const QString& value)
{
    if (OneLine(value) != value)
        return QStringLiteral("it holds a line end");
    if (value.size() > kLongestValue)
        return QStringLiteral("it is longer than %1 characters").arg(kLongestValue);
    if (CarriedBack(value) == value)
        return QStringLiteral("its name cannot be found again: it stands twice or holds signs of the file's "
                              "own form");
    if (!value.isEmpty() && (value.front() <= QLatin1Char(' ') || value.back() <= QLatin1Char(' ')))
        return QStringLiteral("it has blanks at its ends");
    const bool quoted = value.size() >= 2 && value.front() == value.back()
        && (value.front() == QLatin1Char('"') || value.front() == QLatin1Char('\''));
    return quoted ? QStringLiteral("it stands in quotes")
                  : QStringLiteral("it holds characters that are no text");
}

/// What stands in the file beside the values that were looked up.
void NoteTheRest(const ProfileFile& file, const QSet<QString>& known, GgImport& import)
{
    const auto warn = [&import](const QString& text) {
        if (import.Warnings.size() < GgImport::kListed)
            import.Warnings << text;
    };
    bool sectionCounts = true;
    file.Walk([&](const ProfileFile::Met& met) {
        if (met.Key.isEmpty()) {
            sectionCounts = met.Counts;
            if (!met.Counts)
                warn(QStringLiteral("line %1: section %2 stands twice; what follows does not count")
                         .arg(met.Line)
                         .arg(met.Section));
        } else if (!met.Counts) {
            if (sectionCounts) // said once for a whole section
                warn(met.Section.isEmpty()
                         ? QStringLiteral("line %1: %2 stands above the first section and does not count")
                               .arg(met.Line)
                               .arg(met.Key)
                         : QStringLiteral("line %1: %2 stands twice in %3; only the first one counts")
                               .arg(met.Line)
                               .arg(met.Key, met.Section));
        } else if (met.Section.compare(kHeader, Qt::CaseInsensitive) != 0
                   && met.Section.compare(kBytes, Qt::CaseInsensitive) != 0
                   && !known.contains(QString(met.Section.toString() + QLatin1Char('\n') + met.Key.toString())
                                          .toCaseFolded())) {
            ++import.UnknownCount;
            if (import.Unknown.size() < GgImport::kListed)
                import.Unknown << met.Section.toString() + QLatin1Char(' ') + met.Key.toString();
        }
    });
}

/// The value that the file holds for an item, which may be an empty text.
std::optional<QString> ValueIn(const ProfileFile& file, const QString& section, const DataItem& item,
                               const Bytes& image)
{
    std::optional<QString> text;
    if (file.HasKey(section, item.Name))
        text = file.String(section, item.Name);
    if (image.empty())
        return text;
    // a backup's bytes count unless somebody has edited the text since
    const QString stored = TextOf(item, image);
    return !text || CarriedBack(stored) == text ? stored : text;
}

void Take(GgImport& import, const ItemPlace& at, const DataItem& item, const QString& text)
{
    GgImport::Entry entry{at, item.Value, text, {}};
    const bool known = HasValue(item, item.Value);
    if (known && text == item.Value) {
        ++import.Same;
        return;
    }
    if (!BytesOf(item, text, &entry.Note)) {
        if (text.isEmpty())
            entry.Note = QStringLiteral("the file has no value");
        import.Refused.push_back(entry);
        return;
    }
    if (known && SameBytes(item, text, item.Value)) {
        ++import.Same;
        return;
    }
    entry.Note = ValidateDataFormat(item, text);
    if (!entry.Note.isEmpty()) {
        import.Refused.push_back(entry);
        return;
    }
    entry.Note = CheckRange(item, text);
    if (!entry.Note.isEmpty())
        import.OutOfRange.push_back(entry);
    import.Changed.push_back(entry);
}

} // namespace

QString GgSection(const DataFlashTree& tree, const ItemPlace& at)
{
    const DataClass& dataClass = tree.Classes[static_cast<std::size_t>(at.Class)];
    return SectionName(dataClass.SubClasses[static_cast<std::size_t>(at.SubClass)], dataClass);
}

GgImport ParseGg(const QByteArray& bytes, const DataFlashTree& tree, const QString& deviceName)
{
    GgImport import;
    const ProfileFile file(bytes);
    import.DeviceName = file.String(kHeader, u"DeviceName", QStringLiteral("Unknown"));
    // a device name can hold no more than its line in the file can
    import.OtherDevice = import.DeviceName != deviceName && import.DeviceName != CarriedBack(deviceName);
    QSet<QString> known;
    known.reserve(tree.ItemCount());
    int found = 0;
    const bool hasBytes = !file.SectionLines(kBytes).isEmpty();
    for (ItemPlace at{}; at.Class < static_cast<int>(tree.Classes.size()); ++at.Class) {
        const DataClass& dataClass = tree.Classes[static_cast<std::size_t>(at.Class)];
        for (at.SubClass = 0; at.SubClass < static_cast<int>(dataClass.SubClasses.size()); ++at.SubClass) {
            const SubClass& subClass = dataClass.SubClasses[static_cast<std::size_t>(at.SubClass)];
            const QString section = SectionName(subClass, dataClass);
            const Bytes image = hasBytes ? GgBytes(file, subClass) : Bytes();
            for (at.Item = 0; at.Item < static_cast<int>(subClass.Items.size()); ++at.Item) {
                const DataItem& item = subClass.Items[static_cast<std::size_t>(at.Item)];
                known.insert(QString(section + QLatin1Char('\n') + item.Name).toCaseFolded());
                const std::optional<QString> text = ValueIn(file, section, item, image);
                if (!text) {
                    import.Missing << QStringLiteral("Missing value: ") + section + QLatin1Char(' ')
                            + item.Name;
                    continue;
                }
                ++found;
                Take(import, at, item, *text);
            }
        }
    }
    if (found == 0 && !file.SectionNames().contains(kHeader, Qt::CaseInsensitive)) {
        import = {};
        import.Error = QStringLiteral("it is no data flash file: it has no section [Header] and no value of "
                                      "this target");
        return import;
    }
    const bool wide = bytes.startsWith("\xFF\xFE");
    if (!wide && !bytes.endsWith('\n') && !bytes.endsWith('\r'))
        import.Warnings << QStringLiteral("the last line has no end: the file may be cut, and its last value "
                                          "with it");
    NoteTheRest(file, known, import);
    return import;
}

GgImport ReadGg(const QString& path, const DataFlashTree& tree, const QString& deviceName)
{
    GgImport import;
    const FileBytes file = ReadWhole(path, kLargestFile);
    if (!file.error.isEmpty()) {
        import.Error = file.error;
        return import;
    }
    import = ParseGg(file.bytes, tree, deviceName);
    if (!import.Ok())
        import.Error = QStringLiteral("%1 could not be imported: %2").arg(path, import.Error);
    return import;
}

bool AcceptDevice(const GgImport& import, UserMessages& messages)
{
    return !import.OtherDevice
        || messages.Ask(QStringLiteral("Mismatched Target name in GG file! Do you want to continue?"),
                        Answer::Yes | Answer::No)
        == Answer::Yes;
}

void ApplyGg(const GgImport& import, DataFlashTree& tree)
{
    for (const GgImport::Entry& entry : import.Changed)
        ItemAt(tree, entry.Place).Value = entry.New;
}

QString GgSummary(const GgImport& import)
{
    const auto fresh = std::ranges::count_if(import.Changed,
                                             [](const GgImport::Entry& entry) { return entry.Old.isNull(); });
    return QStringLiteral("%1 changed, %2%3 same, %4 missing, %5 unknown, %6 out of range, %7 refused")
        .arg(static_cast<qsizetype>(import.Changed.size()) - fresh)
        .arg(fresh > 0 ? QStringLiteral("%1 new, ").arg(fresh) : QString())
        .arg(import.Same)
        .arg(import.Missing.size())
        .arg(import.UnknownCount)
        .arg(import.OutOfRange.size())
        .arg(import.Refused.size());
}

QStringList GgReport(const GgImport& import, const DataFlashTree& tree)
{
    if (!import.Ok())
        return {import.Error};
    QStringList lines{GgSummary(import)};
    if (import.OtherDevice)
        lines << QStringLiteral("The file was made for the device \"%1\".").arg(import.DeviceName);
    const auto noted = [&](const char* what, const std::vector<GgImport::Entry>& entries) {
        for (const GgImport::Entry& entry : entries)
            lines << QStringLiteral("%1: %2 %3 \"%4\": %5")
                         .arg(QLatin1String(what), GgSection(tree, entry.Place),
                              ItemAt(tree, entry.Place).Name, entry.New, entry.Note);
    };
    noted("Refused", import.Refused);
    noted("Out of range", import.OutOfRange);
    lines << import.Missing;
    for (const QString& unknown : import.Unknown)
        lines << QStringLiteral("Unknown: ") + unknown;
    if (import.UnknownCount > import.Unknown.size())
        lines << QStringLiteral("Unknown: and %1 more").arg(import.UnknownCount - import.Unknown.size());
    return lines + import.Warnings;
}

QByteArray GgText(const DataFlashTree& tree, const QString& deviceName, const QString& isoTime,
                  QStringList& warnings)
{
    QString text
        = QStringLiteral("[Header]\r\nTarnlo Version = %1\r\nDeviceName = %2\r\nTime = %3\r\n\r\n[Data]\r\n")
              .arg(QStringLiteral(TARNLO_VERSION), OneLine(deviceName), isoTime);
    for (const DataClass& dataClass : tree.Classes) {
        text += QLatin1String("\r\n");
        for (const SubClass& subClass : dataClass.SubClasses) {
            text += QLatin1Char('[') + OneLine(SectionName(subClass, dataClass)) + QLatin1String("]\r\n");
            for (const DataItem& item : subClass.Items)
                text += OneLine(item.Name) + QLatin1String(" = ") + OneLine(item.Value)
                    + QLatin1String("\r\n");
        }
    }
    QByteArray bytes = text.toUtf8();
    const ProfileFile again(bytes);
    ForEachItem(
        tree,
        [&](const ItemPlace&, const DataClass& dataClass, const SubClass& subClass, const DataItem& item) {
            const QString section = SectionName(subClass, dataClass);
            if (!again.HasKey(section, item.Name) || again.String(section, item.Name) != item.Value)
                warnings << QStringLiteral("%1 %2: the file cannot carry \"%3\" back, because %4")
                                .arg(OneLine(section), OneLine(item.Name), OneLine(item.Value),
                                     WhyLost(item.Value));
        });
    return bytes;
}

QString ExportDF(const DataFlashTree& tree, const QString& deviceName, const QString& isoTime,
                 const QString& path, QStringList& warnings)
{
    return SaveWhole(path, GgText(tree, deviceName, isoTime, warnings));
}

QByteArray GgBytesSection(const DataFlashTree& tree)
{
    QByteArray text = "\r\n[" + kBytes.toUtf8() + "]\r\n";
    for (const DataClass& dataClass : tree.Classes)
        for (const SubClass& subClass : dataClass.SubClasses)
            for (qsizetype at = 0; at < subClass.Length(); at += kBytesARow) {
                const std::span<const std::uint8_t> row
                    = std::span(subClass.Buffer)
                          .subspan(static_cast<std::size_t>(at),
                                   static_cast<std::size_t>(std::min(kBytesARow, subClass.Length() - at)));
                text += QByteArray::number(subClass.Id) + '+' + QByteArray::number(at) + " = "
                    + HexText(row).toLatin1() + "\r\n";
            }
    return text;
}

Bytes GgBytes(const ProfileFile& file, const SubClass& subClass)
{
    Bytes bytes;
    while (static_cast<int>(bytes.size()) < subClass.Length()) {
        const std::optional<Bytes> row
            = ParseHex(file.String(kBytes, QStringLiteral("%1+%2").arg(subClass.Id).arg(bytes.size())));
        if (!row || row->empty())
            return {};
        bytes.insert(bytes.end(), row->begin(), row->end());
    }
    return static_cast<int>(bytes.size()) == subClass.Length() ? bytes : Bytes();
}

QString DefaultsPath(ProfileStore& profiles, const StartupState& state)
{
    return DataFlashPath(profiles, state, u"Defaults");
}

GgImport UseDefaultsFile(const QString& path, DataFlashTree& tree, const QString& deviceName)
{
    GgImport import = ReadGg(path, WithDefaults(tree), deviceName);
    for (const GgImport::Entry& entry : import.Changed)
        ItemAt(tree, entry.Place).DefValue = entry.New;
    return import;
}
