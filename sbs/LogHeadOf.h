#pragma once

#include "comm/frmUSB.h"
#include "platform/ProfileFile.h"
#include "sbs/RegisterLog.h"
#include "sbs/ScanEngine.h"
#include "sbs/StaticData.h"

#include <QString>

#include <vector>

/// What stands above the captions of a log of the open gauge, the same from the register view and from the
/// command line.
/// @param identity  as the gauge gave it, "Device:800, Ver:1.02"; empty where it was not asked or did not
/// answer
[[nodiscard]] LogHead LogHeadOf(ProfileStore& profiles, const QString& targetFile, const QString& identity,
                                const frmUSB& usb, const std::vector<StaticItem>& staticData);

/// The rows whose log switch is on.
[[nodiscard]] std::vector<LogColumn> LogColumnsOf(const ScanEngine& scan);
