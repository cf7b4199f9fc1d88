#pragma once

/// A gap in the calls of somebody who uses the bus without a pause, call after call, so that what comes by a
/// timer is not always in the middle of one of them. The user-interface thread's alone.
class BusTurn {
public:
    static constexpr int kGapMs = 200;

    static void Ask(); ///< from now on for kGapMs
    /// Who can put a call off does so while this is true.
    [[nodiscard]] static bool Asked();
};
