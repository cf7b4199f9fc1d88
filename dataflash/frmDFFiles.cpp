// Files of the data-flash editor; frmDF.cpp has the rest of it.
#include "dataflash/ComparePane.h"
#include "dataflash/DataFlashGrid.h"
#include "dataflash/EachItem.h"
#include "dataflash/SpecialExport.h"
#include "dataflash/frmDF.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>

#include <algorithm>

namespace {

constexpr qsizetype kShownWarnings = 5;

QString Some(const QStringList& lines)
{
    QStringList shown = lines.mid(0, kShownWarnings);
    if (lines.size() > kShownWarnings)
        shown << frmDF::tr("and %1 more").arg(lines.size() - kShownWarnings);
    return shown.join(QLatin1Char('\n'));
}

} // namespace

QString frmDF::AskForGg(bool save, const QString& title)
{
    QFileDialog dialog(this, title, m_lastFolder.isEmpty() ? m_context.state.ProgramFolder : m_lastFolder);
    dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    dialog.setDefaultSuffix(QStringLiteral("gg"));
    dialog.setNameFilters(
        {QStringLiteral("Gas gauge data flash files(*.gg)"), QStringLiteral("All Files(*.*)")});
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    m_lastFolder = dialog.directory().absolutePath();
    return dialog.selectedFiles().constFirst();
}

void frmDF::AskExport()
{
    if (PutOff(&frmDF::AskExport))
        return;
    const QString path = AskForGg(true, QStringLiteral("Export Data Flash to *.gg file"));
    if (!path.isEmpty())
        ExportTo(path);
}

void frmDF::ExportTo(const QString& path)
{
    QStringList warnings;
    const QString problem = ::ExportDF(m_flash.Tree(), m_flash.DeviceName(),
                                       m_context.time.Now().toString(Qt::ISODate), path, warnings);
    NoteExport(path, problem, warnings);
}

void frmDF::NoteExport(const QString& path, const QString& problem, QStringList warnings)
{
    if (!problem.isEmpty()) {
        m_notice->Show(NoticeBar::Kind::Failed, problem);
        return;
    }
    int unknown = 0;
    ForEachItem(std::as_const(m_flash).Tree(),
                [&](const ItemPlace&, const DataClass&, const SubClass&, const DataItem& item) {
                    unknown += item.Value.isNull();
                });
    if (unknown > 0)
        warnings.prepend(tr("%1 items have no value; their lines are empty").arg(unknown));
    const QString name = QFileInfo(path).fileName();
    if (warnings.isEmpty())
        m_notice->Show(NoticeBar::Kind::Good,
                       tr("%1 items exported to %2.").arg(m_flash.Tree().ItemCount()).arg(path));
    else
        m_notice->Show(NoticeBar::Kind::Caution, tr("%1 was saved, but:\n%2").arg(name, Some(warnings)));
    emit StatusText(tr("Exported to %1").arg(name));
}

void frmDF::AskSpecialExport()
{
    if (PutOff(&frmDF::AskSpecialExport))
        return;
    const QString path = AskForGg(true, tr("Special export of the data flash"));
    if (path.isEmpty())
        return;
    QStringList warnings;
    if (SpecialExport(m_flash.Tree(), m_flash.DeviceName(), m_context.time.Now().toString(Qt::ISODate),
                      m_context.state.ProgramFolder, path, m_context.messages, warnings))
        NoteExport(path, {}, warnings);
}

void frmDF::AskImport()
{
    if (PutOff(&frmDF::AskImport))
        return;
    const QString path = AskForGg(false, QStringLiteral("Import Data Flash from *.gg file"));
    if (!path.isEmpty())
        ImportDF(path);
}

void frmDF::ImportDF(const QString& path)
{
    const GgImport import = ReadGg(path, m_flash.Tree(), m_flash.DeviceName());
    if (!import.Ok()) {
        m_context.messages.Show(import.Error);
        return;
    }
    const QString name = QFileInfo(path).fileName();
    if (AcceptDevice(import, m_context.messages))
        ShowOffers(OffersOf(import, m_flash.Tree(), tr("Import of %1").arg(name), tr("File")));
}

void frmDF::AskCompare()
{
    if (PutOff(&frmDF::AskCompare))
        return;
    const QString path = AskForGg(false, tr("Compare with a *.gg file"));
    if (!path.isEmpty())
        CompareWith(path);
}

void frmDF::CompareWith(const QString& path)
{
    // the file of another pack, or of another device, is a fair thing to look at: no question
    const GgImport import = ReadGg(path, m_flash.Tree(), m_flash.DeviceName());
    if (!import.Ok()) {
        m_context.messages.Show(import.Error);
        return;
    }
    const QString name = QFileInfo(path).fileName();
    ValueOffers offers = OffersOf(import, m_flash.Tree(), tr("Comparison with %1").arg(name), tr("File"));
    for (ValueOffers::Offer& offer : offers.Offers)
        offer.Ticked = false; // one looks first
    ShowOffers(std::move(offers));
}

void frmDF::CompareDefaults()
{
    ValueOffers offers = OffersOfDefaults(m_flash.Tree(), tr("Comparison with the defaults"), tr("Default"));
    for (ValueOffers::Offer& offer : offers.Offers)
        offer.Ticked = false;
    ShowOffers(std::move(offers));
}

void frmDF::ShowOffers(ValueOffers offers)
{
    m_compare->Show(std::move(offers), m_flash.Tree());
    ShowBottom(Bottom::Compare);
}

void frmDF::TakeOffers()
{
    if (m_order || m_bottom != Bottom::Compare)
        return;
    const QString title = m_compare->Offers().Title;
    const int taken = m_history.Do(title, m_compare->Offers().Taken());
    ShowBottom(Bottom::Nothing);
    if (m_filter.Narrows())
        ShowRows();
    Changed(title);
    m_notice->Show(NoticeBar::Kind::Note,
                   (taken == 1
                        ? tr("%1: 1 value taken. It stands on screen only until it is written.").arg(title)
                        : tr("%1: %2 values taken. They stand on screen only until they are written.")
                              .arg(title)
                              .arg(taken)),
                   tr("Undo"), [this] {
                       m_notice->Clear();
                       Undo();
                   });
}

void frmDF::OpenConfiguration()
{
    if (PutOff(&frmDF::OpenConfiguration))
        return;
    const QString path = QFileDialog::getOpenFileName(
        this, tr("Open a data-flash configuration"), m_context.state.ProgramFolder,
        QStringLiteral("Data-flash configurations(*.toml);;All Files(*.*)"));
    if (!path.isEmpty())
        LoadConfiguration(path);
}

void frmDF::SetAutoExportInterval()
{
    if (PutOff(&frmDF::SetAutoExportInterval))
        return;
    bool ok = false;
    const QString typed
        = QInputDialog::getText(this, QStringLiteral("Tarnlo - AutoExport Interval"),
                                QStringLiteral("AutoExport Interval in seconds"), QLineEdit::Normal,
                                QString::number(m_autoExport.IntervalMs() / 1000), &ok);
    if (!ok)
        return;
    const QStringList told = m_autoExport.SetInterval(typed);
    if (!told.isEmpty())
        m_context.messages.Show(told.join(QLatin1Char('\n')));
    m_form.AutoExportSeconds = QString::number(m_autoExport.IntervalMs() / 1000);
    SetAutoExportTimer();
}

void frmDF::SetAutoExportFile()
{
    if (PutOff(&frmDF::SetAutoExportFile))
        return;
    QString path = AskForGg(true, tr("Base of the automatic exports' file names"));
    if (path.isEmpty())
        return;
    if (path.endsWith(QStringLiteral(".gg"), Qt::CaseInsensitive))
        path.chop(3);
    m_form.AutoExportFile = path;
    if (tmrExport->isActive())
        m_autoExport.Start(path);
}

void frmDF::ToggleAutoExport()
{
    if (PutOff(&frmDF::ToggleAutoExport))
        return;
    const bool on = mnuOptionsAutoExport->isChecked();
    if (on && m_form.AutoExportFile.isEmpty())
        SetAutoExportFile();
    mnuOptionsAutoExport->setChecked(on && !m_form.AutoExportFile.isEmpty());
    if (!mnuOptionsAutoExport->isChecked()) {
        tmrExport->stop();
        return;
    }
    m_autoExport.Start(m_form.AutoExportFile);
    tmrExport->start(m_autoExport.SetAutoExportTimer());
    emit StatusText(tr("Automatic export every %1 s, next to %2")
                        .arg(m_autoExport.IntervalMs() / 1000)
                        .arg(AutoExport::FileName(m_form.AutoExportFile, m_autoExport.NextNumber())));
}

void frmDF::SetAutoExportTimer() { tmrExport->setInterval(m_autoExport.SetAutoExportTimer()); }

void frmDF::ExportTick()
{
    // a tick that meets a sequence or an edit under way is dropped; the next one comes soon enough
    if (m_order || Busy() || BusSequence::Running() || ExclusiveAccess::HeldBelow() || grdDataFlash->Editing()
        || !m_autoExport.TimeToProcess())
        return;
    auto result = std::make_shared<std::optional<AutoExport::Result>>();
    Run(
        tr("Automatic export"),
        [this, result] {
            m_trends.NoteBefore(m_flash.Tree());
            m_exportRead = {};
            *result = m_autoExport.Tick();
            return TransferReport{};
        },
        [this, result](const TransferReport& /*report*/, int /*replaced*/) {
            if (!m_exportRead.Entries.empty())
                NoteLastRead(m_exportRead);
            if (!*result)
                return;
            if (!(*result)->Problem.isEmpty())
                m_notice->Show(NoticeBar::Kind::Caution, tr("Automatic export: %1").arg((*result)->Problem));
            else if (!(*result)->Warnings.isEmpty())
                NoteExport((*result)->File, {}, (*result)->Warnings);
            else if (m_exportStuck)
                m_notice->Show(
                    NoticeBar::Kind::Good,
                    tr("Automatic export: it goes on with %1.").arg(QFileInfo((*result)->File).fileName()));
            else
                emit StatusText(tr("Exported to %1").arg(QFileInfo((*result)->File).fileName()));
            m_exportStuck = !(*result)->Problem.isEmpty();
        });
}
