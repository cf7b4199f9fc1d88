#pragma once

#include "engineering/ProSettings.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QTableWidget;

/// The named commands of the target.
class AccessPane final : public QWidget {
    Q_OBJECT
public:
    explicit AccessPane(const std::vector<AccessCommand>& commands, QWidget* parent = nullptr);
    void SetBusy(bool busy);
    void ShowState(const QString& text, bool failed);

signals:
    void SendRequested(int command);

private:
    void Send();
    QString ShowSend(); ///< @return why the current command cannot be sent
    void ShowCurrent();

    const std::vector<AccessCommand>& m_commands;
    QTableWidget* grdAccess;
    QPushButton* cmdSendAccess;
    QLabel* lblAccessState;
    bool m_busy = false;
};
