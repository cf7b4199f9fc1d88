#include "sbs/frmLogViewer.h"

#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Marks.h"
#include "look/Theme.h"
#include "sbs/PlotView.h"

#include <QAction>
#include <QBoxLayout>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QPainter>
#include <QSplitter>
#include <QStackedWidget>
#include <QStyledItemDelegate>
#include <QToolButton>

#include <algorithm>

namespace {

constexpr int kRowHeight = 20;
constexpr int kNarrow = 900;
constexpr int kLow = 480;
constexpr int kListWidth = 68; // figures
constexpr int kPlaceRole = Qt::UserRole; // of the column's curve; -1 without one
enum Column { kPlot, kCaption, kFirstFact, kColumnCount = 6 };

/// A tick box, and beside it the marker of the curve.
class TickDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::paint(painter, option, index);
        const int place = index.data(kPlaceRole).toInt();
        if (place < 0)
            return;
        const SkinColours& colours = Theme::Current().Colours();
        const QColor colour
            = ToColour(option.state.testFlag(QStyle::State_Selected)
                           ? colours.TextHighlightFore
                           : colours.curves[static_cast<std::size_t>(place) % colours.curves.size()]);
        DrawCurveMarker(*painter, QPointF(option.rect.right() - 10, option.rect.center().y() + .5), 10, place,
                        colour);
    }
};

QString SizeText(qint64 bytes)
{
    return QStringLiteral("%1 MB").arg(static_cast<double>(bytes) / 1e6, 0, 'f', 1);
}

} // namespace

frmLogViewer::frmLogViewer(UserMessages& messages, const QString& path)
    : m_messages(messages), m_pages(new QStackedWidget(this)), tmrRead(Named(new QTimer(this), "tmrRead")),
      actOpen(Add("mnuFileOpenLog", tr("&Open log..."), "open", QKeySequence(tr("Ctrl+O")),
                  &frmLogViewer::AskOpen)),
      actCompare(Add("mnuFileCompareLog", tr("Co&mpare with..."), "compare", {}, &frmLogViewer::AskCompare)),
      actAlone(Add("mnuFileCompareEnd", tr("En&d comparison"), "cross", {}, &frmLogViewer::StopComparing)),
      cboCompare(Named(new QComboBox(this), "cboCompare")), lblLog(Named(new QLabel(this), "lblLog")),
      pbRead(Named(new QProgressBar(this), "pbRead")),
      cmdCancelRead(Named(new QPushButton(tr("Cancel"), this), "cmdCancelRead")),
      m_tabs(new QTabWidget(this)), grdColumns(Named(new QTableWidget(0, kColumnCount, this), "grdColumns")),
      lstProblems(Named(new QListWidget(this), "lstProblems")),
      txtHead(Named(new QPlainTextEdit(this), "txtHead")), m_plot(new PlotView(this))
{
    setObjectName(QStringLiteral("frmLogViewer"));
    LayOut();
    Fold(false);
    setFocusProxy(grdColumns);
    connect(tmrRead, &QTimer::timeout, this, &frmLogViewer::ReadMore);
    connect(cmdCancelRead, &QPushButton::clicked, this, &frmLogViewer::Cancel);
    connect(grdColumns, &QTableWidget::itemChanged, this, &frmLogViewer::TakeTick);
    connect(grdColumns, &QTableWidget::currentCellChanged, this, [this](int row) {
        const QTableWidgetItem* item = grdColumns->item(row, kPlot);
        const int place = item ? item->data(kPlaceRole).toInt() : -1;
        m_plot->SetSelected(place >= 0 ? std::optional(place) : std::nullopt);
    });
    connect(cboCompare, &QComboBox::activated, this, [this] { ShowCurves(); });
    connect(m_plot, &PlotView::StatusText, this, &frmLogViewer::StatusText);
    connect(m_plot, &PlotView::Failed, this, [this](const QString& problem) { m_messages.Show(problem); });
    ShowLogs();
    if (!path.isEmpty())
        OpenLog(path);
}

frmLogViewer::~frmLogViewer()
{
    m_plot->SetCurves({}); // their histories go with the document
}

QAction* frmLogViewer::Add(const char* name, const QString& text, const char* icon,
                           const QKeySequence& shortcut, void (frmLogViewer::*does)())
{
    QAction* action = ViewAction(this, name, text, icon, shortcut);
    connect(action, &QAction::triggered, this, does);
    return action;
}

QWidget* frmLogViewer::MakeToolbar()
{
    auto* bar = new QWidget(this);
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(8, 6, 8, 6);
    row->setSpacing(4);
    for (QAction* action : {actOpen, actCompare, actAlone}) {
        auto* button = new QToolButton(bar);
        button->setDefaultAction(action);
        button->setObjectName(QLatin1String("cmd") + action->objectName().mid(7));
        const QString text = QString(action->text()).remove(QLatin1Char('&')).remove(QStringLiteral("..."));
        button->setText(text);
        button->setAccessibleName(text);
        row->addWidget(button);
        m_wordButtons << button;
    }
    cboCompare->addItems({tr("Overlay"), tr("Difference")});
    cboCompare->setAccessibleName(tr("How the two logs are compared"));
    cboCompare->setToolTip(tr("Overlay: curves of both logs from the start of each.\n"
                              "Difference: the second log less the first, at the times of the first."));
    lblLog->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    MakeSecondary(lblLog);
    pbRead->setMaximumWidth(160);
    pbRead->setTextVisible(false);
    pbRead->setAccessibleName(tr("Reading"));
    row->addWidget(cboCompare);
    row->addSpacing(8);
    row->addWidget(lblLog, 1);
    row->addWidget(pbRead);
    row->addWidget(cmdCancelRead);
    return bar;
}

QWidget* frmLogViewer::MakeEmptyPage()
{
    auto* page = new QWidget(this);
    auto* title = Named(new QLabel(tr("No log is open"), page), "lblNoLog");
    auto* text = new QLabel(
        tr("Open a register log to see its columns, their statistics and their curves. The register "
           "view writes such logs (Start logging). A log that is cut or odd opens as far as it is whole."),
        page);
    auto* open
        = Named(new QPushButton(ThemeIcon(QStringLiteral("open")), tr("Open log"), page), "cmdOpenFirstLog");
    connect(open, &QPushButton::clicked, this, &frmLogViewer::AskOpen);
    LayOutEmptyState(page, title, text, {open});
    return page;
}

void frmLogViewer::LayOut()
{
    grdColumns->setAccessibleName(tr("Columns of the log"));
    grdColumns->setItemDelegateForColumn(kPlot, new TickDelegate(this));
    grdColumns->setSelectionBehavior(QAbstractItemView::SelectRows);
    grdColumns->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grdColumns->setAlternatingRowColors(true);
    grdColumns->setShowGrid(false);
    grdColumns->setWordWrap(false);
    grdColumns->setTabKeyNavigation(false);
    grdColumns->verticalHeader()->hide();
    grdColumns->verticalHeader()->setMinimumSectionSize(kRowHeight);
    grdColumns->verticalHeader()->setDefaultSectionSize(kRowHeight);
    grdColumns->horizontalHeader()->setHighlightSections(false);
    grdColumns->horizontalHeader()->setSectionResizeMode(kCaption, QHeaderView::Stretch);
    const int em = fontMetrics().horizontalAdvance(QLatin1Char('0'));
    grdColumns->setColumnWidth(kPlot, fontMetrics().horizontalAdvance(tr("Plot")) + 18);
    for (int column = kFirstFact; column < kColumnCount; ++column)
        grdColumns->setColumnWidth(column, 10 * em);
    lstProblems->setAccessibleName(tr("What the reader found odd"));
    lstProblems->setWordWrap(true);
    lstProblems->setAlternatingRowColors(true);
    txtHead->setAccessibleName(tr("Head of the log"));
    txtHead->setReadOnly(true);
    txtHead->setFont(Theme::Current().Font(Type::Mono));
    m_tabs->setObjectName(QStringLiteral("tabLog"));
    m_tabs->addTab(grdColumns, tr("Columns"));
    m_tabs->addTab(lstProblems, tr("Problems"));
    m_tabs->addTab(txtHead, tr("Head"));

    m_across = new QSplitter(this);
    m_across->setObjectName(QStringLiteral("splLog"));
    m_across->addWidget(m_tabs);
    m_across->addWidget(m_plot);
    m_across->setStretchFactor(0, 2);
    m_across->setStretchFactor(1, 3);
    m_across->setChildrenCollapsible(false);
    m_across->setSizes({kListWidth * em, 2 * kListWidth * em});
    m_plot->setAutoFillBackground(true); // it may stand in a tab
    m_pages->addWidget(MakeEmptyPage());
    m_pages->addWidget(m_across);
    auto* down = new QVBoxLayout(this);
    down->setContentsMargins(0, 0, 0, 0);
    down->setSpacing(0);
    down->addWidget(MakeToolbar());
    down->addWidget(m_pages, 1);
}

QList<QAction*> frmLogViewer::FileActions() const { return {actOpen, actCompare, actAlone}; }

QString frmLogViewer::AskForFile(const QString& title)
{
    return QFileDialog::getOpenFileName(this, title, QFileInfo(m_path).path(),
                                        tr("Log Files (*.log);;All Files (*)"));
}

void frmLogViewer::AskOpen()
{
    const QString path = AskForFile(tr("Open log"));
    if (!path.isEmpty())
        OpenLog(path);
}

void frmLogViewer::AskCompare()
{
    const QString path = AskForFile(tr("Compare with"));
    if (!path.isEmpty())
        CompareWith(path);
}

void frmLogViewer::OpenLog(const QString& path) { Start(path, false); }

void frmLogViewer::CompareWith(const QString& path) { Start(path, true); }

void frmLogViewer::Start(const QString& path, bool second)
{
    m_reading = std::make_unique<RegisterLogReading>(path);
    m_readingSecond = second;
    pbRead->setRange(0, 1000);
    pbRead->setValue(0);
    tmrRead->start(0);
    ShowLogs();
}

void frmLogViewer::ReadMore()
{
    if (!m_reading->Step()) {
        Finish(false);
        return;
    }
    const qint64 size = std::max<qint64>(m_reading->Size(), 1);
    pbRead->setValue(static_cast<int>(std::min<qint64>(m_reading->Done() * 1000 / size, 1000)));
}

void frmLogViewer::Cancel()
{
    if (m_reading)
        Finish(true);
}

void frmLogViewer::Finish(bool cancelled)
{
    tmrRead->stop();
    const std::unique_ptr<RegisterLogReading> reading = std::move(m_reading);
    RegisterLogData log = reading->Finish();
    log.Cancelled = cancelled;
    if (cancelled)
        log.Report(0, [&] {
            return tr("Reading was cancelled after %1 of %2. What was read is shown.")
                .arg(SizeText(reading->Done()), SizeText(reading->Size()));
        });
    if (log.Series.empty() || log.Records() == 0) { // what was open stays
        ShowLogs();
        const QString reason
            = log.Problems.empty() ? tr("There is no record in it.") : log.Problems.back().Text;
        m_messages.Show(reason.contains(reading->Path())
                            ? reason
                            : QStringLiteral("%1: %2").arg(reading->Path(), reason));
        return;
    }
    m_plot->SetCurves({});
    if (m_readingSecond) {
        m_secondPath = reading->Path();
        m_document.SetSecond(std::move(log));
    } else {
        QStringList captions; // that are ticked stay ticked in a log that has them too
        for (const std::size_t column : m_ticked)
            captions << m_document.Columns()[column].Caption;
        m_path = reading->Path();
        m_document.SetFirst(std::move(log));
        m_ticked.clear();
        for (std::size_t i = 0; i < m_document.Columns().size(); ++i)
            if (captions.removeOne(m_document.Columns()[i].Caption))
                m_ticked.push_back(i);
        if (m_ticked.empty())
            m_ticked = m_document.Suggested();
    }
    ShowLogs();
    emit Shown();
}

void frmLogViewer::StopComparing()
{
    m_plot->SetCurves({});
    m_document.RemoveSecond();
    ShowLogs();
}

void frmLogViewer::ShowLogs()
{
    const bool any = m_document.First().Records() > 0;
    const bool two = m_document.Second() != nullptr;
    const QString name = QFileInfo(m_path).fileName();
    QString title = any ? name : QString();
    if (two)
        title = tr("%1 and %2").arg(name, QFileInfo(m_secondPath).fileName());
    setWindowTitle(any ? QStringLiteral("%1 - %2").arg(title, tr("Log viewer")) : tr("Log viewer"));
    m_pages->setCurrentIndex(any ? 1 : 0);
    actCompare->setEnabled(any && !Reading());
    actAlone->setEnabled(two && !Reading());
    cboCompare->setVisible(two);
    pbRead->setVisible(Reading());
    cmdCancelRead->setVisible(Reading());
    if (m_reading) {
        lblLog->setText(tr("Reading %1").arg(QFileInfo(m_reading->Path()).fileName()));
        return;
    }
    if (!any) {
        lblLog->setText({});
        return;
    }
    const double seconds = m_document.First().Seconds.back() - m_document.First().Seconds.front();
    lblLog->setText(tr("%1 \u00b7 %2 records \u00b7 %3 columns \u00b7 %4")
                        .arg(title)
                        .arg(m_document.First().Records())
                        .arg(m_document.Columns().size())
                        .arg(seconds < 3600 ? tr("%1 s").arg(seconds, 0, 'f', 1)
                                            : tr("%1 h").arg(seconds / 3600, 0, 'f', 2)));
    lblLog->setToolTip(two ? m_path + QLatin1Char('\n') + m_secondPath : m_path);
    txtHead->setPlainText(m_document.First().Head.join(QLatin1Char('\n')));
    FillColumns();
    FillProblems();
    ShowCurves();
}

void frmLogViewer::FillColumns()
{
    const QSignalBlocker quiet(grdColumns);
    const bool two = m_document.Second() != nullptr;
    grdColumns->setHorizontalHeaderLabels(
        two ? QStringList{tr("Plot"), tr("Column"), tr("Largest diff."), tr("Mean diff."), tr("RMS diff."),
                          tr("Records")}
            : QStringList{tr("Plot"), tr("Column"), tr("Min"), tr("Max"), tr("Mean"), tr("Gaps")});
    for (int column = 0; column < kColumnCount; ++column)
        grdColumns->horizontalHeaderItem(column)->setTextAlignment(
            Qt::AlignVCenter | (column >= kFirstFact ? Qt::AlignRight : Qt::AlignLeft));
    grdColumns->setRowCount(static_cast<int>(m_document.Columns().size()));
    for (std::size_t i = 0; i < m_document.Columns().size(); ++i) {
        const LogColumnFacts& facts = m_document.Columns()[i];
        QStringList texts;
        if (two) {
            const ComparedSeries* compared = m_document.Compared(i);
            if (compared && compared->Count > 0)
                texts = {PlotNumber(compared->Largest), QString::number(compared->Mean, 'g', 4),
                         QString::number(compared->RootMeanSquare, 'g', 4), QString::number(compared->Count)};
            else
                texts = {compared ? tr("no pair") : tr("first only"), {}, {}, {}};
        } else if (facts.Values > 0) {
            texts = {LogNumber(facts.Min, facts.Hexadecimal), LogNumber(facts.Max, facts.Hexadecimal),
                     facts.Hexadecimal ? tr("hex") : QString::number(facts.Mean, 'g', 6),
                     QString::number(facts.Gaps)};
        } else {
            texts = {tr("no value"), {}, {}, QString::number(facts.Gaps)};
        }
        const int row = static_cast<int>(i);
        auto* tick = new QTableWidgetItem;
        tick->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable
                       | (facts.Values > 0 ? Qt::ItemIsUserCheckable : Qt::NoItemFlags));
        tick->setCheckState(std::ranges::find(m_ticked, i) != m_ticked.end() ? Qt::Checked : Qt::Unchecked);
        tick->setData(kPlaceRole, -1);
        tick->setToolTip(tr("Curve of %1").arg(facts.Caption));
        grdColumns->setItem(row, kPlot, tick);
        auto* caption = new QTableWidgetItem(facts.Caption);
        caption->setToolTip(
            tr("%1: %2 values, %3 gaps").arg(facts.Caption).arg(facts.Values).arg(facts.Gaps));
        grdColumns->setItem(row, kCaption, caption);
        for (int fact = 0; fact < texts.size(); ++fact) {
            auto* item = new QTableWidgetItem(texts[fact]);
            item->setTextAlignment(Qt::AlignVCenter | Qt::AlignRight);
            grdColumns->setItem(row, kFirstFact + fact, item);
        }
    }
}

void frmLogViewer::FillProblems()
{
    lstProblems->clear();
    std::int64_t count = 0;
    const auto list = [&](const RegisterLogData& log, const QString& name) {
        count += log.ProblemCount;
        for (const LogProblem& problem : log.Problems) {
            const QString place = problem.Line > 0 ? tr("line %1: ").arg(problem.Line) : QString();
            lstProblems->addItem(name + place + problem.Text);
        }
        const std::int64_t more = log.ProblemCount - static_cast<std::int64_t>(log.Problems.size());
        if (more > 0)
            lstProblems->addItem(name + tr("and %1 more").arg(more));
    };
    if (const RegisterLogData* second = m_document.Second()) {
        list(m_document.First(), QFileInfo(m_path).fileName() + QStringLiteral(", "));
        list(*second, QFileInfo(m_secondPath).fileName() + QStringLiteral(", "));
        const LogComparison& comparison = m_document.Comparison();
        for (const auto& [captions, text] :
             {std::pair{comparison.OnlyInFirst, tr("Only in the first log: %1")},
              std::pair{comparison.OnlyInSecond, tr("Only in the second log: %1")}})
            if (!captions.isEmpty())
                lstProblems->addItem(text.arg(captions.join(QStringLiteral(", "))));
    } else {
        list(m_document.First(), {});
    }
    m_tabs->setTabText(m_tabs->indexOf(lstProblems),
                       count > 0 ? tr("Problems (%1)").arg(count) : tr("Problems"));
    if (lstProblems->count() == 0)
        lstProblems->addItem(tr("None: every line of the log could be read."));
}

void frmLogViewer::TakeTick(QTableWidgetItem* item)
{
    if (item->column() != kPlot)
        return;
    const auto column = static_cast<std::size_t>(item->row());
    std::erase(m_ticked, column);
    if (item->checkState() == Qt::Checked)
        m_ticked.push_back(column);
    ShowCurves();
}

void frmLogViewer::ShowCurves()
{
    const auto how = cboCompare->currentIndex() == 1 ? LogComparing::Difference : LogComparing::Overlay;
    std::vector<PlotCurve> curves = m_document.Curves(m_ticked, how);
    const QSignalBlocker quiet(grdColumns);
    for (int row = 0; row < grdColumns->rowCount(); ++row)
        grdColumns->item(row, kPlot)->setData(kPlaceRole, m_document.Place(static_cast<std::size_t>(row)));
    m_plot->SetEvents(m_document.Events());
    m_plot->SetCurves(std::move(curves));
    m_plot->ShowRecording(m_document.Clock());
}

void frmLogViewer::resizeEvent(QResizeEvent* event)
{
    ChildView::resizeEvent(event);
    const bool narrow = width() < kNarrow || height() < kLow;
    if (narrow != m_folded)
        Fold(narrow);
}

void frmLogViewer::Fold(bool narrow)
{
    m_folded = narrow;
    if (narrow) {
        m_tabs->insertTab(0, m_plot, tr("Plot"));
        m_tabs->setCurrentIndex(0);
    } else {
        m_across->addWidget(m_plot);
        m_plot->show();
        m_across->setStretchFactor(1, 3);
        // the list gets the width it was made for, not what it had beside nothing
        const int list
            = std::min(kListWidth * fontMetrics().horizontalAdvance(QLatin1Char('0')), width() / 2);
        m_across->setSizes({list, width() - list});
    }
    for (QToolButton* button : std::as_const(m_wordButtons))
        button->setToolButtonStyle(narrow ? Qt::ToolButtonIconOnly : Qt::ToolButtonTextBesideIcon);
}

void frmLogViewer::Applyskin() { grdColumns->viewport()->update(); }
