#pragma once

#include "dataflash/DataFlashModel.h"

#include <vector>

/// One item of every type, in two classes, with room for a value beyond each limit.
struct TypeCase {
    const char* Type;
    const char* Least; ///< what the type holds
    const char* Most;
    const char* Min; ///< the item's limits
    const char* Max;
    const char* Beyond;
    const char* Zero = "0";
};

inline const std::vector<TypeCase>& TypeCases()
{
    static const std::vector<TypeCase> cases{
        {"I1", "-128", "127", "-100", "100", "101"},
        {"U1", "0", "255", "5", "200", "201"},
        {"H1", "00", "FF", "01", "7F", "80", "00"},
        {"I2", "-32768", "32767", "-3000", "3000", "-3001"},
        {"U2", "0", "65535", "1", "60000", "60001"},
        {"H2", "0000", "FFFF", "0001", "7FFF", "8000", "0000"},
        {"I4", "-2147483648", "2147483647", "-9", "9", "10"},
        {"U4", "0", "4294967295", "1", "4000000000", "4000000001"},
        {"H4", "00000000", "FFFFFFFF", "00000001", "7FFFFFFF", "80000000", "00000000"},
        {"F4", "-0.25", "170141173319264429905852091742258462720", "-0.125", "1000", "1000.5"},
        {"S8", "a", "sevench", "", "", "a\"b;=['", "0"},
    };
    return cases;
}

/// @param value  which member of its TypeCase becomes an item's value; null: none has one
inline DataFlashTree AllTypes(const char* TypeCase::*value = nullptr)
{
    DataFlashTree tree;
    tree.Classes = {{QStringLiteral("Numbers"), {{QStringLiteral("One"), 48, {}, {}}}},
                    {QStringLiteral("Others Ω"), {{QStringLiteral("Two"), 49, {}, {}}}}};
    for (const TypeCase& type : TypeCases()) {
        const bool number = type.Type[0] == 'I' || type.Type[0] == 'U';
        SubClass& subClass = tree.Classes[number ? 0 : 1].SubClasses.front();
        DataItem item;
        item.Name = QStringLiteral("Item ") + QLatin1String(type.Type);
        item.DataType = QLatin1String(type.Type);
        item.Offset = subClass.Length();
        item.MinVal = QLatin1String(type.Min);
        item.MaxVal = QLatin1String(type.Max);
        item.DefValue = QLatin1String(type.Zero);
        item.Value = value ? QLatin1String(type.*value) : QString();
        subClass.Buffer.resize(subClass.Buffer.size() + static_cast<std::size_t>(type.Type[1] - '0'));
        subClass.Items.push_back(item);
    }
    return tree;
}
