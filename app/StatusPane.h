#pragma once

#include <QDeadlineTimer>
#include <QLabel>
#include <QProgressBar>
#include <QStatusBar>
#include <QTimer>

/// What the status bar tells of the connection.
struct LinkFacts {
    QString Adapter; ///< "HX5100 i2c-5", empty: none open
    bool Simulated = false;
    int Address = 0; ///< 8-bit form
    bool Answering = false;
    QString LastError; ///< text of the last error, empty when the newest pass had none
    QString BusOwner; ///< empty: the bus is free
    double BusLoad = 0; ///< percent of the time, by ideal bus time
};

/// The status bar: what happens, progress over it, the connection, and the clock.
class StatusPane final : public QStatusBar {
    Q_OBJECT
public:
    explicit StatusPane(QWidget* parent = nullptr);

    void SetText(const QString& text);
    /// What stands there stays for a while first: a scan behind another view has something new at every pass.
    void SetBackgroundText(const QString& text);
    void SetProgress(int done, int of, const QString& owner); ///< of 0 or done == of hides it again
    void SetLink(const LinkFacts& facts);
    /// Leaves out what a narrow window has no room for: 0 all, 1 no bus load, 2 no bus holder either.
    void SetRoom(int level);
    void Applyskin();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void ShowText(const QString& text);
    void ShowTime();
    void PlaceProgress();

    QTimer* tmrStatusBarTime;
    QLabel* PictureStat;
    QProgressBar* ProgressBarStatus;
    QWidget* m_badge; ///< around the adapter's icon and name
    QLabel* m_badgeIcon;
    QLabel* PictureMode; ///< "Simulated" or name of the adapter
    QLabel* lblAddress;
    QLabel* m_linkIcon;
    QLabel* lblLink;
    QLabel* m_lockIcon;
    QLabel* lblBusOwner;
    QLabel* lblBusLoad;
    QLabel* lblClock;
    QList<QWidget*> m_panels; ///< behind the first, left to right
    QDeadlineTimer m_stays{0};
    LinkFacts m_facts;
};
