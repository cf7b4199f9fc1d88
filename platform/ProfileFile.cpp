#include "platform/ProfileFile.h"

#include "platform/Windows1252.h"

#include <QHashSeed>
#include <QStringDecoder>
#include <QStringEncoder>
#include <QVarLengthArray>
#include <QtEndian>

#include <algorithm>
#include <limits>

namespace {

constexpr QByteArrayView kUtf8Mark("\xEF\xBB\xBF");
constexpr QByteArrayView kUtf16Mark("\xFF\xFE");
constexpr qsizetype kLongestValue = 511;
constexpr std::uint32_t kFree = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t kNoOwner = kFree;

bool IsBlank(QChar c) { return c.unicode() <= u' '; }
bool SameName(QStringView a, QStringView b) { return a.compare(b, Qt::CaseInsensitive) == 0; }
bool IsLineEnd(QChar c) { return c == u'\n' || c == u'\r'; }

QStringView Trimmed(QStringView text)
{
    while (!text.isEmpty() && IsBlank(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && IsBlank(text.back()))
        text.chop(1);
    return text;
}

QStringView Unquoted(QStringView value)
{
    const bool quoted = value.size() >= 2 && value.front() == value.back()
        && (value.front() == u'"' || value.front() == u'\'');
    return quoted ? value.mid(1, value.size() - 2) : value;
}

/// Seeded anew in every run, so that no file can be made whose names all meet in one place of the index.
std::uint32_t FoldedHash(std::uint32_t owner, QStringView name)
{
    QVarLengthArray<char16_t, 128> folded;
    folded.reserve(name.size());
    for (const QChar c : name)
        folded.append(c.toCaseFolded().unicode());
    const std::size_t hash
        = qHashBits(folded.constData(), static_cast<std::size_t>(folded.size()) * sizeof(char16_t),
                    static_cast<std::size_t>(QHashSeed::globalSeed()) ^ owner);
    return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

std::int32_t LeadingInteger(QStringView text)
{
    constexpr std::int64_t kLowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t kHighest = std::numeric_limits<std::int32_t>::max();
    text = Trimmed(text);
    const bool negative = text.startsWith(u'-');
    if (negative || text.startsWith(u'+'))
        text = text.mid(1);
    int base = 10;
    if (text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) {
        base = 16; // its decimal reading would be a silent 0
        text = text.mid(2);
    }
    std::int64_t value = 0;
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        const int digit = u >= u'0' && u <= u'9'   ? u - u'0'
            : (u | 32) >= u'a' && (u | 32) <= u'f' ? (u | 32) - u'a' + 10
                                                   : 99;
        if (digit >= base)
            break;
        value = std::min(value * base + digit, kHighest + 1);
    }
    return static_cast<std::int32_t>(std::clamp(negative ? -value : value, kLowest, kHighest));
}

} // namespace

struct ProfileFile::Line {
    enum class Kind { Other, Header, Key };
    Kind kind = Kind::Other;
    qsizetype start = 0;
    qsizetype end = 0; ///< in front of the line end
    qsizetype next = 0; ///< start of the line after it
    QStringView content; ///< without the blanks around it
    QStringView name; ///< of a header or a key
    QStringView value; ///< of a key, quotes still on
};

ProfileFile::ProfileFile(const QByteArray& bytes)
{
    Decode(bytes);
    Index();
}

void ProfileFile::Decode(const QByteArray& bytes)
{
    if (bytes.startsWith(kUtf16Mark)) {
        m_encoding = Encoding::Utf16WithMark;
        const QByteArrayView rest = QByteArrayView(bytes).sliced(kUtf16Mark.size());
        // unit by unit: a decoder would replace halves of characters, and the file would change at a write
        m_text = QString(rest.size() / 2, Qt::Uninitialized);
        for (qsizetype unit = 0; unit < m_text.size(); ++unit)
            m_text[unit] = QChar(qFromLittleEndian<char16_t>(rest.data() + 2 * unit));
        m_tail = rest.sliced(m_text.size() * 2).toByteArray();
    } else if (QUtf8StringView(bytes).isValidUtf8()) {
        const bool marked = bytes.startsWith(kUtf8Mark);
        m_encoding = marked ? Encoding::Utf8WithMark : Encoding::Utf8;
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
        m_text = decoder(QByteArrayView(bytes).sliced(marked ? kUtf8Mark.size() : 0));
    } else {
        m_encoding = Encoding::Windows1252;
        m_text = DecodeWindows1252(bytes);
    }
}

QByteArray ProfileFile::ToBytes() const
{
    switch (m_encoding) {
    case Encoding::Utf8:
        return m_text.toUtf8();
    case Encoding::Utf8WithMark:
        return kUtf8Mark.toByteArray() + m_text.toUtf8();
    case Encoding::Windows1252:
        return EncodeWindows1252(m_text).bytes;
    case Encoding::Utf16WithMark:
        break;
    }
    QByteArray bytes = kUtf16Mark.toByteArray();
    bytes.resize(kUtf16Mark.size() + m_text.size() * 2);
    char* at = bytes.data() + kUtf16Mark.size();
    for (const QChar c : m_text) {
        qToLittleEndian(c.unicode(), at);
        at += 2;
    }
    return bytes + m_tail;
}

bool ProfileFile::FitsEncoding() const { return ProfileFile(ToBytes()).m_text == m_text; }

QString ProfileFile::String(QStringView section, QStringView key, const QString& fallback) const
{
    const qsizetype line = FindKey(section, key);
    return line < 0 ? fallback : Unquoted(LineAt(line).value).left(kLongestValue).toString();
}

std::int32_t ProfileFile::Integer(QStringView section, QStringView key, std::int32_t fallback) const
{
    const qsizetype line = FindKey(section, key);
    const QStringView value = line < 0 ? QStringView() : Unquoted(LineAt(line).value);
    return value.isEmpty() ? fallback : LeadingInteger(value);
}

bool ProfileFile::HasKey(QStringView section, QStringView key) const { return FindKey(section, key) >= 0; }

QStringList ProfileFile::SectionLines(QStringView section) const
{
    QStringList lines;
    const qsizetype header = FindHeader(section);
    if (header < 0)
        return lines;
    for (Line line = After(LineAt(header)); line.start < m_text.size() && line.kind != Line::Kind::Header;
         line = After(line))
        if (line.kind == Line::Kind::Key)
            lines << line.content.toString();
    return lines;
}

QStringList ProfileFile::SectionNames() const
{
    QStringList names;
    for (Line line = LineAt(0); line.start < m_text.size(); line = After(line))
        if (line.kind == Line::Kind::Header && FindHeader(line.name) == line.start)
            names << line.name.toString();
    return names;
}

void ProfileFile::Walk(const QByteArray& bytes, const std::function<void(const Met&)>& visit)
{
    ProfileFile file;
    file.Decode(bytes);
    QStringView section;
    int number = 1;
    for (Line line = file.LineAt(0); line.start < file.m_text.size(); line = file.After(line), ++number) {
        if (line.kind == Line::Kind::Header)
            section = line.name;
        if (line.kind != Line::Kind::Other)
            visit({number, section, line.kind == Line::Kind::Key ? line.name : QStringView(),
                   Unquoted(line.value).left(kLongestValue)});
    }
}

bool ProfileFile::CanHold(QStringView section, QStringView key, QStringView value)
{
    const auto oneLine = [](QStringView text) { return std::none_of(text.begin(), text.end(), IsLineEnd); };
    const auto name = [&](QStringView text) {
        return !text.isEmpty() && oneLine(text) && Trimmed(text).size() == text.size();
    };
    return name(section) && !section.contains(u']') && name(key) && !key.contains(u'=')
        && !key.startsWith(u';') && !key.startsWith(u'[') && oneLine(value);
}

void ProfileFile::Set(QStringView section, QStringView key, const QString& value)
{
    if (!CanHold(section, key, value))
        return;
    const QString newLine = key.toString() + QLatin1Char('=') + value;
    if (const qsizetype found = FindKey(section, key); found >= 0) {
        const QStringView old = LineAt(found).value;
        m_text.replace(old.data() - m_text.constData(), old.size(), value);
    } else if (const qsizetype header = FindHeader(section); header >= 0) {
        // behind the last key, not at the end: a comment in front of the next header belongs to that one
        Line last = LineAt(header);
        for (Line line = After(last); line.start < m_text.size() && line.kind != Line::Kind::Header;
             line = After(line))
            if (line.kind == Line::Kind::Key)
                last = line;
        InsertAfter(last, newLine);
    } else {
        const QString end = LineEnd();
        if (!m_text.isEmpty())
            m_text += IsLineEnd(m_text.back()) ? end : end + end;
        m_text += QLatin1Char('[') + section.toString() + QLatin1Char(']') + end + newLine + end;
    }
    Index();
}

void ProfileFile::Unset(QStringView section, QStringView key)
{
    const qsizetype header = FindHeader(section);
    if (header < 0)
        return;
    std::vector<Span> spans;
    for (Line line = After(LineAt(header)); line.start < m_text.size() && line.kind != Line::Kind::Header;
         line = After(line))
        if (line.kind == Line::Kind::Key && SameName(line.name, key))
            spans.push_back({line.start, line.next});
    Cut(spans);
}

void ProfileFile::UnsetSection(QStringView section)
{
    std::vector<Span> spans; // each up to behind the last key, with the blank lines after it
    bool inside = false;
    bool blankSoFar = false;
    for (Line line = LineAt(0); line.start < m_text.size(); line = After(line)) {
        if (line.kind == Line::Kind::Header) {
            inside = SameName(line.name, section);
            if (inside)
                spans.push_back({line.start, line.next});
            blankSoFar = true;
        } else if (inside) {
            blankSoFar = line.kind == Line::Kind::Key || (blankSoFar && line.content.isEmpty());
            if (blankSoFar)
                spans.back().end = line.next;
        }
    }
    Cut(spans);
}

/// All at once: a file with a million sections of one name must not be indexed a million times.
void ProfileFile::Cut(const std::vector<Span>& spans)
{
    QString kept;
    qsizetype at = 0;
    for (const Span& span : spans) {
        kept += QStringView(m_text).sliced(at, span.start - at);
        at = span.end;
    }
    kept += QStringView(m_text).sliced(at);
    m_text = kept;
    Index();
}

ProfileFile::Line ProfileFile::After(const Line& line) const { return LineAt(line.next); }

ProfileFile::Line ProfileFile::LineAt(qsizetype start) const
{
    const QStringView text(m_text);
    Line line;
    line.start = start;
    line.end = std::find_if(text.begin() + start, text.end(), IsLineEnd) - text.begin();
    const bool pair = line.end + 1 < text.size() && text[line.end] == u'\r' && text[line.end + 1] == u'\n';
    line.next = std::min(line.end + (pair ? 2 : 1), text.size());
    line.content = Trimmed(text.sliced(start, line.end - start));
    if (line.content.isEmpty() || line.content.front() == u';')
        return line;
    if (line.content.front() == u'[') {
        if (const qsizetype close = line.content.indexOf(u']'); close > 0) {
            line.kind = Line::Kind::Header;
            line.name = Trimmed(line.content.sliced(1, close - 1));
            return line;
        }
    }
    const qsizetype equals = line.content.indexOf(u'=');
    if (equals <= 0)
        return line;
    line.kind = Line::Kind::Key;
    line.name = Trimmed(line.content.first(equals));
    line.value = Trimmed(line.content.sliced(equals + 1));
    return line;
}

qsizetype ProfileFile::FindKey(QStringView section, QStringView key) const
{
    const qsizetype header = FindHeader(section);
    return header < 0 ? -1 : Find(static_cast<std::uint32_t>(header) + 1, key);
}

qsizetype ProfileFile::Find(std::uint32_t owner, QStringView name) const
{
    if (m_spots.empty())
        return -1;
    const Spot& spot = m_spots[SpotFor(FoldedHash(owner, name), owner, name)];
    return spot.line == kFree ? -1 : static_cast<qsizetype>(spot.line);
}

/// The spot that holds the name, or the free one where it belongs.
std::size_t ProfileFile::SpotFor(std::uint32_t hash, std::uint32_t owner, QStringView name) const
{
    for (std::size_t at = hash;; ++at) {
        const Spot& spot = m_spots[at & (m_spots.size() - 1)];
        if (spot.line == kFree
            || (spot.hash == hash && spot.owner == owner && SameName(LineAt(spot.line).name, name)))
            return at & (m_spots.size() - 1);
    }
}

/// @return false when the name was there before: the first one wins
bool ProfileFile::Add(qsizetype line, std::uint32_t owner, QStringView name)
{
    if (m_used * 2 >= m_spots.size()) {
        std::vector<Spot> old(std::max<std::size_t>(16, m_spots.size() * 2), Spot{0, kFree, 0});
        old.swap(m_spots);
        for (const Spot& spot : old) {
            std::size_t at = spot.hash;
            while (spot.line != kFree && m_spots[at & (m_spots.size() - 1)].line != kFree)
                ++at;
            if (spot.line != kFree)
                m_spots[at & (m_spots.size() - 1)] = spot;
        }
    }
    const std::uint32_t hash = FoldedHash(owner, name);
    Spot& spot = m_spots[SpotFor(hash, owner, name)];
    if (spot.line != kFree)
        return false;
    spot = {hash, static_cast<std::uint32_t>(line), owner};
    ++m_used;
    return true;
}

void ProfileFile::Index()
{
    m_spots.clear();
    m_used = 0;
    std::uint32_t owner = kNoOwner;
    for (Line line = LineAt(0); line.start < m_text.size(); line = After(line)) {
        if (line.kind == Line::Kind::Header)
            owner = Add(line.start, 0, line.name) ? static_cast<std::uint32_t>(line.start) + 1 : kNoOwner;
        else if (line.kind == Line::Kind::Key && owner != kNoOwner)
            Add(line.start, owner, line.name);
    }
}

void ProfileFile::InsertAfter(const Line& line, const QString& text)
{
    if (line.next > line.end)
        m_text.insert(line.next, text + m_text.mid(line.end, line.next - line.end));
    else // the last line had no line end, and neither has the new one
        m_text += LineEnd() + text;
}

QString ProfileFile::LineEnd() const
{
    const Line first = LineAt(0);
    return first.next > first.end ? m_text.mid(first.end, first.next - first.end) : QStringLiteral("\n");
}
