#include "plugins/LoadedDataFlash.h"

#include <algorithm>

namespace {

constexpr std::int32_t kNoSuchPlace = Number(ErrorCode::IncorrectParam);

} // namespace

bool LoadedDataFlash::Prepare()
{
    if (!m_flash) { // a failure is told once
        m_flash.emplace(DataFlash::Links{m_context.usb, m_context.access, m_context.time, m_context.messages,
                                         m_context.profiles, m_context.state, nullptr});
        (void)m_flash->Load();
    }
    return m_flash->Loaded();
}

QStringList LoadedDataFlash::TakeMessages() { return m_flash->TakeMessages(); }

SubClass* LoadedDataFlash::Find(int classIndex, int subClassIndex)
{
    auto& classes = m_flash->Tree().Classes;
    if (classIndex < 0 || static_cast<std::size_t>(classIndex) >= classes.size())
        return nullptr;
    auto& subClasses = classes[static_cast<std::size_t>(classIndex)].SubClasses;
    if (subClassIndex < 0 || static_cast<std::size_t>(subClassIndex) >= subClasses.size())
        return nullptr;
    return &subClasses[static_cast<std::size_t>(subClassIndex)];
}

std::int32_t LoadedDataFlash::Read(int classIndex, int subClassIndex, QVariantMap& items)
{
    if (!Find(classIndex, subClassIndex))
        return kNoSuchPlace;
    const std::int32_t result = m_flash->ReadDFSubClass(classIndex, subClassIndex);
    if (result == DataFlashResult::kOk)
        for (const DataItem& item : Find(classIndex, subClassIndex)->Items)
            items.insert(item.Name, item.Value);
    return result;
}

std::int32_t LoadedDataFlash::Write(int classIndex, int subClassIndex, const QVariantMap& items)
{
    SubClass* place = Find(classIndex, subClassIndex);
    if (!place)
        return kNoSuchPlace;
    const std::vector<DataItem> before = place->Items;
    for (auto change = items.cbegin(); change != items.cend(); ++change) {
        const auto item = std::ranges::find(place->Items, change.key(), &DataItem::Name);
        if (item == place->Items.end() || change->typeId() != QMetaType::QString) {
            place->Items = before;
            return kNoSuchPlace;
        }
        item->Value = change->toString();
    }
    const std::int32_t result = m_flash->WriteDFSubClass(classIndex, subClassIndex);
    if (result != DataFlashResult::kOk) // what was not written must not slip into a later write
        Find(classIndex, subClassIndex)->Items = before;
    return result;
}
