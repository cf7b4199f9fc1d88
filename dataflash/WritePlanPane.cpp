#include "dataflash/WritePlanPane.h"

#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QShortcut>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace {

enum Column { kTick, kId, kName, kEdits, kBytes, kPages, kPreserved, kColumns };
constexpr int kRowHeight = 20;

QTableWidgetItem* Number(int number)
{
    auto* item = new QTableWidgetItem(QString::number(number));
    item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return item;
}

} // namespace

WritePlanPane::WritePlanPane(QWidget* parent)
    : QFrame(parent), lblPlanTitle(Named(new QLabel(this), "lblPlanTitle")),
      lblPlanSummary(Named(new QLabel(this), "lblPlanSummary")),
      grdPlan(Named(new QTableWidget(0, kColumns, this), "grdPlan")), m_backupIcon(new QLabel(this)),
      lblBackup(Named(new QLabel(this), "lblBackup")),
      chkVerify(Named(new QCheckBox(tr("&Verify after writing"), this), "chkVerify")),
      cmdCancelPlan(Named(new QPushButton(tr("Cancel"), this), "cmdCancelPlan")),
      cmdWritePlan(Named(new QPushButton(ThemeIcon(QStringLiteral("write")), {}, this), "cmdWritePlan"))
{
    setObjectName(QStringLiteral("panePlan"));
    setFrameShape(StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    lblPlanTitle->setFont(Theme::Current().Font(Type::Strong));
    MakeSecondary(lblPlanSummary);
    lblPlanSummary->setWordWrap(true);
    lblBackup->setWordWrap(true);
    lblBackup->setTextInteractionFlags(Qt::TextSelectableByMouse);

    grdPlan->setAccessibleName(tr("Subclasses that would be written"));
    grdPlan->setHorizontalHeaderLabels(
        {QString(), tr("Subclass"), tr("Name"), tr("Edits"), tr("Bytes"), tr("Pages"), tr("Preserved")});
    for (const int column : {kId, kEdits, kBytes, kPages})
        grdPlan->horizontalHeaderItem(column)->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    for (const int column : {kName, kPreserved})
        grdPlan->horizontalHeaderItem(column)->setTextAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    grdPlan->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grdPlan->setSelectionBehavior(QAbstractItemView::SelectRows);
    grdPlan->setShowGrid(false);
    grdPlan->setAlternatingRowColors(true);
    grdPlan->setWordWrap(false);
    grdPlan->setTabKeyNavigation(false);
    grdPlan->verticalHeader()->hide();
    grdPlan->verticalHeader()->setMinimumSectionSize(kRowHeight);
    grdPlan->verticalHeader()->setDefaultSectionSize(kRowHeight);
    QHeaderView* head = grdPlan->horizontalHeader();
    head->setHighlightSections(false);
    head->setMinimumSectionSize(24);
    for (const int column : {kTick, kId, kEdits, kBytes, kPages, kPreserved})
        head->setSectionResizeMode(column, QHeaderView::ResizeToContents);
    head->setSectionResizeMode(kName, QHeaderView::Stretch);

    auto* heads = new QHBoxLayout;
    heads->setSpacing(8);
    heads->addWidget(lblPlanTitle);
    heads->addWidget(lblPlanSummary, 1);
    auto* backup = new QHBoxLayout;
    backup->setSpacing(6);
    backup->addWidget(m_backupIcon, 0, Qt::AlignTop);
    backup->addWidget(lblBackup, 1);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addStretch();
    buttons->addWidget(cmdCancelPlan);
    buttons->addWidget(cmdWritePlan);
    auto* side = new QVBoxLayout;
    side->setSpacing(6);
    side->addLayout(backup);
    side->addWidget(chkVerify);
    side->addStretch();
    side->addLayout(buttons);
    m_side = side;
    m_grid = new QGridLayout(this);
    m_grid->setContentsMargins(10, 8, 10, 8);
    m_grid->setHorizontalSpacing(16);
    m_grid->setVerticalSpacing(6);
    m_grid->addLayout(heads, 0, 0);
    m_grid->addWidget(grdPlan, 1, 0);
    m_grid->addLayout(side, 0, 1, 2, 1);
    m_grid->setColumnStretch(0, 1);

    connect(grdPlan, &QTableWidget::itemChanged, this, &WritePlanPane::Count);
    connect(cmdWritePlan, &QPushButton::clicked, this, &WritePlanPane::Write);
    connect(cmdCancelPlan, &QPushButton::clicked, this, &WritePlanPane::Cancelled);
    const auto key = [this](Qt::Key which, QPushButton* button) {
        auto* shortcut
            = new QShortcut(QKeySequence(which), this, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
        connect(shortcut, &QShortcut::activated, button, &QPushButton::click);
    };
    key(Qt::Key_Return, cmdWritePlan);
    key(Qt::Key_Enter, cmdWritePlan);
    key(Qt::Key_Escape, cmdCancelPlan);
    connect(&Theme::Current(), &Theme::Changed, this, &WritePlanPane::Count);
}

void WritePlanPane::Show(const Plan& plan, bool verify)
{
    m_plan = plan;
    lblPlanTitle->setText(plan.Title);
    chkVerify->setChecked(verify);
    {
        const QSignalBlocker quiet(grdPlan);
        grdPlan->setColumnHidden(kTick, !plan.Ticks);
        grdPlan->setRowCount(static_cast<int>(plan.Rows.size()));
        for (int i = 0; i < grdPlan->rowCount(); ++i) {
            const Row& row = plan.Rows[static_cast<std::size_t>(i)];
            auto* tick = new QTableWidgetItem;
            tick->setData(Qt::AccessibleTextRole, tr("Write %1").arg(row.Name));
            tick->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
            tick->setCheckState(row.Caution.isEmpty() || !plan.Ticks ? Qt::Checked : Qt::Unchecked);
            grdPlan->setItem(i, kTick, tick);
            grdPlan->setItem(i, kId, Number(row.Id));
            grdPlan->setItem(i, kName, new QTableWidgetItem(row.Name));
            grdPlan->setItem(i, kEdits, Number(row.Edits));
            grdPlan->setItem(i, kBytes, Number(row.Bytes));
            grdPlan->setItem(i, kPages, Number(row.Pages));
            const QString note = !row.Caution.isEmpty() ? row.Caution
                : row.Preserved.isEmpty()               ? tr("none")
                                                        : row.Preserved;
            auto* preserved = new QTableWidgetItem(note);
            preserved->setToolTip(note);
            if (!row.Caution.isEmpty())
                preserved->setIcon(ThemeIcon(QStringLiteral("warn"), IconInk::Caution));
            grdPlan->setItem(i, kPreserved, preserved);
        }
    }
    lblBackup->setText(tr("Backup first, to the folder %1").arg(QFileInfo(plan.BackupFolder).fileName()));
    lblBackup->setToolTip(plan.BackupFolder);
    Count();
    cmdWritePlan->setFocus();
}

std::vector<SubClassPlace> WritePlanPane::Ticked() const
{
    std::vector<SubClassPlace> ticked;
    for (int i = 0; i < grdPlan->rowCount(); ++i) {
        const Row& row = m_plan.Rows[static_cast<std::size_t>(i)];
        if (grdPlan->item(i, kTick)->checkState() == Qt::Checked)
            ticked.push_back({row.Class, row.SubClass});
    }
    return ticked;
}

void WritePlanPane::SetLocked(bool on)
{
    m_locked = on;
    Count();
}

void WritePlanPane::SetNarrow(bool on)
{
    m_grid->removeItem(m_side);
    m_side->setParent(nullptr);
    if (on)
        m_grid->addLayout(m_side, 2, 0);
    else
        m_grid->addLayout(m_side, 0, 1, 2, 1);
    for (const int column : {kEdits, kPages})
        grdPlan->setColumnHidden(column, on);
}

void WritePlanPane::Count()
{
    int subClasses = 0;
    int edits = 0;
    int bytes = 0;
    int pages = 0;
    int allPages = 0;
    for (int i = 0; i < grdPlan->rowCount(); ++i) {
        const Row& row = m_plan.Rows[static_cast<std::size_t>(i)];
        allPages += row.Pages;
        if (!grdPlan->item(i, kTick) || grdPlan->item(i, kTick)->checkState() != Qt::Checked)
            continue;
        ++subClasses;
        edits += row.Edits;
        bytes += row.Bytes;
        pages += row.Pages;
    }
    const double seconds = allPages == 0 ? 0 : m_plan.Seconds * pages / allPages;
    lblPlanSummary->setText(tr("%1, %2, %3 bytes in %4, about %5 s with row delays")
                                .arg(subClasses == 1 ? tr("1 subclass") : tr("%1 subclasses").arg(subClasses),
                                     edits == 1 ? tr("1 edited item") : tr("%1 edited items").arg(edits))
                                .arg(bytes)
                                .arg(pages == 1 ? tr("1 page") : tr("%1 pages").arg(pages))
                                .arg(seconds, 0, 'f', seconds < 10 ? 1 : 0));
    cmdWritePlan->setText(subClasses == 1 ? tr("Write 1 subclass")
                                          : tr("Write %1 subclasses").arg(subClasses));
    cmdWritePlan->setEnabled(subClasses > 0 && !m_locked);
    m_backupIcon->setPixmap(
        ThemeIcon(QStringLiteral("ok"), IconInk::Good).pixmap(QSize(16, 16), devicePixelRatioF()));
}
