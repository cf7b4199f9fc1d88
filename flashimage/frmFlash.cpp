#include "flashimage/frmFlash.h"

#include "comm/BusSequence.h"
#include "look/Controls.h"
#include "look/ElidedLabel.h"

#include <QAction>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QSplitter>
#include <QStackedWidget>
#include <QTabBar>

#include <algorithm>

namespace {

constexpr int kModeMs = 2000;
constexpr int kRetryMs = 20;
constexpr std::size_t kRow = 16;
QString Hex(std::uint32_t value)
{
    return QStringLiteral("%1").arg(value, 8, 16, QLatin1Char('0')).toUpper();
}

} // namespace

frmFlash::frmFlash(ProfileStore& profiles, const StartupState& state, UserMessages& messages,
                   FlashDesk::LoadTargets loadTargets, GaugeContext* context)
    : m_profiles(profiles), m_state(state), m_messages(messages),
      m_desk(context ? std::make_unique<FlashDesk>(profiles, state, messages, context->usb, context->access,
                                                   context->time, std::move(loadTargets))
                     : nullptr),
      m_memory(ReadFlashMemory(profiles, state)), m_first(new ImagePane("paneFirst", false, this)),
      m_second(new ImagePane("paneSecond", true, this)), m_differences(new DifferenceModel(this)),
      tmrMode(Named(new QTimer(this), "tmrMode")), m_pages(new QStackedWidget(this)),
      cboRegion(Named(new QComboBox(this), "cboRegion")),
      lblRegion(Named(new ElidedLabel(this), "lblRegion")), lblCursor(Named(new QLabel(this), "lblCursor")),
      lblDifference(Named(new QLabel(this), "lblDifference")),
      chkTogether(Named(new QCheckBox(tr("Scroll both together"), this), "chkTogether")),
      chkOnlyDifferences(Named(new QCheckBox(tr("Differences only"), this), "chkOnlyDifferences")),
      txtGoTo(Named(new QLineEdit(this), "txtGoTo")), txtFind(Named(new QLineEdit(this), "txtFindBytes")),
      m_across(new QSplitter(Qt::Horizontal, this)), m_down(new QSplitter(Qt::Vertical, this)),
      m_tabs(new QTabWidget(this)), grdDifferences(Named(new QTableView(this), "grdDifferences")),
      lstProblems(Named(new QListWidget(this), "lstImageProblems"))
{
    setObjectName(QStringLiteral("frmFlash"));
    MakeActions();
    if (m_desk)
        m_run = new FlashRunPane(*m_desk, this);
    LayOut();
    Connect();
    if (m_run)
        m_run->RememberVerify(m_memory.Verify);
    tmrMode->setInterval(kModeMs);
    ShowAll();
    setFocus(); // else the first field of the toolbar has it once the view shows
}

void frmFlash::Connect()
{
    connect(cboRegion, &QComboBox::activated, this,
            [this](int row) { ShowRegion(static_cast<ImageArea>(cboRegion->itemData(row).toInt())); });
    connect(txtGoTo, &QLineEdit::returnPressed, this, &frmFlash::GoToTyped);
    connect(txtFind, &QLineEdit::returnPressed, this, &frmFlash::NextFound);
    for (QLineEdit* field : {txtGoTo, txtFind}) {
        auto* leave = new QShortcut(Qt::Key_Escape, field, nullptr, nullptr, Qt::WidgetShortcut);
        connect(leave, &QShortcut::activated, this, [this, field] {
            field->clear();
            m_first->Hex()->setFocus();
        });
    }
    connect(chkOnlyDifferences, &QCheckBox::toggled, this, [this](bool only) {
        for (ImagePane* pane : {m_first, m_second})
            pane->Hex()->ShowDifferencesOnly(only);
    });
    for (ImagePane* pane : {m_first, m_second}) {
        ImagePane* other = pane == m_first ? m_second : m_first;
        connect(pane->Hex(), &HexView::CursorMoved, this, [this, pane] { ShowCursor(*pane); });
        connect(pane->Hex(), &HexView::Refused, this, &frmFlash::Say);
        connect(pane->Hex()->verticalScrollBar(), &QScrollBar::valueChanged, this, [this, other](int value) {
            if (chkTogether->isChecked() && Comparing())
                other->Hex()->verticalScrollBar()->setValue(value);
        });
    }
    connect(m_first->Hex(), &HexView::Edited, this, [this] {
        ShowActions(); // and the differences
        if (m_run)
            m_run->PlanAgain();
    });
    connect(grdDifferences->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& index) {
                if (index.isValid())
                    GoToDifference(index.row());
            });
    connect(tmrMode, &QTimer::timeout, this, &frmFlash::LookAtMode);
    if (!m_run)
        return;
    connect(m_run, &FlashRunPane::ImageRead, this, &frmFlash::TakeFromGauge);
    connect(m_run, &FlashRunPane::Began, this, [this] {
        m_pages->setEnabled(false); // what is being programmed stays as it is
        ShowMode();
    });
    connect(m_run, &FlashRunPane::Ended, this, [this] {
        m_pages->setEnabled(true);
        LookAtMode();
        ShowActions();
    });
    connect(m_run, &FlashRunPane::Opened, this, &frmFlash::Fold);
    connect(m_run, &FlashRunPane::Closed, this, [this] {
        Fold();
        m_first->Hex()->setFocus();
    });
    connect(m_run, &FlashRunPane::Progress, this,
            [this](int done, int of) { emit ProgressChanged(done, of, tr("Flash")); });
}

bool frmFlash::MayClose() { return SaveFirst(); }

bool frmFlash::MayAbandon()
{
    if (!m_run || !m_run->Programming())
        return true;
    m_run->SayThatItGoesOn();
    return false;
}

void frmFlash::Abandon()
{
    m_cancelReading = true;
    if (m_run && m_run->Running())
        m_run->Stop();
}

bool frmFlash::Leave()
{
    m_memory.Verify = !m_run || m_run->Verifies();
    if (const QString problem = WriteFlashMemory(m_profiles, m_state, m_memory); !problem.isEmpty())
        m_messages.Show(problem);
    return true;
}

// ---- what is on the screen ----

void frmFlash::ShowAll()
{
    const bool any = !m_first->Document().Empty() || Comparing();
    m_pages->setCurrentIndex(any ? 1 : 0);
    setFocusProxy(any ? m_first : m_pages->widget(0));
    const ImageArea before = m_first->Hex()->Area();
    cboRegion->clear();
    for (const ImageArea area : {ImageArea::Data, ImageArea::Program}) {
        const clsSrecFlash::Region& one = m_first->Document().Region(area);
        const clsSrecFlash::Region& two = m_second->Document().Region(area);
        if (one.Empty() && two.Empty())
            continue;
        const clsSrecFlash::Region& shown = one.Empty() ? two : one;
        const auto end = static_cast<std::uint32_t>(shown.Start() + shown.Size() - 1);
        cboRegion->addItem(tr("%1 %2 to %3").arg(AreaName(area), Hex(shown.Start()), Hex(end)),
                           static_cast<int>(area));
    }
    if (Comparing() && !m_second->isVisibleTo(this))
        m_across->setSizes({width(), width()});
    m_second->setVisible(Comparing());
    m_differences->Show(Comparing() ? &m_first->Document() : nullptr,
                        Comparing() ? &m_second->Document() : nullptr);
    const int kept = cboRegion->findData(static_cast<int>(before));
    if (cboRegion->count() > 0)
        ShowRegion(static_cast<ImageArea>(cboRegion->itemData(std::max(kept, 0)).toInt()));
    m_tabs->setTabVisible(0, Comparing());
    m_tabs->setTabVisible(1, lstProblems->count() > 0);
    m_tabs->tabBar()->setVisible(lstProblems->count() > 0); // alone, the list says itself what it is
    setWindowTitle(m_first->Document().Empty() ? tr("Flash image") : m_first->Document().Name());
    Fold();
    ShowActions();
}

void frmFlash::ShowRegion(ImageArea area)
{
    cboRegion->setCurrentIndex(cboRegion->findData(static_cast<int>(area)));
    std::uint64_t first = UINT32_MAX;
    std::uint64_t end = 0;
    for (const ImagePane* pane : {m_first, m_second}) {
        const clsSrecFlash::Region& region = pane->Document().Region(area);
        if (region.Empty())
            continue;
        first = std::min<std::uint64_t>(first, region.Start());
        end = std::max<std::uint64_t>(end, std::uint64_t{region.Start()} + region.Size());
    }
    for (ImagePane* pane : {m_first, m_second}) {
        pane->Hex()->SetRange(area, static_cast<std::uint32_t>(std::min(first, end)), end);
        pane->Hex()->SetDifferences(m_differences->Of(area));
        pane->ShowHead();
    }
    ShowCursor(*m_first);
    ShowFacts();
}

void frmFlash::ShowFacts()
{
    const clsSrecFlash::Region& region = m_first->Document().Region(m_first->Hex()->Area());
    const auto bytes = region.View();
    std::size_t rows = 0;
    for (std::size_t at = 0; at < bytes.size(); at += kRow) {
        const auto row = bytes.subspan(at, std::min(kRow, bytes.size() - at));
        rows += std::any_of(row.begin(), row.end(), [](std::uint8_t byte) { return byte != 0xFF; }) ? 1 : 0;
    }
    const QString comment = m_first->Document().Image().S0Comment;
    const QString held = rows == 1 ? tr("1 row holds data") : tr("%1 rows hold data").arg(rows);
    lblRegion->setText(tr("%1 bytes, %2").arg(region.Size()).arg(held)
                       + (comment.isEmpty() ? QString() : QStringLiteral(" · ") + comment));
}

void frmFlash::ShowActions()
{
    const ImageDocument& document = m_first->Document();
    const bool image = !document.Empty();
    const bool free = !Busy();
    const bool flash = m_desk && m_desk->CanFlash() && free;
    actOpen->setEnabled(free);
    actSave->setEnabled(image && free);
    actSaveAs->setEnabled(image && free);
    actRead->setEnabled(flash);
    actProgram->setEnabled(flash && image);
    actVerify->setEnabled(flash && image);
    actCompare->setEnabled(image && free);
    actCompareGauge->setEnabled(flash && image);
    actCompareEnd->setEnabled(Comparing());
    actPrevious->setEnabled(m_differences->rowCount() > 0);
    actNext->setEnabled(m_differences->rowCount() > 0);
    actUndo->setEnabled(document.CanUndo());
    actRedo->setEnabled(document.CanRedo());
    chkTogether->setVisible(Comparing());
    chkOnlyDifferences->setVisible(Comparing());
    if (!Comparing())
        chkOnlyDifferences->setChecked(false);
    const QString why = !m_desk ? tr("No adapter is open.")
        : !m_desk->CanFlash()   ? tr("This adapter cannot read or program flash (%1).")
                                    .arg(ErrorCodeToText(ErrorCode::IncorrectParam))
                              : QString();
    for (QAction* action : {actRead, actProgram, actVerify, actCompareGauge}) {
        const QString plain = QString(action->text()).remove(QLatin1Char('&')).remove(QStringLiteral("..."));
        action->setToolTip(why.isEmpty() ? plain : plain + QLatin1Char('\n') + why);
    }
    ShowDifferences();
}

void frmFlash::ShowDifferences()
{
    if (!Comparing()) {
        lblDifference->clear();
        return;
    }
    const int row = grdDifferences->currentIndex().row();
    m_differences->Refresh();
    for (ImagePane* pane : {m_first, m_second})
        pane->Hex()->SetDifferences(m_differences->Of(pane->Hex()->Area()));
    const QSignalBlocker quiet(grdDifferences->selectionModel());
    if (row >= 0 && row < m_differences->rowCount())
        grdDifferences->selectRow(row);
    lblDifference->setText(
        m_differences->Count() == 0 ? tr("no difference")
            : row >= 0 && row < m_differences->rowCount()
            ? tr("difference %1 of %2").arg(row + 1).arg(m_differences->Count())
            : tr("%1 differences, %2 bytes").arg(m_differences->Count()).arg(m_differences->Bytes()));
}

/// While the view shows, so that a gauge without firmware is noticed wherever it lost it.
void frmFlash::LookAtMode()
{
    if (!isVisible() || Busy() || BusSequence::Running() || GaugeAccess::Held())
        return;
    m_looking = true;
    m_desk->LookAtMode();
    m_looking = false;
    ShowMode();
    if (!m_desk->CanFlash())
        tmrMode->stop(); // nothing will change that
}

void frmFlash::WhenFree(const std::function<void()>& act)
{
    if (m_looking || ExclusiveAccess::HeldBelow())
        QTimer::singleShot(kRetryMs, this, [this, act] { WhenFree(act); });
    else
        act();
}

void frmFlash::ShowMode()
{
    m_banner->setVisible(m_desk && m_desk->Mode() == GaugeMode::Rom && !Busy());
    cmdProgramFirmware->setEnabled(true);
    ShowActions();
}

void frmFlash::ShowCursor(const ImagePane& pane)
{
    const ImageArea area = pane.Hex()->Area();
    const std::uint32_t address = pane.Hex()->Cursor();
    const auto byte = pane.Document().ByteAt(area, address);
    const auto next = pane.Document().ByteAt(area, address + 1);
    QString text = tr("Cursor %1").arg(Hex(address));
    if (byte)
        text += tr(" · u8 %1").arg(*byte);
    if (byte && next)
        text += tr(" · u16 BE %1 · u16 LE %2").arg(*byte << 8 | *next).arg(*next << 8 | *byte);
    lblCursor->setText(text);
}

void frmFlash::Say(const QString& text) { emit StatusText(text); }

void frmFlash::Applyskin()
{
    for (ImagePane* pane : {m_first, m_second})
        pane->Hex()->Refresh();
}

void frmFlash::showEvent(QShowEvent* event)
{
    ChildView::showEvent(event);
    if (m_desk && m_desk->CanFlash() && !tmrMode->isActive())
        tmrMode->start();
}

// ---- moving about ----

void frmFlash::GoTo(ImageArea area, std::uint32_t address, std::uint64_t count)
{
    if (m_first->Hex()->Area() != area)
        ShowRegion(area);
    m_second->Hex()->GoTo(address, count);
    m_first->Hex()->GoTo(address, count);
}

void frmFlash::GoToDifference(int row)
{
    if (row < 0 || row >= m_differences->rowCount())
        return;
    const Difference difference = m_differences->All()[static_cast<std::size_t>(row)];
    {
        const QSignalBlocker quiet(grdDifferences->selectionModel());
        grdDifferences->selectRow(row);
    }
    grdDifferences->scrollTo(m_differences->index(row, 0));
    grdDifferences->viewport()->update();
    GoTo(difference.Area, difference.Range.Start, difference.Range.Size);
    lblDifference->setText(tr("difference %1 of %2").arg(row + 1).arg(m_differences->Count()));
}

void frmFlash::NextDifference()
{
    GoToDifference(m_differences->Next({m_first->Hex()->Area(), m_first->Hex()->Cursor()}, true));
}

void frmFlash::PreviousDifference()
{
    GoToDifference(m_differences->Next({m_first->Hex()->Area(), m_first->Hex()->Cursor()}, false));
}

void frmFlash::NextFound() { Find(true); }

void frmFlash::PreviousFound() { Find(false); }

void frmFlash::Find(bool forward)
{
    if (txtFind->text().isEmpty()) {
        Comparing() ? (forward ? NextDifference() : PreviousDifference()) : FocusFind();
        return;
    }
    const HexView* front = m_second->Hex()->hasFocus() ? m_second->Hex() : m_first->Hex();
    const ImageDocument& document = front == m_second->Hex() ? m_second->Document() : m_first->Document();
    const Bytes what = SearchBytes(txtFind->text());
    const ImageArea here = front->Area();
    const ImageArea other = here == ImageArea::Data ? ImageArea::Program : ImageArea::Data;
    bool fromCursor = true; // then the other region, then this one from its end
    for (const ImageArea area : {here, other, here}) {
        const clsSrecFlash::Region& region = document.Region(area);
        std::size_t from = forward ? 0 : region.Size();
        if (std::exchange(fromCursor, false) && front->Cursor() >= region.Start())
            from = front->Cursor() - region.Start() + (forward ? 1 : 0);
        if (const auto found = FindBytes(region.View(), what, from, forward)) {
            GoTo(area, region.Start() + static_cast<std::uint32_t>(*found), what.size());
            return;
        }
    }
    Say(tr("\"%1\" is not in the image.").arg(txtFind->text()));
}

void frmFlash::FocusGoTo()
{
    txtGoTo->setFocus();
    txtGoTo->selectAll();
}

void frmFlash::FocusFind()
{
    txtFind->setFocus();
    txtFind->selectAll();
}

void frmFlash::GoToTyped()
{
    QString text = txtGoTo->text().trimmed();
    if (text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
        text = text.mid(2);
    bool ok = false;
    const std::uint32_t address = text.toUInt(&ok, 16);
    for (const ImageArea area : {m_first->Hex()->Area(), ImageArea::Data, ImageArea::Program})
        if (ok && (m_first->Document().ByteAt(area, address) || m_second->Document().ByteAt(area, address))) {
            GoTo(area, address, 1);
            m_first->Hex()->setFocus();
            return;
        }
    Say(ok ? tr("The image has no byte at %1.").arg(text.toUpper())
           : tr("\"%1\" is no hexadecimal address.").arg(txtGoTo->text()));
    txtGoTo->selectAll();
}

void frmFlash::Step(std::optional<ImageDocument::Place> place)
{
    if (!place)
        return;
    GoTo(place->Area, place->Address, 1);
    m_first->ShowHead();
    m_first->Hex()->Refresh();
    ShowActions();
}

void frmFlash::Undo() { Step(m_first->Document().Undo()); }

void frmFlash::Redo() { Step(m_first->Document().Redo()); }

void frmFlash::EndComparison()
{
    m_second->Document().Take({}, {}, {});
    ListProblems(m_second, {}, {});
    ShowAll();
}

// ---- the gauge ----

void frmFlash::ReadFromGauge() { m_run->Open(FlashRunPane::Kind::Read, nullptr); }

void frmFlash::CompareWithGauge() { m_run->Open(FlashRunPane::Kind::ReadToCompare, nullptr); }

void frmFlash::Program()
{
    if (m_first->Document().Empty())
        AskOpen(); // what is programmed is seen before
    if (!m_first->Document().Empty())
        m_run->Open(FlashRunPane::Kind::Program, &m_first->Document());
}

void frmFlash::VerifyGauge() { m_run->Open(FlashRunPane::Kind::Verify, &m_first->Document()); }
