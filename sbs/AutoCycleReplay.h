#pragma once

#include "sbs/CycleController.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

/// One step of a recording.
struct ReplayStep {
    std::optional<std::uint8_t> State; ///< the state before the step; nothing: as the last step left it
    CycleValues Values;
    bool Due = true;
};

/// Reads {"state": 0..255, "rem": N, "volt": N, "stat": N, "due": true}, every key optional. A value is a
/// whole number from -32768 to 65535, null (or no key) for a row that is not available, "" for a failed read.
/// @param error  empty, or what is wrong and with which key
[[nodiscard]] ReplayStep ParseReplayStep(const QByteArray& line, QString& error);

/// Runs recorded values through the controller, with a recorder in place of the lines. The safety rules,
/// which need a pack at the other end, play no part.
class AutoCycleReplay final : private CycleOutputs {
public:
    explicit AutoCycleReplay(const AutoCycleSettings& settings);
    CycleStep Step(const ReplayStep& step);
    [[nodiscard]] CycleState State() const { return m_controller.State; }

private:
    SwitchResult Switch(Direction) override { return SwitchResult::Done; }
    SwitchResult Relax(Direction, std::int32_t) override { return SwitchResult::Done; }
    CycleController m_controller;
};
