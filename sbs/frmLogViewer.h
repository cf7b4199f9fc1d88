#pragma once

#include "look/ChildView.h"
#include "platform/UserMessages.h"
#include "sbs/LogDocument.h"
#include "sbs/RegisterLogReading.h"

#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTableWidget>
#include <QTimer>

#include <memory>
#include <vector>

class PlotView;
class QSplitter;
class QStackedWidget;
class QToolButton;

/// Shows register logs: columns with statistics, curves of the ticked ones, what the reader found odd, and a
/// second log laid over the first or taken from it. It needs neither adapter nor target.
class frmLogViewer final : public ChildView {
    Q_OBJECT
public:
    explicit frmLogViewer(UserMessages& messages, const QString& path = {});
    ~frmLogViewer() override;

    void Applyskin() override;
    QList<QAction*> FileActions() const override;

    /// Starts to read; the log shows when all of it is read, or as far as it was read when that is cancelled.
    void OpenLog(const QString& path);
    void CompareWith(const QString& path); ///< with the log that is open
    [[nodiscard]] bool Reading() const { return m_reading != nullptr; }

signals:
    void Shown(); ///< a log has been read and stands on the screen

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void LayOut();
    QWidget* MakeToolbar();
    QWidget* MakeEmptyPage();
    QAction* Add(const char* name, const QString& text, const char* icon, const QKeySequence& shortcut,
                 void (frmLogViewer::*does)());

    void AskOpen();
    void AskCompare();
    QString AskForFile(const QString& title);
    void StopComparing();
    void Start(const QString& path, bool second);
    void ReadMore(); ///< of tmrRead
    void Cancel();
    void Finish(bool cancelled);

    void ShowLogs();
    void FillColumns();
    void FillProblems();
    void TakeTick(QTableWidgetItem* item);
    void ShowCurves();
    void Fold(bool narrow);

    UserMessages& m_messages;
    LogDocument m_document;
    QString m_path;
    QString m_secondPath;
    std::vector<std::size_t> m_ticked; ///< columns in ticking order
    std::unique_ptr<RegisterLogReading> m_reading;
    bool m_readingSecond = false;
    bool m_folded = false;

    QStackedWidget* m_pages;
    QTimer* tmrRead;
    QAction* actOpen;
    QAction* actCompare;
    QAction* actAlone;
    QComboBox* cboCompare;
    QLabel* lblLog;
    QProgressBar* pbRead;
    QPushButton* cmdCancelRead;
    QSplitter* m_across = nullptr;
    QTabWidget* m_tabs;
    QTableWidget* grdColumns;
    QListWidget* lstProblems;
    QPlainTextEdit* txtHead;
    PlotView* m_plot;
    QList<QToolButton*> m_wordButtons; ///< lose their words in a narrow window
};
