#include "engineering/SequencePane.h"

#include "engineering/SequenceEditor.h"
#include "engineering/ViewParts.h"
#include "look/Controls.h"
#include "look/Icons.h"
#include "platform/WholeFile.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QFileInfo>
#include <QListWidget>
#include <QMenu>
#include <QProgressBar>
#include <QPushButton>
#include <QShortcut>

#include <algorithm>
#include <utility>

namespace {

const QString kFilter = QStringLiteral("Sequences (*.seq);;All files (*)");
constexpr int kProgress = 1000;
constexpr int kMostProblemRows = 4;

} // namespace

SequencePane::SequencePane(UserMessages& messages, const QString& folder, QWidget* parent)
    : QWidget(parent), m_messages(messages), m_folder(folder),
      lblSequence(Named(new QLabel(this), "lblSequence")),
      cmdNewSequence(MakeButton(this, "cmdNewSequence", "add", {}, tr("New sequence"))),
      cmdOpenSequence(MakeButton(this, "cmdOpenSequence", "open", {}, tr("Open a sequence (Ctrl+O)"))),
      cmdSaveSequence(MakeButton(this, "cmdSaveSequence", "save", {}, tr("Save the sequence (Ctrl+S)"))),
      txtSequence(Named(new SequenceEditor(this), "txtSequence")),
      lstSequenceProblems(Named(new QListWidget(this), "lstSequenceProblems")),
      chkStopSequence(Named(new QCheckBox(tr("Stop at a fai&lure"), this), "chkStopSequence")),
      cmdCheckSequence(Named(new QPushButton(ThemeIcon(QStringLiteral("verify")), tr("Chec&k"), this),
                             "cmdCheckSequence")),
      cmdRunSequence(
          Named(new QPushButton(ThemeIcon(QStringLiteral("play")), tr("Run"), this), "cmdRunSequence")),
      cmdCancelSequence(
          Named(new QPushButton(ThemeIcon(QStringLiteral("stop")), tr("Cancel"), this), "cmdCancelSequence")),
      pbSequence(Named(new QProgressBar(this), "pbSequence")),
      lblSequenceState(Named(new QLabel(this), "lblSequenceState"))
{
    LayOut();
    connect(cmdNewSequence, &QToolButton::clicked, this, &SequencePane::New);
    connect(cmdOpenSequence, &QToolButton::clicked, this, &SequencePane::AskOpen);
    connect(cmdSaveSequence, &QToolButton::clicked, this, [this] { Save(); });
    connect(cmdCheckSequence, &QPushButton::clicked, this, [this] { (void)Check(); });
    connect(cmdRunSequence, &QPushButton::clicked, this, &SequencePane::RunRequested);
    connect(cmdCancelSequence, &QPushButton::clicked, this, &SequencePane::CancelRequested);
    connect(txtSequence, &QPlainTextEdit::textChanged, this, &SequencePane::Changed);
    connect(txtSequence->document(), &QTextDocument::modificationChanged, this, &SequencePane::ShowName);
    connect(lstSequenceProblems, &QListWidget::currentRowChanged, this, [this](int row) {
        if (const QListWidgetItem* item = lstSequenceProblems->item(row))
            txtSequence->GoToLine(item->data(Qt::UserRole).toInt());
    });
    const std::pair<QKeySequence, QToolButton*> keys[]{{QKeySequence(tr("Ctrl+O")), cmdOpenSequence},
                                                       {QKeySequence(tr("Ctrl+S")), cmdSaveSequence}};
    for (const auto& [key, button] : keys) {
        auto* shortcut = new QShortcut(key, this, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
        connect(shortcut, &QShortcut::activated, button, &QToolButton::click);
    }
    setFocusProxy(txtSequence);
    SetRunning(false, false, 0);
    ShowName();
}

void SequencePane::LayOut()
{
    txtSequence->setAccessibleName(tr("Lines of the sequence"));
    txtSequence->setPlaceholderText(tr("# one step a line, for example:\n"
                                       "write-word 0x00 0x0001\n"
                                       "read-word 0x00 expect 0x0800\n"
                                       "loop 10\n"
                                       "  read-word 0x09\n"
                                       "  delay 1000\n"
                                       "end\n"
                                       "wait 60000 read-word 0x16 expect 0x0020 mask 0x0020"));
    lstSequenceProblems->setAccessibleName(tr("What is wrong with the sequence"));
    lstSequenceProblems->hide();
    chkStopSequence->setChecked(true);
    chkStopSequence->setToolTip(tr("Else the run goes on and the failures are counted"));
    cmdCheckSequence->setToolTip(tr("Look for mistakes; nothing is sent"));
    cmdCancelSequence->setToolTip(
        tr("End the run after the present step; the bus and the lines are given back"));
    for (QPushButton* button : {cmdCheckSequence, cmdRunSequence, cmdCancelSequence})
        button->setAutoDefault(false);
    pbSequence->setRange(0, kProgress);
    pbSequence->setTextVisible(false);
    pbSequence->setAccessibleName(tr("Progress of the sequence"));
    lblSequenceState->setWordWrap(true);

    auto* run = new QHBoxLayout;
    run->setSpacing(8);
    run->addWidget(cmdRunSequence);
    run->addWidget(cmdCancelSequence);
    run->addWidget(cmdCheckSequence);
    run->addWidget(chkStopSequence);
    run->addWidget(pbSequence, 1);
    run->addStretch();
    auto* down = new QVBoxLayout(this);
    down->setContentsMargins(8, 6, 8, 6);
    down->setSpacing(4);
    down->addWidget(MakeToolbar());
    down->addWidget(txtSequence, 1);
    down->addWidget(lstSequenceProblems);
    down->addLayout(run);
    down->addWidget(lblSequenceState);
}

QWidget* SequencePane::MakeToolbar()
{
    auto* bar = new QWidget(this);
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    auto* menu = new QMenu(cmdSaveSequence);
    menu->addAction(tr("Save &as..."), this, &SequencePane::AskSave);
    cmdSaveSequence->setMenu(menu);
    cmdSaveSequence->setPopupMode(QToolButton::MenuButtonPopup);
    for (QToolButton* button : {cmdNewSequence, cmdOpenSequence, cmdSaveSequence})
        row->addWidget(button);
    row->addSpacing(4);
    MakeSecondary(lblSequence);
    lblSequence->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    row->addWidget(lblSequence, 1);
    return bar;
}

void SequencePane::Recall(const ViewState& state)
{
    chkStopSequence->setChecked(state.On(u"StopSequence", true));
    const QString path = state.Text(u"Sequence");
    if (!path.isEmpty() && QFileInfo(path).isFile())
        OpenFile(path);
}

void SequencePane::Remember(ViewState& state) const
{
    state.Keep(u"StopSequence", chkStopSequence->isChecked() ? 1 : 0);
    state.Keep(u"Sequence", m_path);
}

void SequencePane::Applyskin() { txtSequence->Applyskin(); }

void SequencePane::New()
{
    // the question about changes must not open while a row of a scan holds the bus
    WhenBusFree(
        this,
        [this] {
            if (!LeaveChanges())
                return;
            txtSequence->clear();
            m_path.clear();
            txtSequence->document()->setModified(false);
            ShowName();
        },
        [this](const QString& why) { ShowState(why, true); });
}

void SequencePane::AskOpen()
{
    AskForFile(this, tr("Open sequence"), m_path.isEmpty() ? m_folder : m_path, kFilter, {},
               [this](const QString& path) {
                   WhenBusFree(
                       this,
                       [this, path] {
                           if (LeaveChanges())
                               OpenFile(path);
                       },
                       [this](const QString& why) { ShowState(why, true); });
               });
}

void SequencePane::OpenFile(const QString& path)
{
    const FileBytes file = ReadWhole(path, kMostSequenceBytes);
    if (!file.error.isEmpty()) {
        m_messages.Show(file.error);
        return;
    }
    if (file.bytes.contains('\0')) {
        m_messages.Show(tr("%1 is no text, so it is no sequence. What was open stays.").arg(path));
        return;
    }
    m_path = path;
    txtSequence->setPlainText(QString::fromUtf8(file.bytes));
    txtSequence->document()->setModified(false);
    ShowName();
    if (const Sequence sequence = Check(); sequence.Problems.empty())
        ShowState({}, false);
}

bool SequencePane::Save()
{
    if (m_path.isEmpty())
        AskSave();
    return !m_path.isEmpty() && SaveFile(m_path);
}

void SequencePane::AskSave()
{
    AskForFile(this, tr("Save sequence as"), m_path.isEmpty() ? m_folder : m_path, kFilter,
               QStringLiteral("seq"), [this](const QString& path) { SaveFile(path); });
}

bool SequencePane::SaveFile(const QString& path)
{
    QString text = txtSequence->toPlainText();
    if (!text.isEmpty() && !text.endsWith(QLatin1Char('\n')))
        text += QLatin1Char('\n');
    const QString problem = SaveWhole(path, text.toUtf8());
    if (!problem.isEmpty()) {
        m_messages.Show(problem);
        return false;
    }
    m_path = path;
    txtSequence->document()->setModified(false);
    ShowName();
    ShowState(tr("%1 saved").arg(QFileInfo(path).fileName()), false);
    return true;
}

bool SequencePane::LeaveChanges()
{
    if (!txtSequence->document()->isModified())
        return true;
    const Answer answer
        = m_messages.Ask(tr("The sequence %1 has changes that are not saved. Save them now?")
                             .arg(m_path.isEmpty() ? tr("without a name") : QFileInfo(m_path).fileName()),
                         Answer::Yes | Answer::No | Answer::Cancel);
    // without a name the box for one opens, and what was asked for is done once the file is saved
    return answer == Answer::No || (answer == Answer::Yes && Save());
}

void SequencePane::ShowName()
{
    const bool changed = txtSequence->document()->isModified();
    lblSequence->setText((m_path.isEmpty() ? tr("New sequence") : QFileInfo(m_path).fileName())
                         + (changed ? tr(", not saved") : QString()));
    lblSequence->setToolTip(m_path);
}

void SequencePane::Changed()
{
    if (m_running)
        return;
    lstSequenceProblems->hide();
    lstSequenceProblems->clear();
    txtSequence->MarkLine(0, SequenceEditor::Mark::None);
    ShowState({}, false);
}

bool SequencePane::StopAtFailure() const { return chkStopSequence->isChecked(); }

Sequence SequencePane::Check()
{
    Sequence sequence = ParseSequence(txtSequence->toPlainText());
    lstSequenceProblems->clear();
    for (const SequenceProblem& problem : sequence.Problems) {
        auto* item
            = new QListWidgetItem(ThemeIcon(QStringLiteral("error"), IconInk::Failed),
                                  tr("Line %1: %2").arg(problem.Line).arg(problem.Text), lstSequenceProblems);
        item->setData(Qt::UserRole, problem.Line);
    }
    const int rows = static_cast<int>(std::min<std::size_t>(sequence.Problems.size(), kMostProblemRows));
    lstSequenceProblems->setVisible(rows > 0);
    if (rows > 0) {
        lstSequenceProblems->setFixedHeight(rows * lstSequenceProblems->sizeHintForRow(0)
                                            + 2 * lstSequenceProblems->frameWidth());
        txtSequence->MarkLine(sequence.Problems.front().Line, SequenceEditor::Mark::Wrong);
        txtSequence->GoToLine(sequence.Problems.front().Line);
        ShowState(Counted(sequence.Problems.size(), tr("1 line is wrong."), tr("%1 lines are wrong."))
                      + tr(" Nothing was sent."),
                  true);
    } else {
        txtSequence->MarkLine(0, SequenceEditor::Mark::None);
        ShowState(sequence.Steps.empty() ? tr("The sequence has no steps.")
                                         : tr("No mistake found: %1, %2.")
                                               .arg(Counted(sequence.Turns(), tr("1 step"), tr("%1 steps")),
                                                    Counted(sequence.Writes().size(), tr("1 line writes"),
                                                            tr("%1 lines write"))),
                  false);
    }
    return sequence;
}

void SequencePane::SetRunning(bool running, bool elsewhere, std::int64_t turns)
{
    m_running = running;
    m_turns = turns;
    txtSequence->setReadOnly(running);
    cmdRunSequence->setVisible(!running);
    cmdRunSequence->setEnabled(!elsewhere);
    cmdRunSequence->setToolTip(
        elsewhere ? tr("Something else is being sent")
                  : tr("Send the steps one after the other; the bus is held until the end (F5)"));
    cmdCancelSequence->setVisible(running);
    pbSequence->setVisible(running);
    for (QWidget* widget : {static_cast<QWidget*>(cmdNewSequence), static_cast<QWidget*>(cmdOpenSequence),
                            static_cast<QWidget*>(cmdCheckSequence), static_cast<QWidget*>(chkStopSequence)})
        widget->setEnabled(!running);
    pbSequence->setValue(0);
}

void SequencePane::ShowStep(const StepReport& report)
{
    txtSequence->MarkLine(report.Step->Line, SequenceEditor::Mark::Running);
    const double share
        = static_cast<double>(report.Number) / static_cast<double>(std::max<std::int64_t>(m_turns, 1));
    pbSequence->setValue(static_cast<int>(kProgress * std::min(share, 1.0)));
    ShowState(tr("Step %1 of %2, line %3: %4")
                  .arg(report.Number)
                  .arg(m_turns)
                  .arg(report.Step->Line)
                  .arg(report.Step->Text),
              false);
}

void SequencePane::ShowEnd(const SequenceEnd& end)
{
    const bool wrong = end.Failures > 0 && end.Line > 0;
    txtSequence->MarkLine(wrong ? end.Line : 0,
                          wrong ? SequenceEditor::Mark::Wrong : SequenceEditor::Mark::None);
    if (wrong)
        txtSequence->GoToLine(end.Line);
    QString text = end.Text;
    if (end.Ended == SequenceEnd::How::Done)
        text = tr("Done: %1, all as expected.").arg(Counted(end.Steps, tr("1 step"), tr("%1 steps")));
    else if (end.Failures > 1)
        text = tr("%1 of %2 steps failed, the first: %3").arg(end.Failures).arg(end.Steps).arg(end.Text);
    ShowState(text, end.Ended != SequenceEnd::How::Done);
}

void SequencePane::ShowState(const QString& text, bool failed) { ShowNote(lblSequenceState, text, failed); }
