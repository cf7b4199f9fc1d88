#include "comm/adapters/LinuxErrors.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace {

struct ErrnoCode {
    int Error;
    ErrorCode Code;
};

constexpr std::array kCodes{
    ErrnoCode{0, ErrorCode::Ok},
    // nobody answers at the address
    ErrnoCode{ENXIO, ErrorCode::NoAcknowledge},
    ErrnoCode{EREMOTEIO, ErrorCode::NoAcknowledge},
    // the packet error check failed
    ErrnoCode{EBADMSG, ErrorCode::BadPec},
    // another master has the bus, or a kernel driver the address
    ErrnoCode{EAGAIN, ErrorCode::BusBusy},
    ErrnoCode{EBUSY, ErrorCode::BusBusy},
    // no end within the driver's time
    ErrnoCode{ETIMEDOUT, ErrorCode::T2hTimeout},
    // a length byte that cannot be
    ErrnoCode{EPROTO, ErrorCode::WrongNumBytes},
    // the bus cannot do that
    ErrnoCode{EOPNOTSUPP, ErrorCode::IncorrectParam},
    ErrnoCode{EINVAL, ErrorCode::IncorrectParam},
    // the adapter is not there any more
    ErrnoCode{ENODEV, ErrorCode::NoUsb},
    ErrnoCode{ESHUTDOWN, ErrorCode::NoUsb},
    ErrnoCode{ENOENT, ErrorCode::NoUsb},
    // broken off: a byte not acknowledged, stuck lines, lost arbitration; the driver does not say which
    ErrnoCode{EIO, ErrorCode::Terminated},
};

} // namespace

ErrorCode LinuxErrorToCode(int error)
{
    const auto found = std::ranges::find(kCodes, error, &ErrnoCode::Error);
    return found == kCodes.end() ? ErrorCode::Unknown : found->Code;
}

QString LinuxErrorText(int error) { return QString::fromStdString(std::generic_category().message(error)); }
