#pragma once

#include "sbs/EventLog.h"

#include <QListWidget>

/// The events of the run, newest first.
class EventsPane final : public QListWidget {
    Q_OBJECT
public:
    explicit EventsPane(QWidget* parent = nullptr);
    /// @return whether anything is new
    bool Show(const EventLog& events);

private:
    std::uint64_t m_shown = 0;
};

[[nodiscard]] QString EventIcon(RegisterEvent::Kind kind);
