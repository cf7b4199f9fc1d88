#include "app/EmptyPage.h"

#include "look/Icons.h"
#include "look/Theme.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QScrollArea>
#include <QVBoxLayout>

namespace {

QPushButton* Button(QWidget* parent, const char* name, const QString& icon, const QString& text)
{
    auto* button = new QPushButton(ThemeIcon(icon), text, parent);
    button->setObjectName(QLatin1String(name));
    button->setAutoDefault(true);
    return button;
}

QFrame* Rule(QWidget* parent)
{
    auto* rule = new QFrame(parent);
    rule->setFrameShape(QFrame::HLine);
    rule->setFrameShadow(QFrame::Plain);
    rule->setForegroundRole(QPalette::Mid);
    return rule;
}

} // namespace

EmptyPage::EmptyPage(QWidget* parent)
    : QWidget(parent), m_card(new QFrame), lblEmptyTitle(new QLabel(m_card)),
      lblEmptyText(new QLabel(m_card)),
      cmdTryAgain(Button(m_card, "cmdTryAgain", QStringLiteral("refresh"), tr("Try again"))),
      cmdChooseAdapter(Button(m_card, "cmdChooseAdapter", QStringLiteral("adapter"), tr("Choose adapter"))),
      cmdShowErrorLog(Button(m_card, "cmdShowErrorLog", QStringLiteral("log"), tr("Show error log"))),
      cmdChooseTarget(Button(m_card, "cmdChooseTarget", QStringLiteral("target"), tr("Choose target"))),
      cmdOpenLog(Button(m_card, "cmdOpenLog", QStringLiteral("open"), tr("Open a register log"))),
      cmdUseSimulated(Button(m_card, "cmdUseSimulated", QStringLiteral("sim"), tr("Use the simulated pack"))),
      m_simulated(new QWidget(m_card)), m_simulatedIcon(new QLabel(m_simulated))
{
    setObjectName(QStringLiteral("pageEmpty"));
    m_card->setObjectName(QStringLiteral("frameEmpty"));
    m_card->setFrameShape(QFrame::StyledPanel);
    m_card->setAutoFillBackground(true);
    m_card->setMaximumWidth(660);
    lblEmptyTitle->setObjectName(QStringLiteral("lblEmptyTitle"));
    lblEmptyText->setObjectName(QStringLiteral("lblEmptyText"));
    lblEmptyText->setWordWrap(true);

    auto* column = new QVBoxLayout(m_card);
    column->setContentsMargins(26, 22, 26, 20);
    column->setSpacing(8);
    column->addWidget(lblEmptyTitle);
    column->addWidget(lblEmptyText);
    m_settings
        = AddLine(column, QStringLiteral("settings"), tr("Settings"), QStringLiteral("lblEmptySettings"), {});
    m_adapter = AddLine(column, QStringLiteral("adapter"), tr("Adapter"), QStringLiteral("lblEmptyAdapter"),
                        {cmdTryAgain, cmdChooseAdapter, cmdShowErrorLog});
    m_target = AddLine(column, QStringLiteral("target"), tr("Target"), QStringLiteral("lblEmptyTarget"),
                       {cmdChooseTarget, cmdOpenLog});
    column->addWidget(Rule(m_card));
    auto* simulated = new QHBoxLayout(m_simulated);
    simulated->setContentsMargins(0, 4, 0, 0);
    simulated->setSpacing(14);
    auto* hint
        = new QLabel(tr("No hardware at hand? The simulated pack charges and discharges like a real one. "
                        "Tarnlo never falls back on it while an adapter is plugged in."),
                     m_simulated);
    hint->setWordWrap(true);
    simulated->addWidget(m_simulatedIcon);
    simulated->addWidget(hint, 1);
    simulated->addWidget(cmdUseSimulated);
    column->addWidget(m_simulated);

    auto* scroll = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->viewport()->setAutoFillBackground(false);
    auto* holder = new QWidget;
    holder->setAutoFillBackground(false);
    auto* centre = new QGridLayout(holder);
    centre->setRowStretch(0, 1);
    centre->setRowStretch(2, 3);
    centre->setColumnStretch(0, 1);
    centre->setColumnStretch(1, 20);
    centre->setColumnStretch(2, 1);
    centre->addWidget(m_card, 1, 1);
    scroll->setWidget(holder);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->addWidget(scroll);

    connect(cmdTryAgain, &QPushButton::clicked, this, &EmptyPage::TryAgain);
    connect(cmdChooseAdapter, &QPushButton::clicked, this, &EmptyPage::ChooseAdapter);
    connect(cmdShowErrorLog, &QPushButton::clicked, this, &EmptyPage::ShowErrorLog);
    connect(cmdChooseTarget, &QPushButton::clicked, this, &EmptyPage::ChooseTarget);
    connect(cmdOpenLog, &QPushButton::clicked, this, &EmptyPage::OpenRegisterLog);
    connect(cmdUseSimulated, &QPushButton::clicked, this, &EmptyPage::UseSimulatedPack);
    Applyskin();
}

EmptyPage::Line EmptyPage::AddLine(QVBoxLayout* column, const QString& icon, const QString& title,
                                   const QString& textName, std::initializer_list<QPushButton*> buttons)
{
    Line line{new QLabel(m_card), new QLabel(title, m_card), new QLabel(m_card), icon, {}};
    line.text->setObjectName(textName);
    line.text->setWordWrap(true);
    line.text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    column->addWidget(Rule(m_card));
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(2);
    grid->setColumnStretch(1, 1);
    grid->addWidget(line.icon, 0, 0, 2, 1, Qt::AlignTop);
    grid->addWidget(line.title, 0, 1);
    grid->addWidget(line.text, 1, 1);
    if (buttons.size() > 0) {
        auto* row = new QHBoxLayout;
        row->setContentsMargins(0, 6, 0, 0);
        row->setSpacing(8);
        for (QPushButton* button : buttons)
            row->addWidget(button);
        row->addStretch();
        grid->addLayout(row, 2, 1);
    }
    column->addLayout(grid);
    return line;
}

void EmptyPage::Show(const Readiness& settings, const Readiness& adapter, const Readiness& target,
                     bool simulated)
{
    m_settings.state = settings;
    m_adapter.state = adapter;
    m_target.state = target;
    int good = 0;
    for (Line* line : {&m_settings, &m_adapter, &m_target}) {
        good += line->state.mark == Readiness::Mark::Good;
        line->text->setText(line->state.text);
        Draw(*line);
    }
    static constexpr std::array kCounts{QT_TR_NOOP("None is in order yet."),
                                        QT_TR_NOOP("One is in order, two are not."),
                                        QT_TR_NOOP("Two are in order, one is not.")};
    if (good == 3) {
        lblEmptyTitle->setText(tr("Ready"));
        lblEmptyText->setText(tr("Choose a view at the left to open it."));
    } else {
        const bool adapterGood = adapter.mark == Readiness::Mark::Good;
        lblEmptyTitle->setText(adapterGood ? tr("No target yet") : tr("Nothing is connected yet"));
        lblEmptyText->setText(tr("Three things make Tarnlo ready.") + QLatin1Char(' ')
                              + tr(kCounts[static_cast<std::size_t>(good)]));
    }
    m_simulated->setVisible(!simulated);
}

void EmptyPage::Draw(Line& line)
{
    const SkinColours& colours = Theme::Current().Colours();
    const bool good = line.state.mark == Readiness::Mark::Good;
    const bool failed = line.state.mark == Readiness::Mark::Failed;
    line.icon->setPixmap(IconPixmap(good         ? QStringLiteral("ok")
                                        : failed ? QStringLiteral("error")
                                                 : line.iconName,
                                    24,
                                    ToColour(good         ? colours.Good
                                                 : failed ? colours.Failed
                                                          : colours.TextFore),
                                    devicePixelRatioF()));
    line.icon->setAccessibleName(good ? tr("In order") : failed ? tr("Failed") : tr("Open"));
}

void EmptyPage::Applyskin()
{
    const Theme& theme = Theme::Current();
    m_card->setPalette(WindowPalette(theme.Colours()));
    lblEmptyTitle->setFont(theme.Font(Type::State));
    QPalette quiet = m_card->palette();
    quiet.setColor(QPalette::WindowText, ToColour(theme.Colours().TextSecondary));
    lblEmptyText->setPalette(quiet);
    m_simulatedIcon->setPixmap(
        IconPixmap(QStringLiteral("sim"), 24, ToColour(theme.Colours().TextFore), devicePixelRatioF()));
    for (Line* line : {&m_settings, &m_adapter, &m_target}) {
        line->title->setFont(theme.Font(Type::Title));
        Draw(*line);
    }
}
