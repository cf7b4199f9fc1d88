#include "app/Views.h"

#include "calibration/frmCal.h"
#include "dataflash/frmDF.h"
#include "flashimage/frmFlash.h"
#include "look/Theme.h"
#include "plugins/LoadedDataFlash.h"
#include "plugins/PluginCatalogue.h"
#include "plugins/frmPlugin.h"
#include "sbs/clsSBSCfgRW.h"
#include "sbs/frmLogViewer.h"
#include "sbs/frmSBS.h"
#include "sbs/frmTables.h"

#include <QLabel>
#include <QVBoxLayout>

#include <array>

namespace {

/// Stands in for a view that this version does not have.
class MissingView final : public ChildView {
public:
    MissingView(const QString& key, const QString& caption)
    {
        setObjectName(QStringLiteral("frmMissing"));
        auto* title = new QLabel(tr("%1 is not part of this version").arg(caption), this);
        title->setObjectName(QStringLiteral("lblMissingTitle"));
        title->setFont(Theme::Current().Font(Type::State));
        auto* text
            = new QLabel(tr("The target asks for a view with the key \"%1\". This version of Tarnlo has no "
                            "such view yet; the other views work without it.")
                             .arg(key),
                         this);
        text->setWordWrap(true);
        text->setAlignment(Qt::AlignHCenter);
        auto* column = new QVBoxLayout(this);
        column->addStretch(1);
        column->addWidget(title, 0, Qt::AlignHCenter);
        column->addWidget(text);
        column->addStretch(2);
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
};

/// The flash-target table is the register view's reader's, whose room the image view does not know.
QString LoadFlashTargets(const QString& path, std::vector<FlashTarget>& targets)
{
    TextGrid grid;
    const QString problem = clsSBSCfgRW().PopulateSrecTarget(grid, path);
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
};

} // namespace

ChildView* MakeView(const QString& key, const QString& caption, GaugeContext& context)
{
    for (const Factory& factory : kFactories)
        if (key == QLatin1String(factory.key))
            return factory.make(context);
    for (const char* own : {"DF", "Cal", "Pro"})
        if (key == QLatin1String(own))
            return new MissingView(key, caption);
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
