// The controls of the plug-in window; frmPlugin.cpp has the rest of it.
#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"
#include "plugins/PluginObject.h"
#include "plugins/frmPlugin.h"

#include <QAction>
#include <QBoxLayout>
#include <QFrame>

namespace {

constexpr int kFactsMs = 1000;
constexpr int kCardWidth = 660;

QPushButton* Button(QWidget* parent, const char* name, const char* icon, const QString& text)
{
    return Named(new QPushButton(ThemeIcon(QLatin1String(icon)), text, parent), name);
}

} // namespace

frmPlugin::frmPlugin(GaugeContext& context, std::unique_ptr<PluginDataFlash> dataFlash, QStringList folders)
    : m_context(context), m_dataFlash(std::move(dataFlash)), m_folders(std::move(folders)),
      OLE1(Named(new QStackedWidget(this), "OLE1")), tmrUnload(Named(new QTimer(this), "tmrUnload")),
      m_facts(new QTimer(this)), mnuFileClose(Named(new QAction(tr("C&lose plug-in"), this), "mnuFileClose")),
      m_page(new QWidget(OLE1)), lblPluginState(Named(new QLabel(m_page), "lblPluginState")),
      lblPluginDetail(Named(new QLabel(m_page), "lblPluginDetail")),
      lblPluginFacts(Named(new QLabel(m_page), "lblPluginFacts")),
      cmdShowForm(Button(m_page, "cmdShowForm", "plugin", tr("Show its window"))),
      cmdEndPlugin(Button(m_page, "cmdEndPlugin", "stop", tr("End the plug-in"))),
      cmdStartAgain(Button(m_page, "cmdStartAgain", "refresh", tr("Start again"))),
      lblPluginOutput(Named(new QLabel(tr("What it printed"), m_page), "lblPluginOutput")),
      txtPluginOutput(Named(new QPlainTextEdit(m_page), "txtPluginOutput"))
{
    setObjectName(QStringLiteral("frmPlugin"));
    LayOut();
    tmrUnload->setInterval(kUnloadMs);
    connect(tmrUnload, &QTimer::timeout, this, [this] {
        if (Busy())
            return; // next time
        tmrUnload->stop();
        QWidget* frame = parentWidget(); // the frame of this view goes with it
        (frame ? frame : this)->close();
    });
    m_facts->setInterval(kFactsMs);
    connect(m_facts, &QTimer::timeout, this, &frmPlugin::ShowFacts);
    m_facts->start();
    connect(mnuFileClose, &QAction::triggered, this, &frmPlugin::UnloadInTime);
    connect(cmdShowForm, &QPushButton::clicked, this, [this] {
        m_shownForm = false;
        ShowForm();
    });
    connect(cmdEndPlugin, &QPushButton::clicked, this, [this] {
        if (Busy())
            return;
        DropObject();
        SetState(State::Ended, tr("It was ended here."));
    });
    connect(cmdStartAgain, &QPushButton::clicked, this, [this] { Mode(m_key); });
}

void frmPlugin::LayOut()
{
    auto* card = new QFrame(m_page);
    card->setFrameShape(QFrame::StyledPanel);
    card->setAutoFillBackground(true);
    card->setMaximumWidth(kCardWidth);
    for (QLabel* label : {lblPluginDetail, lblPluginFacts})
        label->setWordWrap(true);
    lblPluginDetail->setTextInteractionFlags(Qt::TextSelectableByMouse);
    txtPluginOutput->setReadOnly(true);
    txtPluginOutput->setAccessibleName(lblPluginOutput->text());
    txtPluginOutput->setMinimumHeight(60);
    lblPluginOutput->hide();
    txtPluginOutput->hide();
    MakeSecondary(lblPluginFacts);
    MakeSecondary(lblPluginOutput);

    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    for (QPushButton* button : {cmdShowForm, cmdStartAgain, cmdEndPlugin})
        buttons->addWidget(button);
    buttons->addStretch();
    auto* column = new QVBoxLayout(card);
    column->setContentsMargins(26, 22, 26, 20);
    column->setSpacing(8);
    column->addWidget(lblPluginState);
    column->addWidget(lblPluginDetail);
    column->addWidget(lblPluginFacts);
    column->addLayout(buttons);
    column->addWidget(lblPluginOutput);
    column->addWidget(txtPluginOutput);

    auto* across = new QHBoxLayout;
    across->addStretch(1);
    across->addWidget(card, 20);
    across->addStretch(1);
    auto* down = new QVBoxLayout(m_page);
    down->addStretch(1);
    down->addLayout(across);
    down->addStretch(3);
    OLE1->addWidget(m_page);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->addWidget(OLE1);
}

void frmPlugin::Applyskin()
{
    const Theme& theme = Theme::Current();
    lblPluginState->setFont(theme.Font(Type::State));
    txtPluginOutput->setFont(theme.Font(Type::Mono));
}
