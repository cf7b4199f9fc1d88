#pragma once

#include "comm/GaugeContext.h"
#include "dataflash/DataFlash.h"
#include "plugins/PluginHost.h"

#include <optional>

/// The data flash of the target for one plug-in, loaded when it is first asked for. It has values of its own:
/// what another view shows or has edited is not touched.
class LoadedDataFlash final : public PluginDataFlash {
public:
    explicit LoadedDataFlash(GaugeContext& context) : m_context(context) { }

    bool Prepare() override;
    [[nodiscard]] QStringList TakeMessages() override;
    std::int32_t Read(int classIndex, int subClassIndex, QVariantMap& items) override;
    std::int32_t Write(int classIndex, int subClassIndex, const QVariantMap& items) override;

private:
    [[nodiscard]] SubClass* Find(int classIndex, int subClassIndex);

    GaugeContext& m_context;
    std::optional<DataFlash> m_flash;
};
