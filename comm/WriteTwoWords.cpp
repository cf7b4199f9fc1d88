#include "comm/WriteTwoWords.h"

ErrorCode WriteTwoWords(frmUSB& usb, std::int16_t firstWord, std::uint8_t secondCmd, std::uint8_t firstCmd,
                        std::int16_t secondWord, std::int16_t addr)
{
    ErrorCode err = ErrorCode::Ok;
    usb.WriteSMBusWord_(firstCmd, firstWord, addr, err);
    if (!Failed(err))
        usb.WriteSMBusWord_(secondCmd, secondWord, addr, err);
    if (!Failed(err))
        usb.CheckForError(err);
    return err;
}
