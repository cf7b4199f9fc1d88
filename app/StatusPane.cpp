#include "app/StatusPane.h"

#include "look/ElidedLabel.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QResizeEvent>
#include <QTime>

namespace {

constexpr int kIcon = 16;
constexpr qint64 kTimeToReadMs = 5000;

bool BeingRead(const QElapsedTimer& since) { return since.isValid() && !since.hasExpired(kTimeToReadMs); }

template <class Label = QLabel>
QLabel* Panel(QStatusBar* bar, const char* name, const QString& accessible)
{
    auto* label = new Label(bar);
    label->setObjectName(QLatin1String(name));
    label->setAccessibleDescription(accessible); // the name is the text: that is what is to be read out
    label->setContentsMargins(6, 0, 6, 0);
    return label;
}

/// An icon and the text that belongs to it.
QWidget* WithIcon(QLabel* icon, QLabel* text)
{
    auto* panel = new QWidget(text->parentWidget());
    auto* row = new QHBoxLayout(panel);
    row->setContentsMargins(6, 0, 0, 0);
    row->setSpacing(0);
    row->addWidget(icon);
    row->addWidget(text);
    return panel;
}

} // namespace

StatusPane::StatusPane(QWidget* parent)
    : QStatusBar(parent), tmrStatusBarTime(new QTimer(this)),
      PictureStat(Panel<ElidedLabel>(this, "PictureStat", tr("Status"))),
      ProgressBarStatus(new QProgressBar(this)), m_badge(new QWidget(this)), m_badgeIcon(new QLabel(m_badge)),
      PictureMode(Panel(this, "PictureMode", tr("Adapter"))),
      lblAddress(Panel(this, "lblAddress", tr("Address"))), m_linkIcon(new QLabel(this)),
      lblLink(Panel(this, "lblLink", tr("Link state"))), m_lockIcon(new QLabel(this)),
      lblBusOwner(Panel(this, "lblBusOwner", tr("Bus holder"))),
      lblBusLoad(Panel(this, "lblBusLoad", tr("Bus load"))), lblClock(Panel(this, "lblClock", tr("Time")))
{
    setObjectName(QStringLiteral("sbMDI"));
    setAutoFillBackground(true);
    setSizeGripEnabled(false);
    ProgressBarStatus->setObjectName(QStringLiteral("ProgressBarStatus"));
    ProgressBarStatus->setAccessibleName(tr("Progress"));
    ProgressBarStatus->hide();

    PictureStat->setMinimumWidth(60);
    addWidget(PictureStat, 1);
    m_badge->setObjectName(QStringLiteral("badge"));
    auto* badge = new QHBoxLayout(m_badge);
    badge->setContentsMargins(6, 0, 0, 0);
    badge->setSpacing(0);
    badge->addWidget(m_badgeIcon);
    badge->addWidget(PictureMode);
    m_panels = {m_badge,    lblAddress, WithIcon(m_linkIcon, lblLink), WithIcon(m_lockIcon, lblBusOwner),
                lblBusLoad, lblClock};
    for (QWidget* panel : std::as_const(m_panels))
        addPermanentWidget(panel);

    tmrStatusBarTime->setObjectName(QStringLiteral("tmrStatusBarTime"));
    tmrStatusBarTime->setInterval(250); // a clock that shows seconds must not skip one
    connect(tmrStatusBarTime, &QTimer::timeout, this, &StatusPane::ShowTime);
    tmrStatusBarTime->start();
    ShowTime();
    SetLink({});
    Applyskin();
}

void StatusPane::SetText(const QString& text)
{
    Show(text);
    m_said.start();
}

void StatusPane::SetIdleText(const QString& text)
{
    if (!BeingRead(m_said))
        Show(text);
}

void StatusPane::SetRefusal(const QString& text)
{
    SetText(text);
    m_refused.start();
    ProgressBarStatus->hide();
}

void StatusPane::Show(const QString& text)
{
    PictureStat->setText(text);
    PictureStat->setToolTip(text);
}

void StatusPane::SetProgress(int done, int of, const QString& owner)
{
    const bool running = of > 0 && done < of;
    if (running) {
        ProgressBarStatus->setRange(0, of);
        ProgressBarStatus->setValue(done);
        ProgressBarStatus->setFormat(owner + QStringLiteral(" %p%"));
        PlaceProgress();
    }
    ProgressBarStatus->setVisible(running && !BeingRead(m_refused));
}

void StatusPane::SetLink(const LinkFacts& facts)
{
    m_facts = facts;
    PictureMode->setText(facts.Simulated               ? QStringLiteral("Simulated")
                             : facts.Adapter.isEmpty() ? tr("No adapter open")
                                                       : facts.Adapter);
    lblAddress->setText(tr("Address 0x%1").arg(facts.Address, 2, 16, QLatin1Char('0')));
    const SkinColours& colours = Theme::Current().Colours();
    const bool failed = !facts.LastError.isEmpty();
    const bool known = facts.Answering || failed;
    m_linkIcon->setPixmap(IconPixmap(failed      ? QStringLiteral("error")
                                         : known ? QStringLiteral("link")
                                                 : QStringLiteral("unlink"),
                                     kIcon, ToColour(failed ? colours.Failed : colours.TextFore),
                                     devicePixelRatioF()));
    lblLink->setText(failed ? facts.LastError : facts.Answering ? tr("Gauge answers") : tr("Not connected"));
    lblLink->setToolTip(failed ? tr("Last error: %1").arg(facts.LastError) : lblLink->text());
    lblBusOwner->setText(facts.BusOwner.isEmpty() ? tr("Bus: free") : tr("Bus: %1").arg(facts.BusOwner));
    m_lockIcon->setPixmap(
        facts.BusOwner.isEmpty()
            ? QPixmap()
            : IconPixmap(QStringLiteral("lock"), kIcon, ToColour(colours.TextFore), devicePixelRatioF()));
    lblBusLoad->setText(tr("Bus %1 % busy").arg(facts.BusLoad, 0, 'f', 1));
    lblBusLoad->setToolTip(
        tr("Share of the time that the bus is in use, by the ideal bus time of each transaction"));
    m_badgeIcon->setPixmap(
        facts.Adapter.isEmpty()
            ? QPixmap()
            : IconPixmap(facts.Simulated ? QStringLiteral("chip") : QStringLiteral("adapter"), kIcon,
                         ToColour(facts.Simulated ? colours.Background : colours.TextFore),
                         devicePixelRatioF()));
    const QString sheet = facts.Simulated ? QStringLiteral("#badge { background: %1; border-radius: 2px; } "
                                                           "#PictureMode { color: %2; font-weight: 600; }")
                                                .arg(RgbText(colours.TextFore), RgbText(colours.Background))
                                          : QString();
    if (m_badge->styleSheet() != sheet)
        m_badge->setStyleSheet(sheet);
}

void StatusPane::SetRoom(int level)
{
    lblBusLoad->setVisible(level < 1);
    lblBusOwner->parentWidget()->setVisible(level < 2);
}

void StatusPane::Applyskin()
{
    setPalette(ToolPalette(Theme::Current().Colours()));
    SetLink(m_facts);
}

void StatusPane::resizeEvent(QResizeEvent* event)
{
    QStatusBar::resizeEvent(event);
    PlaceProgress();
}

void StatusPane::paintEvent(QPaintEvent* event)
{
    QStatusBar::paintEvent(event);
    QPainter painter(this);
    painter.setPen(ToColour(Theme::Current().Colours().Line));
    for (const QWidget* panel : std::as_const(m_panels))
        if (panel != m_badge && panel->isVisible()) {
            const int x = panel->geometry().left() - 3;
            painter.drawLine(x, 4, x, height() - 5);
        }
}

void StatusPane::ShowTime()
{
    lblClock->setText(QLocale::c().toString(QTime::currentTime(), QStringLiteral("hh:mm:ss AP")));
}

void StatusPane::PlaceProgress()
{
    ProgressBarStatus->setGeometry(PictureStat->geometry().adjusted(0, 2, 0, -2));
    ProgressBarStatus->raise();
}
