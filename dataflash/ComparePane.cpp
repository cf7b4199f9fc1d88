#include "dataflash/ComparePane.h"

#include "dataflash/EachItem.h"
#include "dataflash/EditJudge.h"
#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QShortcut>
#include <QSignalBlocker>
#include <QTabBar>

namespace {

enum Column { kTick, kName, kMine, kTheirs, kUnit, kNote, kColumns };
constexpr int kRowHeight = 20;

QTableWidgetItem* Value(const DataItem& item, const QString& native)
{
    auto* cell = new QTableWidgetItem(native.isNull() ? ComparePane::tr("no value") : Shown(item, native));
    cell->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    if (native.isNull())
        cell->setForeground(ToColour(Theme::Current().Colours().TextSecondary));
    return cell;
}

} // namespace

ComparePane::ComparePane(QWidget* parent)
    : QFrame(parent), lblCompareTitle(Named(new QLabel(this), "lblCompareTitle")),
      lblCompareSummary(Named(new QLabel(this), "lblCompareSummary")),
      m_pages(Named(new QTabWidget(this), "tabsCompare")),
      grdCompare(Named(new QTableWidget(0, kColumns, this), "grdCompare")),
      lstRemarks(Named(new QListWidget(this), "lstRemarks")),
      cmdTickAll(Named(new QPushButton(tr("Tick all"), this), "cmdTickAll")),
      cmdTickNone(Named(new QPushButton(tr("Tick none"), this), "cmdTickNone")),
      cmdCloseCompare(Named(new QPushButton(tr("Close"), this), "cmdCloseCompare")),
      cmdTake(Named(new QPushButton(ThemeIcon(QStringLiteral("import")), {}, this), "cmdTake"))
{
    setObjectName(QStringLiteral("paneCompare"));
    setFrameShape(StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    lblCompareTitle->setFont(Theme::Current().Font(Type::Strong));
    lblCompareSummary->setWordWrap(true);
    MakeSecondary(lblCompareSummary);
    grdCompare->setAccessibleName(tr("Values side by side"));
    grdCompare->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grdCompare->setSelectionBehavior(QAbstractItemView::SelectRows);
    grdCompare->setSelectionMode(QAbstractItemView::SingleSelection);
    grdCompare->setFrameShape(NoFrame);
    grdCompare->setShowGrid(false);
    grdCompare->setAlternatingRowColors(true);
    grdCompare->setWordWrap(false);
    grdCompare->setTabKeyNavigation(false);
    grdCompare->verticalHeader()->hide();
    grdCompare->verticalHeader()->setMinimumSectionSize(kRowHeight);
    grdCompare->verticalHeader()->setDefaultSectionSize(kRowHeight);
    QHeaderView* head = grdCompare->horizontalHeader();
    head->setHighlightSections(false);
    head->setMinimumSectionSize(24);
    for (const int column : {kTick, kMine, kTheirs, kUnit})
        head->setSectionResizeMode(column, QHeaderView::ResizeToContents);
    head->setSectionResizeMode(kName, QHeaderView::Stretch);
    head->setSectionResizeMode(kNote, QHeaderView::ResizeToContents);
    lstRemarks->setAccessibleName(tr("Remarks"));
    lstRemarks->setFrameShape(NoFrame);
    lstRemarks->setWordWrap(true);
    m_pages->setDocumentMode(true);
    m_pages->addTab(grdCompare, tr("Differences"));
    m_pages->addTab(lstRemarks, tr("Remarks"));

    auto* heads = new QHBoxLayout;
    heads->setSpacing(8);
    heads->addWidget(lblCompareTitle);
    heads->addWidget(lblCompareSummary, 1);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addWidget(cmdTickAll);
    buttons->addWidget(cmdTickNone);
    buttons->addStretch();
    buttons->addWidget(cmdCloseCompare);
    buttons->addWidget(cmdTake);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(10, 8, 10, 8);
    column->setSpacing(6);
    column->addLayout(heads);
    column->addWidget(m_pages, 1);
    column->addLayout(buttons);

    connect(grdCompare, &QTableWidget::itemChanged, this, [this](const QTableWidgetItem* item) {
        if (item->column() != kTick)
            return;
        m_offers.Offers[static_cast<std::size_t>(item->row())].Ticked = item->checkState() == Qt::Checked;
        Count();
    });
    connect(grdCompare, &QTableWidget::currentCellChanged, this, [this](int row) {
        if (row >= 0 && row < static_cast<int>(m_offers.Offers.size()))
            emit ItemChosen(m_offers.Offers[static_cast<std::size_t>(row)].Place);
    });
    connect(cmdTickAll, &QPushButton::clicked, this, [this] { TickAll(true); });
    connect(cmdTickNone, &QPushButton::clicked, this, [this] { TickAll(false); });
    connect(cmdTake, &QPushButton::clicked, this, &ComparePane::Take);
    connect(cmdCloseCompare, &QPushButton::clicked, this, &ComparePane::Closed);
    auto* leave
        = new QShortcut(QKeySequence(Qt::Key_Escape), this, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
    connect(leave, &QShortcut::activated, this, &ComparePane::Closed);
}

void ComparePane::Show(ValueOffers offers, const DataFlashTree& tree)
{
    m_offers = std::move(offers);
    lblCompareTitle->setText(m_offers.Title);
    lblCompareSummary->setText(m_offers.Summary);
    {
        const QSignalBlocker quiet(grdCompare);
        grdCompare->setHorizontalHeaderLabels(
            {QString(), tr("Item"), tr("On screen"), m_offers.Source, tr("Unit"), tr("Note")});
        for (const int column : {kMine, kTheirs})
            grdCompare->horizontalHeaderItem(column)->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        for (const int column : {kName, kUnit, kNote})
            grdCompare->horizontalHeaderItem(column)->setTextAlignment(Qt::AlignLeft | Qt::AlignVCenter);
        grdCompare->setRowCount(static_cast<int>(m_offers.Offers.size()));
        for (int row = 0; row < grdCompare->rowCount(); ++row) {
            const ValueOffers::Offer& offer = m_offers.Offers[static_cast<std::size_t>(row)];
            const DataItem& item = ItemAt(tree, offer.Place);
            const DataClass& dataClass = tree.Classes[static_cast<std::size_t>(offer.Place.Class)];
            const QString name
                = QStringList{dataClass.Name,
                              dataClass.SubClasses[static_cast<std::size_t>(offer.Place.SubClass)].Name,
                              item.Name}
                      .join(QStringLiteral(" / "));
            auto* tick = new QTableWidgetItem;
            tick->setData(Qt::AccessibleTextRole, tr("Take %1").arg(item.Name));
            tick->setFlags(offer.CanTake ? Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable
                                         : Qt::ItemFlags(Qt::ItemIsSelectable));
            tick->setCheckState(offer.Ticked && offer.CanTake ? Qt::Checked : Qt::Unchecked);
            grdCompare->setItem(row, kTick, tick);
            auto* named = new QTableWidgetItem(name);
            named->setToolTip(name);
            grdCompare->setItem(row, kName, named);
            grdCompare->setItem(row, kMine, Value(item, offer.Mine));
            grdCompare->setItem(row, kTheirs, Value(item, offer.Theirs));
            grdCompare->setItem(row, kUnit, new QTableWidgetItem(item.Units));
            auto* note = new QTableWidgetItem(offer.Note);
            note->setToolTip(offer.Note);
            if (!offer.Note.isEmpty())
                note->setIcon(offer.CanTake ? ThemeIcon(QStringLiteral("warn"), IconInk::Caution)
                                            : ThemeIcon(QStringLiteral("error"), IconInk::Failed));
            grdCompare->setItem(row, kNote, note);
        }
        lstRemarks->clear();
        lstRemarks->addItems(m_offers.Remarks);
    }
    grdCompare->setColumnHidden(
        kNote, std::ranges::all_of(m_offers.Offers, [](const auto& offer) { return offer.Note.isEmpty(); }));
    m_pages->setTabText(0, tr("Differences: %1").arg(m_offers.Offers.size()));
    m_pages->setTabText(1, tr("Remarks: %1").arg(m_offers.Remarks.size()));
    m_pages->tabBar()->setVisible(!m_offers.Remarks.isEmpty());
    m_pages->setCurrentIndex(m_offers.Offers.empty() && !m_offers.Remarks.isEmpty() ? 1 : 0);
    Count();
    grdCompare->setFocus();
}

void ComparePane::ShowMine(const DataFlashTree& tree)
{
    for (int row = 0; row < grdCompare->rowCount(); ++row) {
        ValueOffers::Offer& offer = m_offers.Offers[static_cast<std::size_t>(row)];
        const DataItem& item = ItemAt(tree, offer.Place);
        if (item.Value != offer.Mine)
            grdCompare->setItem(row, kMine, Value(item, offer.Mine = item.Value));
    }
}

void ComparePane::Count()
{
    const int ticked = m_offers.Ticked();
    cmdTake->setText(ticked == 1 ? tr("Take 1 value") : tr("Take %1 values").arg(ticked));
    cmdTake->setEnabled(ticked > 0 && !m_locked);
    cmdTickAll->setEnabled(!m_offers.Offers.empty());
    cmdTickNone->setEnabled(ticked > 0);
}

void ComparePane::TickAll(bool on)
{
    for (int row = 0; row < grdCompare->rowCount(); ++row)
        if (m_offers.Offers[static_cast<std::size_t>(row)].CanTake)
            grdCompare->item(row, kTick)->setCheckState(on ? Qt::Checked : Qt::Unchecked);
}

void ComparePane::SetLocked(bool on)
{
    m_locked = on;
    Count();
}

void ComparePane::GoOn(bool forward)
{
    const int rows = grdCompare->rowCount();
    if (rows > 0)
        grdCompare->setCurrentCell((grdCompare->currentRow() + (forward ? 1 : rows - 1)) % rows, kName);
}
