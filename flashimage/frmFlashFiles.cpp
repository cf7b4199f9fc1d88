// The files of frmFlash: opens, compares with, saves; frmFlash.cpp has the rest of what it does.
#include "flashimage/clsSrecRW.h"
#include "flashimage/frmFlash.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QFileInfo>

namespace {

const QString kFilter = QStringLiteral("Srec files(*.srec)|*.srec|Encrypted Srec files(*.senc)|*.senc");

/// The filter as Qt takes it, and everything else that objcopy and the like write.
QString QtFilter()
{
    const QStringList parts = kFilter.split(QLatin1Char('|'));
    return parts[0] + QStringLiteral(";;") + parts[2]
        + QStringLiteral(";;S-records (*.srec *.s19 *.s28 *.s37 *.mot);;All files (*)");
}

} // namespace

QString frmFlash::AskForFile(const QString& title)
{
    return QFileDialog::getOpenFileName(
        this, title, m_memory.Folder.isEmpty() ? m_state.ProgramFolder : m_memory.Folder, QtFilter());
}

void frmFlash::AskOpen()
{
    const QString path = AskForFile(tr("Open flash image"));
    if (!path.isEmpty())
        OpenImage(path);
}

void frmFlash::AskCompare()
{
    const QString path = AskForFile(tr("Compare with"));
    if (!path.isEmpty())
        CompareWith(path);
}

/// What was there stays when the file gives no image.
void frmFlash::Load(const QString& path, ImagePane* pane)
{
    if (Busy())
        return;
    m_reading = true;
    m_cancelReading = false;
    clsSrecRW reader(m_messages);
    reader.SetProgress([this](std::int64_t done, std::int64_t of) {
        emit ProgressChanged(static_cast<int>(done >> 10), static_cast<int>(of >> 10), tr("Reading"));
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        return !m_cancelReading;
    });
    clsSrecFlash image;
    reader.ReadSrec(path, image);
    m_reading = false;
    emit ProgressChanged(0, 0, {});
    const QFileInfo file(path);
    const bool any = !image.DF.Empty() || !image.PF.Empty();
    if (any && !m_cancelReading) {
        m_memory.Folder = file.absolutePath();
        ListProblems(pane, file.fileName(), reader.Problems());
        Take(pane, std::move(image), path, file.fileName(), reader.BadLines());
    } else if (!any && reader.Problems().empty()) {
        m_messages.Show(tr("%1 holds no bytes.").arg(path));
    } else {
        Say(tr("Nothing was taken from %1. What was open stays.").arg(file.fileName()));
    }
    ShowActions();
}

/// In place of those of the pane's last file.
void frmFlash::ListProblems(const ImagePane* pane, const QString& file,
                            const std::vector<SrecProblem>& problems)
{
    for (int row = lstProblems->count(); row-- > 0;)
        if (lstProblems->item(row)->data(Qt::UserRole).toString() == pane->objectName())
            delete lstProblems->takeItem(row);
    for (const SrecProblem& problem : problems) {
        const QString text = problem.Line > 0
            ? tr("%1, line %2, status %3: %4").arg(file).arg(problem.Line).arg(problem.Status, problem.Text)
            : problem.Text;
        auto* item = new QListWidgetItem(text, lstProblems);
        item->setData(Qt::UserRole, pane->objectName());
    }
}

void frmFlash::OpenImage(const QString& path)
{
    if (SaveFirst())
        Load(path, m_first);
}

void frmFlash::CompareWith(const QString& path) { Load(path, m_second); }

void frmFlash::Take(ImagePane* pane, clsSrecFlash image, const QString& path, const QString& name,
                    std::int64_t badLines)
{
    pane->Document().Take(std::move(image), path, name, badLines);
    ShowAll();
    if (m_run)
        m_run->PlanAgain();
    pane->Hex()->setFocus();
}

void frmFlash::TakeFromGauge(bool toCompare)
{
    if (!toCompare && !SaveFirst())
        return;
    ImagePane* pane = toCompare ? m_second : m_first;
    ListProblems(pane, {}, {});
    Take(pane, m_run->TakeImage(), {}, tr("gauge"));
    if (!toCompare)
        Say(tr("The gauge's flash is on the screen. Save it to keep it."));
}

bool frmFlash::SaveTo(const QString& path)
{
    clsSrecRW writer(m_messages);
    const QString problem = path.endsWith(QLatin1String(".senc"), Qt::CaseInsensitive)
        ? writer.WriteEncryptedSrec(path, m_first->Document().Image())
        : writer.WriteSrec(path, m_first->Document().Image());
    if (!problem.isEmpty()) {
        m_messages.Show(problem);
        return false;
    }
    m_first->Document().Saved(path);
    m_memory.Folder = QFileInfo(path).absolutePath();
    m_first->ShowHead();
    m_first->Hex()->Refresh();
    ShowFacts();
    ShowActions();
    if (m_run)
        m_run->PlanAgain();
    Say(tr("%1 was saved.").arg(path));
    return true;
}

void frmFlash::Save()
{
    // in place of a file whose lines were not all taken nothing is put unasked
    if (m_first->Document().Path().isEmpty() || m_first->Document().BadLines() > 0)
        AskSaveAs();
    else
        SaveTo(m_first->Document().Path());
}

void frmFlash::AskSaveAs()
{
    QFileDialog dialog(this, tr("Save flash image"), m_memory.Folder, QtFilter());
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("srec"));
    dialog.selectFile(m_first->Document().Name());
    if (dialog.exec() == QDialog::Accepted)
        SaveTo(dialog.selectedFiles().constFirst());
}

bool frmFlash::SaveFirst()
{
    if (m_first->Document().EditedCount() == 0)
        return true;
    const Answer answer = m_messages.Ask(
        tr("%1 has edits that are not saved. Save them now?").arg(m_first->Document().Name()),
        Answer::Yes | Answer::No | Answer::Cancel);
    if (answer == Answer::Yes)
        Save();
    return answer == Answer::No || (answer == Answer::Yes && m_first->Document().EditedCount() == 0);
}
