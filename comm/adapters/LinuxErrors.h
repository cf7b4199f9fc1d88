#pragma once

#include "comm/ErrorCodes.h"

#include <QString>

/// What the kernel answers for a transfer, as the code that the program knows. One table for every driver;
/// what a driver itself does not tell apart stays together. docs/hardware.md has the table that people read.
/// @param error  errno of the call, 0 for success
[[nodiscard]] ErrorCode LinuxErrorToCode(int error);

/// The kernel's own words for an errno.
[[nodiscard]] QString LinuxErrorText(int error);
