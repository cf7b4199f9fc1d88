#pragma once

#include "comm/GaugeContext.h"
#include "engineering/ProSettings.h"
#include "engineering/SequenceRunner.h"
#include "engineering/TransactionHistory.h"
#include "look/ChildView.h"

#include <memory>

class AccessPane;
class MonitorPane;
class QSplitter;
class QTabWidget;
class QTimer;
class SequencePane;
class TransactionPane;

/// Pro mode: single transactions with the gauge, its access commands, sequences, and a monitor of the bus.
class frmPro final : public ChildView {
    Q_OBJECT
public:
    explicit frmPro(GaugeContext& context);
    ~frmPro() override;

    void Applyskin() override;
    bool MayClose() override;
    bool Busy() const override { return m_running || m_repeat.Sending(); }
    void Abandon() override;
    /// A sequence may have switched lines on: it ends, and they get their levels back.
    void StopLines() override
    {
        if (m_running)
            Abandon();
    }

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool Leave() override;

private:
    enum class Source { Sequence, Access };

    void LayOut();
    void Fold(bool narrow);
    void AskSend(const RepeatedSend::Request& request);
    void StartSending(const RepeatedSend::Request& request);
    void NextTurn();
    void AskRunSequence();
    void AskAccess(int command);
    void Run(Sequence asked, Source source, const QString& name);
    void ShowBusy();
    void SaveCsv(const QString& csv);
    void SaveTrace(const QByteArray& trace);
    [[nodiscard]] QString AddressText(const Transaction& transaction) const;

    GaugeContext& m_context;
    ProSettings m_settings;
    TransactionSender m_sender;
    TransactionHistory m_history;
    RepeatedSend m_repeat;
    SequenceRunner m_runner;
    bool m_running = false; ///< a sequence, further down the stack
    bool m_cancelled = false;
    bool m_narrow = false;

    QTimer* tmrSend;
    TransactionPane* m_transactions;
    AccessPane* m_access;
    SequencePane* m_sequence;
    MonitorPane* m_monitor = nullptr; ///< nothing where nobody counts
    QSplitter* m_across;
    QTabWidget* m_tabs;
};
