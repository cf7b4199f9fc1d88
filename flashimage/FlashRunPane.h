#pragma once

#include "flashimage/FlashDesk.h"
#include "flashimage/ImageDocument.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QTableWidget>

/// A flash run from its plan to its outcome: what fits and what does not, what is erased, written or read,
/// the options, progress, and how the gauge was left. Nothing is sent before its plan is on the screen.
class FlashRunPane final : public QFrame {
    Q_OBJECT
public:
    enum class Kind { Program, Verify, Read, ReadToCompare, Start };

    FlashRunPane(FlashDesk& desk, QWidget* parent);

    /// @param document  what is programmed or verified; outlives the pane's being shown
    void Open(Kind kind, ImageDocument* document);
    void PlanAgain(); ///< the document is another one: a plan that is on the screen follows it
    void StartFirmware(); ///< without a plan: the caller's button says it
    void RememberVerify(bool verify) { chkVerify->setChecked(verify); }
    [[nodiscard]] bool Verifies() const { return chkVerify->isChecked(); }
    [[nodiscard]] bool Running() const { return m_running; }
    [[nodiscard]] bool Programming() const { return m_running && m_kind == Kind::Program; }
    void SayThatItGoesOn(); ///< to somebody who would leave in the middle of it
    void Stop();
    [[nodiscard]] clsSrecFlash TakeImage() { return std::move(m_read); } ///< what was read

signals:
    void ImageRead(bool toCompare); ///< TakeImage has it
    void Began();
    void Ended(); ///< of a run: the gauge's mode may be another
    void Opened();
    void Closed();
    void Progress(int done, int of);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void LayOut();
    void FillTargets();
    void Entitle(); ///< what the pane is for, and what its button does, whether or not it can be done
    void ShowPlan();
    [[nodiscard]] std::vector<FlashFinding> Check() const; ///< of a document
    void FillFindings(const std::vector<FlashFinding>& findings);
    void FillPlan(const FlashPlan& plan);
    void FillRead();
    void AddRow(const QString& region, std::uint32_t start, std::size_t size, const QString& erased,
                const QString& moved);
    void RunIt(); ///< as planned
    void Execute();
    void ShowRunning(bool running);
    void ShowOutcome(const FlashOutcome& outcome);
    [[nodiscard]] FlashOptions Options() const;

    FlashDesk& m_desk;
    ImageDocument* m_document = nullptr;
    Kind m_kind = Kind::Program;
    clsSrecFlash m_read;
    bool m_running = false;
    bool m_planned = false; ///< a plan is on the screen, not an outcome

    QLabel* lblFlashTitle;
    QComboBox* cboFlashTarget;
    QCheckBox* chkData;
    QCheckBox* chkInstruction;
    QCheckBox* chkMassErase;
    QCheckBox* chkVerify;
    QTableWidget* grdFlashPlan;
    QListWidget* lstFindings;
    QListWidgetItem* m_goesOn = nullptr; ///< among the findings, while a run is on
    QLabel* lblFlashPlan;
    QLabel* lblFlashIcon;
    QProgressBar* pbFlash;
    QPushButton* cmdRunFlash;
    QPushButton* cmdStopFlash;
};
