#pragma once

#include <QElapsedTimer>
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

    /// Stays long enough to be read, whatever passes go by meanwhile.
    void SetText(const QString& text);
    void SetIdleText(const QString& text); ///< what stands there when nobody has anything else to say
    void SetRefusal(const QString& text); ///< a text that stands even over a progress
    void SetProgress(int done, int of, const QString& owner); ///< of 0 or done == of hides it again
    void SetLink(const LinkFacts& facts);
    /// Leaves out what a narrow window has no room for: 0 all, 1 no bus load, 2 no bus holder either.
    void SetRoom(int level);
    void Applyskin();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void ShowTime();
    void PlaceProgress();
    void Show(const QString& text);

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
    LinkFacts m_facts;
    QElapsedTimer m_said; ///< since the last text
    QElapsedTimer m_refused;
};
