#include "look/ChildView.h"

#include <QCloseEvent>
#include <QTimer>

#include <utility>

namespace {

constexpr int kRetryMs = 20;

} // namespace

bool ChildView::AskToClose()
{
    m_asked = MayClose();
    if (m_asked)
        QTimer::singleShot(0, this, [this] { m_asked = false; });
    return m_asked;
}

void ChildView::closeEvent(QCloseEvent* event)
{
    event->ignore();
    if (!MayAbandon())
        return;
    Abandon();
    if (Busy())
        return CloseSoon();
    if (!m_asked && !MayClose())
        return;
    m_asked = true;
    if (!Leave())
        return CloseSoon();
    event->accept();
}

void ChildView::CloseSoon()
{
    if (std::exchange(m_closesSoon, true))
        return;
    QTimer::singleShot(kRetryMs, this, [this] {
        m_closesSoon = false;
        QWidget* frame = parentWidget(); // the frame of this view goes with it
        (frame ? frame : this)->close();
    });
}
