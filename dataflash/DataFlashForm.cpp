#include "dataflash/DataFlashForm.h"

#include <QStringList>

#include <array>

namespace {

constexpr QStringView kSection = u"DataFlashGUI";

struct Key {
    const char16_t* Name;
    QString (*Get)(const DataFlashForm& form);
    void (*Set)(DataFlashForm& form, const QString& text);
};

template <auto Field>
constexpr Key KeyFor(const char16_t* name)
{
    return {name,
            [](const DataFlashForm& form) {
                if constexpr (std::is_same_v<std::remove_cvref_t<decltype(form.*Field)>, QString>)
                    return form.*Field;
                else
                    return QString::number(form.*Field);
            },
            [](DataFlashForm& form, const QString& text) {
                using Type = std::remove_reference_t<decltype(form.*Field)>;
                if constexpr (std::is_same_v<Type, QString>)
                    form.*Field = text;
                else
                    form.*Field = static_cast<Type>(text.toInt());
            }};
}

constexpr std::array kKeys{
    KeyFor<&DataFlashForm::Class>(u"Class"),
    KeyFor<&DataFlashForm::DetailsWidth>(u"DetailsWidth"),
    KeyFor<&DataFlashForm::PlanHeight>(u"PlanHeight"),
    KeyFor<&DataFlashForm::Details>(u"Details"),
    KeyFor<&DataFlashForm::ShowPrivate>(u"ShowPrivate"),
    KeyFor<&DataFlashForm::Roomy>(u"Roomy"),
    KeyFor<&DataFlashForm::VerifyWrite>(u"VerifyWrite"),
    KeyFor<&DataFlashForm::AutoExportFile>(u"AutoExportFile"),
    KeyFor<&DataFlashForm::AutoExportSeconds>(u"AutoExportInterval"),
};

} // namespace

DataFlashForm LoadDataFlashForm(const TableSettings& settings)
{
    DataFlashForm form;
    for (const Key& key : kKeys)
        key.Set(form, settings.String(kSection, key.Name, key.Get(form)));
    return form;
}

QString SaveDataFlashForm(TableSettings& settings, const DataFlashForm& form)
{
    const DataFlashForm fresh;
    std::vector<ProfileChange> changes;
    for (const Key& key : kKeys) {
        const QString value = key.Get(form);
        if (settings.String(kSection, key.Name, key.Get(fresh)) != value)
            changes.push_back({kSection.toString(), QString::fromUtf16(key.Name), value});
    }
    return settings.Write(changes);
}
