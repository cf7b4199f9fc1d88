#include "settings/TargetList.h"

#include "platform/ProgramFolder.h"
#include "settings/TargetInfo.h"

#include <QFileInfo>

#include <algorithm>

namespace {

// Every entry ends with one terminator and the list with one more; all of them count.
constexpr qsizetype kBufferCharacters = 4096;

constexpr QLatin1String kAll("All");

QString CategoryOf(const QString& name)
{
    qsizetype end = 0;
    while (end < name.size() && !name[end].isSpace() && !name[end].isDigit())
        ++end;
    while (end < name.size() && name[end].isDigit())
        ++end;
    return name.left(end);
}

} // namespace

QString ShownDevice(const QString& key)
{
    QString shown = key;
    const qsizetype first = shown.indexOf(QLatin1Char('_'));
    if (first < 0)
        return shown;
    shown.replace(first, 1, QStringLiteral(",Ver:"));
    const qsizetype second = shown.indexOf(QLatin1Char('_'));
    if (second >= 0)
        shown[second] = QLatin1Char('.');
    return shown;
}

void TargetList::Load()
{
    m_entries.clear();
    // a copy: looking a name up reads other files
    const QStringList lines
        = m_profiles.File(m_state.ProgramSettingsFile).SectionLines(QStringLiteral("Targets"));
    qsizetype used = 1;
    bool fits = true;
    for (const QString& line : lines) {
        used += line.size() + 1;
        fits = used <= kBufferCharacters;
        if (!fits)
            break;
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (equals < 0 || line.trimmed().startsWith(QLatin1Char(';')))
            continue;
        TargetEntry entry{.key = line.left(equals).trimmed(),
                          .file = line.mid(equals + 1).trimmed(),
                          .name = {},
                          .line = {}};
        entry.name = m_profiles.String(ResolvePath(m_state.ProgramFolder, entry.file), u"Device", u"Name");
        entry.line = entry.name + QStringLiteral(" (Dev:") + ShownDevice(entry.key) + QStringLiteral(") -")
            + entry.key;
        m_entries.push_back(std::move(entry));
    }
    if (!fits)
        m_messages.Show(QStringLiteral("Buffer size insufficient!"));
}

const TargetEntry* TargetList::Find(const QString& line) const
{
    const auto found = std::ranges::find(m_entries, line, &TargetEntry::line);
    return found == m_entries.end() ? nullptr : &*found;
}

QString TargetList::LineInUse() const
{
    // one way of writing a path: the settings may have "\\", and a path that the user gave is whole
    const auto whole = [this](const QString& file) {
        return QFileInfo(ResolvePath(m_state.ProgramFolder, file)).canonicalFilePath();
    };
    const QString used = m_state.TargetConfigPath.isEmpty() ? QString() : whole(m_state.TargetConfigPath);
    if (!used.isEmpty())
        for (const TargetEntry& entry : m_entries)
            if (whole(entry.file) == used)
                return entry.line;
    return {};
}

TargetDetails TargetList::Details(const TargetEntry& entry) const
{
    const QString path = ResolvePath(m_state.ProgramFolder, entry.file);
    QStringList captions;
    for (const ViewButton& button : TargetButtons(m_profiles, path))
        captions << button.Caption;
    return {.file = entry.file,
            .found = QFileInfo(path).isFile(),
            .offers = captions.join(QStringLiteral(", ")),
            .address = m_profiles.Integer(path, u"Communication", u"TargetAddress", m_state.TargetAddress)};
}

QStringList TargetList::Categories() const
{
    QStringList categories;
    for (const TargetEntry& entry : m_entries) {
        const QString category = CategoryOf(entry.name);
        if (!category.isEmpty() && !categories.contains(category, Qt::CaseInsensitive))
            categories << category;
    }
    categories.sort(Qt::CaseInsensitive);
    categories.prepend(kAll);
    return categories;
}

QStringList TargetList::LinesOf(const QString& category) const
{
    const bool all = category.compare(kAll, Qt::CaseInsensitive) == 0;
    QStringList lines;
    for (const TargetEntry& entry : m_entries)
        if (all || entry.line.startsWith(category, Qt::CaseInsensitive))
            lines << entry.line;
    return lines;
}

std::optional<QString> TargetList::DefaultLine() const
{
    const QString remembered = m_profiles.String(m_state.ProgramSettingsFile, u"Default", u"Target");
    if (remembered.isEmpty())
        return std::nullopt;
    for (const TargetEntry& entry : m_entries)
        if (entry.line.trimmed().startsWith(remembered)) // trimmed, as a value comes back from its file
            return entry.line;
    return std::nullopt;
}

QString TargetList::SetDefault(const QString& line)
{
    return m_profiles.Write(m_state.ProgramSettingsFile, u"Default", u"Target", line);
}

QString TargetList::Choose(const QString& line)
{
    if (line.isEmpty()) {
        m_messages.Show(QStringLiteral("Please select a target first!"));
        return {};
    }
    const qsizetype dash = line.lastIndexOf(QLatin1Char('-'));
    if (dash < 0) {
        m_messages.Show(QStringLiteral("File corrupted! Please check your installation!"));
        return {};
    }
    QString file = m_profiles.String(m_state.ProgramSettingsFile, u"Targets", line.mid(dash + 1));
    if (file.isEmpty())
        m_messages.Show(QStringLiteral("Found corrupt data. Please check your installation!"));
    return file;
}
