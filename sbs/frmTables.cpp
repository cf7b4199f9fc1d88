#include "sbs/frmTables.h"

#include "comm/BusSequence.h"
#include "look/Controls.h"
#include "look/Theme.h"
#include "platform/ProgramFolder.h"
#include "platform/WholeFile.h"
#include "sbs/FormState.h"
#include "sbs/RegisterReader.h"
#include "sbs/RowTexts.h"
#include "sbs/TableDelegate.h"
#include "sbs/TableModel.h"
#include "sbs/TablePreviewPane.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QFileInfo>
#include <QTimer>

namespace {

constexpr int kRetryMs = 20;
constexpr int kTries = 250; // 5 s
const QString kFilter = QStringLiteral("Tables (*.sbs *.tgt);;All files (*)");

} // namespace

frmTables::frmTables(ProfileStore& profiles, const StartupState& state, UserMessages& messages,
                     GaugeContext* context)
    : m_profiles(profiles), m_state(state), m_messages(messages), m_context(context),
      m_model(new TableModel(m_document, this)), cboKind(Named(new QComboBox(this), "cboKind")),
      grdTable(Named(new QTableView(this), "grdTable")), txtFind(Named(new QLineEdit(this), "txtFind")),
      lblFooter(Named(new QLabel(this), "lblTableFooter")),
      lblEmpty(Named(new QLabel(this), "lblTableEmpty")),
      m_preview(new TablePreviewPane(context != nullptr, this))
{
    setObjectName(QStringLiteral("frmTables"));
    m_document.SetRegisters(&m_registers);
    MakeActions();
    LayOut();
    connect(m_model, &TableModel::TableChanged, this, &frmTables::ShowAll);
    connect(grdTable->selectionModel(), &QItemSelectionModel::currentChanged, this, &frmTables::ShowPreview);
    connect(m_preview, &TablePreviewPane::ReadNow, this, &frmTables::ReadNow);
    setFocusProxy(grdTable);
    LoadRegisters();
    const QString own
        = ResolvePath(m_state.ProgramFolder, GetSBSCfgFilename(TableSettings(m_profiles, m_state)));
    if (!QFileInfo(own).isFile() || !Load(own, TableKind::Registers))
        StartNew(TableKind::Registers);
}

frmTables::~frmTables()
{
    // an editor that is open closes while the grid goes, when this is no frmTables any more
    grdTable->itemDelegate()->disconnect(this);
    grdTable->selectionModel()->disconnect(this);
    m_model->disconnect(this);
    delete m_model; // before the document that it watches
}

void frmTables::LoadRegisters()
{
    QString problem; // a target without a register table is no fault here
    m_registers.LoadSBSInfo(
        ResolvePath(m_state.ProgramFolder, GetSBSCfgFilename(TableSettings(m_profiles, m_state))), &problem);
}

QList<QMenu*> frmTables::Menus() const { return {mnuTable}; }

QList<QAction*> frmTables::FileActions() const { return {actNew, actOpen, actSave, actSaveAs}; }

QString frmTables::Name() const
{
    return m_document.Path().isEmpty() ? tr("New table") : QFileInfo(m_document.Path()).fileName();
}

bool frmTables::LeaveChanges()
{
    if (!m_document.Changed())
        return true;
    const Answer answer = m_messages.Ask(tr("%1 has changes that are not saved. Save them now?").arg(Name()),
                                         Answer::Yes | Answer::No | Answer::Cancel);
    return answer == Answer::No || (answer == Answer::Yes && Save());
}

bool frmTables::MayClose() { return LeaveChanges(); }

void frmTables::Abandon()
{
    if (m_waiting)
        EndReading();
}

void frmTables::AskOpen()
{
    QFileDialog dialog(this, tr("Open table"),
                       m_document.Path().isEmpty() ? m_state.ProgramFolder : m_document.Path(), kFilter);
    dialog.setFileMode(QFileDialog::ExistingFile);
    if (dialog.exec() == QDialog::Accepted)
        OpenTable(dialog.selectedFiles().constFirst());
}

void frmTables::OpenTable(const QString& path)
{
    if (!LeaveChanges())
        return;
    const FileBytes file = ReadWhole(path);
    if (file.error.isEmpty())
        Load(path, GuessKind(path, file.bytes));
    else
        m_messages.Show(file.error);
}

bool frmTables::Load(const QString& path, TableKind kind)
{
    const QString problem = m_document.Open(path, kind);
    if (!problem.isEmpty()) {
        m_messages.Show(problem);
        return false;
    }
    FitColumns();
    GoTo({0, 0});
    if (!m_document.Note().isEmpty())
        ShowFooter(m_document.Note(), true);
    return true;
}

void frmTables::NewTable()
{
    if (LeaveChanges())
        StartNew(static_cast<TableKind>(cboKind->currentIndex()));
}

void frmTables::StartNew(TableKind kind)
{
    m_document.New(kind);
    FitColumns();
}

void frmTables::ChooseKind(int kind)
{
    const auto chosen = static_cast<TableKind>(kind);
    if (chosen != m_document.Kind() && LeaveChanges()) {
        if (m_document.Path().isEmpty())
            StartNew(chosen);
        else
            Load(m_document.Path(), chosen);
    }
    cboKind->setCurrentIndex(static_cast<int>(m_document.Kind()));
}

bool frmTables::Save() { return m_document.Path().isEmpty() ? SaveAs() : SaveTable(m_document.Path()); }

bool frmTables::SaveAs()
{
    QFileDialog dialog(this, tr("Save table as"),
                       m_document.Path().isEmpty() ? m_state.ProgramFolder : m_document.Path(), kFilter);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(m_document.Kind() == TableKind::Targets ? QStringLiteral("tgt")
                                                                    : QStringLiteral("sbs"));
    return dialog.exec() == QDialog::Accepted && SaveTable(dialog.selectedFiles().constFirst());
}

bool frmTables::SaveTable(const QString& path)
{
    const QString problem = m_document.Save(path);
    if (!problem.isEmpty()) {
        if (const auto place = m_document.FirstWrong())
            GoTo(*place);
        ShowFooter(problem, true);
        m_messages.Show(problem);
        return false;
    }
    LoadRegisters();
    ShowAll();
    emit StatusText(tr("%1 saved. Open views take it up when the target is chosen again.").arg(Name()));
    return true;
}

frmTables::Selection frmTables::Selected() const
{
    Selection selection;
    const QItemSelection ranges = grdTable->selectionModel()->selection();
    const QModelIndex current = grdTable->currentIndex();
    if (!ranges.isEmpty()) {
        const QItemSelectionRange& range = ranges.constFirst();
        selection = {range.top(), range.bottom(), range.left(), range.right(), {}};
    } else if (current.isValid()) {
        selection = {current.row(), current.row(), current.column(), current.column(), {}};
    }
    for (int row = selection.First; row >= 0 && row <= selection.Last; ++row)
        selection.Rows.push_back(row);
    return selection;
}

void frmTables::GoTo(TablePlace place)
{
    if (place.Row >= 0 && place.Row < m_document.Rows())
        grdTable->setCurrentIndex(
            m_model->index(place.Row, std::min(place.Column, m_document.Columns() - 1)));
}

void frmTables::InsertRow()
{
    const Selection at = Selected();
    const int row = at.Last + 1; // behind the selection, or first in an empty table
    m_document.Insert(row);
    GoTo({row, 0});
    NoteNumbers();
}

void frmTables::RemoveRows()
{
    const Selection at = Selected();
    if (at.First < 0)
        return;
    m_document.Remove(at.Rows);
    GoTo({std::min(at.First, m_document.Rows() - 1), m_column});
    NoteNumbers();
}

void frmTables::DuplicateRows()
{
    const Selection at = Selected();
    if (at.First < 0)
        return;
    m_document.Duplicate(at.First, at.Last);
    GoTo({at.Last + 1, m_column});
    NoteNumbers();
}

void frmTables::Move(int by)
{
    const Selection at = Selected();
    if (at.First < 0 || !m_document.Move(at.First, at.Last, by))
        return;
    GoTo({(by < 0 ? at.First : at.Last) + by, m_column});
    const QItemSelection moved(m_model->index(at.First + by, at.FirstColumn),
                               m_model->index(at.Last + by, at.LastColumn));
    grdTable->selectionModel()->select(moved, QItemSelectionModel::ClearAndSelect);
    NoteNumbers();
}

void frmTables::NoteNumbers()
{
    if (m_document.Kind() == TableKind::Registers)
        ShowFooter(tr(
            "Row numbers have changed. Flag rows, scan and log switches and the rows named in settings keep "
            "the old numbers: check them."));
}

void frmTables::Cut()
{
    const Selection at = Selected();
    if (at.First < 0)
        return;
    m_cutRows = m_document.Copy(at.First, at.Last, 0, m_document.Columns() - 1);
    QApplication::clipboard()->setText(m_cutRows);
    RemoveRows();
}

void frmTables::Copy()
{
    const Selection at = Selected();
    if (at.First >= 0)
        QApplication::clipboard()->setText(m_document.Copy(at.First, at.Last, at.FirstColumn, at.LastColumn));
}

void frmTables::Paste()
{
    const Selection at = Selected();
    const QString clip = QApplication::clipboard()->text();
    const bool rows
        = !m_cutRows.isEmpty() && clip == m_cutRows; // these move; others fill the cells that stand there
    const TableDocument::Pasted pasted = rows
        ? m_document.PasteRows(std::max(at.First, 0), clip)
        : m_document.Paste({std::max(at.First, 0), at.FirstColumn}, clip);
    if (!pasted.Problem.isEmpty()) {
        ShowFooter(pasted.Problem, true);
        return;
    }
    GoTo({std::max(at.First, 0), at.FirstColumn});
    if (rows)
        return NoteNumbers();
    QString text = tr("%1 rows pasted, %2 of them added at the end").arg(pasted.Rows).arg(pasted.Added);
    if (pasted.Cut)
        text += tr(". What stood right of the last column was left out");
    if (const auto wrong = m_document.FirstWrong())
        text += QStringLiteral(". ") + m_document.Check(*wrong).Text;
    ShowFooter(text, pasted.Cut || m_document.FirstWrong());
}

void frmTables::ShowSearch()
{
    txtFind->setFocus();
    txtFind->selectAll();
}

void frmTables::Find(bool forward)
{
    if (txtFind->text().isEmpty())
        return;
    const QModelIndex current = grdTable->currentIndex();
    const TablePlace from = current.isValid() ? TablePlace{current.row(), current.column()} : TablePlace{};
    const auto place = m_document.Find(txtFind->text(), from, forward);
    txtFind->setProperty("refused", !place);
    txtFind->update();
    if (place)
        GoTo(*place);
    else
        ShowFooter(tr("\"%1\" stands in no cell.").arg(txtFind->text()), true);
}

void frmTables::ShowAll()
{
    setWindowTitle(QStringLiteral("%1%2 - %3")
                       .arg(Name(), m_document.Changed() ? QStringLiteral("*") : QString(), tr("Tables")));
    cboKind->setCurrentIndex(static_cast<int>(m_document.Kind()));
    const bool rows = m_document.Rows() > 0;
    actSave->setEnabled(m_document.Changed() || m_document.Path().isEmpty());
    for (QAction* action : {actDuplicate, actRemove, actUp, actDown})
        action->setEnabled(rows);
    const QString undo = m_document.UndoText();
    const QString redo = m_document.RedoText();
    actUndo->setEnabled(!undo.isEmpty());
    actRedo->setEnabled(!redo.isEmpty());
    actUndo->setToolTip(undo.isEmpty() ? tr("Nothing to undo (Ctrl+Z)") : tr("Undo: %1 (Ctrl+Z)").arg(undo));
    actRedo->setToolTip(redo.isEmpty() ? tr("Nothing to redo (Ctrl+Shift+Z)")
                                       : tr("Redo: %1 (Ctrl+Shift+Z)").arg(redo));
    lblEmpty->setVisible(!rows);
    lblEmpty->setText(
        tr("The table has no rows.\nInsert one (Ins), paste rows from a spreadsheet (Ctrl+V), or open a "
           "table (Ctrl+O)."));
    ShowPreview();
    ShowFooter({});
}

void frmTables::ShowPreview()
{
    const QModelIndex current = grdTable->currentIndex();
    const bool any = current.isValid() && current.row() < m_document.Rows();
    if (any)
        m_column = current.column();
    QString shown;
    if (any && m_document.Kind() == TableKind::Flags) {
        const int row = m_document.Cells(current.row())[2].toInt();
        shown = row >= 0 && row < m_registers.GetNumSBSRows()
            ? tr("Bits of register row %1, %2")
                  .arg(row)
                  .arg(ShownDescription(m_registers.GetSBSDesc(static_cast<std::int16_t>(row))))
            : tr("Bits of register row %1, which the target's register table does not have").arg(row);
    }
    m_preview->Show(m_document.Kind(), any ? m_document.Cells(current.row()) : QStringList(), shown);
}

void frmTables::ShowFooter(const QString& text, bool refused)
{
    QString shown = text;
    bool alarm = refused;
    if (text.isEmpty()) {
        shown = tr("%1 rows").arg(m_document.Rows());
        if (const auto wrong = m_document.FirstWrong()) {
            shown += QStringLiteral(" \u00b7 ") + m_document.Check(*wrong).Text;
            alarm = true;
        } else {
            shown += m_document.Changed()     ? tr(" \u00b7 not saved")
                : m_document.Path().isEmpty() ? QString()
                                              : tr(" \u00b7 saved");
        }
    }
    QPalette palette = this->palette();
    const SkinColours& colours = Theme::Current().Colours();
    palette.setColor(QPalette::WindowText, ToColour(alarm ? colours.Failed : colours.TextSecondary));
    lblFooter->setPalette(palette);
    lblFooter->setText(shown);
}

void frmTables::ReadNow()
{
    if (!m_context || m_reading || !grdTable->currentIndex().isValid())
        return;
    m_reading = true;
    m_preview->SetReading(true);
    TryRead(kTries);
}

void frmTables::TryRead(int triesLeft)
{
    const bool busy
        = BusSequence::Running() || ExclusiveAccess::HeldBelow(); // cannot go on while we wait for it
    m_waiting = busy && triesLeft > 0;
    if (m_waiting) {
        QTimer::singleShot(kRetryMs, this, [this, triesLeft] {
            if (m_waiting)
                TryRead(triesLeft - 1);
        });
        return;
    }
    SBSInfoRec record;
    const QModelIndex current = grdTable->currentIndex();
    bool known = current.isValid();
    if (known && m_document.Kind() == TableKind::Registers) {
        const QStringList& cells = m_document.Cells(current.row());
        record.ReadStyle = cells[2].toShort();
        record.ReadCommand = static_cast<std::int16_t>(cells[3].toUShort(nullptr, 16));
    } else if (known) {
        const int row = m_document.Cells(current.row())[2].toInt();
        known = row >= 0 && row < m_registers.GetNumSBSRows()
            && m_registers.GetSBSRow(static_cast<std::int16_t>(row), record);
    }
    QString problem;
    RawValue raw = 0;
    if (!known) {
        problem = tr("Not read: the register row is not known.");
    } else if (busy) {
        problem = tr("Not read: the bus is held by a running sequence. Try again when it has ended.");
    } else {
        const ExclusiveAccess access(m_context->access, objectName());
        RegisterReader reader(m_context->usb, m_context->state, m_context->target);
        const ErrorCode code = access
            ? reader.Read(static_cast<ReadStyle>(record.ReadStyle), record.ReadCommand, raw)
            : ErrorCode::Ok;
        if (!access)
            problem = tr("Not read: the bus was not free.");
        else if (Failed(code))
            problem = tr("Read failed (%1): %2").arg(Number(code)).arg(ErrorCodeToText(code));
    }
    if (problem.isEmpty())
        m_preview->SetRaw(
            raw,
            tr("Read from the gauge at %1").arg(m_context->time.Now().toString(QStringLiteral("hh:mm:ss"))));
    else
        m_preview->SetReadProblem(problem);
    EndReading();
}

void frmTables::EndReading()
{
    m_waiting = false;
    m_reading = false;
    m_preview->SetReading(false);
}

void frmTables::Applyskin()
{
    grdTable->viewport()->update();
    ShowFooter({});
}
