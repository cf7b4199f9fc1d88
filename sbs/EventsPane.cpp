#include "sbs/EventsPane.h"

#include "look/Icons.h"

namespace {

constexpr int kMostShown = 500;

} // namespace

QString EventIcon(RegisterEvent::Kind kind)
{
    switch (kind) {
    case RegisterEvent::Kind::Alarm:
        return QStringLiteral("alarm");
    case RegisterEvent::Kind::Write:
        return QStringLiteral("edit");
    case RegisterEvent::Kind::FailedRead:
        return QStringLiteral("cross");
    case RegisterEvent::Kind::Charge:
        return QStringLiteral("charge");
    case RegisterEvent::Kind::Discharge:
        return QStringLiteral("discharge");
    case RegisterEvent::Kind::Relax:
        return QStringLiteral("relax");
    case RegisterEvent::Kind::Stop:
        return QStringLiteral("stop");
    }
    return {};
}

EventsPane::EventsPane(QWidget* parent) : QListWidget(parent)
{
    setObjectName(QStringLiteral("lstEvents"));
    setAccessibleName(tr("Events"));
    setFrameShape(QFrame::NoFrame);
    setWordWrap(true);
    setUniformItemSizes(false);
    setSelectionMode(ExtendedSelection);
}

bool EventsPane::Show(const EventLog& events)
{
    if (events.Revision() == m_shown && count() > 0)
        return false;
    m_shown = events.Revision();
    clear();
    int shown = 0;
    for (auto event = events.Events().rbegin(); event != events.Events().rend() && shown < kMostShown;
         ++event, ++shown)
        addItem(new QListWidgetItem(ThemeIcon(EventIcon(event->What)),
                                    event->At.time().toString(QStringLiteral("hh:mm:ss"))
                                        + QStringLiteral("  ") + event->Text));
    if (count() == 0) {
        auto* empty = new QListWidgetItem(
            tr("Nothing happened yet. Alarms, writes, failed reads and switching stand here."), this);
        empty->setFlags(Qt::NoItemFlags);
    }
    return true;
}
