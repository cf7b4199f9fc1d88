#include "dataflash/frmDF.h"

#include "dataflash/ComparePane.h"
#include "dataflash/DataFlashGrid.h"
#include "dataflash/DataFlashTabs.h"
#include "dataflash/EachItem.h"
#include "dataflash/ItemDetailsPane.h"
#include "dataflash/PendingWritePane.h"
#include "dataflash/WritePlanPane.h"
#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QApplication>
#include <QClipboard>
#include <QFileInfo>
#include <QMenu>

namespace {

constexpr int kWatchMs = 1000;

} // namespace

frmDF::frmDF(GaugeContext& context)
    : m_context(context), m_settings(context.profiles, context.state), m_form(LoadDataFlashForm(m_settings)),
      m_flash({context.usb, context.access, context.time, context.messages, context.profiles, context.state}),
      m_history(m_flash.Tree()),
      m_autoExport(context.time,
                   [this](const QString& path, QStringList& warnings) {
                       return ReadAndExport(m_flash, m_context.time, path, warnings, &m_exportRead);
                   }),
      m_sets(context.profiles, context.state.TargetConfigPath),
      tmrExport(Named(new QTimer(this), "tmrExport")), m_watch(new QTimer(this))
{
    setObjectName(QStringLiteral("frmDF"));
    m_filter.Private = m_form.ShowPrivate;
    if (!m_form.AutoExportSeconds.isEmpty())
        (void)m_autoExport.SetInterval(m_form.AutoExportSeconds);
    LayOut();
    MakeMenus();
    ConnectPanes();
    setFocusProxy(grdDataFlash);
    m_flash.OnProgress = [this](int done, int of, const QString& step) {
        emit ProgressChanged(done, of, QStringLiteral("DF"));
        lblLastRead->setText(m_order ? QStringLiteral("%1: %2").arg(m_order->What, step) : step);
    };
    connect(tmrExport, &QTimer::timeout, this, &frmDF::ExportTick);
    connect(m_watch, &QTimer::timeout, this, &frmDF::WatchLink);
    LoadConfiguration();
    m_answered = m_context.link.Answering();
    m_watch->start(kWatchMs);
    QTimer::singleShot(0, this, &frmDF::LookForPendingWrite);
}

frmDF::~frmDF()
{
    m_flash.OnProgress = nullptr;
    // an editor that is open closes while the grid goes, when this is no frmDF any more
    grdDataFlash->disconnect(this);
    grdDataFlash->Delegate().disconnect(this);
    m_model->disconnect(this);
    delete grdDataFlash; // both before the tree that they show
    delete m_model;
}

void frmDF::LoadConfiguration(const QString& path)
{
    const bool loaded = path.isEmpty() ? m_flash.Load() : m_flash.LoadFile(path);
    if (!loaded && m_flash.Loaded()) // what was loaded stays
        return;
    m_history.Clear();
    m_lastRead.clear();
    ShowBottom(Bottom::Nothing);
    QStringList names;
    for (const DataClass& dataClass : m_flash.Tree().Classes)
        names << dataClass.Name;
    m_classTabs->SetClasses(names);
    m_classTabs->SetCurrentClass(m_form.Class < names.size() ? m_form.Class : 0);
    m_pages->setCurrentIndex(m_flash.Loaded() ? 1 : 0);
    m_filterRow->setVisible(m_flash.Loaded());
    if (!m_flash.Loaded()) {
        const QString file = QFileInfo(m_context.state.TargetConfigPath).fileName();
        lblEmptyText->setText(tr("The editor needs the layout of the gauge's data flash. Key ConfigFile of "
                                 "section [DataFlash] in "
                                 "the target's file%1 names the configuration. Choose a target that has one "
                                 "(Ctrl+T), or open a "
                                 "configuration.")
                                  .arg(file.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(file)));
        m_notice->Clear();
    } else {
        const QString defaults = DefaultsPath(m_context.profiles, m_context.state);
        if (!defaults.isEmpty()) {
            const GgImport used = UseDefaultsFile(defaults, m_flash.Tree(), m_flash.DeviceName());
            if (!used.Ok())
                m_context.messages.Show(used.Error);
        }
        m_notice->Show(NoticeBar::Kind::Note,
                       tr("Nothing read yet. Read All (Ctrl+R) reads %1 subclasses, %2 bytes.")
                           .arg(m_flash.Tree().SubClassCount())
                           .arg(m_flash.Tree().ByteCount()),
                       tr("Read All"), [this] { ReadAll(); });
    }
    MakePreserveMenu();
    ShowRows();
    ShowMarks();
    ShowLocked();
}

void frmDF::ShowRows()
{
    m_filter.Text = txtSearch->text();
    const bool narrows = m_filter.Narrows();
    m_classTabs->ShowFound(narrows);
    grdDataFlash->Show(m_classTabs->CurrentClass(), m_filter);
    if (m_classTabs->CurrentClass() == DataFlashItemModel::kAllClasses)
        m_classTabs->ShowFound(narrows, m_model->ShownItems());
    const bool nothing = narrows && m_model->ShownItems() == 0;
    txtSearch->setProperty("refused", nothing && !m_filter.Text.trimmed().isEmpty());
    txtSearch->update();
    if (nothing)
        emit StatusText(m_filter.Text.trimmed().isEmpty()
                            ? tr("No item has that mark.")
                            : tr("\"%1\" stands in no item's name.").arg(m_filter.Text.trimmed()));
}

void frmDF::ShowMarks()
{
    m_tally = CountMarks(m_flash.Tree(), m_filter.Private);
    m_model->RefreshValues();
    m_classTabs->ShowMarks(m_tally);
    if (m_bottom == Bottom::Compare)
        m_compare->ShowMine(m_flash.Tree());
    const auto count = [this](QToolButton* button, const QString& words, int items) {
        button->setText(m_folded ? QString::number(items) : QStringLiteral("%1  %2").arg(words).arg(items));
        button->setAccessibleName(QStringLiteral("%1: %2").arg(words).arg(items));
    };
    count(cmdOnlyChanged, tr("changed by last read"), m_tally.All.Changed);
    count(cmdOnlyEdited, tr("edited, not written"), m_tally.All.Edited);
    count(cmdOnlyDiffers, tr("differs from default"), m_tally.All.Differs);
    actUndo->setEnabled(!m_history.UndoText().isEmpty() && !Busy());
    actRedo->setEnabled(!m_history.RedoText().isEmpty() && !Busy());
    actUndo->setToolTip(m_history.UndoText().isEmpty() ? tr("Nothing to undo (Ctrl+Z)")
                                                       : tr("Undo: %1 (Ctrl+Z)").arg(m_history.UndoText()));
    actRedo->setToolTip(m_history.RedoText().isEmpty()
                            ? tr("Nothing to redo (Ctrl+Shift+Z)")
                            : tr("Redo: %1 (Ctrl+Shift+Z)").arg(m_history.RedoText()));
    cmdWriteChanged->setEnabled(m_tally.All.Edited + m_tally.PrivateEdits > 0 && !m_order
                                && m_flash.Loaded());
    ShowItem();
}

void frmDF::ShowItem()
{
    if (const auto place = grdDataFlash->Current())
        m_details->Show(m_flash.Tree(), *place);
    else
        m_details->ShowNothing();
}

void frmDF::ShowLastRead()
{
    lblLastRead->setText(m_lastRead);
    lblLastRead->setToolTip(m_lastRead);
    cmdCancelTransfer->setVisible(m_order.has_value());
}

void frmDF::ShowLocked()
{
    const bool busy = m_order.has_value();
    const bool loaded = m_flash.Loaded();
    for (QAction* action : m_transferActions)
        action->setEnabled(!busy && loaded);
    for (QAction* action : m_valueActions)
        action->setEnabled(!busy && loaded);
    for (const auto& command : m_commands)
        command.first->setEnabled(!busy && loaded);
    m_model->SetLocked(busy);
    m_details->SetLocked(busy);
    m_plan->SetLocked(busy);
    m_compare->SetLocked(busy);
    m_pending->SetLocked(busy);
    ShowLastRead();
    ShowMarks();
}

void frmDF::Changed(const QString& said)
{
    ShowMarks();
    const int edits = m_tally.All.Edited + m_tally.PrivateEdits;
    QString count = edits == 1 ? tr("1 edit not written") : tr("%1 edits not written").arg(edits);
    if (m_tally.PrivateEdits > 0)
        count += tr(", %1 of them private").arg(m_tally.PrivateEdits);
    emit StatusText(said.isEmpty() ? count : said + QStringLiteral("; ") + count);
    if (m_bottom == Bottom::Plan)
        ShowBottom(Bottom::Nothing); // it no longer says what would be written
}

void frmDF::ShowVerdict(const EditVerdict& verdict)
{
    m_refusal->setVisible(!verdict.Ok());
    if (verdict.Ok())
        return;
    lblRefusal->setText(verdict.Problem);
    cmdUseAnyway->setVisible(verdict.RangeOnly);
    m_refusalIcon->setPixmap((verdict.RangeOnly ? ThemeIcon(QStringLiteral("warn"), IconInk::Caution)
                                                : ThemeIcon(QStringLiteral("error"), IconInk::Failed))
                                 .pixmap(QSize(16, 16), devicePixelRatioF()));
}

void frmDF::EndEdit() { m_refusal->hide(); }

void frmDF::Undo()
{
    const EditHistory::Step* step = m_history.Undo();
    if (!step)
        return;
    Changed(tr("Undone: %1").arg(step->Text));
    GoTo(step->Changes.front().Place);
}

void frmDF::Redo()
{
    const EditHistory::Step* step = m_history.Redo();
    if (!step)
        return;
    Changed(tr("Done again: %1").arg(step->Text));
    GoTo(step->Changes.front().Place);
}

void frmDF::GoTo(const ItemPlace& place)
{
    if (!m_model->IndexOf(place).isValid() && m_classTabs->CurrentClass() != place.Class)
        m_classTabs->SetCurrentClass(place.Class);
    grdDataFlash->GoTo(place);
}

void frmDF::RevertItems()
{
    std::vector<EditHistory::Value> values;
    for (const ItemPlace& place : grdDataFlash->Selected())
        if (const DataItem& item = ItemAt(m_flash.Tree(), place); !item.ReadValue.isNull())
            values.push_back({place, item.ReadValue});
    if (const int changed = m_history.Do(tr("revert"), values); changed > 0)
        Changed(changed == 1 ? tr("1 item reverted") : tr("%1 items reverted").arg(changed));
}

void frmDF::SetItemDefaults()
{
    std::vector<EditHistory::Value> values;
    for (const ItemPlace& place : grdDataFlash->Selected())
        if (const DataItem& item = ItemAt(m_flash.Tree(), place); !item.DefValue.isEmpty())
            values.push_back({place, item.DefValue});
    if (const int changed = m_history.Do(tr("defaults"), values); changed > 0)
        Changed(changed == 1 ? tr("1 default set") : tr("%1 defaults set").arg(changed));
}

void frmDF::SetTabDefaults()
{
    const int classIndex = m_classTabs->CurrentClass();
    SetDefaults(classIndex == DataFlashItemModel::kAllClasses ? std::nullopt : std::optional(classIndex));
}

void frmDF::SetDefaults(std::optional<int> classIndex)
{
    std::vector<EditHistory::Value> values;
    ForEachItem(std::as_const(m_flash).Tree(),
                [&](const ItemPlace& place, const DataClass&, const SubClass&, const DataItem& item) {
                    if (item.DefValue.isEmpty() || (classIndex && *classIndex != place.Class))
                        return;
                    if (item.Value.isNull() || DiffersFromDefault(item))
                        values.push_back({place, item.DefValue});
                });
    const QString where
        = classIndex ? m_flash.Tree().Classes[static_cast<std::size_t>(*classIndex)].Name : tr("all classes");
    const int changed = m_history.Do(tr("defaults of %1").arg(where), values);
    Changed(changed == 1 ? tr("1 default set in %1").arg(where)
                         : tr("%1 defaults set in %2").arg(changed).arg(where));
}

void frmDF::CopyItems()
{
    const QString text = grdDataFlash->SelectedText();
    if (text.isEmpty())
        return;
    QApplication::clipboard()->setText(text);
    const auto rows = text.count(QLatin1Char('\n')) + 1;
    emit StatusText(rows == 1 ? tr("1 row copied") : tr("%1 rows copied").arg(rows));
}

void frmDF::FindOn(bool forward)
{
    if (m_bottom == Bottom::Compare)
        m_compare->GoOn(forward);
    else
        grdDataFlash->GoOn(forward, !m_filter.Narrows());
}

void frmDF::FocusSearch()
{
    if (m_folded)
        m_allTabs->setCurrentIndex(0);
    txtSearch->setFocus();
    txtSearch->selectAll();
}

void frmDF::NextTab() { m_classTabs->Step(1); }

void frmDF::PreviousTab() { m_classTabs->Step(-1); }

void frmDF::TogglePrivate()
{
    m_filter.Private = m_form.ShowPrivate = mnuViewPrivate->isChecked();
    ShowRows();
    ShowMarks();
}

void frmDF::ToggleDensity()
{
    m_form.Roomy = mnuViewRoomyItems->isChecked();
    grdDataFlash->SetRoomy(m_form.Roomy);
}

void frmDF::ToggleDetails()
{
    m_form.Details = mnuViewItemPane->isChecked();
    if (!m_folded)
        m_details->setVisible(m_form.Details);
}

bool frmDF::MayClose()
{
    const int edits = CountMarks(m_flash.Tree(), true).All.Edited;
    return edits == 0
        || m_context.messages.Choose(
               (edits == 1 ? tr("1 edit of the data flash is not written to the gauge and not saved.")
                           : tr("%1 edits of the data flash are not written to the gauge and not saved.")
                                 .arg(edits)),
               {{Answer::Yes, edits == 1 ? tr("Discard 1 edit") : tr("Discard %1 edits").arg(edits)},
                {Answer::Cancel, tr("Keep editing")}})
        == Answer::Yes;
}

void frmDF::Abandon() { CancelTransfer(); }

bool frmDF::Leave()
{
    tmrExport->stop();
    m_watch->stop();
    SaveForm();
    return true;
}

void frmDF::Applyskin()
{
    grdDataFlash->viewport()->update();
    m_classTabs->update();
    ShowItem();
}
