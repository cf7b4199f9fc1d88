#include "comm/adapters/LinuxOneWire.h"

#include <QFileInfo>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <linux/connector.h>
#include <linux/netlink.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

// The kernel's interface, which it does not export as a header: a connector message holds one message to a
// line, and that the commands.
constexpr std::uint8_t kToMaster = 4;
constexpr std::uint8_t kCommandRead = 0;
constexpr std::uint8_t kCommandWrite = 1;
constexpr std::uint8_t kCommandReset = 5;

struct LineMessage {
    std::uint8_t Type;
    std::uint8_t Status; ///< an errno, or kNobody behind a reset
    std::uint16_t Length;
    std::uint32_t Master;
    std::uint32_t Reserved;
};
struct LineCommand {
    std::uint8_t Command;
    std::uint8_t Reserved;
    std::uint16_t Length;
};
constexpr std::uint8_t kNobody = 255;

constexpr std::size_t kHead = sizeof(nlmsghdr) + sizeof(cn_msg) + sizeof(LineMessage);
constexpr std::size_t kAnswerHead = kHead + sizeof(LineCommand);
/// Below the connector's own limit, and a second of line time.
constexpr std::size_t kLongestMessage = 4096;
constexpr std::chrono::milliseconds kAnswerTime{2500};
/// Of the first read behind written bytes; each time more is wanted the sequence is read twice as far.
constexpr std::size_t kFirstRead = 8;

void Append(Bytes& message, const auto& value, std::size_t count = 0)
{
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&value);
    message.insert(message.end(), bytes, bytes + sizeof value);
    message.resize(message.size() + count);
}

template <typename T>
T At(const Bytes& bytes, std::size_t offset)
{
    T value{};
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

std::uint32_t MasterNumber(const QString& name)
{
    constexpr auto kPrefix = QLatin1String("w1_bus_master");
    return (name.startsWith(kPrefix) ? name.mid(kPrefix.size()) : name).toUInt(); // they count from 1
}

bool Exists(std::uint32_t master)
{
    return QFileInfo::exists(QStringLiteral("/sys/bus/w1/devices/w1_bus_master%1").arg(master));
}

} // namespace

bool LinuxOneWireExists(const QString& master) { return Exists(MasterNumber(master)); }

LinuxOneWire::LinuxOneWire(const QString& master) : m_master(MasterNumber(master)) { }

LinuxOneWire::~LinuxOneWire()
{
    if (m_socket >= 0)
        close(m_socket);
}

int LinuxOneWire::Connect()
{
    if (m_socket >= 0)
        return 0;
    const int fresh = socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_CONNECTOR);
    if (fresh < 0)
        return errno;
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    if (bind(fresh, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        const int error = errno;
        close(fresh);
        return error;
    }
    m_socket = fresh;
    return 0;
}

/// Sends commands that run without another's between them.
/// @param count    how many they are; each is answered by its status
/// @param read     receives what the last read command read
/// @param present  false when a reset among them met nobody
int LinuxOneWire::Exchange(std::span<const std::uint8_t> commands, std::size_t count, Bytes& read,
                           bool& present)
{
    if (commands.size() > kLongestMessage)
        return EMSGSIZE;
    if (const int error = Connect())
        return error;
    const std::uint32_t number = ++m_sequence;
    Bytes message;
    message.reserve(kHead + commands.size());
    Append(message,
           nlmsghdr{.nlmsg_len = static_cast<std::uint32_t>(kHead + commands.size()),
                    .nlmsg_type = NLMSG_DONE,
                    .nlmsg_flags = 0,
                    .nlmsg_seq = number,
                    .nlmsg_pid = 0});
    cn_msg connector{};
    connector.id = {.idx = CN_W1_IDX, .val = CN_W1_VAL};
    connector.seq = number;
    connector.len = static_cast<std::uint16_t>(sizeof(LineMessage) + commands.size());
    Append(message, connector);
    Append(message,
           LineMessage{.Type = kToMaster,
                       .Status = 0,
                       .Length = static_cast<std::uint16_t>(commands.size()),
                       .Master = m_master,
                       .Reserved = 0});
    message.insert(message.end(), commands.begin(), commands.end());
    if (send(m_socket, message.data(), message.size(), 0) < 0)
        return errno;

    present = true;
    const auto end = Clock::now() + kAnswerTime;
    for (std::size_t answered = 0; answered < count;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd wanted{.fd = m_socket, .events = POLLIN, .revents = 0};
        if (left <= 0 || poll(&wanted, 1, static_cast<int>(left)) == 0)
            return ETIMEDOUT;
        Bytes answer(kAnswerHead + kLongestMessage);
        const ssize_t size = recv(m_socket, answer.data(), answer.size(), 0);
        if (size < 0)
            return errno;
        answer.resize(static_cast<std::size_t>(size));
        if (answer.size() < kHead || At<cn_msg>(answer, sizeof(nlmsghdr)).seq != number)
            continue; // another's, or the late end of one that was given up
        const auto line = At<LineMessage>(answer, kHead - sizeof(LineMessage));
        if (answer.size() < kAnswerHead)
            return line.Status; // the line itself is not there
        const auto command = At<LineCommand>(answer, kHead);
        if (command.Length > 0) {
            const std::size_t length = std::min<std::size_t>(command.Length, answer.size() - kAnswerHead);
            read.assign(answer.begin() + kAnswerHead,
                        answer.begin() + static_cast<std::ptrdiff_t>(kAnswerHead + length));
            continue; // its status follows
        }
        ++answered;
        if (command.Command == kCommandReset && line.Status == kNobody)
            present = false;
        else if (line.Status != 0)
            return line.Status;
    }
    return 0;
}

int LinuxOneWire::SendAll(std::size_t ahead)
{
    Bytes commands;
    std::size_t count = 1;
    Append(commands, LineCommand{.Command = kCommandReset, .Reserved = 0, .Length = 0});
    for (const Step& step : m_steps) {
        if (!step.Written.empty()) {
            const auto length = static_cast<std::uint16_t>(step.Written.size());
            Append(commands, LineCommand{.Command = kCommandWrite, .Reserved = 0, .Length = length});
            commands.insert(commands.end(), step.Written.begin(), step.Written.end());
            ++count;
        }
        const std::size_t wanted = step.Taken + (&step == &m_steps.back() ? ahead : 0);
        if (wanted > 0) {
            const auto length = static_cast<std::uint16_t>(std::min<std::size_t>(wanted, kLongestMessage));
            Append(commands, LineCommand{.Command = kCommandRead, .Reserved = 0, .Length = length}, length);
            ++count;
        }
    }
    bool present = false;
    m_waiting = false;
    m_read.clear();
    const int error = Exchange(commands, count, m_read, present);
    return error == 0 && !present ? ENXIO : error;
}

int LinuxOneWire::Flush() { return m_waiting ? SendAll(0) : 0; }

int LinuxOneWire::Reset(bool& present)
{
    const int late = Flush();
    m_steps.clear();
    m_read.clear();
    m_began = false;
    Bytes reset;
    Bytes nothing;
    Append(reset, LineCommand{.Command = kCommandReset, .Reserved = 0, .Length = 0});
    const int error = Exchange(reset, 1, nothing, present);
    m_began = error == 0 && present;
    // A device that is gone shows in the presence; anything else about the bytes before must not be lost.
    return error == 0 && late != ENXIO ? late : error;
}

int LinuxOneWire::Write(std::uint8_t byte)
{
    if (!Exists(m_master))
        return ENODEV;
    if (!m_began)
        return EINVAL;
    if (m_steps.empty() || m_steps.back().Taken > 0)
        m_steps.emplace_back();
    m_steps.back().Written.push_back(byte);
    m_read.clear();
    m_waiting = true;
    return 0;
}

int LinuxOneWire::Read(std::uint8_t& byte)
{
    if (!m_began)
        return EINVAL;
    if (m_steps.empty())
        m_steps.emplace_back();
    Step& step = m_steps.back();
    if (m_waiting || step.Taken >= m_read.size()) {
        if (const int error = SendAll(std::max(kFirstRead, step.Taken)))
            return error;
        if (step.Taken >= m_read.size())
            return EPROTO;
    }
    byte = m_read[step.Taken++];
    return 0;
}
