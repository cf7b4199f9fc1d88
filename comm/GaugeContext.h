#pragma once

#include "comm/BusWatch.h"
#include "comm/GaugeAccess.h"
#include "comm/GaugeLink.h"
#include "comm/frmUSB.h"
#include "platform/ErrorList.h"
#include "platform/ProfileFile.h"
#include "platform/TimeSource.h"
#include "platform/UserMessages.h"
#include "settings/StartupState.h"
#include "settings/TargetSettings.h"

/// What a view of a gauge is made with. All of it outlives the views.
struct GaugeContext {
    ProfileStore& profiles;
    const StartupState& state;
    TargetSettings& target;
    frmUSB& usb;
    GaugeAccess& access;
    GaugeLink& link;
    TimeSource& time;
    UserMessages& messages;
    ErrorList& errors;
    BusWatch* watch = nullptr; ///< nothing where nobody counts, as in most tests
};
