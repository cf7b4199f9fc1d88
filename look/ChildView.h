#pragma once

#include <QAction>
#include <QList>
#include <QMenu>
#include <QString>
#include <QWidget>

/// What the main window knows of the views that it hosts. A view never includes another view or the main
/// window: it emits a signal, and the main window connects it.
class ChildView : public QWidget {
    Q_OBJECT
public:
    using QWidget::QWidget;

    /// Repaints what the palette does not reach.
    virtual void Applyskin() { }
    /// Menus that stand in the menu bar, between View and Tools, while this view is in front.
    [[nodiscard]] virtual QList<QMenu*> Menus() const { return {}; }
    /// Entries that stand in the File and View menus while this view is in front.
    [[nodiscard]] virtual QList<QAction*> FileActions() const { return {}; }
    [[nodiscard]] virtual QList<QAction*> ViewActions() const { return {}; }
    /// Asks about what would be lost. False keeps the view open; after true it is closed in the same turn of
    /// the event loop, without a second question.
    bool AskToClose();
    virtual bool MayClose() { return true; }
    /// False while the end of a running sequence would do harm, and nobody can be asked because the bus is
    /// held: the view then shows why, and how to end it.
    virtual bool MayAbandon() { return true; }
    /// A bus sequence of this view is under way, further down the stack.
    [[nodiscard]] virtual bool Busy() const { return false; }
    /// Lets a running sequence end after its present step; timers start nothing more.
    virtual void Abandon() { }
    /// The button that works in every window of the program: stops the auto-cycle, switches both lines off.
    virtual void StopLines() { }

protected:
    /// The last act: keeps what is to be remembered and switches off what is on.
    /// @return false when that has to wait; the view is closed again shortly
    virtual bool Leave() { return true; }
    /// A running sequence ends first, then the view goes by itself.
    void closeEvent(QCloseEvent* event) override;

signals:
    void RemainingCapacityChanged(int value);
    void ProgressChanged(int done, int of, const QString& owner);
    void StatusText(const QString& text);
    void IdleText(const QString& text); ///< takes the place of no text that is still to be read
    void WantsFront(); ///< it has something to say that should not wait until somebody opens it

private:
    void CloseSoon();

    bool m_asked = false;
    bool m_closesSoon = false;
};
