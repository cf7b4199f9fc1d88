#pragma once

#include "dataflash/DataFlashModel.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

/// A .gg file brought against a tree: what an import would do, before anything is done.
struct GgImport {
    struct Entry {
        ItemPlace Place;
        QString Old; ///< native text
        QString New;
        QString Note; ///< why it is refused, or which limit it passes; empty otherwise
    };
    QString Error; ///< the file cannot be read at all
    QString DeviceName; ///< of the file's header, "Unknown" when it has none
    bool OtherDevice = false;
    std::vector<Entry> Changed;
    std::vector<Entry> OutOfRange; ///< also in Changed
    std::vector<Entry> Refused; ///< not in Changed
    int Same = 0;
    QStringList Missing; ///< the fixed texts "Missing value: ..."
    QStringList Unknown; ///< "section key" that the target does not have
    [[nodiscard]] bool Ok() const { return Error.isEmpty(); }
};

[[nodiscard]] GgImport ReadGg(const QString& path, const DataFlashTree& tree, const QString& deviceName);
/// Puts the changed values into the tree, and nothing else.
void ApplyGg(const GgImport& import, DataFlashTree& tree);

/// The file's bytes as they are written; CR LF line ends.
/// @param warnings  values that the file cannot carry back, one line each
[[nodiscard]] QByteArray GgText(const DataFlashTree& tree, const QString& deviceName, const QString& isoTime,
                                QStringList& warnings);
/// Writes the file whole. @return empty, or what went wrong
[[nodiscard]] QString ExportDF(const DataFlashTree& tree, const QString& deviceName, const QString& isoTime,
                               const QString& path, QStringList& warnings);

/// Two sets of values for one layout.
struct DataFlashDiff {
    struct Entry {
        ItemPlace Place;
        QString A; ///< native text; empty: has none
        QString B;
    };
    std::vector<Entry> Entries; ///< differing items, those without a value on one side included
    int Same = 0;
    int Missing = 0; ///< of Entries, without a value on one side
};
[[nodiscard]] DataFlashDiff Compare(const DataFlashTree& a, const DataFlashTree& b);
/// The tree with its default values as values.
[[nodiscard]] DataFlashTree WithDefaults(const DataFlashTree& tree);
