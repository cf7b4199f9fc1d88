#pragma once

#include "platform/ErrorList.h"

#include <QDialog>

class QAbstractListModel;
class QCheckBox;
class QFrame;
class QLabel;
class QListView;
class QPushButton;

/// The one error window: not modal, never stacked, never takes the keyboard from an edit. The next message
/// replaces the one it shows; the advanced view lists the run's messages, newest first.
class frmErrMsg final : public QDialog {
    Q_OBJECT
public:
    explicit frmErrMsg(ErrorList& errors, QWidget* parent = nullptr);

    /// Adds a message to the list and shows it at once.
    /// @param detail  what is known beyond the fixed text: where, and what it means; may be empty
    void ShowMsgBox(const QString& message, const QString& detail = {});
    void Applyskin();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void LayOut();
    void ShowAdvanced(bool advanced);
    void Refresh(); ///< brings list and count up to the error list
    void CopyAll();

    ErrorList& m_errors;
    std::uint64_t m_shownRevision = 0;
    QString m_message;
    QString m_detail;

    QLabel* picError;
    QLabel* lblMsg;
    QLabel* lblDetail;
    QListView* lstErr;
    QAbstractListModel* m_model;
    QFrame* frameButtons;
    QCheckBox* chkAdv;
    QLabel* lblCount;
    QPushButton* cmdCopy;
    QPushButton* cmdOK;
    QTimer* tmrRefresh;
};
