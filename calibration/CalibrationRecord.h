#pragma once

#include "calibration/Calibration.h"

#include <QDateTime>
#include <QJsonObject>

/// A result as records and scripts have it.
[[nodiscard]] QJsonObject CalibrationJson(const CalibrationResult& result);

/// Adds a line of JSON to the file of the pack's serial number, flushed to the disk.
/// @param restored  older constants were put back
/// @param file  its path, when the record was added
/// @return empty, or what went wrong
[[nodiscard]] QString AppendCalibrationRecord(const QString& folder, const QDateTime& time,
                                              const PackIdentity& pack, const CalibrationResult& result,
                                              bool restored, QString& file);

/// The constants from before the newest stored record of this pack.
/// @param problem  why there are none
[[nodiscard]] std::optional<CalibrationConstants> ConstantsBefore(const QString& folder,
                                                                  const PackIdentity& pack, QString& problem);
