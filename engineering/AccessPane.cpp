#include "engineering/AccessPane.h"

#include "engineering/ViewParts.h"
#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QShortcut>
#include <QTableWidget>

AccessPane::AccessPane(const std::vector<AccessCommand>& commands, QWidget* parent)
    : QWidget(parent), m_commands(commands),
      grdAccess(Named(new QTableWidget(static_cast<int>(commands.size()), 2, this), "grdAccess")),
      cmdSendAccess(
          Named(new QPushButton(ThemeIcon(QStringLiteral("play")), tr("Send"), this), "cmdSendAccess")),
      lblAccessState(Named(new QLabel(this), "lblAccessState"))
{
    DressTable(grdAccess, tr("Access commands of the target"));
    grdAccess->setSelectionMode(QAbstractItemView::SingleSelection);
    grdAccess->setHorizontalHeaderLabels({tr("Command"), tr("What is sent")});
    for (int row = 0; row < grdAccess->rowCount(); ++row) {
        const AccessCommand& command = m_commands[static_cast<std::size_t>(row)];
        auto* name = new QTableWidgetItem(command.Name);
        auto* sent = new QTableWidgetItem(command.Written);
        sent->setFont(Theme::Current().Font(Type::Mono));
        name->setIcon(ThemeIcon(
            command.Problem.isEmpty()
                ? (command.Steps.Writes().isEmpty() ? QStringLiteral("read") : QStringLiteral("write"))
                : QStringLiteral("warn"),
            command.Problem.isEmpty() ? IconInk::Secondary : IconInk::Caution));
        const QString tip = command.Problem.isEmpty()
            ? QString(command.Written).replace(QLatin1String("; "), QLatin1String("\n"))
            : command.Problem;
        name->setToolTip(tip);
        sent->setToolTip(tip);
        grdAccess->setItem(row, 0, name);
        grdAccess->setItem(row, 1, sent);
    }
    grdAccess->resizeColumnToContents(0);
    MakeEmptyLabel(
        grdAccess, "lblAccessEmpty",
        tr("The target names no access commands.\nThey stand in section [Access] of its configuration file, "
           "for example:\n1=Firmware version: write-word 0x00 2; read-word 0x00"));
    cmdSendAccess->setAutoDefault(false);
    lblAccessState->setWordWrap(true);

    auto* foot = new QHBoxLayout;
    foot->addWidget(lblAccessState, 1);
    foot->addWidget(cmdSendAccess);
    auto* down = new QVBoxLayout(this);
    down->setContentsMargins(8, 8, 8, 6);
    down->setSpacing(4);
    down->addWidget(grdAccess, 1);
    down->addLayout(foot);
    setFocusProxy(grdAccess);
    connect(cmdSendAccess, &QPushButton::clicked, this, &AccessPane::Send);
    connect(grdAccess, &QTableWidget::cellDoubleClicked, this, &AccessPane::Send);
    connect(grdAccess, &QTableWidget::itemSelectionChanged, this, &AccessPane::ShowCurrent);
    for (const int key : {Qt::Key_Return, Qt::Key_Enter}) {
        auto* enter = new QShortcut(QKeySequence(key), grdAccess, nullptr, nullptr, Qt::WidgetShortcut);
        connect(enter, &QShortcut::activated, this, &AccessPane::Send);
    }
    if (grdAccess->rowCount() > 0)
        grdAccess->setCurrentCell(0, 0);
    ShowCurrent();
}

QString AccessPane::ShowSend()
{
    const int row = grdAccess->currentRow();
    const bool known = row >= 0 && row < static_cast<int>(m_commands.size());
    QString problem = known ? m_commands[static_cast<std::size_t>(row)].Problem : QString();
    cmdSendAccess->setEnabled(known && problem.isEmpty() && !m_busy);
    cmdSendAccess->setToolTip(m_busy                   ? tr("A sequence runs; it holds the bus until it ends")
                                  : !problem.isEmpty() ? problem
                                                       : tr("Send the selected command (Enter)"));
    return problem;
}

void AccessPane::ShowCurrent() { ShowState(ShowSend(), true); }

void AccessPane::Send()
{
    if (cmdSendAccess->isEnabled())
        emit SendRequested(grdAccess->currentRow());
}

void AccessPane::SetBusy(bool busy)
{
    m_busy = busy;
    ShowSend(); // what is said of the last command stays
}

void AccessPane::ShowState(const QString& text, bool failed) { ShowNote(lblAccessState, text, failed); }
