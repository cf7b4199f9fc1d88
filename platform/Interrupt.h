#pragma once

#include <atomic>

/// SIGINT, SIGTERM and SIGHUP ask the running command or program to end; the second one ends it at once.
namespace Interrupt {
void Install();
[[nodiscard]] const std::atomic<bool>& Flag();
[[nodiscard]] inline bool Asked() { return Flag().load(); }
} // namespace Interrupt
