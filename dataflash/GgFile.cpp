#include "dataflash/GgFile.h"

#include "dataflash/DataFlashDiff.h"
#include "dataflash/EachItem.h"
#include "dataflash/ItemBytes.h"
#include "dataflash/ItemText.h"
#include "platform/WholeFile.h"

#include <QHash>

#include <algorithm>
#include <utility>

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

/// Reads a file's lines once, in their order, against the items of a tree. As everywhere in profile files the
/// first section of a name counts, and in it the first key.
class Reading {
public:
    /// A section of the tree and, for each of its items, the text that the file has.
    struct Section {
        QString Name;
        const SubClass* Sub;
        std::vector<std::optional<QString>> Texts;
        bool Met = false;
    };

    Reading(const DataFlashTree& tree, GgImport& import) : m_import(import)
    {
        for (const DataClass& dataClass : tree.Classes)
            for (const SubClass& subClass : dataClass.SubClasses) {
                m_sections.push_back({SectionName(subClass, dataClass), &subClass, {}});
                m_sections.back().Texts.resize(subClass.Items.size());
                if (const QString name = m_sections.back().Name.toCaseFolded(); !m_byName.contains(name))
                    m_byName.insert(name, m_sections.size() - 1);
            }
    }

    void Read(const QByteArray& bytes)
    {
        ProfileFile::Walk(bytes, [this](const ProfileFile::Met& met) {
            if (met.Key.isEmpty())
                Enter(met);
            else if (met.Section.isEmpty())
                Warn(QStringLiteral("line %1: %2 stands above the first section and does not count")
                         .arg(met.Line)
                         .arg(met.Key));
            else if (m_place == Place::Header)
                HeaderLine(met);
            else if (m_place == Place::Items)
                Item(met);
        });
    }

    [[nodiscard]] const std::vector<Section>& Sections() const { return m_sections; }
    [[nodiscard]] const std::optional<QString>& DeviceName() const { return m_deviceName; }
    [[nodiscard]] bool HasHeader() const { return m_header; }
    [[nodiscard]] bool HasBytes() const { return m_bytes; }

private:
    enum class Place { Header, Bytes, Items, Twice };

    void Enter(const ProfileFile::Met& met)
    {
        m_section = nullptr;
        m_next = 0;
        bool* before = nullptr;
        m_place = Place::Items;
        if (met.Section.compare(kHeader, Qt::CaseInsensitive) == 0) {
            m_place = Place::Header;
            before = &m_header;
        } else if (met.Section.compare(kBytes, Qt::CaseInsensitive) == 0) {
            m_place = Place::Bytes;
            before = &m_bytes;
        } else if (const auto named = m_byName.constFind(met.Section.toString().toCaseFolded());
                   named != m_byName.constEnd()) {
            m_section = &m_sections[*named];
            before = &m_section->Met;
        }
        if (before && std::exchange(*before, true)) {
            m_place = Place::Twice;
            Warn(QStringLiteral("line %1: section %2 stands twice; what follows does not count")
                     .arg(met.Line)
                     .arg(met.Section));
        }
    }

    void HeaderLine(const ProfileFile::Met& met)
    {
        if (!m_deviceName && met.Key.compare(u"DeviceName", Qt::CaseInsensitive) == 0)
            m_deviceName = met.Value.toString();
    }

    void Item(const ProfileFile::Met& met)
    {
        const std::size_t count = m_section ? m_section->Texts.size() : 0;
        for (std::size_t tried = 0; tried < count; ++tried) { // the next one first, as files are written
            const std::size_t item = (m_next + tried) % count;
            if (met.Key.compare(m_section->Sub->Items[item].Name, Qt::CaseInsensitive) != 0)
                continue;
            if (m_section->Texts[item])
                Warn(QStringLiteral("line %1: %2 stands twice in %3; only the first one counts")
                         .arg(met.Line)
                         .arg(met.Key, met.Section));
            else
                m_section->Texts[item] = met.Value.toString();
            m_next = item + 1;
            return;
        }
        ++m_import.UnknownCount;
        if (m_import.Unknown.size() < GgImport::kListed)
            m_import.Unknown << met.Section.toString() + QLatin1Char(' ') + met.Key.toString();
    }

    void Warn(const QString& text)
    {
        if (m_import.Warnings.size() < GgImport::kListed)
            m_import.Warnings << text;
    }

    GgImport& m_import;
    std::vector<Section> m_sections;
    QHash<QString, std::size_t> m_byName;
    Place m_place = Place::Items; ///< that the walk is in
    Section* m_section = nullptr; ///< of Place::Items; null: none of the tree
    std::size_t m_next = 0;
    std::optional<QString> m_deviceName;
    bool m_header = false;
    bool m_bytes = false;
};

/// A backup's bytes count for what a text cannot carry, unless somebody has edited the text since.
std::optional<QString> WithBytes(const std::optional<QString>& text, const DataItem& item, const Bytes& image)
{
    if (image.empty())
        return text;
    const QString stored = TextOf(item, image);
    return !text || CarriedBack(stored) == text ? stored : text;
}

void Take(GgImport& import, const ItemPlace& at, const DataItem& item, const QString& text)
{
    const bool known = HasValue(item, item.Value);
    if (known && text == item.Value) {
        ++import.Same;
        return;
    }
    GgImport::Entry entry{at, item.Value, text, {}};
    entry.Note = ValidateDataFormat(item, text);
    if (!entry.Note.isEmpty()) {
        if (text.isEmpty())
            entry.Note = QStringLiteral("the file has no value");
        import.Refused.push_back(std::move(entry));
        return;
    }
    if (known && SameBytes(item, text, item.Value)) {
        ++import.Same;
        return;
    }
    entry.Note = CheckRange(item, text);
    if (!entry.Note.isEmpty())
        import.OutOfRange.push_back(entry);
    import.Changed.push_back(std::move(entry));
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
    const bool wide = bytes.startsWith("\xFF\xFE");
    import.LooksCut = !wide && !bytes.endsWith('\n') && !bytes.endsWith('\r');
    if (import.LooksCut)
        import.Warnings << QStringLiteral("the last line has no end: the file may be cut, and its last value "
                                          "with it");
    Reading reading(tree, import);
    reading.Read(bytes);
    import.DeviceName = reading.DeviceName().value_or(QStringLiteral("Unknown"));
    // a device name can hold no more than its line in the file can
    import.OtherDevice = import.DeviceName != deviceName && import.DeviceName != CarriedBack(deviceName);
    import.Changed.reserve(static_cast<std::size_t>(tree.ItemCount()));
    std::optional<ProfileFile> backup;
    if (reading.HasBytes())
        backup.emplace(bytes);
    int found = 0;
    auto section = reading.Sections().begin();
    for (ItemPlace at{}; at.Class < static_cast<int>(tree.Classes.size()); ++at.Class) {
        const DataClass& dataClass = tree.Classes[static_cast<std::size_t>(at.Class)];
        for (at.SubClass = 0; at.SubClass < static_cast<int>(dataClass.SubClasses.size());
             ++at.SubClass, ++section) {
            const Bytes image = backup ? GgBytes(*backup, *section->Sub) : Bytes();
            for (at.Item = 0; at.Item < static_cast<int>(section->Texts.size()); ++at.Item) {
                const auto index = static_cast<std::size_t>(at.Item);
                const DataItem& item = section->Sub->Items[index];
                const std::optional<QString> text = WithBytes(section->Texts[index], item, image);
                if (!text) {
                    import.Missing << QStringLiteral("Missing value: ") + section->Name + QLatin1Char(' ')
                            + item.Name;
                    continue;
                }
                ++found;
                Take(import, at, item, *text);
            }
        }
    }
    if (found == 0 && !reading.HasHeader()) {
        import = {};
        import.Error = QStringLiteral("it is no data flash file: it has no section [Header] and no value of "
                                      "this target");
    }
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
    GgImport rest;
    Reading again(tree, rest);
    again.Read(bytes);
    for (const Reading::Section& section : again.Sections())
        for (std::size_t i = 0; i < section.Texts.size(); ++i)
            if (const DataItem& item = section.Sub->Items[i]; section.Texts[i] != item.Value)
                warnings << QStringLiteral("%1 %2: the file cannot carry \"%3\" back, because %4")
                                .arg(OneLine(section.Name), OneLine(item.Name), OneLine(item.Value),
                                     WhyLost(item.Value));
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
