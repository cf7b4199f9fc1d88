#include "platform/Interrupt.h"

#include <csignal>

namespace {
std::atomic<bool> g_asked = false;
static_assert(std::atomic<bool>::is_always_lock_free); // a signal handler may set nothing else

void Note(int) { g_asked = true; }
} // namespace

void Interrupt::Install()
{
    struct sigaction action = {};
    action.sa_handler = Note;
    action.sa_flags = static_cast<int>(SA_RESETHAND); // no SA_RESTART: a batch that waits for a line wakes up
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        sigaction(number, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN); // noticed as a failed write, after which the bus is given back
}

const std::atomic<bool>& Interrupt::Flag() { return g_asked; }
