#include "app/Views.h"

#include "engineering/frmBusHealth.h"
#include "engineering/frmI2C.h"
#include "engineering/frmPro.h"
#include "look/Theme.h"
#include "sbs/frmLogViewer.h"
#include "sbs/frmSBS.h"
#include "sbs/frmTables.h"

#include <QLabel>
#include <QVBoxLayout>

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
        head->setFont(Theme::Current().Font(Type::State));
        auto* why = new QLabel(text, this);
        why->setWordWrap(true);
        why->setAlignment(Qt::AlignHCenter);
        auto* column = new QVBoxLayout(this);
        column->addStretch(1);
        column->addWidget(head, 0, Qt::AlignHCenter);
        column->addWidget(why);
        column->addStretch(2);
    }
};

struct Factory {
    const char* key;
    ChildView* (*make)(GaugeContext& context);
};

constexpr std::array kFactories{
    Factory{"SBS", [](GaugeContext& context) -> ChildView* { return new frmSBS(context); }},
    Factory{"Pro", [](GaugeContext& context) -> ChildView* { return new frmPro(context); }},
};

constexpr std::array kTools{
    ToolView{"mnuToolsTables", QT_TRANSLATE_NOOP("frmMDI", "&Table editor"), "edit", "",
             [](const ToolContext& context) -> ChildView* {
                 return new frmTables(context.profiles, context.state, context.messages, context.gauge);
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

ChildView* MakeView(const QString& key, const QString& caption, GaugeContext& context)
{
    for (const Factory& factory : kFactories)
        if (key == QLatin1String(factory.key))
            return factory.make(context);
    return new MissingView(
        QObject::tr("%1 is not part of this version").arg(caption),
        QObject::tr(
            "The target asks for a view with the key \"%1\". This version of Tarnlo has no such view yet; "
            "the other views work without it.")
            .arg(key));
}

std::span<const ToolView> ToolViews() { return kTools; }

ChildView* MakeLogViewer(UserMessages& messages, const QString& path)
{
    return new frmLogViewer(messages, path);
}
