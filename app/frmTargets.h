#pragma once

#include "settings/TargetList.h"

#include <QDialog>

class QLabel;
class QListWidget;
class QPushButton;
class QStackedWidget;

/// The list of targets, to choose one by hand.
class frmTargets final : public QDialog {
    Q_OBJECT
public:
    frmTargets(TargetList& targets, UserMessages& messages, const StartupState& state,
               QWidget* parent = nullptr);

    /// Why the list is open, in one plain sentence above it.
    void ShowReason(const QString& reason);
    /// The target file as written in the settings; empty until OK was accepted.
    [[nodiscard]] const QString& ChosenFile() const { return m_chosen; }

    void accept() override;
    void Applyskin();

private:
    void LayOut();
    void FillList(QListWidget* list, const QStringList& lines);
    void ShowCategory();
    void ShowDetails();
    void SetDefault();
    void OpenDocument(const QString& fileName);
    [[nodiscard]] QListWidget* LinesInView() const;
    [[nodiscard]] QString SelectedLine() const; ///< empty without a selection

    TargetList& m_targets;
    UserMessages& m_messages;
    const StartupState& m_state;
    QString m_chosen;

    QLabel* picReason;
    QLabel* lblReason;
    QLabel* Label1;
    QLabel* Label2;
    QListWidget* lstTargetCategory;
    QListWidget* lstTargets;
    QListWidget* lstFiltered;
    QStackedWidget* m_lists;
    QLabel* lblFile;
    QLabel* lblOffers;
    QLabel* lblAddress;
    QPushButton* cmdHelp;
    QPushButton* cmdSetDef;
    QPushButton* cmdCancel;
    QPushButton* cmdOK;
};
