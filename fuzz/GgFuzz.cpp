// Any bytes as a .gg file against every data type: each item is in one list of the report, what is taken
// encodes and, exported and imported again, changes nothing. Then the bytes as a special export's template.

#include "dataflash/EachItem.h"
#include "dataflash/GgFile.h"
#include "dataflash/ItemBytes.h"
#include "dataflash/SpecialExport.h"

#include <cstdlib>

namespace {

void Require(bool holds)
{
    if (!holds)
        std::abort();
}

DataFlashTree AllTypes()
{
    DataFlashTree tree;
    SubClass one{QStringLiteral("B"), 48, Bytes(40), {}};
    int offset = 0;
    for (const char* type : {"I1", "U2", "H1", "I4", "U4", "H4", "F4", "S1", "S9"}) {
        DataItem item;
        item.Name = item.DataType = QLatin1String(type);
        item.Offset = offset;
        offset += type[1] - '0';
        item.MinVal = QStringLiteral("1");
        one.Items.push_back(item);
    }
    tree.Classes = {{QStringLiteral("A"), {one}}};
    return tree;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QString device = QStringLiteral("D");
    static const DataFlashTree layout = AllTypes();
    DataFlashTree tree = layout;
    const GgImport import = ParseGg(bytes, tree, device);
    if (import.Ok()) {
        Require(static_cast<int>(import.Changed.size() + import.Refused.size()) + import.Same
                    + static_cast<int>(import.Missing.size())
                == tree.ItemCount());
        Require(import.Unknown.size() <= import.UnknownCount && import.Unknown.size() <= GgImport::kListed);
        (void)GgReport(import, tree);
        ApplyGg(import, tree);
        for (const GgImport::Entry& entry : import.Changed)
            Require(BytesOf(ItemAt(tree, entry.Place), entry.New).has_value());
        QStringList warnings;
        const GgImport again = ParseGg(GgText(tree, device, QStringLiteral("now"), warnings), tree, device);
        for (const GgImport::Entry& entry :
             again.Changed) // a text of one byte, its end, may be empty and new
            Require(!warnings.isEmpty() || (entry.Old.isEmpty() && entry.New.isEmpty()));
    }
    const Conversion conversion = FillTemplate(bytes, tree, {});
    Require(conversion.Reason.isEmpty() == (conversion.Error == ConversionError::None));
    return 0;
}
