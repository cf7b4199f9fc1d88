#include "sbs/PlotView.h"

#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"
#include "platform/WholeFile.h"
#include "sbs/PlotCanvas.h"
#include "sbs/PlotLegend.h"

#include <QBoxLayout>
#include <QBuffer>
#include <QButtonGroup>
#include <QComboBox>
#include <QFileDialog>
#include <QKeyEvent>
#include <QMenu>
#include <QPushButton>
#include <QSvgGenerator>
#include <QToolButton>

#include <limits>

namespace {

struct SpanChoice {
    const char* text;
    std::int64_t ms; ///< 0: all
};
constexpr std::int64_t kMinuteMs = 60'000;
constexpr SpanChoice kSpans[]{
    {QT_TRANSLATE_NOOP("PlotView", "Last 1 min"), kMinuteMs},
    {QT_TRANSLATE_NOOP("PlotView", "Last 5 min"), 5 * kMinuteMs},
    {QT_TRANSLATE_NOOP("PlotView", "Last 15 min"), 15 * kMinuteMs},
    {QT_TRANSLATE_NOOP("PlotView", "Last 1 h"), 60 * kMinuteMs},
    {QT_TRANSLATE_NOOP("PlotView", "Last 2 h"), 120 * kMinuteMs},
    {QT_TRANSLATE_NOOP("PlotView", "Last 8 h"), 480 * kMinuteMs},
    {QT_TRANSLATE_NOOP("PlotView", "Last 24 h"), 1440 * kMinuteMs},
    {QT_TRANSLATE_NOOP("PlotView", "Last 7 days"), 7 * 1440 * kMinuteMs},
    {QT_TRANSLATE_NOOP("PlotView", "All"), 0},
};
constexpr int kFirstSpan = 2;
constexpr int kButtonHeight = 25;
constexpr double kKeyPan = .1;
constexpr double kKeyZoom = .8;

QToolButton* NewButton(const char* name, const QString& icon, const QString& tip, QWidget* parent)
{
    auto* button = Named(new QToolButton(parent), name);
    button->setIcon(ThemeIcon(icon));
    button->setToolTip(tip);
    button->setAccessibleName(tip);
    button->setFixedHeight(kButtonHeight);
    button->setMinimumWidth(28);
    return button;
}

} // namespace

PlotView::PlotView(QWidget* parent)
    : QWidget(parent),
      cmdPause(NewButton("cmdPause", QStringLiteral("pause"), tr("Hold the picture (K)"), this)),
      cmdPan(NewButton("cmdPan", QStringLiteral("pan"), tr("Drag to move (arrow keys)"), this)),
      cmdZoom(
          NewButton("cmdZoom", QStringLiteral("zoomin"), tr("Drag over a span to see it (+ and -)"), this)),
      cmdFit(NewButton("cmdFit", QStringLiteral("zoomfit"), tr("Show all (0)"), this)),
      cmdCursor(NewButton("cmdCursor", QStringLiteral("cursor"), tr("Cursor with values (C)"), this)),
      cboSpan(Named(new QComboBox(this), "cboSpan")),
      cmdExport(Named(new QPushButton(ThemeIcon(QStringLiteral("export")), tr("Export"), this), "cmdExport")),
      m_legend(new PlotLegend(this)), m_canvas(new PlotCanvas(this))
{
    setObjectName(QStringLiteral("plotView"));
    setFocusProxy(m_canvas);
    setBackgroundRole(QPalette::Base); // one surface with the canvas
    setAutoFillBackground(true);
    LayOut();
    MakeExportMenu();

    connect(cmdPause, &QToolButton::toggled, this, [this](bool on) {
        cmdPause->setIcon(ThemeIcon(on ? QStringLiteral("play") : QStringLiteral("pause")));
        cmdPause->setText(on ? tr("Go on") : tr("Pause"));
        m_time.Pause(on);
        Redraw();
    });
    connect(cmdPan, &QToolButton::clicked, this, [this] { m_canvas->SetTool(PlotCanvas::Tool::Pan); });
    connect(cmdZoom, &QToolButton::clicked, this, [this] { m_canvas->SetTool(PlotCanvas::Tool::Zoom); });
    connect(cmdFit, &QToolButton::clicked, this, &PlotView::ShowAll);
    connect(cmdCursor, &QToolButton::toggled, this, &PlotView::ShowCursor);
    connect(cboSpan, &QComboBox::activated, this, &PlotView::ChooseSpan);
    connect(m_canvas, &PlotCanvas::Panned, this, [this](double spans) {
        m_time.Pan(spans);
        Redraw();
    });
    connect(m_canvas, &PlotCanvas::Zoomed, this, [this](double factor, qint64 aroundMs) {
        m_time.Zoom(factor, aroundMs);
        Redraw();
    });
    connect(m_canvas, &PlotCanvas::SpanChosen, this, [this](qint64 fromMs, qint64 toMs) {
        m_time.Show(fromMs, toMs);
        Redraw();
    });
    connect(m_canvas, &PlotCanvas::CursorMoved, this, [this](qint64 atMs) {
        if (cmdCursor->isChecked())
            MoveCursor(atMs);
    });
    connect(&Theme::Current(), &Theme::Changed, m_canvas, &PlotCanvas::Applyskin);
    Redraw();
}

void PlotView::LayOut()
{
    cmdPause->setText(tr("Pause"));
    cmdPause->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    cmdExport->setToolTip(tr("Export what is visible"));
    cmdExport->setAutoDefault(false);
    cmdExport->setFixedHeight(kButtonHeight);
    cboSpan->setFixedHeight(kButtonHeight);
    auto* tools = new QButtonGroup(this);
    for (QToolButton* tool : {cmdPan, cmdZoom}) {
        tool->setCheckable(true);
        tools->addButton(tool);
    }
    cmdPan->setChecked(true);
    cmdPause->setCheckable(true);
    cmdCursor->setCheckable(true);
    cboSpan->setAccessibleName(tr("Span of time"));
    cboSpan->setPlaceholderText(tr("Chosen span"));
    for (const SpanChoice& span : kSpans)
        cboSpan->addItem(tr(span.text));
    cboSpan->setCurrentIndex(kFirstSpan);

    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(8, 4, 8, 4);
    bar->setSpacing(8);
    for (QWidget* control :
         std::initializer_list<QWidget*>{cmdPause, cmdPan, cmdZoom, cmdFit, cmdCursor, cboSpan})
        bar->addWidget(control);
    bar->addStretch();
    bar->addWidget(cmdExport);
    auto* down = new QVBoxLayout(this);
    down->setContentsMargins(0, 0, 0, 0);
    down->setSpacing(0);
    down->addLayout(bar);
    down->addWidget(m_legend);
    down->addWidget(m_canvas, 1);
}

void PlotView::MakeExportMenu()
{
    auto* menu = new QMenu(cmdExport);
    const auto add = [&](const char* name, const QString& text, const QString& filter,
                         QString (PlotView::*write)(const QString&)) {
        QAction* action = Named(menu->addAction(text), name);
        connect(action, &QAction::triggered, this,
                [this, filter, write] { m_gate([this, filter, write] { AskAndExport(filter, write); }); });
    };
    add("mnuExportPng", tr("&Picture (PNG)..."), tr("PNG picture (*.png)"), &PlotView::ExportPng);
    add("mnuExportSvg", tr("&Drawing (SVG)..."), tr("SVG drawing (*.svg)"), &PlotView::ExportSvg);
    add("mnuExportCsv", tr("&Values (CSV)..."), tr("Values (*.csv)"), &PlotView::ExportCsv);
    menu->addSeparator();
    QAction* screen = Named(menu->addAction(tr("In the colours of the &screen")), "mnuExportScreenColours");
    screen->setCheckable(true);
    connect(screen, &QAction::toggled, this, &PlotView::SetExportInScreenColours);
    cmdExport->setMenu(menu);
}

void PlotView::SetCurves(std::vector<PlotCurve> curves)
{
    m_canvas->SetCurves(std::move(curves));
    Advance();
}

void PlotView::SetEvents(std::vector<PlotEvent> events) { m_canvas->SetEvents(std::move(events)); }

void PlotView::SetSelected(std::optional<int> place) { m_canvas->SetSelected(place); }

void PlotView::ShowRecording(PlotClock clock)
{
    m_recording = true;
    m_clock = clock;
    cmdPause->hide();
    m_canvas->SetClock(clock);
    ShowAll();
}

void PlotView::Advance()
{
    if (const auto whole = WholeSpan(m_canvas->Curves()))
        m_time.SetWhole(static_cast<std::int64_t>(whole->FromMs), static_cast<std::int64_t>(whole->ToMs));
    if (isVisible() && !m_time.Following())
        return ShowLegend(); // what is in sight has not changed
    Redraw();
}

void PlotView::ShowAll()
{
    cmdPause->setChecked(false);
    m_time.ShowAll();
    Redraw();
}

void PlotView::ChooseSpan(int index)
{
    if (kSpans[index].ms == 0)
        return ShowAll();
    cmdPause->setChecked(false);
    m_time.ShowLast(kSpans[index].ms);
    Redraw();
}

void PlotView::Redraw()
{
    m_canvas->Show(m_time.FromMs(), m_time.ToMs());
    int choice = -1;
    for (int i = 0; i < static_cast<int>(std::size(kSpans)); ++i)
        if (m_time.ShowsAll() ? kSpans[i].ms == 0 : m_time.Following() && kSpans[i].ms == m_time.SpanMs())
            choice = i;
    cboSpan->setCurrentIndex(choice);
    ShowLegend();
}

void PlotView::ShowLegend()
{
    const bool live = m_time.Following() && !m_recording;
    const std::int64_t atMs = m_cursorMs.value_or(
        live ? std::numeric_limits<std::int32_t>::max() * 1000LL * 1000 : m_time.ToMs() - 1);
    std::vector<LegendItem> items;
    for (const PlotCurve& curve : m_canvas->Curves()) {
        const std::optional<double> value = ValueAt(curve, atMs);
        QString text = value ? PlotNumber(*value) + QLatin1Char(' ') + curve.Unit : QStringLiteral("--");
        if (!m_canvas->Drawn(curve))
            text += tr(" (not drawn: at most %1 units)").arg(PlotCanvas::kMostAxes);
        items.push_back({curve.Place, curve.Name, text.trimmed()});
    }
    const bool now = !m_cursorMs && live;
    const QString time = PlotTimeText(atMs, m_time.SpanMs(), m_clock);
    m_legend->Show(std::move(items),
                   m_canvas->Curves().empty() ? QString()
                       : now                  ? tr("now")
                                              : tr("at %1").arg(time));
}

void PlotView::ShowCursor(bool on)
{
    if (on) {
        MoveCursor(m_time.FromMs() + m_time.SpanMs() / 2);
        return;
    }
    m_cursorMs.reset();
    m_canvas->SetCursor(m_cursorMs);
    ShowLegend();
}

void PlotView::MoveCursor(std::int64_t atMs)
{
    m_cursorMs = std::clamp(atMs, m_time.FromMs(), m_time.ToMs() - 1);
    m_canvas->SetCursor(m_cursorMs);
    ShowLegend();
}

void PlotView::keyPressEvent(QKeyEvent* event)
{
    const bool withCursor = m_cursorMs && event->modifiers().testFlag(Qt::ShiftModifier);
    const std::int64_t around = m_cursorMs.value_or(m_time.FromMs() + m_time.SpanMs() / 2);
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Right: {
        const int sign = event->key() == Qt::Key_Left ? -1 : 1;
        if (withCursor) // with Shift the arrows move the cursor, a hundredth of the picture at a time
            return MoveCursor(*m_cursorMs + sign * std::max<std::int64_t>(1, m_time.SpanMs() / 100));
        m_time.Pan(sign * kKeyPan);
        return Redraw();
    }
    case Qt::Key_Plus:
    case Qt::Key_Equal: // the same key without Shift
        m_time.Zoom(kKeyZoom, around);
        return Redraw();
    case Qt::Key_Minus:
        m_time.Zoom(1 / kKeyZoom, around);
        return Redraw();
    case Qt::Key_0:
        return ShowAll();
    case Qt::Key_K:
        return m_recording ? QWidget::keyPressEvent(event) : cmdPause->toggle();
    case Qt::Key_C:
        if (event->modifiers() == Qt::NoModifier)
            return cmdCursor->toggle();
        break;
    default:
        break;
    }
    QWidget::keyPressEvent(event);
}

QSize PlotView::PictureSize() const { return {m_canvas->width(), m_legend->height() + m_canvas->height()}; }

void PlotView::Draw(QCPPainter& painter)
{
    const SkinColours colours = m_screenColours ? Theme::Current().Colours() : DeriveColours(LightSkin());
    painter.fillRect(QRect(QPoint(0, 0), PictureSize()), ToColour(colours.Base));
    DrawLegend(&painter, m_canvas->width(), m_legend->Items(), m_legend->Time(), colours);
    painter.translate(0, m_legend->height());
    m_canvas->DrawInto(painter, colours);
}

QString PlotView::ExportPng(const QString& path)
{
    constexpr int kScale = 2; // sharp on paper
    QImage image(PictureSize() * kScale, QImage::Format_RGB32);
    image.setDevicePixelRatio(kScale);
    QCPPainter painter(&image);
    Draw(painter);
    painter.end();
    QBuffer bytes;
    bytes.open(QIODevice::WriteOnly);
    if (!image.save(&bytes, "PNG"))
        return tr("%1 was not written: the picture could not be encoded.").arg(path);
    return SaveWhole(path, bytes.data());
}

QString PlotView::ExportSvg(const QString& path)
{
    QBuffer bytes;
    QSvgGenerator generator;
    generator.setOutputDevice(&bytes);
    generator.setSize(PictureSize());
    generator.setViewBox(QRect(QPoint(0, 0), PictureSize()));
    generator.setTitle(tr("Tarnlo plot"));
    QCPPainter painter(&generator);
    painter.setMode(QCPPainter::pmVectorized);
    Draw(painter);
    painter.end();
    return SaveWhole(path, bytes.data());
}

QString PlotView::ExportCsv(const QString& path)
{
    return SaveWhole(
        path, VisibleCsv(m_canvas->Curves(), m_canvas->Events(), m_time.FromMs(), m_time.ToMs(), m_clock));
}

void PlotView::AskAndExport(const QString& filter, QString (PlotView::*write)(const QString&))
{
    QFileDialog dialog(this, tr("Export what is visible"), QString(), filter);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(filter.mid(filter.lastIndexOf(QLatin1Char('.')) + 1).chopped(1));
    if (dialog.exec() != QDialog::Accepted)
        return;
    const QString path = dialog.selectedFiles().value(0);
    const QString problem = (this->*write)(path);
    if (problem.isEmpty())
        emit StatusText(tr("Exported to %1").arg(path));
    else
        emit Failed(problem);
}
