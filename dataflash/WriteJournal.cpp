#include "dataflash/WriteJournal.h"

#include <QCryptographicHash>
#include <QJsonDocument>

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace {

constexpr int kForm = 1;
constexpr std::size_t kLongestImage = 65536;

QByteArray Line(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QByteArray Sum(QByteArrayView bytes)
{
    return QCryptographicHash::hash(bytes.toByteArray(), QCryptographicHash::Sha256).toHex();
}

/// Nothing for a line that is no object.
std::optional<QJsonObject> ObjectOf(QByteArrayView line)
{
    const QJsonDocument document = QJsonDocument::fromJson(line.toByteArray());
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

std::optional<JournalContent::Entry> EntryOf(const QJsonObject& object)
{
    const int id = object[QStringLiteral("subclass")].toInt(-1);
    const std::optional<Bytes> before = ParseHex(object[QStringLiteral("old")].toString());
    const std::optional<Bytes> after = ParseHex(object[QStringLiteral("new")].toString());
    if (id < 0 || id > 0xFFFF || !before || !after || before->size() != after->size()
        || before->size() > kLongestImage)
        return std::nullopt;
    return JournalContent::Entry{static_cast<std::uint16_t>(id), object[QStringLiteral("name")].toString(),
                                 *before, *after};
}

/// A part of the identity stands in the data flash as these bytes, and the write may have changed them: to
/// new ones, to a mixture, or, when the gauge missed which subclass was meant, to what was meant for the same
/// place of another one.
bool MayHaveBecome(const std::vector<JournalContent::Entry>& entries, const Bytes& before, const Bytes& now)
{
    const auto reads = [&now](const JournalContent::Entry& entry, std::size_t offset, const Bytes& sent) {
        for (std::size_t i = 0; i < now.size(); ++i) {
            const std::size_t at = offset + i;
            if (now[i] != entry.Old[at] && now[i] != entry.New[at]
                && (at >= sent.size() || now[i] != sent[at]))
                return false;
        }
        return true;
    };
    for (const JournalContent::Entry& entry : entries) {
        for (auto at = entry.Old.begin();; ++at) {
            at = std::search(at, entry.Old.end(), before.begin(), before.end());
            if (at == entry.Old.end())
                break;
            const auto offset = static_cast<std::size_t>(at - entry.Old.begin());
            if (entry.Old.size() - offset >= now.size()
                && std::ranges::any_of(entries, [&](const JournalContent::Entry& other) {
                       return reads(entry, offset, other.New);
                   }))
                return true;
        }
    }
    return false;
}

Bytes Counted(const Bytes& text)
{
    Bytes bytes(1 + text.size());
    bytes[0] = static_cast<std::uint8_t>(text.size());
    std::ranges::copy(text, bytes.begin() + 1);
    return bytes;
}

Bytes BigEndian(std::uint16_t word)
{
    return {static_cast<std::uint8_t>(word >> 8), static_cast<std::uint8_t>(word & 0xFF)};
}

/// A name from what the pack says, so that a person finds it in the folder.
QString NameFor(const PackIdentity& pack)
{
    QString name;
    for (const QChar character : pack.Text().left(60))
        name += character.isLetterOrNumber() && character.unicode() < 128 ? character : QLatin1Char('_');
    return name;
}

QByteArray SentLine(std::uint16_t id) { return Line({{QStringLiteral("sent"), id}}); }

const QString kEnding = QStringLiteral(".journal");

} // namespace

const JournalContent::Entry* JournalContent::Find(std::uint16_t id) const
{
    const auto found = std::ranges::find(Entries, id, &Entry::Id);
    return found == Entries.end() ? nullptr : &*found;
}

bool JournalContent::Belongs(const PackIdentity& pack) const
{
    const auto text = [&](const std::optional<Bytes>& before, const std::optional<Bytes>& now) {
        return !before || !now || *before == *now || MayHaveBecome(Entries, Counted(*before), Counted(*now));
    };
    const auto word = [&](std::optional<std::uint16_t> before, std::optional<std::uint16_t> now) {
        return !before || !now || *before == *now
            || MayHaveBecome(Entries, BigEndian(*before), BigEndian(*now));
    };
    if (!Pack.Known() || !pack.Known())
        return !Pack.Known() && !pack.Known();
    const bool common = (Pack.Manufacturer && pack.Manufacturer) || (Pack.Device && pack.Device)
        || (Pack.Serial && pack.Serial) || (Pack.Date && pack.Date);
    return common && text(Pack.Manufacturer, pack.Manufacturer) && text(Pack.Device, pack.Device)
        && word(Pack.Serial, pack.Serial) && word(Pack.Date, pack.Date);
}

QByteArray JournalText(const JournalContent& content)
{
    QByteArray bytes = Line({{QStringLiteral("tarnlo_journal"), kForm},
                             {QStringLiteral("begun"), content.Begun},
                             {QStringLiteral("pack"), content.Pack.ToJson()},
                             {QStringLiteral("pack_text"), content.Pack.Text()},
                             {QStringLiteral("access"), content.LegacyString}});
    for (const JournalContent::Entry& entry : content.Entries)
        bytes += Line({{QStringLiteral("subclass"), entry.Id},
                       {QStringLiteral("name"), entry.Name},
                       {QStringLiteral("old"), HexText(entry.Old)},
                       {QStringLiteral("new"), HexText(entry.New)}});
    return bytes + Line({{QStringLiteral("sha256"), QString::fromLatin1(Sum(bytes))}});
}

JournalContent ParseJournal(const QByteArray& bytes, QString& error)
{
    JournalContent content;
    bool images = true; // up to the line with the sum; what follows tells of progress
    int number = 0;
    std::unordered_map<int, std::size_t> index; // of the entries, by id
    for (qsizetype start = 0, end = 0; (end = bytes.indexOf('\n', start)) >= 0; start = end + 1) {
        const std::optional<QJsonObject> line = ObjectOf(QByteArrayView(bytes).sliced(start, end - start));
        ++number;
        const auto refuse = [&](const QString& why) {
            error = QStringLiteral("line %1: %2").arg(number).arg(why);
            return JournalContent{};
        };
        if (!line && !images)
            continue;
        if (!line)
            return refuse(QStringLiteral("this is no JSON object"));
        if (number == 1) {
            if ((*line)[QStringLiteral("tarnlo_journal")].toInt() != kForm)
                return refuse(QStringLiteral("this is no journal of form %1").arg(kForm));
            content.Begun = (*line)[QStringLiteral("begun")].toString();
            content.LegacyString = (*line)[QStringLiteral("access")].toString();
            content.Pack = PackIdentity::FromJson((*line)[QStringLiteral("pack")].toObject());
        } else if (const QJsonValue sum = (*line)[QStringLiteral("sha256")]; images && sum.isString()) {
            if (sum.toString().toLatin1() != Sum(QByteArrayView(bytes).first(start)))
                return refuse(QStringLiteral("the lines above were changed"));
            images = false;
        } else if (images) {
            std::optional<JournalContent::Entry> entry = EntryOf(*line);
            if (!entry || !index.emplace(entry->Id, content.Entries.size()).second)
                return refuse(QStringLiteral("this is no subclass with an old and a new image"));
            content.Entries.push_back(*std::move(entry));
        } else {
            if (const auto found = index.find((*line)[QStringLiteral("sent")].toInt(-1));
                found != index.end())
                content.Entries[found->second].Sent = true;
        }
    }
    if (images) {
        error = QStringLiteral("the end is missing");
        return {};
    }
    return content;
}

void WriteJournal::Find(const PackIdentity& pack, QStringList& problems)
{
    m_name.clear();
    m_content = {};
    for (const QString& name : m_files.Names()) {
        QString problem;
        const QByteArray bytes = m_files.Read(name, problem);
        JournalContent content = problem.isEmpty() ? ParseJournal(bytes, problem) : JournalContent{};
        if (!problem.isEmpty())
            problems << QStringLiteral(
                            "The journal %1 of a data-flash write cannot be used and is left as it "
                            "is: %2")
                            .arg(name, problem);
        else if (content.Belongs(pack) && (m_name.isEmpty() || content.Begun > m_content.Begun)) {
            m_name = name;
            m_content = std::move(content);
        }
    }
}

/// Finds the pack's journal and keeps other programs away from it.
/// @return empty, or which program has it
QString WriteJournal::Hold(const PackIdentity& pack, QStringList& problems)
{
    Find(pack, problems);
    if (m_name.isEmpty())
        return {};
    QString problem = m_files.Lock(m_name);
    if (problem.isEmpty()) {
        QStringList again;
        Find(pack, again); // whoever had it until now may have gone on or ended it
    } else {
        m_name.clear();
    }
    return problem;
}

std::optional<JournalContent> WriteJournal::Open(const PackIdentity& pack, QStringList& problems)
{
    if (const QString problem = Hold(pack, problems); !problem.isEmpty())
        problems << problem;
    return m_name.isEmpty() ? std::nullopt : std::optional(m_content);
}

QString WriteJournal::Begin(JournalContent content)
{
    QStringList problems; // were told when somebody looked for a pending write
    if (QString problem = Hold(content.Pack, problems); !problem.isEmpty())
        return problem;
    if (!m_name.isEmpty()) {
        const JournalContent& before = m_content;
        for (JournalContent::Entry& entry : content.Entries) {
            const JournalContent::Entry* left = before.Find(entry.Id);
            if (left && left->Old.size() == entry.Old.size() && entry.Old != left->Old
                && entry.Old != left->New)
                entry.Old = left->Old;
        }
        for (const JournalContent::Entry& left : before.Entries)
            if (!content.Find(left.Id))
                content.Entries.push_back(left);
    } else {
        const QStringList taken = m_files.Names();
        const QString name = NameFor(content.Pack);
        m_name = name + kEnding;
        for (int i = 2; taken.contains(m_name, Qt::CaseInsensitive); ++i)
            m_name = QStringLiteral("%1-%2").arg(name).arg(i) + kEnding;
        if (QString problem = m_files.Lock(m_name); !problem.isEmpty()) {
            m_name.clear();
            return problem;
        }
    }
    m_content = std::move(content);
    return Save();
}

QString WriteJournal::Save()
{
    QByteArray bytes = JournalText(m_content);
    for (const JournalContent::Entry& entry : m_content.Entries)
        if (entry.Sent)
            bytes += SentLine(entry.Id);
    return m_files.Save(m_name, bytes);
}

QString WriteJournal::Amend(const JournalContent::Entry& entry)
{
    const auto found = std::ranges::find(m_content.Entries, entry.Id, &JournalContent::Entry::Id);
    if (found == m_content.Entries.end() || (found->Old == entry.Old && found->New == entry.New))
        return {};
    *found = entry;
    return Save();
}

QString WriteJournal::Sent(std::uint16_t id)
{
    const auto found = std::ranges::find(m_content.Entries, id, &JournalContent::Entry::Id);
    if (found != m_content.Entries.end())
        found->Sent = true;
    return m_files.Append(m_name, SentLine(id));
}

QString WriteJournal::End(const std::vector<std::uint16_t>& ids)
{
    std::erase_if(m_content.Entries, [&](const JournalContent::Entry& entry) {
        return std::ranges::find(ids, entry.Id) != ids.end();
    });
    return m_content.Entries.empty() ? Forget() : Save();
}

QString WriteJournal::Forget()
{
    if (m_name.isEmpty())
        return {};
    m_content = {};
    return m_files.Remove(std::exchange(m_name, {}));
}
