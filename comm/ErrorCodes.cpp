#include "comm/ErrorCodes.h"

#include <algorithm>
#include <array>

namespace {

struct ErrorText {
    ErrorCode code;
    const char* text;
};

// Some texts lead with plain words and most do not; people search for them as they stand. 230 has none.
constexpr std::array kErrorTexts{
    ErrorText{ErrorCode::Ok, "Communication OK"},
    ErrorText{ErrorCode::LostSync, "VB_LOST_SYNC"},
    ErrorText{ErrorCode::NoUsb, "No USB: VB_NO_USB"},
    ErrorText{ErrorCode::BadPec, "SMB Bad PEC: VB_BAD_PEC"},
    ErrorText{ErrorCode::WrongNumBytes, "VB_WRONG_NUM_BYTES"},
    ErrorText{ErrorCode::Terminated, "SMB terminated: VB_T2H_UNKNOWN"},
    ErrorText{ErrorCode::IncorrectParam, "VB_INCORRECT_PARAM"},
    ErrorText{ErrorCode::Timeout, "USB timeout: VB_TIMEOUT_ERROR"},
    ErrorText{ErrorCode::InvalidData, "VB_INVALID_DATA"},
    ErrorText{ErrorCode::UnsolicitedPacket, "VB_ERR_UNSOLICITED_PKT"},
    ErrorText{ErrorCode::CompareDifferent, "VB_COMPARE_DIFFERENT"},
    ErrorText{ErrorCode::OcxInternalError, "VB_PC61VRW_OCX_INTERNAL_ERROR"},
    ErrorText{ErrorCode::DevGgMode, "VB_DEV_GG_MODE"},
    ErrorText{ErrorCode::DevRomMode, "VB_DEV_ROM_MODE"},
    ErrorText{ErrorCode::UserCancelled, "VB_USER_CANCELLED_OPERATION"},
    ErrorText{ErrorCode::DfChecksumMismatch, "VB_DF_CHECKSUM_MISMATCH"},
    ErrorText{ErrorCode::IfChecksumMismatch, "VB_IF_CHECKSUM_MISMATCH"},
    ErrorText{ErrorCode::TooManyQueries, "VB_ERR_TOO_MANY_QUERIES"},
    ErrorText{ErrorCode::BadQueryId, "VB_ERR_BAD_QUERY_ID"},
    ErrorText{ErrorCode::BadCrc, "VB_BAD_CRC"},
    ErrorText{ErrorCode::TooManyResponses, "VB_ERR_TOO_MANY_RESPONSES"},
    ErrorText{ErrorCode::NoQueriesToDelete, "VB_ERR_NO_QUERIES_TO_DELETE"},
    ErrorText{ErrorCode::QueryUnavailable, "VB_ERR_QUERY_UNAVAILABLE"},
    ErrorText{ErrorCode::NoResponsesToDelete, "VB_ERR_NO_RESPONSES_TO_DELETE"},
    ErrorText{ErrorCode::ResponseUnavailable, "VB_ERR_RESPONSE_UNAVAILABLE"},
    ErrorText{ErrorCode::TmmtNoResponse, "VB_ERR_TMMT_NO_RESPONSE"},
    ErrorText{ErrorCode::T2hTimeout, "VB_T2H_ERR_TIMEOUT"},
    ErrorText{ErrorCode::BusBusy, "VB_BUS_BUSY"},
    ErrorText{ErrorCode::T2hBadSize, "VB_T2H_ERR_BAD_SIZE"},
    ErrorText{ErrorCode::BadPayloadLength, "VB_ERR_BAD_PAYLOAD_LEN"},
    ErrorText{ErrorCode::TmmtListFull, "VB_ERR_TMMT_LIST_FULL"},
    ErrorText{ErrorCode::TmmtBadSelection, "VB_ERR_TMMT_BAD_SELECTION"},
    ErrorText{ErrorCode::Unknown, "Unknown error: VB_UNKNOWN"},
    ErrorText{ErrorCode::SrecOpenFail, "VB_SREC_OPEN_FAIL"},
    ErrorText{ErrorCode::SrecBadStartRecord, "VB_SREC_BAD_START_RECORD"},
    ErrorText{ErrorCode::SrecUnknownType, "VB_SREC_UNKNOWN_TYPE"},
    ErrorText{ErrorCode::SrecBadChecksum, "VB_SREC_BAD_CHECKSUM"},
    ErrorText{ErrorCode::SrecBadRecordCount, "VB_SREC_BAD_RECORD_COUNT"},
    ErrorText{ErrorCode::SrecDevMismatch, "VB_SREC_DEV_MISMATCH"},
    ErrorText{ErrorCode::ConfigOpenFail, "VB_CONFIG_OPEN_FAIL"},
    ErrorText{ErrorCode::ConfigUnexpectedEof, "VB_CONFIG_UNEXPECTED_EOF"},
    ErrorText{ErrorCode::ConfigBadFormat, "VB_CONFIG_BAD_FORMAT"},
    ErrorText{ErrorCode::PcfgDevVerMismatch, "VB_PCFG_DEVVER_MISMATCH"},
    ErrorText{ErrorCode::PcfgDevMismatch, "VB_PCFG_DEV_MISMATCH"},
    ErrorText{ErrorCode::PcfgSrecDevVerMismatch, "VB_PCFG_SRECDEVVER_MISMATCH"},
    ErrorText{ErrorCode::PcfgSrecDevMismatch, "VB_PCFG_SRECDEV_MISMATCH"},
    ErrorText{ErrorCode::BcfgDevVerMismatch, "VB_BCFG_DEVVER_MISMATCH"},
    ErrorText{ErrorCode::BcfgDevMismatch, "VB_BCFG_DEV_MISMATCH"},
    ErrorText{ErrorCode::ClockLocked, "VB_SMBC_LOCKED"},
    ErrorText{ErrorCode::DataLocked, "VB_SMBD_LOCKED"},
    ErrorText{ErrorCode::NoAcknowledge, "No Acknowledge: VB_T2H_NACK"},
    ErrorText{ErrorCode::DataLow, "VB_SMBD_LOW"},
    ErrorText{ErrorCode::BusLocked, "VB_SMB_LOCKED"},
};
static_assert(std::ranges::is_sorted(kErrorTexts, {}, &ErrorText::code)); // looked up by halving

} // namespace

QString ErrorCodeToText(ErrorCode code)
{
    const auto found = std::ranges::lower_bound(kErrorTexts, code, {}, &ErrorText::code);
    if (found != kErrorTexts.end() && found->code == code)
        return QString::fromLatin1(found->text);
    return QStringLiteral("Error Code (decimal) %1").arg(Number(code));
}
