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
    Factory{"SBS", [](GaugeContext& context) -> ChildView* { return new frmSBS(context); }},
    Factory{"Pro", [](GaugeContext& context) -> ChildView* { return new frmPro(context); }},
};

} // namespace

ChildView* MakeView(const QString& key, const QString& caption, GaugeContext& context)
{
    for (const Factory& factory : kFactories)
        if (key == QLatin1String(factory.key))
            return factory.make(context);
    return new MissingView(key, caption);
}

ChildView* MakeTableEditor(ProfileStore& profiles, const StartupState& state, UserMessages& messages,
                           GaugeContext* context)
{
    return new frmTables(profiles, state, messages, context);
}

ChildView* MakeLogViewer(UserMessages& messages, const QString& path)
{
    return new frmLogViewer(messages, path);
}

ChildView* MakeI2CTool(GaugeContext& context) { return new frmI2C(context); }

ChildView* MakeBusHealth(BusWatch& watch, ProfileStore& profiles, const StartupState& state,
                         UserMessages& messages)
{
    return new frmBusHealth(watch.Health, profiles, state, messages);
}
