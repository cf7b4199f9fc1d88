#pragma once

#include "comm/ErrorCodes.h"
#include "flashimage/clsSrecFlash.h"
#include "settings/TargetSettings.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <vector>

/// Which gauge something is for: device type and version.
struct DeviceId {
    std::uint16_t Device = 0;
    std::uint16_t Version = 0; ///< 0x0102 is 1.02
    bool operator==(const DeviceId&) const = default;
};
/// From a device key ("800.1.02"), a key of [Targets] ("800_1_02") or an identity text ("Device:800,
/// Ver:1.02"), which may stand inside a longer text.
[[nodiscard]] std::optional<DeviceId> ReadDeviceId(const QString& text);
[[nodiscard]] QString DeviceKey(DeviceId id); ///< "800.1.02"
[[nodiscard]] QString IdentityText(DeviceId id); ///< "Device:800, Ver:1.02", as an image's comment says it

/// A row of the flash-target table: a gauge and where its flash lies. docs/flash-programming.md has the
/// columns.
struct FlashTarget {
    QString Name;
    std::uint16_t Device = 0;
    std::uint16_t Version = 0; ///< 0: any
    std::uint32_t DataStart = 0;
    std::uint32_t DataSize = 0;
    std::uint32_t ProgramStart = 0;
    std::uint32_t ProgramSize = 0;

    [[nodiscard]] bool Accepts(DeviceId id) const
    {
        return id.Device == Device && (Version == 0 || id.Version == Version);
    }
};
/// @param rows  cells as the table's grid has them, the header first; negative numbers are bit patterns
[[nodiscard]] std::vector<FlashTarget> FlashTargetsOf(const std::vector<QStringList>& rows);

/// The row for a gauge: exactly its version, else any version, else at least the device.
/// @return the row's index; -1: none is for this device
[[nodiscard]] int FindFlashTarget(const std::vector<FlashTarget>& targets, DeviceId id);

/// What the checks look at besides the image. Empty ids: not known.
struct FlashSubject {
    std::optional<DeviceId> Gauge; ///< as it answered; a gauge without firmware cannot say
    std::vector<DeviceId> Accepted; ///< by the chosen target file, from [Targets]
    QString TargetName; ///< the chosen target file as written
};

struct FlashFinding {
    ErrorCode Code = ErrorCode::Ok; ///< 226, 231 to 236, 7 for what does not fit; Ok: only to be known
    bool Refuses = false; ///< false: may be gone on with, knowing it
    QString Text;
};
/// Whether image, flash target, chosen target and gauge go together. Another device is refused; another
/// version is said, because replacing a version is what programming is for.
struct FlashOptions {
    bool MassErase = false;
    bool Verify = true;
    bool Data = true; ///< false: the data flash is left alone
};

namespace ProgramMode {
inline constexpr std::int16_t kWrite
    = 0; ///< PFMode: the instruction flash is programmed when the image has one
inline constexpr std::int16_t kLeave = 1; ///< it is left alone
} // namespace ProgramMode

[[nodiscard]] std::vector<FlashFinding> CheckFlashFit(const clsSrecFlash& image, const FlashTarget* target,
                                                      const TargetSettings& settings,
                                                      const FlashSubject& subject,
                                                      const FlashOptions& options);
[[nodiscard]] bool Refused(const std::vector<FlashFinding>& findings);

/// What of one region is erased and written.
struct FlashPart {
    std::int32_t Area = 0; ///< FlashCall::kDataArea or kInstructionArea
    std::uint32_t Start = 0; ///< of its first row
    std::size_t Size = 0; ///< whole erase rows
    int EraseRows = 0; ///< 0 after a mass erase
    int ProgramRows = 0; ///< those that hold anything but FF
};
struct FlashPlan {
    bool MassErase = false;
    std::vector<FlashPart> Parts;
    std::int64_t Bytes = 0; ///< of all parts
    int Seconds = 0; ///< erasing, programming, transfers and verification
};
[[nodiscard]] FlashPlan MakeFlashPlan(const clsSrecFlash& image, const TargetSettings& settings,
                                      const FlashOptions& options, double busHertz);
