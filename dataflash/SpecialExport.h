#pragma once

#include "dataflash/DataFlashModel.h"
#include "platform/ProfileFile.h"
#include "platform/UserMessages.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

/// Why a special export came to nothing; docs/dataflash-files.md lists the numbers.
enum class ConversionError {
    None = 0,
    NoTemplate = 1, ///< SpecialExport.ini names none
    TemplateUnreadable = 2,
    BadTemplate = 3,
    UnknownItem = 4, ///< the template names an item that the target does not have
    NoValue = 5, ///< or one whose value is not known
    NotConverted = 6, ///< a value that its read formula does not take
    TemporaryFile = 7,
    NotSaved = 8,
};

/// What a template made of a set of values.
struct Conversion {
    QByteArray Bytes;
    ConversionError Error = ConversionError::None;
    QString Reason; ///< in plain words, with the template's line
};

/// Header lines of a .gg file, for the template's ${Header.NAME}.
struct GgHeader {
    QString Version;
    QString DeviceName;
    QString Time;
};

/// Fills a template with values.
[[nodiscard]] Conversion FillTemplate(const QByteArray& text, const DataFlashTree& tree,
                                      const GgHeader& header);

/// Exports the data flash in the form that the template named in SpecialExport.ini gives it: a .gg file
/// "~ggtmp~.tmp" in the program folder, read again and converted. The temporary file goes on every path.
/// A failure is the fixed message with its code and, on the next line, the reason.
/// @param warnings  values that the temporary file could not carry
/// @return false after a message; a file that stood at path is then as it was
bool SpecialExport(const DataFlashTree& tree, const QString& deviceName, const QString& isoTime,
                   const QString& programFolder, const QString& path, UserMessages& messages,
                   QStringList& warnings);
