#include "comm/adapters/LinuxBus.h"

#include "comm/adapters/LinuxErrors.h"

#include <QFileInfo>
#include <QStringList>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

/// The kernel repeats a transfer that lost arbitration: a pack may be bus master, so that is normal.
constexpr unsigned long kArbitrationRetries = 3;
constexpr unsigned long kEveryMessage = I2C_FUNC_I2C;

int ErrorOf(int result) { return result < 0 ? errno : 0; }

QString SysfsFolder(const QString& node)
{
    return QStringLiteral("/sys/bus/i2c/devices/%1").arg(QFileInfo(node).fileName());
}

/// The kernel gives every device's folder a number of its own, so an adapter plugged in under the same name
/// differs. 0: gone.
std::uint64_t Identity(const QString& node)
{
    struct stat status { };
    return stat(QFile::encodeName(SysfsFolder(node)).constData(), &status) == 0 ? status.st_ino : 0;
}

QString WhyNotOpened(const QString& node, int error)
{
    if (error == EACCES || error == EPERM)
        return QStringLiteral(
                   "You have no permission to use %1. Install Tarnlo's udev rule "
                   "(60-tarnlo-adapters.rules) and plug the adapter in again, or join the group i2c: "
                   "sudo adduser $USER i2c, then log in again.")
            .arg(node);
    if (error == ENOENT && QFileInfo::exists(SysfsFolder(node)))
        return QStringLiteral(
                   "%1 does not exist although the adapter is there: the kernel's module i2c-dev is "
                   "not loaded. This helps: sudo modprobe i2c-dev.")
            .arg(node);
    if (error == ENOENT)
        return QStringLiteral("There is no %1; the adapter is not plugged in.").arg(node);
    return QStringLiteral("%1 cannot be opened: %2.").arg(node, LinuxErrorText(error));
}

struct flock WholeFile()
{
    struct flock lock { };
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

/// What a bus must offer for an SMBus transaction; some drivers answer others with success and nothing done.
unsigned long Needed(bool read, int kind)
{
    switch (kind) {
    case I2C_SMBUS_BYTE:
        return read ? I2C_FUNC_SMBUS_READ_BYTE : I2C_FUNC_SMBUS_WRITE_BYTE;
    case I2C_SMBUS_WORD_DATA:
        return read ? I2C_FUNC_SMBUS_READ_WORD_DATA : I2C_FUNC_SMBUS_WRITE_WORD_DATA;
    case I2C_SMBUS_BLOCK_DATA:
        return read ? I2C_FUNC_SMBUS_READ_BLOCK_DATA : I2C_FUNC_SMBUS_WRITE_BLOCK_DATA;
    default:
        return read ? I2C_FUNC_SMBUS_READ_I2C_BLOCK : I2C_FUNC_SMBUS_WRITE_I2C_BLOCK;
    }
}

} // namespace

std::shared_ptr<LinuxBus> LinuxBus::Open(const QString& node, QString& problem)
{
    const int descriptor = open(QFile::encodeName(node).constData(), O_RDWR | O_CLOEXEC);
    if (descriptor < 0) {
        problem = WhyNotOpened(node, errno);
        return nullptr;
    }
    unsigned long functions = 0;
    if (ioctl(descriptor, I2C_FUNCS, &functions) < 0) {
        problem = QStringLiteral("%1 is no I2C bus: %2.").arg(node, LinuxErrorText(errno));
        close(descriptor);
        return nullptr;
    }
    struct flock lock = WholeFile();
    if (fcntl(descriptor, F_OFD_SETLK, &lock) < 0) {
        problem = QStringLiteral("%1 is used by another Tarnlo.").arg(node);
        close(descriptor);
        return nullptr;
    }
    ioctl(descriptor, I2C_RETRIES, kArbitrationRetries);
    problem.clear();
    return std::shared_ptr<LinuxBus>(new LinuxBus(node, descriptor, functions, Identity(node)));
}

LinuxBus::LinuxBus(QString node, int descriptor, unsigned long functions, std::uint64_t identity)
    : m_node(std::move(node)), m_descriptor(descriptor), m_functions(functions), m_identity(identity)
{
}

LinuxBus::~LinuxBus() { close(m_descriptor); }

bool LinuxBus::CanTransfer() const { return CanSmbus(kEveryMessage); }

bool LinuxBus::CanPec() const { return CanTransfer() || CanSmbus(I2C_FUNC_SMBUS_PEC); }

bool LinuxBus::IsThere() const { return m_identity != 0 && Identity(m_node) == m_identity; }

/// I2C_RDWR would go past a kernel driver that holds the address; asking first keeps out of its way.
int LinuxBus::Select(std::uint8_t addr) { return ErrorOf(ioctl(m_descriptor, I2C_SLAVE, addr / 2UL)); }

int LinuxBus::Transfer(std::uint8_t addr, std::span<const std::uint8_t> write, std::span<std::uint8_t> read)
{
    if (!CanTransfer())
        return EOPNOTSUPP;
    if (const int error = Select(addr))
        return error;
    Bytes written(write.begin(), write.end()); // the kernel's structure is not const
    std::array<i2c_msg, 2> messages{};
    std::uint32_t count = 0;
    const auto add = [&](std::uint16_t flags, std::span<std::uint8_t> bytes) {
        if (!bytes.empty())
            messages[count++] = {.addr = static_cast<std::uint16_t>(addr / 2),
                                 .flags = flags,
                                 .len = static_cast<std::uint16_t>(bytes.size()),
                                 .buf = bytes.data()};
    };
    add(0, written);
    add(I2C_M_RD, read);
    i2c_rdwr_ioctl_data request{.msgs = messages.data(), .nmsgs = count};
    return ErrorOf(ioctl(m_descriptor, I2C_RDWR, &request));
}

int LinuxBus::Smbus(std::uint8_t addr, bool read, std::uint8_t cmd, int kind, bool pec,
                    std::span<std::uint8_t> data)
{
    if (!CanSmbus(Needed(read, kind)))
        return EOPNOTSUPP;
    if (const int error = Select(addr))
        return error;
    if (ioctl(m_descriptor, I2C_PEC, pec ? 1UL : 0UL) < 0)
        return errno;
    i2c_smbus_data exchanged{};
    std::ranges::copy(data, exchanged.block);
    i2c_smbus_ioctl_data request{.read_write
                                 = static_cast<std::uint8_t>(read ? I2C_SMBUS_READ : I2C_SMBUS_WRITE),
                                 .command = cmd,
                                 .size = static_cast<std::uint32_t>(kind),
                                 .data = &exchanged};
    if (const int error = ErrorOf(ioctl(m_descriptor, I2C_SMBUS, &request)))
        return error;
    if (read)
        std::copy_n(exchanged.block, data.size(), data.begin());
    return 0;
}

LinuxBusState LookAtLinuxBus(const QString& node)
{
    LinuxBusState state;
    const int descriptor = open(QFile::encodeName(node).constData(), O_RDWR | O_CLOEXEC);
    if (descriptor < 0) {
        state.Problem = WhyNotOpened(node, errno);
        return state;
    }
    if (ioctl(descriptor, I2C_FUNCS, &state.Functions) < 0)
        state.Problem = QStringLiteral("%1 is no I2C bus: %2.").arg(node, LinuxErrorText(errno));
    // Asked, not taken: a look must not make another Tarnlo's open fail.
    struct flock lock = WholeFile();
    state.Free = fcntl(descriptor, F_OFD_GETLK, &lock) < 0 || lock.l_type == F_UNLCK;
    close(descriptor);
    if (!state.Free)
        state.Problem = QStringLiteral("%1 is used by another Tarnlo.").arg(node);
    return state;
}

QStringList LinuxBusFunctions(unsigned long functions)
{
    const auto can = [functions](unsigned long wanted) { return (functions & wanted) == wanted; };
    const bool messages = can(kEveryMessage);
    QStringList names;
    const auto add = [&names](bool offered, const char* name) {
        if (offered)
            names << QString::fromLatin1(name);
    };
    add(messages || can(I2C_FUNC_SMBUS_WORD_DATA), "word");
    add(messages || can(I2C_FUNC_SMBUS_BLOCK_DATA), "block");
    add(messages || can(I2C_FUNC_SMBUS_WRITE_BYTE), "command");
    add(messages || can(I2C_FUNC_SMBUS_PEC), "pec");
    add(messages || can(I2C_FUNC_SMBUS_I2C_BLOCK), "i2c");
    return names;
}

QString LinuxDriverAt(const QString& node, std::uint8_t addr)
{
    // "1-000b" under the driver's folder: bus number and 7-bit address
    const QString bus = QFileInfo(node).fileName().mid(4);
    const QFileInfo driver(
        QStringLiteral("/sys/bus/i2c/devices/%1-%2/driver").arg(bus).arg(addr / 2, 4, 16, QLatin1Char('0')));
    return driver.exists() ? QFileInfo(driver.symLinkTarget()).fileName() : QString();
}
