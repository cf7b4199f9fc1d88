#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <unordered_map>

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
    /// Decimal with sign, leading digits count; "0x" in front is hexadecimal; no digits or empty: the fallback.
    /// A value past 32 bits is held at its end.
    [[nodiscard]] std::int32_t Integer(QStringView section, QStringView key, std::int32_t fallback = 0) const;
    [[nodiscard]] bool HasKey(QStringView section, QStringView key) const;
    /// "key=value" lines of the first section of that name as they stand, trimmed, comments left out.
    [[nodiscard]] QStringList SectionLines(QStringView section) const;
    [[nodiscard]] QStringList SectionNames() const;

    void Set(QStringView section, QStringView key, const QString& value);
    void Unset(QStringView section, QStringView key);
    void UnsetSection(QStringView section);
    [[nodiscard]] QByteArray ToBytes() const;

private:
    // the reader's own
};

/// All settings files of a run: each is parsed once, and again only when it changed on disk.
class ProfileStore {
public:
    ProfileStore();
    ~ProfileStore();
    /// A missing or unreadable file reads as an empty one. The reference stays good until the next call.
    [[nodiscard]] const ProfileFile& File(const QString& path);
    [[nodiscard]] QString String(const QString& path, QStringView section, QStringView key,
                                 const QString& fallback = {});
    [[nodiscard]] std::int32_t Integer(const QString& path, QStringView section, QStringView key,
                                       std::int32_t fallback = 0);
    /// Saved whole or not at all.
    /// @return empty, or what went wrong in plain words with the file's name
    [[nodiscard]] QString Write(const QString& path, QStringView section, QStringView key, const QString& value);
    [[nodiscard]] QString Remove(const QString& path, QStringView section, QStringView key); ///< empty key: section

private:
    struct Entry;
    std::unordered_map<QString, std::unique_ptr<Entry>> m_files;
};
