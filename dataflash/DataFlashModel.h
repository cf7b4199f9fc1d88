#pragma once

#include "platform/Bytes.h"

#include <QString>

#include <compare>
#include <cstdint>
#include <vector>

/// One value at a place of a subclass. Value, DefValue, MinVal, MaxVal and ReadValue are native texts: what
/// the item's bytes decode to, before ReadFormula and DisplayFmt make of it what a person sees.
struct DataItem {
    QString Name; ///< unique within its subclass
    QString FullName;
    QString DataType; ///< "I1" ... "F4", "S" and a length; dataflash/ValueEncoding.h
    int Offset = 0; ///< bytes from the start of the subclass
    QString Value; ///< empty: not known; a string read as empty is empty too, but not null
    QString DefValue;
    QString ReadFormula; ///< of x, empty: as it is
    QString WriteFormula;
    QString DisplayFmt; ///< as in register tables, empty: as it is
    QString Units;
    QString MinVal; ///< empty: no limit
    QString MaxVal;
    QString HelpText;
    bool Private = false;
    bool ChangedFlag = false; ///< the last read brought another text than was shown before it
    QString ReadValue; ///< what the gauge holds as far as is known; empty: never read

    /// Differs from what the gauge holds, as far as that is known.
    [[nodiscard]] bool Edited() const { return Value != ReadValue; }
};

/// A numbered block of bytes in the gauge.
struct SubClass {
    QString Name;
    std::uint16_t Id = 0;
    Bytes Buffer; ///< as long as the gauge's subclass; as last read or written, FF before
    std::vector<DataItem> Items;

    [[nodiscard]] int Length() const { return static_cast<int>(Buffer.size()); }
};

struct DataClass {
    QString Name;
    std::vector<SubClass> SubClasses;
};

/// The data flash of a target, in configuration order.
struct DataFlashTree {
    QString Target;
    QString LegacyString; ///< names the access style; dataflash/AccessStyle.h
    std::vector<DataClass> Classes;

    [[nodiscard]] int SubClassCount() const;
    [[nodiscard]] int ItemCount() const;
    [[nodiscard]] int ByteCount() const;
};

/// Indices into the tree.
struct ItemPlace {
    int Class = 0;
    int SubClass = 0;
    int Item = 0;
    // the check takes the 0 of the generated comparison for a pointer
    auto operator<=>(const ItemPlace&) const = default; // NOLINT(modernize-use-nullptr)
};

class bCfgReader;
class ProfileStore;
class UserMessages;
struct StartupState;

/// Loads the whole layout through the reader, in its order of calls, and unloads it again. Values are empty
/// afterwards, buffers FF. Warnings about a file that loads are reported.
/// @param path  the configuration file
/// @return false when the file did not load; tree is then as it was and the messages say why
bool InitStructFromCfgFile(bCfgReader& reader, const QString& path, UserMessages& messages,
                           DataFlashTree& tree);

/// Forgets all values and what was read.
void ClearValues(DataFlashTree& tree);

/// Where the configuration lies that the target names: key ConfigFile of section DataFlash of its file,
/// opened in that file's folder, else in the program folder.
/// @return empty when no target is chosen or it names none
[[nodiscard]] QString DataFlashConfigPath(ProfileStore& profiles, const StartupState& state);
/// The same for another key of that section.
[[nodiscard]] QString DataFlashPath(ProfileStore& profiles, const StartupState& state, QStringView key);
