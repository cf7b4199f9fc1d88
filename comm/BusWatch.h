#pragma once

#include "comm/BusHealth.h"
#include "comm/BusMonitor.h"

/// What is known of everything that went over the adapter in this run of the program, whichever adapter was
/// open.
struct BusWatch {
    BusHealth Health;
    BusMonitor Monitor;
};
