#pragma once

#include "dataflash/JournalFiles.h"
#include "dataflash/PackIdentity.h"
#include "platform/Bytes.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <vector>

/// What a write to a pack is about to do. docs/dataflash-journal.md describes the file.
struct JournalContent {
    struct Entry {
        std::uint16_t Id = 0;
        QString Name; ///< subclass (class)
        Bytes Old;
        Bytes New; ///< as long as Old
        bool Sent = false; ///< the gauge acknowledged all of it
    };
    PackIdentity Pack;
    QString Begun; ///< ISO 8601
    QString LegacyString; ///< names the access style
    std::vector<Entry> Entries;

    /// Whether a pack is the one that was written to. A write may change what the pack calls itself, so a
    /// part also counts when it is what New, or a mixture of Old and New, makes of it.
    [[nodiscard]] bool Belongs(const PackIdentity& pack) const;
    [[nodiscard]] const Entry* Find(std::uint16_t id) const;
};

/// The file's bytes, without progress.
[[nodiscard]] QByteArray JournalText(const JournalContent& content);
/// @param error  empty, or why this is no whole journal. A last line that was cut in half is no error: it
/// tells of progress only.
[[nodiscard]] JournalContent ParseJournal(const QByteArray& bytes, QString& error);

/// The journals of this program folder, and the one of the write under way.
class WriteJournal {
public:
    explicit WriteJournal(JournalFiles& files) : m_files(files) { }

    [[nodiscard]] bool Any() { return !m_files.Names().isEmpty(); }
    /// The newest journal of this pack, held until Release. A file that cannot be read, or that another
    /// program is at work with, is named in problems and left alone.
    [[nodiscard]] std::optional<JournalContent> Open(const PackIdentity& pack, QStringList& problems);
    /// On the disk when it returns. What an earlier write to this pack left unfinished is taken over: its
    /// subclasses stay in the journal, and a torn one keeps the old image of before.
    /// @return empty, or why no byte may be sent
    [[nodiscard]] QString Begin(JournalContent content);
    /// In place of the entry with the same id. @return as Begin
    [[nodiscard]] QString Amend(const JournalContent::Entry& entry);
    [[nodiscard]] QString Sent(std::uint16_t id);
    /// These subclasses are as they should be; the file goes when nothing else is left in it.
    [[nodiscard]] QString End(const std::vector<std::uint16_t>& ids);
    [[nodiscard]] QString Forget(); ///< of the opened or begun one
    void Release() { m_files.Unlock(); } ///< other programs may have it; the file stays

private:
    void Find(const PackIdentity& pack, QStringList& problems);
    [[nodiscard]] QString Hold(const PackIdentity& pack, QStringList& problems);
    [[nodiscard]] QString Save();
    JournalFiles& m_files;
    QString m_name; ///< empty: none
    JournalContent m_content;
};
