#include "engineering/frmBusHealth.h"

#include "engineering/HealthModel.h"
#include "engineering/HealthPlot.h"
#include "engineering/ViewParts.h"
#include "engineering/ViewState.h"
#include "look/Controls.h"
#include "look/Icons.h"
#include "platform/WholeFile.h"

#include <QApplication>
#include <QBoxLayout>
#include <QClipboard>
#include <QComboBox>
#include <QFileInfo>
#include <QHeaderView>
#include <QLineEdit>
#include <QShortcut>
#include <QSplitter>
#include <QTimer>

#include <algorithm>

namespace {

constexpr int kRefreshMs = 500;

/// Rows whose register text holds what was typed.
class HealthFilter final : public QSortFilterProxyModel {
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

protected:
    bool filterAcceptsRow(int row, const QModelIndex& /*parent*/) const override
    {
        const auto* model = static_cast<const HealthModel*>(sourceModel());
        return RegisterText(model->Row(row).Place).contains(filterRegularExpression());
    }
};

} // namespace

frmBusHealth::frmBusHealth(BusHealth& health, ProfileStore& profiles, const StartupState& state,
                           UserMessages& messages)
    : m_health(health), m_profiles(profiles), m_state(state), m_messages(messages),
      m_model(new HealthModel(health, this)), m_filter(new HealthFilter(this)),
      tmrHealth(Named(new QTimer(this), "tmrHealth")), cboPlot(Named(new QComboBox(this), "cboPlot")),
      txtHealthFilter(Named(new QLineEdit(this), "txtHealthFilter")),
      cmdResetHealth(MakeButton(this, "cmdResetHealth", "undo", tr("Reset"), tr("Count from nothing again"))),
      cmdExportHealth(MakeButton(this, "cmdExportHealth", "export", tr("Export CSV"),
                                 tr("Save all rows as a CSV file (Ctrl+S)"))),
      grdHealth(Named(new QTableView(this), "grdHealth")), m_plot(new HealthPlot(this)),
      m_down(Named(new QSplitter(Qt::Vertical, this), "splitterHealth")),
      lblHealth(Named(new QLabel(this), "lblHealth"))
{
    setObjectName(QStringLiteral("frmBusHealth"));
    LayOut();
    tmrHealth->setInterval(kRefreshMs);
    connect(tmrHealth, &QTimer::timeout, this, &frmBusHealth::Refresh);
    connect(cmdResetHealth, &QToolButton::clicked, this, &frmBusHealth::ResetCounts);
    connect(cmdExportHealth, &QToolButton::clicked, this, [this] {
        AskForFile(this, tr("Export bus health"), m_state.ProgramFolder,
                   tr("CSV files (*.csv);;All files (*)"), QStringLiteral("csv"),
                   [this](const QString& path) { SaveCsv(path); });
    });
    connect(cboPlot, &QComboBox::currentIndexChanged, this, &frmBusHealth::ShowPlot);
    // the bars follow a sort at once, also while the bus is quiet
    connect(m_filter, &QAbstractItemModel::layoutChanged, this, &frmBusHealth::ShowPlot);
    connect(txtHealthFilter, &QLineEdit::textChanged, this, [this](const QString& text) {
        m_filter->setFilterFixedString(text);
        ShowPlot();
    });
    const auto shortcut = [this](const QKeySequence& key, auto act) {
        auto* made = new QShortcut(key, this, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
        connect(made, &QShortcut::activated, this, act);
    };
    shortcut(QKeySequence(tr("Ctrl+S")), [this] { cmdExportHealth->click(); });
    shortcut(QKeySequence(tr("Ctrl+F")), [this] { txtHealthFilter->setFocus(); });
    shortcut(QKeySequence(Qt::Key_Escape), [this] { txtHealthFilter->clear(); });
    shortcut(QKeySequence(Qt::Key_F5), [this] { Refresh(); });
    shortcut(QKeySequence(tr("Ctrl+C")), [this] { Copy(QLatin1Char('\t')); });
    shortcut(QKeySequence(tr("Ctrl+Shift+C")), [this] { Copy(QLatin1Char(',')); });
    setFocusProxy(grdHealth);

    const ViewState kept(m_profiles, m_state.ProgramSettingsFile, QStringLiteral("BusHealth"));
    cboPlot->setCurrentIndex(kept.Number(u"Plot", 0, 0, cboPlot->count() - 1));
    grdHealth->sortByColumn(
        kept.Number(u"SortColumn", HealthModel::kCommand, 0, HealthModel::kColumnCount - 1),
        kept.On(u"SortDown", false) ? Qt::DescendingOrder : Qt::AscendingOrder);
    m_down->restoreState(QByteArray::fromBase64(kept.Text(u"Splitter").toLatin1()));
    Refresh();
    tmrHealth->start();
}

frmBusHealth::~frmBusHealth() = default;

QWidget* frmBusHealth::MakeToolbar()
{
    auto* bar = new QWidget(this);
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    cboPlot->addItems({tr("Plot failures"), tr("Plot calls"), tr("Plot times")});
    cboPlot->setAccessibleName(tr("What the bars show"));
    cboPlot->setToolTip(tr("What the bars show, of the first rows of the table as it is sorted"));
    txtHealthFilter->setPlaceholderText(tr("Filter, such as 0x16 (Ctrl+F)"));
    txtHealthFilter->setAccessibleName(tr("Filter the registers"));
    txtHealthFilter->setClearButtonEnabled(true);
    txtHealthFilter->setMaximumWidth(240);
    txtHealthFilter->addAction(ThemeIcon(QStringLiteral("filter")), QLineEdit::LeadingPosition);
    row->addWidget(cmdResetHealth);
    row->addWidget(cmdExportHealth);
    row->addSpacing(8);
    row->addWidget(cboPlot);
    row->addStretch();
    row->addWidget(txtHealthFilter, 1);
    return bar;
}

void frmBusHealth::LayOut()
{
    m_filter->setSourceModel(m_model);
    m_filter->setSortRole(HealthModel::kSortRole);
    m_filter->setFilterCaseSensitivity(Qt::CaseInsensitive);
    grdHealth->setModel(m_filter);
    DressTable(grdHealth, tr("Bus health by register"));
    grdHealth->setSortingEnabled(true);
    MakeEmptyLabel(grdHealth, "lblHealthEmpty",
                   tr("Nothing was sent yet.\nEvery transfer with the gauge is counted here, by register and "
                      "operation."));
    const int digit = grdHealth->fontMetrics().horizontalAdvance(QLatin1Char('0'));
    const int widths[]{11, 12, 24, 11, 9, 13, 13, 9, 11, 11};
    for (int column = 0; column < HealthModel::kColumnCount; ++column)
        grdHealth->setColumnWidth(column, digit * widths[column]);
    grdHealth->horizontalHeader()->setStretchLastSection(false);
    grdHealth->horizontalHeader()->setSectionResizeMode(HealthModel::kOperation, QHeaderView::Stretch);
    MakeSecondary(lblHealth);
    lblHealth->setWordWrap(true);
    m_plot->setMinimumHeight(80);
    m_down->addWidget(grdHealth);
    m_down->addWidget(m_plot);
    m_down->setStretchFactor(0, 3);
    m_down->setStretchFactor(1, 2);
    m_down->setSizes({300, 240});
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(8, 6, 8, 6);
    column->setSpacing(4);
    column->addWidget(MakeToolbar());
    column->addWidget(m_down, 1);
    column->addWidget(lblHealth);
}

void frmBusHealth::Refresh()
{
    if (m_shown == m_health.Revision() && m_shown != 0)
        return;
    m_shown = m_health.Revision();
    m_model->Refresh();
    const BusCounts total = m_health.Total();
    QString text
        = Counted(static_cast<std::int64_t>(m_health.Rows().size()), tr("1 register"), tr("%1 registers"))
        + QStringLiteral(" \u00b7 ") + Counted(total.Calls, tr("1 call"), tr("%1 calls"))
        + tr(", %1 failed").arg(total.Failures());
    if (total.Failures() > 0)
        text += tr(" (NACK %1, PEC %2, time-outs %3, other %4)")
                    .arg(total.Nack)
                    .arg(total.Pec)
                    .arg(total.Timeouts)
                    .arg(total.Other);
    if (total.Calls > 0)
        text += tr(" \u00b7 longest %1, mean %2")
                    .arg(DurationText(static_cast<double>(total.LongestUs)), DurationText(total.MeanUs()));
    lblHealth->setText(text);
    cmdResetHealth->setEnabled(total.Calls > 0);
    cmdExportHealth->setEnabled(total.Calls > 0);
    ShowPlot();
}

void frmBusHealth::ShowPlot()
{
    const auto what = static_cast<HealthPlot::What>(cboPlot->currentIndex());
    std::vector<BusHealth::Row> rows;
    for (int row = 0; row < m_filter->rowCount(); ++row) {
        const BusHealth::Row& counted = m_model->Row(m_filter->mapToSource(m_filter->index(row, 0)).row());
        if (what != HealthPlot::What::Failures || counted.Counts.Failures() > 0)
            rows.push_back(counted);
    }
    m_plot->Show(rows, what);
}

void frmBusHealth::ResetCounts()
{
    m_health.Reset();
    Refresh();
}

void frmBusHealth::Copy(QChar separator)
{
    QApplication::clipboard()->setText(TableText(grdHealth, separator));
}

bool frmBusHealth::SaveCsv(const QString& path)
{
    const QString problem = SaveWhole(path, HealthCsv(m_health).toUtf8());
    if (!problem.isEmpty())
        m_messages.Show(problem);
    else
        emit StatusText(tr("%1 saved").arg(QFileInfo(path).fileName()));
    return problem.isEmpty();
}

bool frmBusHealth::Leave()
{
    ViewState state(m_profiles, m_state.ProgramSettingsFile, QStringLiteral("BusHealth"));
    state.Keep(u"Plot", cboPlot->currentIndex());
    state.Keep(u"SortColumn", grdHealth->horizontalHeader()->sortIndicatorSection());
    state.Keep(u"SortDown",
               grdHealth->horizontalHeader()->sortIndicatorOrder() == Qt::DescendingOrder ? 1 : 0);
    state.Keep(u"Splitter", QString::fromLatin1(m_down->saveState().toBase64()));
    if (const QString problem = state.Save(); !problem.isEmpty())
        m_messages.Show(problem);
    return true;
}

void frmBusHealth::Applyskin()
{
    m_plot->Applyskin();
    grdHealth->viewport()->update();
}
