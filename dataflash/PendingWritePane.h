#pragma once

#include "dataflash/DataFlash.h"

#include <QFrame>
#include <QLabel>
#include <QPushButton>

/// A write that never ended, which stays on screen until somebody decides what becomes of it.
class PendingWritePane final : public QFrame {
    Q_OBJECT
public:
    explicit PendingWritePane(QWidget* parent);
    void Show(const PendingWrite& pending);
    void SetLocked(bool on);
    void SetNarrow(bool on);

signals:
    void Finish();
    void RollBack();
    void Forget();

private:
    QLabel* m_icon;
    QLabel* lblPending;
    QLabel* lblPendingList;
    QPushButton* cmdFinishWrite;
    QPushButton* cmdRollBack;
    QPushButton* cmdForget;
};
