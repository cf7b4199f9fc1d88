#pragma once

#include "comm/ErrorCodes.h"
#include "comm/frmUSB.h"
#include "platform/ProfileFile.h"
#include "settings/StartupState.h"

#include <QString>

#include <cstdint>

/// Which command and words ask a gauge who it is ([AutoDetect] Command, TypeWord, VersionWord).
struct IdentityRequest {
    std::uint8_t Command = 0x00;
    std::int16_t TypeWord = 1;
    std::int16_t VersionWord = 2;
    bool Allowed = true; ///< false: the target's file says Identity=0, nothing is ever sent
    QString Problem; ///< empty, or which number of which file is out of range; its default counts
};
/// From the program settings; the chosen target's file may forbid it, and its MA, when not 0, is the command.
[[nodiscard]] IdentityRequest ReadIdentityRequest(ProfileStore& profiles, const StartupState& state);

/// Reads "Device:800, Ver:1.02". Nothing is written to a device that does not answer a read of
/// SpecificationInfo (0x1A) first.
/// @param identity  untouched on failure
/// @return IncorrectParam when the request is not allowed, otherwise the first failure of the adapter
ErrorCode ReadGaugeIdentity(frmUSB& usb, const IdentityRequest& request, std::int16_t addr,
                            QString& identity);
