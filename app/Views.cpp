#include "app/Views.h"

#include "calibration/frmCal.h"
#include "dataflash/frmDF.h"
#include "engineering/frmBusHealth.h"
#include "engineering/frmI2C.h"
#include "engineering/frmPro.h"
#include "flashimage/frmFlash.h"
#include "look/Controls.h"
#include "plugins/LoadedDataFlash.h"
#include "plugins/PluginCatalogue.h"
#include "plugins/frmPlugin.h"
#include "sbs/clsSBSCfgRW.h"
#include "sbs/frmLogViewer.h"
#include "sbs/frmSBS.h"
#include "sbs/frmTables.h"

#include <QLabel>

#include <array>

namespace {

/// Stands in for a view that cannot be shown, and says why.
class MissingView final : public ChildView {
public:
    MissingView(const QString& title, const QString& text)
    {
        setObjectName(QStringLiteral("frmMissing"));
        auto* head = new QLabel(title, this);
        head->setObjectName(QStringLiteral("lblMissingTitle"));
        auto* why = new QLabel(text, this);
        LayOutEmptyState(this, head, why);
    }
};

struct Factory {
    const char* key;
    ChildView* (*make)(GaugeContext& context);
};

constexpr std::array kFactories{
    Factory{"Cal", [](GaugeContext& context) -> ChildView* { return new frmCal(context); }},
    Factory{"SBS", [](GaugeContext& context) -> ChildView* { return new frmSBS(context); }},
    Factory{"DF", [](GaugeContext& context) -> ChildView* { return new frmDF(context); }},
    Factory{"Pro", [](GaugeContext& context) -> ChildView* { return new frmPro(context); }},
};

/// The flash-target table is the register view's reader's, whose room the image view does not know.
QString LoadFlashTargets(const QString& path, std::vector<FlashTarget>& targets)
{
    TextGrid grid;
    QString problem = clsSBSCfgRW().PopulateSrecTarget(grid, path);
    targets = FlashTargetsOf(grid.cells);
    return problem;
}

constexpr std::array kTools{
    ToolView{"mnuToolsTables", QT_TRANSLATE_NOOP("frmMDI", "&Table editor"), "edit", "",
             [](const ToolContext& context) -> ChildView* {
                 return new frmTables(context.profiles, context.state, context.messages, context.gauge);
             }},
    ToolView{"mnuToolsFlash", QT_TRANSLATE_NOOP("frmMDI", "&Flash image"), "image", "",
             [](const ToolContext& context) -> ChildView* {
                 return new frmFlash(context.profiles, context.state, context.messages, LoadFlashTargets,
                                     context.gauge);
             }},
    ToolView{"mnuToolsI2C", QT_TRANSLATE_NOOP("frmMDI", "&I2C tool"), "bus", "",
             [](const ToolContext& context) -> ChildView* {
                 if (context.gauge)
                     return new frmI2C(*context.gauge);
                 return new MissingView(
                     QObject::tr("The I2C tool needs an adapter"),
                     QObject::tr("No adapter is open. Plug one in and choose File > Connect "
                                 "again, then open the tool."));
             }},
    ToolView{"mnuToolsBusHealth", QT_TRANSLATE_NOOP("frmMDI", "&Bus health"), "verify", "",
             [](const ToolContext& context) -> ChildView* {
                 return new frmBusHealth(context.watch.Health, context.profiles, context.state,
                                         context.messages);
             }},
};

} // namespace

ChildView* MakeView(const QString& key, GaugeContext& context)
{
    for (const Factory& factory : kFactories)
        if (key == QLatin1String(factory.key))
            return factory.make(context);
    auto* plugin = new frmPlugin(context, std::make_unique<LoadedDataFlash>(context),
                                 PluginFolders(context.state.ProgramFolder));
    plugin->Mode(key);
    return plugin;
}

std::span<const ToolView> ToolViews() { return kTools; }

ChildView* MakeLogViewer(UserMessages& messages, const QString& path)
{
    return new frmLogViewer(messages, path);
}
