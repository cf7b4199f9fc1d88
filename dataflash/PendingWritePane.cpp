#include "dataflash/PendingWritePane.h"

#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QStringList>

#include <algorithm>
#include <array>

namespace {

constexpr std::size_t kMostNamed = 6; // of one kind; the tooltip has all

QString Names(const PendingWrite& pending, PendingWrite::Now now, std::size_t most)
{
    QStringList names;
    std::size_t count = 0;
    for (const PendingWrite::Entry& entry : pending.Entries)
        if (entry.What == now && ++count <= most)
            names << QStringLiteral("%1 %2").arg(entry.Id).arg(entry.Name);
    if (count > most)
        names << PendingWritePane::tr("%1 more").arg(count - most);
    return names.join(QStringLiteral(", "));
}

/// One line for each state that a subclass of the write is in.
QString States(const PendingWrite& pending, std::size_t most)
{
    static const std::array<std::pair<PendingWrite::Now, const char*>, 4> kStates{{
        {PendingWrite::Now::Torn, QT_TRANSLATE_NOOP("PendingWritePane", "Torn, neither old nor new: %1")},
        {PendingWrite::Now::Old, QT_TRANSLATE_NOOP("PendingWritePane", "Still old: %1")},
        {PendingWrite::Now::New, QT_TRANSLATE_NOOP("PendingWritePane", "Already new: %1")},
        {PendingWrite::Now::Unreadable, QT_TRANSLATE_NOOP("PendingWritePane", "Not readable now: %1")},
    }};
    QStringList lines;
    for (const auto& [now, text] : kStates) {
        const QString names = Names(pending, now, most);
        if (!names.isEmpty())
            lines << PendingWritePane::tr(text).arg(names);
    }
    return lines.join(QLatin1Char('\n'));
}

} // namespace

PendingWritePane::PendingWritePane(QWidget* parent)
    : QFrame(parent), m_icon(new QLabel(this)), lblPending(Named(new QLabel(this), "lblPending")),
      lblPendingList(Named(new QLabel(this), "lblPendingList")),
      cmdFinishWrite(Named(new QPushButton(ThemeIcon(QStringLiteral("write")), tr("Finish the write"), this),
                           "cmdFinishWrite")),
      cmdRollBack(
          Named(new QPushButton(ThemeIcon(QStringLiteral("undo")), tr("Roll back"), this), "cmdRollBack")),
      cmdForget(Named(new QPushButton(tr("Forget"), this), "cmdForget"))
{
    setObjectName(QStringLiteral("panePending"));
    setFrameShape(StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    lblPending->setFont(Theme::Current().Font(Type::Strong));
    lblPending->setWordWrap(true);
    lblPendingList->setWordWrap(true);
    lblPendingList->setTextInteractionFlags(Qt::TextSelectableByMouse);
    cmdFinishWrite->setToolTip(tr("Writes the new bytes to every subclass that does not hold them yet"));
    cmdRollBack->setToolTip(
        tr("Writes the old bytes back to every subclass that does not hold them any more"));
    cmdForget->setToolTip(tr("Leaves the gauge as it is and drops what was kept for repair"));
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addWidget(cmdFinishWrite);
    buttons->addWidget(cmdRollBack);
    buttons->addWidget(cmdForget);
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(8, 6, 8, 6);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(4);
    grid->addWidget(m_icon, 0, 0, Qt::AlignTop);
    grid->addWidget(lblPending, 0, 1);
    grid->addWidget(lblPendingList, 1, 1);
    grid->addLayout(buttons, 0, 2, 2, 1, Qt::AlignVCenter);
    grid->setColumnStretch(1, 1);
    connect(cmdFinishWrite, &QPushButton::clicked, this, &PendingWritePane::Finish);
    connect(cmdRollBack, &QPushButton::clicked, this, &PendingWritePane::RollBack);
    connect(cmdForget, &QPushButton::clicked, this, &PendingWritePane::Forget);
    hide();
}

void PendingWritePane::Show(const PendingWrite& pending)
{
    m_icon->setPixmap(
        ThemeIcon(QStringLiteral("warn"), IconInk::Caution).pixmap(QSize(16, 16), devicePixelRatioF()));
    lblPending->setText(
        tr("A write to %1 that began %2 never ended.")
            .arg(pending.Pack, QString(pending.Begun).replace(QLatin1Char('T'), QLatin1Char(' '))));
    lblPendingList->setText(States(pending, kMostNamed));
    lblPendingList->setToolTip(States(pending, pending.Entries.size()));
    show();
}

void PendingWritePane::SetLocked(bool on)
{
    for (QPushButton* button : {cmdFinishWrite, cmdRollBack, cmdForget})
        button->setEnabled(!on);
}

void PendingWritePane::SetNarrow(bool on)
{
    cmdFinishWrite->setText(on ? tr("Finish") : tr("Finish the write"));
}
