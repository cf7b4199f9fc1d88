#pragma once

#include "platform/ProfileFile.h"
#include "platform/UserMessages.h"

#include <QString>

#include <cstdint>
#include <vector>

/// Gauge timings, addressing and flash geometry from Config.ini, fields as their keys.
struct TargetSettings {
    std::int32_t CB_V_SETTLE = 1000; ///< ms; read and kept, nothing uses it
    std::int32_t CB_I_SETTLE = 1000; ///< ms; read and kept, nothing uses it
    std::int32_t LOAD_VI_SETTLE = 200; ///< ms after the calibration mode command
    std::int32_t USB_RESP_TIME = 1; ///< ms; read and kept, nothing uses it
    std::int16_t VxMAC
        = 0; ///< manufacturer-access value; its low byte is the control register of subcommand reads
    std::int16_t TgtAddr = 0; ///< device address of subcommand reads; 0: the gauge's own
    std::int32_t GG_FWEXEC = 0;
    std::int32_t CalWr = 0;
    std::int32_t CalWrSig = 0;
    std::int32_t DF_IMAGE_SZ = 0; ///< bytes
    std::int16_t RetROMCmd = 0;
    std::int16_t RetROMWd = 0;
    std::int16_t GGComm = 0;
    std::int16_t ROMComm = 0;
    std::int16_t DateClsID = 0;
    std::int16_t DateOffset = 0;
    std::int16_t MfDataClsID = 0;
    std::int16_t PkLotOffset = 0;
    std::int16_t PkLotValid = 0;
    std::int16_t SrNoClsID = 0;
    std::int16_t SrNoOffset = 0;
    std::int32_t Platform = 0;
    std::int32_t DF_ERASEROW = 10; ///< ms
    std::int32_t DF_MASSERASE = 200; ///< ms
    std::int32_t DF_PROGROW = 2; ///< ms
    std::int16_t DF_BASE_ADDR = 16384;
    std::int16_t DF_MAX_SZ = 2048; ///< bytes
    std::int16_t DF_PROGROW_SZ = 32; ///< bytes
    std::int16_t DF_ERASEROW_SZ = 32; ///< bytes
    std::int16_t DF_CHKSUM_SZ = 2016; ///< bytes
    std::int32_t GGModeDFDelay = 132; ///< ms after a data flash write in gas-gauge mode
    std::int32_t SBSWrDelay = 66; ///< ms after an SBS write
    std::int16_t ITOff_DFOff = 0;
    std::int16_t ET1Off_DFOff = 0;
    std::int16_t ET2Off_DFOff = 0;
};

/// @param deviceKey  such as "800.1.02"
/// @param familySection   "D800"
/// @param versionSection  "800_1_02"
/// @return false when the key has no "."
bool SplitTargetSections(const QString& deviceKey, QString& familySection, QString& versionSection);

/// "P" and the number, filled up with zeros on the left to four characters; a longer number is used whole.
[[nodiscard]] QString PlatformSection(std::int32_t platform);

/// Device key from an identity text: "Device:800, Ver:1.02" gives "800.1.02".
[[nodiscard]] QString GetDeviceKey(const QString& identity);

/// Key of the [Targets] list from an identity text: "Device:800, Ver:1.02" gives "800_1_02".
[[nodiscard]] QString TargetsKey(const QString& identity);

/// The version section overrides the family section, which overrides the fallback.
[[nodiscard]] std::int32_t ReadTwoSectionInt(ProfileStore& profiles, const QString& familySection,
                                             const QString& versionSection, const QString& key,
                                             std::int32_t fallback, const QString& file);

/// Fills settings from Config.ini of the program folder. A device key without "." reads the delays alone.
/// A value out of its width, or DF_PROGROW_SZ = 0, is a message that names file, section and key; the record
/// then keeps all its previous values.
/// @return false after such a message
bool LoadTargetSettings(ProfileStore& profiles, UserMessages& messages, const QString& programFolder,
                        const QString& deviceKey, TargetSettings& settings);

/// All fields with their names, in the order they are read, for reports.
struct NamedSetting {
    const char* name;
    std::int32_t value;
};
[[nodiscard]] std::vector<NamedSetting> NamedFields(const TargetSettings& settings);
