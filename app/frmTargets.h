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
    /// @param reason  why the list is open, one or two plain sentences; the second line says what choosing does
    frmTargets(TargetList& targets, ProfileStore& profiles, UserMessages& messages, const StartupState& state,
               const QString& reason, QWidget* parent = nullptr);

    /// The target file as written in the settings; empty until OK was accepted.
    [[nodiscard]] const QString& ChosenTarget() const { return m_chosen; }

    void accept() override;
    void Applyskin();

private:
    void FillLines();
    void ShowDetails();
    void SetDefault();
    void OpenDocument(const QString& fileName);
    [[nodiscard]] QListWidget* LinesInView() const;
    [[nodiscard]] QString SelectedLine() const;
    void FillList(QListWidget* list, const QStringList& lines);

    TargetList& m_targets;
    ProfileStore& m_profiles;
    UserMessages& m_messages;
    const StartupState& m_state;
    QString m_chosen;

    QLabel* picReason;
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
