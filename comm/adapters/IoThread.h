#pragma once

#include "platform/TimeSource.h"

#include <chrono>
#include <functional>
#include <memory>

/// One thread that makes the calls which can block, while the caller's events go on running. Work is done in
/// the order of the calls; one that events make during another's wait queues behind it.
class IoThread {
public:
    enum class Outcome { Done, TimedOut, Busy };

    explicit IoThread(std::chrono::milliseconds limit) : m_limit(limit) { }
    /// Does not wait for work that hangs: its thread ends itself once the kernel lets go of it.
    ~IoThread();
    IoThread(const IoThread&) = delete;
    IoThread& operator=(const IoThread&) = delete;

    /// Runs work on the thread; events run at least once meanwhile.
    /// @param work  owns all that it touches: after a time-out it may still be going on when the caller is
    /// gone
    /// @return TimedOut when work did not end within the limit, which is then left to itself; Busy when work
    ///         never began because of such a one before it
    [[nodiscard]] Outcome Run(TimeSource& time, std::function<void()> work);

private:
    struct Shared;
    void Start();

    std::chrono::milliseconds m_limit;
    std::shared_ptr<Shared> m_shared;
};
