#pragma once

#include "sbs/clsSBSCfgRW.h"

#include <tuple>

/// How a field stands in a grid cell: as it is, as a decimal number, or as hexadecimal digits.
enum class CellForm { Text, Decimal, Hex };

/// One field of a table record: name, form in a cell, and where it lies in the record. Its type says how the
/// file holds it: a text as 16-bit length and Windows-1252 characters, a number packed and low byte first.
template <class Get>
struct TableField {
    const char* name;
    CellForm form;
    Get get;
};
template <class Get>
TableField(const char*, CellForm, Get) -> TableField<Get>;

/// All fields of a record in file order; reader, writer and grids go through this one list.
template <class Record>
struct TableFields;

// clang-format tears these lambdas apart
// clang-format off
template <>
struct TableFields<SBSInfoRec> {
    static constexpr std::tuple all{
        TableField{"Desc", CellForm::Text, [](auto& r) -> auto& { return r.Desc; }},
        TableField{"LogDesc", CellForm::Text, [](auto& r) -> auto& { return r.LogDesc; }},
        TableField{"ReadStyle", CellForm::Decimal, [](auto& r) -> auto& { return r.ReadStyle; }},
        TableField{"ReadCommand", CellForm::Hex, [](auto& r) -> auto& { return r.ReadCommand; }},
        TableField{"ReadFactor", CellForm::Text, [](auto& r) -> auto& { return r.ReadFactor; }},
        TableField{"WriteFactor", CellForm::Text, [](auto& r) -> auto& { return r.WriteFactor; }},
        TableField{"Writeable", CellForm::Decimal, [](auto& r) -> auto& { return r.Writeable; }},
        TableField{"DisplayFormat", CellForm::Text, [](auto& r) -> auto& { return r.DisplayFormat; }},
        TableField{"Unit", CellForm::Text, [](auto& r) -> auto& { return r.Unit; }},
    };
};

template <>
struct TableFields<SBSFlagRec> {
    static constexpr std::tuple all{
        TableField{"Caption", CellForm::Text, [](auto& r) -> auto& { return r.Caption; }},
        TableField{"BitDesc", CellForm::Text, [](auto& r) -> auto& { return r.BitDesc; }},
        TableField{"SBSRowNum", CellForm::Decimal, [](auto& r) -> auto& { return r.SBSRowNum; }},
        TableField{"BitWidth", CellForm::Decimal, [](auto& r) -> auto& { return r.BitWidth; }},
    };
};

template <>
struct TableFields<SrecTargetRec> {
    static constexpr std::tuple all{
        TableField{"Name", CellForm::Text, [](auto& r) -> auto& { return r.Name; }},
        TableField{"Number", CellForm::Decimal, [](auto& r) -> auto& { return r.Number; }},
        TableField{"Value1", CellForm::Decimal, [](auto& r) -> auto& { return r.Values[0]; }},
        TableField{"Value2", CellForm::Decimal, [](auto& r) -> auto& { return r.Values[1]; }},
        TableField{"Value3", CellForm::Decimal, [](auto& r) -> auto& { return r.Values[2]; }},
        TableField{"Value4", CellForm::Decimal, [](auto& r) -> auto& { return r.Values[3]; }},
        TableField{"Value5", CellForm::Decimal, [](auto& r) -> auto& { return r.Values[4]; }},
    };
};
// clang-format on

/// Calls visit(field) for each field in file order.
template <class Record, class Visit>
void ForEachTableField(Visit&& visit)
{
    std::apply([&visit](const auto&... field) { (visit(field), ...); }, TableFields<Record>::all);
}
