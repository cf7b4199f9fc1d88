#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <unordered_map>
#include <vector>

/// One settings file in profile form: "[section]" headers and "key=value" lines, read once from bytes.
/// Names ignore case and the first match wins; blanks around names and values are trimmed, one pair of quotes
/// is stripped; at most 511 characters of a value are given. A write edits one line in place and keeps
/// comments, order, line ends, encoding and every other byte. docs/profile-files.md describes the form.
class ProfileFile {
public:
    ProfileFile() = default;
    /// Never fails: a line that is no header and no "key=value" is kept and ignored.
    explicit ProfileFile(const QByteArray& bytes);

    [[nodiscard]] QString String(QStringView section, QStringView key, const QString& fallback = {}) const;
    /// Decimal with sign, leading digits count, none give 0; "0x" in front is hexadecimal; an absent or empty
    /// value is the fallback. A number past 32 bits is held at its end.
    [[nodiscard]] std::int32_t Integer(QStringView section, QStringView key, std::int32_t fallback = 0) const;
    [[nodiscard]] bool HasKey(QStringView section, QStringView key) const;
    /// "key=value" lines of the first section of that name as they stand, trimmed, comments left out.
    [[nodiscard]] QStringList SectionLines(QStringView section) const;
    [[nodiscard]] QStringList SectionNames() const;

    /// A header or a "key=value" line.
    struct Met {
        int Line; ///< counting from 1
        QStringView Section; ///< the header's name, or that of the header above; empty above the first one
        QStringView Key; ///< empty for a header
        QStringView Value; ///< as String gives it
    };
    /// Tells all headers and keys of a file in their order, also those that reading never sees since they
    /// stand twice or above the first header. For readers that want everything: no index is made. The views
    /// last for the call.
    static void Walk(const QByteArray& bytes, const std::function<void(const Met&)>& visit);

    /// Whether a line can hold these: no line end anywhere, no blanks around names, no "]" in a section, and
    /// a key that is not taken for a comment, a header or a value.
    [[nodiscard]] static bool CanHold(QStringView section, QStringView key, QStringView value);
    /// Does nothing when CanHold says no.
    void Set(QStringView section, QStringView key, const QString& value);
    /// Takes out every line of that key in the section, so that no later one comes to light.
    void Unset(QStringView section, QStringView key);
    void UnsetSection(QStringView section);
    [[nodiscard]] QByteArray ToBytes() const;
    /// False when a character that was set does not exist in the file's encoding; ToBytes would lose it.
    [[nodiscard]] bool FitsEncoding() const;

private:
    enum class Encoding { Utf8, Utf8WithMark, Utf16WithMark, Windows1252 };
    struct Line;
    /// Place in the index, an open hash table over folded names.
    struct Spot {
        std::uint32_t hash;
        std::uint32_t line; ///< where the line starts in the text
        std::uint32_t owner; ///< 0 for a header, else 1 + start of the section's header
    };

    struct Span {
        qsizetype start;
        qsizetype end;
    };

    /// At the end of the text: an empty line that starts there.
    [[nodiscard]] Line LineAt(qsizetype start) const;
    [[nodiscard]] Line After(const Line& line) const;
    void Decode(const QByteArray& bytes);
    /// @return start of the line, or -1
    [[nodiscard]] qsizetype FindHeader(QStringView section) const { return Find(0, section); }
    [[nodiscard]] qsizetype FindKey(QStringView section, QStringView key) const;
    [[nodiscard]] qsizetype Find(std::uint32_t owner, QStringView name) const;
    [[nodiscard]] std::size_t SpotFor(std::uint32_t hash, std::uint32_t owner, QStringView name) const;
    bool Add(qsizetype line, std::uint32_t owner, QStringView name);
    void Index();
    void Cut(const std::vector<Span>& spans);
    /// Puts a line behind the one given, with the line end in use there.
    void InsertAfter(const Line& line, const QString& text);
    [[nodiscard]] QString LineEnd() const;

    Encoding m_encoding = Encoding::Utf8;
    QString m_text; ///< the whole file without its mark
    QByteArray m_tail; ///< half a character at the end of a cut UTF-16 file
    std::vector<Spot> m_spots; ///< a power of two, at most half full
    std::size_t m_used = 0;
};

/// A key and what it becomes.
struct ProfileChange {
    QString Section;
    QString Key;
    QString Value;
};

/// All settings files of a run: each is parsed once, and again only when it changed on disk. Paths may be as
/// written in a settings file: "\" and other letter case are mapped when the path itself is not there.
class ProfileStore {
public:
    ProfileStore();
    ~ProfileStore();
    /// A missing or unreadable file reads as an empty one. The reference stays good until the next call.
    [[nodiscard]] const ProfileFile& File(const QString& path);
    /// Empty, or why a file that is there reads as an empty one, in plain words with its name.
    [[nodiscard]] QString Problem(const QString& path);
    [[nodiscard]] QString String(const QString& path, QStringView section, QStringView key,
                                 const QString& fallback = {});
    [[nodiscard]] std::int32_t Integer(const QString& path, QStringView section, QStringView key,
                                       std::int32_t fallback = 0);
    /// Saved whole or not at all.
    /// @return empty, or what went wrong in plain words with the file's name
    [[nodiscard]] QString Write(const QString& path, QStringView section, QStringView key,
                                const QString& value);
    /// The same for several keys of one file: all of them, or none.
    [[nodiscard]] QString Write(const QString& path, std::span<const ProfileChange> changes);
    [[nodiscard]] QString Remove(const QString& path, QStringView section,
                                 QStringView key); ///< empty key: section

private:
    struct Entry;
    Entry& Fresh(const QString& path);
    [[nodiscard]] QString Save(Entry& entry, ProfileFile changed);
    std::unordered_map<QString, std::unique_ptr<Entry>> m_files;
};
