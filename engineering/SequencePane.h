#pragma once

#include "engineering/SequenceRunner.h"
#include "engineering/ViewState.h"
#include "platform/UserMessages.h"

#include <QWidget>

class QCheckBox;
class QLabel;
class QListWidget;
class QProgressBar;
class QPushButton;
class QToolButton;
class SequenceEditor;

/// Writes, checks, saves and runs a sequence.
class SequencePane final : public QWidget {
    Q_OBJECT
public:
    SequencePane(UserMessages& messages, const QString& folder, QWidget* parent = nullptr);

    void Recall(const ViewState& state);
    void Remember(ViewState& state) const;
    void Applyskin();
    void OpenFile(const QString& path); ///< without asking about changes
    bool SaveFile(const QString& path); ///< false after a message; the old file then stands
    [[nodiscard]] bool LeaveChanges(); ///< asks; false: stay
    [[nodiscard]] bool StopAtFailure() const;
    /// The sequence as it stands on the screen; shows its problems.
    [[nodiscard]] Sequence Check();

    void SetRunning(bool running, bool elsewhere, std::int64_t turns);
    void ShowStep(const StepReport& report);
    void ShowEnd(const SequenceEnd& end);
    void ShowState(const QString& text, bool failed);

signals:
    void RunRequested();
    void CancelRequested();

private:
    void LayOut();
    QWidget* MakeToolbar();
    void New();
    void AskOpen();
    bool Save();
    void AskSave();
    void ShowName();
    void Changed();

    UserMessages& m_messages;
    QString m_folder;
    QString m_path;
    std::int64_t m_turns = 0;
    bool m_running = false;

    QLabel* lblSequence;
    QToolButton* cmdNewSequence;
    QToolButton* cmdOpenSequence;
    QToolButton* cmdSaveSequence;
    SequenceEditor* txtSequence;
    QListWidget* lstSequenceProblems;
    QCheckBox* chkStopSequence;
    QPushButton* cmdCheckSequence;
    QPushButton* cmdRunSequence;
    QPushButton* cmdCancelSequence;
    QProgressBar* pbSequence;
    QLabel* lblSequenceState;
};
