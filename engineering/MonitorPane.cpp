#include "engineering/MonitorPane.h"

#include "engineering/MonitorModel.h"
#include "engineering/ViewParts.h"
#include "look/Controls.h"
#include "look/Icons.h"

#include <QApplication>
#include <QBoxLayout>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QScrollBar>
#include <QShortcut>
#include <QTimer>

namespace {

constexpr int kRefreshMs = 150;

} // namespace

MonitorPane::MonitorPane(BusMonitor& monitor, QWidget* parent)
    : QWidget(parent), m_monitor(monitor), m_model(new MonitorModel(monitor, this)),
      m_filter(new MonitorFilter(this)), tmrMonitor(Named(new QTimer(this), "tmrMonitor")),
      cmdWatch(MakeButton(this, "cmdWatch", "play", tr("Watch"), tr("Keep every bus call from now on"))),
      cboGroup(Named(new QComboBox(this), "cboGroup")),
      chkFailures(Named(new QCheckBox(tr("Fa&ilures only"), this), "chkFailures")),
      txtMonitorFilter(Named(new QLineEdit(this), "txtMonitorFilter")),
      cmdClearMonitor(MakeButton(this, "cmdClearMonitor", "erase", {}, tr("Forget the calls"))),
      cmdSaveTrace(MakeButton(this, "cmdSaveTrace", "save", {},
                              tr("Save the calls as a trace file, whatever the filter shows"))),
      grdMonitor(Named(new QTableView(this), "grdMonitor")), lblMonitor(Named(new QLabel(this), "lblMonitor"))
{
    LayOut();
    tmrMonitor->setInterval(kRefreshMs);
    connect(tmrMonitor, &QTimer::timeout, this, &MonitorPane::Refresh);
    connect(cmdWatch, &QToolButton::clicked, this, [this] { SetWatching(!m_monitor.Watching()); });
    connect(cboGroup, &QComboBox::currentIndexChanged, this, &MonitorPane::Filter);
    connect(chkFailures, &QCheckBox::toggled, this, &MonitorPane::Filter);
    connect(txtMonitorFilter, &QLineEdit::textChanged, this, &MonitorPane::Filter);
    connect(cmdClearMonitor, &QToolButton::clicked, this, [this] {
        m_monitor.Clear();
        Refresh();
    });
    connect(cmdSaveTrace, &QToolButton::clicked, this, [this] { emit SaveRequested(m_monitor.AsTrace()); });
    const auto copies = [this](const QString& key, QChar separator) {
        auto* shortcut = new QShortcut(QKeySequence(key), grdMonitor, nullptr, nullptr, Qt::WidgetShortcut);
        connect(shortcut, &QShortcut::activated, this,
                [this, separator] { QApplication::clipboard()->setText(TableText(grdMonitor, separator)); });
    };
    copies(tr("Ctrl+C"), QLatin1Char('\t'));
    copies(tr("Ctrl+Shift+C"), QLatin1Char(','));
    setFocusProxy(grdMonitor);
    SetWatching(m_monitor.Watching());
}

MonitorPane::~MonitorPane() { m_monitor.Watch(false); }

void MonitorPane::LayOut()
{
    m_filter->setSourceModel(m_model);
    grdMonitor->setModel(m_filter);
    DressTable(grdMonitor, tr("Bus calls"));
    grdMonitor->setIconSize(QSize(14, 14));
    lblMonitorEmpty = MakeEmptyLabel(grdMonitor, "lblMonitorEmpty", {});
    const int digit = grdMonitor->fontMetrics().horizontalAdvance(QLatin1Char('0'));
    const int widths[]{13, 12, 8, 9, 5, 18, 7};
    for (int column = 0; column < MonitorModel::kColumnCount; ++column)
        grdMonitor->setColumnWidth(column, digit * widths[column]);
    grdMonitor->horizontalHeader()->setStretchLastSection(false);
    grdMonitor->horizontalHeader()->setSectionResizeMode(MonitorModel::kData, QHeaderView::Stretch);
    MakeSecondary(lblMonitor);
    lblMonitor->setWordWrap(true);
    auto* down = new QVBoxLayout(this);
    down->setContentsMargins(8, 6, 8, 6);
    down->setSpacing(4);
    down->addWidget(MakeToolbar());
    down->addWidget(grdMonitor, 1);
    down->addWidget(lblMonitor);
}

QWidget* MonitorPane::MakeToolbar()
{
    auto* bar = new QWidget(this);
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    cboGroup->addItem(tr("All kinds"), -1);
    for (const BusGroup group : {BusGroup::SMBus, BusGroup::I2C, BusGroup::OneWire, BusGroup::Lines,
                                 BusGroup::Flash, BusGroup::Adapter})
        cboGroup->addItem(GroupText(group), static_cast<int>(group));
    cboGroup->setAccessibleName(tr("Kind of call"));
    txtMonitorFilter->setPlaceholderText(tr("Filter, such as 0x09"));
    txtMonitorFilter->setToolTip(tr("What must stand in a call, such as 0x09 (Ctrl+F)"));
    txtMonitorFilter->setAccessibleName(tr("Filter the calls"));
    txtMonitorFilter->setClearButtonEnabled(true);
    txtMonitorFilter->addAction(ThemeIcon(QStringLiteral("filter")), QLineEdit::LeadingPosition);
    row->addWidget(cmdWatch);
    row->addSpacing(4);
    row->addWidget(cboGroup);
    row->addWidget(chkFailures);
    row->addWidget(txtMonitorFilter, 1);
    row->addSpacing(4);
    row->addWidget(cmdSaveTrace);
    row->addWidget(cmdClearMonitor);
    return bar;
}

void MonitorPane::Recall(const ViewState& state)
{
    cboGroup->setCurrentIndex(state.Number(u"MonitorGroup", 0, 0, cboGroup->count() - 1));
    chkFailures->setChecked(state.On(u"MonitorFailures", false));
    SetWatching(state.On(u"MonitorWatch", false));
}

void MonitorPane::Remember(ViewState& state) const
{
    state.Keep(u"MonitorGroup", cboGroup->currentIndex());
    state.Keep(u"MonitorFailures", chkFailures->isChecked() ? 1 : 0);
    state.Keep(u"MonitorWatch", m_monitor.Watching() ? 1 : 0);
}

void MonitorPane::SetWatching(bool on)
{
    m_monitor.Watch(on);
    cmdWatch->setText(on ? tr("Pause") : tr("Watch"));
    cmdWatch->setIcon(ThemeIcon(on ? QStringLiteral("pause") : QStringLiteral("play")));
    cmdWatch->setToolTip(
        on ? tr("Keep no more calls; those that are there stay")
           : tr("Keep every bus call from now on, the newest %1").arg(BusMonitor::kMostEntries));
    if (on)
        tmrMonitor->start();
    else
        tmrMonitor->stop();
    Refresh();
}

void MonitorPane::Refresh()
{
    if (m_shown != m_monitor.Revision()) {
        const QScrollBar* bar = grdMonitor->verticalScrollBar();
        const bool atEnd = bar->value() >= bar->maximum();
        m_shown = m_monitor.Revision();
        m_model->Sync();
        if (atEnd)
            grdMonitor->scrollToBottom();
    }
    const std::int64_t kept = m_monitor.End() - m_monitor.First();
    cmdClearMonitor->setEnabled(kept > 0);
    cmdSaveTrace->setEnabled(kept > 0);
    lblMonitorEmpty->setText(
        kept > 0 ? tr("No call passes the filter.")
            : m_monitor.Watching()
            ? tr("No bus call yet. Everything that the program sends stands here.")
            : tr("The bus is not watched.\nWatch shows every call of the program as it is made; off, "
                 "it costs nothing."));
    QString text = m_monitor.Watching() ? tr("Watching") : tr("Paused");
    if (kept > 0) {
        text += QStringLiteral(" \u00b7 ") + Counted(kept, tr("1 call"), tr("%1 calls"));
        if (!m_filter->ShowsAll())
            text += tr(", %1 shown").arg(m_filter->rowCount());
        if (m_monitor.MadeRoom() > 0)
            text += tr(" \u00b7 %1 older ones made room").arg(m_monitor.MadeRoom());
    }
    lblMonitor->setText(text);
}

bool MonitorPane::LeaveFilter()
{
    if (!txtMonitorFilter->hasFocus())
        return false;
    txtMonitorFilter->clear();
    grdMonitor->setFocus();
    return true;
}

void MonitorPane::GoToFilter() { txtMonitorFilter->setFocus(); }

void MonitorPane::Filter()
{
    m_filter->Show(cboGroup->currentData().toInt(), chkFailures->isChecked(), txtMonitorFilter->text());
    Refresh();
}
