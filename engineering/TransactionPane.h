#pragma once

#include "engineering/HistoryModel.h"
#include "engineering/TransactionFields.h"
#include "engineering/ViewState.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QGridLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;
class QTableView;
class QToolButton;

/// The fields of one transaction, and below them what was sent and what came.
class TransactionPane final : public QWidget {
    Q_OBJECT
public:
    TransactionPane(TransactionHistory& history, std::int16_t gaugeAddress, QWidget* parent = nullptr);

    void Recall(const ViewState& state);
    void Remember(ViewState& state) const;
    void ShowHistory(); ///< takes up what is new; stays at the end when it was there
    /// @param text  what goes on, or how it ended
    void ShowState(const QString& text, bool failed);
    void SetBusy(bool repeating, bool elsewhere); ///< what may be clicked
    [[nodiscard]] int IntervalMs() const;

signals:
    void SendRequested(const RepeatedSend::Request& request);
    void StopRequested();
    void SaveRequested(const QString& csv);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void LayOut();
    QWidget* MakeFields();
    QWidget* MakeHistory();
    void ShowKind();
    void ChangeBase();
    void Send();
    [[nodiscard]] TransactionFields Fields() const;
    void Fill(const TransactionFields& fields);
    void UseAgain(const QModelIndex& index);
    void ShowDetail();
    void Copy(QChar separator);
    [[nodiscard]] std::vector<std::int64_t> Chosen() const; ///< selected ones, else all
    [[nodiscard]] QLineEdit* Field(TransactionField field) const;

    TransactionHistory& m_history;
    HistoryModel* m_model;
    QString m_gaugeText;
    bool m_shownHex = true;

    QComboBox* cboKind;
    QComboBox* cboBase;
    QLabel* lblPlace;
    QLabel* lblData;
    QLabel* lblExpect;
    QLabel* lblMask;
    QLineEdit* txtAddress;
    QLineEdit* txtCmd;
    QLineEdit* txtData;
    QLineEdit* txtExpect;
    QLineEdit* txtMask;
    QSpinBox* spnRepeat;
    QSpinBox* spnInterval;
    QCheckBox* chkStopAtFailure;
    QPushButton* cmdSend;
    QPushButton* cmdStop;
    QLabel* lblSendState;
    QTableView* grdHistory;
    QLabel* lblDetail;
};
