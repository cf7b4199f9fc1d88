#pragma once

#include <QString>

#include <cstdint>

/// Outcome of one adapter operation: 0 = success, numbering shared with the driver.
/// A value without an enumerator is legal and travels unchanged.
enum class ErrorCode : std::int16_t {
    Ok = 0,
    LostSync = 1,
    NoUsb = 2,
    BadPec = 3,
    WrongNumBytes = 5,
    Terminated = 6,
    IncorrectParam = 7,
    Timeout = 8,
    InvalidData = 9,
    UnsolicitedPacket = 10,
    CompareDifferent = 11,
    OcxInternalError = 12,
    DevGgMode = 13,
    DevRomMode = 14,
    UserCancelled = 34,
    DfChecksumMismatch = 51,
    IfChecksumMismatch = 52,
    DriverFileMissing = 53, ///< no text of its own: a driver file of the adapter is missing
    TooManyQueries = 81,
    BadQueryId = 82,
    BadCrc = 83,
    TooManyResponses = 84,
    NoQueriesToDelete = 85,
    QueryUnavailable = 86,
    NoResponsesToDelete = 87,
    ResponseUnavailable = 88,
    TmmtNoResponse = 90,
    T2hTimeout = 92,
    BusBusy = 94,
    T2hBadSize = 95,
    BadPayloadLength = 97,
    TmmtListFull = 98,
    TmmtBadSelection = 99,
    Unknown = 100,
    SrecOpenFail = 221,
    SrecBadStartRecord = 222,
    SrecUnknownType = 223,
    SrecBadChecksum = 224,
    SrecBadRecordCount = 225,
    SrecDevMismatch = 226,
    ConfigOpenFail = 227,
    ConfigUnexpectedEof = 228,
    ConfigBadFormat = 229,
    PcfgDevVerMismatch = 231,
    PcfgDevMismatch = 232,
    PcfgSrecDevVerMismatch = 233,
    PcfgSrecDevMismatch = 234,
    BcfgDevVerMismatch = 235,
    BcfgDevMismatch = 236,
    ClockLocked = 260,
    DataLocked = 516,
    NoAcknowledge = 772,
    DataLow = 1028,
    BusLocked = 1284,
};

[[nodiscard]] constexpr bool Failed(ErrorCode code) { return code != ErrorCode::Ok; }
[[nodiscard]] constexpr std::int16_t Number(ErrorCode code) { return static_cast<std::int16_t>(code); }

/// The text of a code as dialogs and the error log show it. Never fails: unlisted codes show as a number.
[[nodiscard]] QString ErrorCodeToText(ErrorCode code);
