#include "comm/adapters/LinuxAdapter.h"

#include "comm/adapters/LinuxBus.h"
#include "comm/adapters/LinuxErrors.h"
#include "comm/adapters/LinuxLines.h"
#include "comm/adapters/LinuxOneWire.h"
#include "comm/adapters/LinuxSmbus.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace {

/// Longer than any kernel driver waits for its adapter (2 s).
constexpr std::chrono::milliseconds kAnswerLimit{3000};
constexpr std::int64_t kLookAgainMs = 500;
constexpr int kWatchMs = 1000;
constexpr int kFlushMs = 50;

constexpr std::int16_t kHighestAddress = 0xFF;

QStringList FunctionsOf(unsigned long bus, const LinuxAdapterSettings& settings)
{
    QStringList names = LinuxBusFunctions(bus);
    if (!settings.OneWireMaster.isEmpty())
        names << QStringLiteral("one-wire");
    if (!settings.ChgLine.isEmpty() || !settings.LoadLine.isEmpty())
        names << QStringLiteral("gpio");
    if (!settings.PowerLine.isEmpty())
        names << QStringLiteral("power");
    return names;
}

} // namespace

LinuxAdapter::LinuxAdapter(TimeSource& time, const LinuxAdapterSettings& settings)
    : m_time(time), m_settings(settings), m_thread(kAnswerLimit)
{
    m_watch.setInterval(kWatchMs);
    QObject::connect(&m_watch, &QTimer::timeout, [this] {
        // The kernel cannot finish an unplugging, nor see what is plugged in next, while the bus is held
        // open.
        if (m_smbus && !m_smbus->Bus().IsThere())
            Disconnect();
    });
    m_flush.setInterval(kFlushMs);
    m_flush.setSingleShot(true);
    QObject::connect(&m_flush, &QTimer::timeout, [this] { FlushOneWire(); });
}

LinuxAdapter::~LinuxAdapter() = default;

// ---- on the I/O thread ----

ErrorCode LinuxAdapter::OnThread(const std::shared_ptr<Answer>& own, std::function<ErrorCode()> work,
                                 Answer& answer)
{
    const auto outcome = m_thread.Run(m_time, [own, work = std::move(work)] { own->Code = work(); });
    if (outcome == IoThread::Outcome::Done) {
        answer = std::move(*own);
        m_microseconds += answer.Microseconds;
        if (!Failed(answer.Code))
            m_problem.clear();
        return answer.Code;
    }
    m_problem
        = QStringLiteral("The adapter has not answered for %1 s; the kernel still waits for it. Pull it out "
                         "and plug it in again if that does not end.")
              .arg(kAnswerLimit.count() / 1000);
    return outcome == IoThread::Outcome::TimedOut ? ErrorCode::T2hTimeout : ErrorCode::BusBusy;
}

ErrorCode LinuxAdapter::OnBus(bool understood, std::int16_t addr, BusWork work, Answer& answer)
{
    if (!understood || addr < 0 || addr > kHighestAddress)
        return Refuse();
    if (!Connect()) {
        m_time.ProcessEvents(0);
        return ErrorCode::NoUsb;
    }
    const auto own = std::make_shared<Answer>();
    const std::shared_ptr<LinuxSmbus> smbus = m_smbus;
    const ErrorCode code = OnThread(
        own,
        [smbus, own, work = std::move(work)] {
            const ErrorCode done = work(*smbus, *own);
            own->Errno = smbus->LastErrno();
            own->Microseconds = smbus->TakeBusMicroseconds();
            return done;
        },
        answer);
    if (code == ErrorCode::NoUsb && m_smbus == smbus)
        Disconnect();
    else if (Failed(code))
        ExplainBus(code, answer.Errno, addr);
    return code;
}

ErrorCode LinuxAdapter::OnLine(bool understood, const QString& line, const char* key, LineWork work,
                               Answer& answer)
{
    if (!understood || !m_lines || line.isEmpty())
        return Refuse(
            understood && m_lines
                ? QStringLiteral(
                      "The settings name no output line for this: add %1=chip:offset to section [Adapter].")
                      .arg(QLatin1String(key))
                : QString());
    const auto own = std::make_shared<Answer>();
    const ErrorCode code = OnThread(
        own,
        [lines = m_lines, own, work = std::move(work)] {
            own->Errno = work(*lines, *own);
            return LinuxErrorToCode(own->Errno);
        },
        answer);
    if (const QString problem = LinuxLineProblem(line, answer.Errno); !problem.isEmpty())
        m_problem = problem;
    return code;
}

ErrorCode LinuxAdapter::OnOneWire(bool understood, OneWireWork work, Answer& answer)
{
    if (!understood)
        return Refuse();
    if (!m_oneWire)
        return Refuse(
            QStringLiteral("The settings name no one-wire line: add OneWireMaster=w1_bus_master1 to "
                           "section [Adapter]; the lines there are stand in /sys/bus/w1/devices."));
    const auto own = std::make_shared<Answer>();
    const ErrorCode code = OnThread(
        own,
        [wire = m_oneWire, own, work = std::move(work)] {
            own->Errno = work(*wire, *own);
            return LinuxErrorToCode(own->Errno);
        },
        answer);
    if (code == ErrorCode::NoUsb)
        m_problem = QStringLiteral("The one-wire line %1 is not there.").arg(m_settings.OneWireMaster);
    return code;
}

ErrorCode LinuxAdapter::Refuse(const QString& problem)
{
    if (!problem.isEmpty())
        m_problem = problem;
    m_time.ProcessEvents(0);
    return m_place ? ErrorCode::IncorrectParam : ErrorCode::NoUsb;
}

void LinuxAdapter::ExplainBus(ErrorCode code, int error, std::int16_t addr)
{
    if (error == EBUSY) {
        const QString driver
            = LinuxDriverAt(m_place ? m_place->Node : QString(), static_cast<std::uint8_t>(addr));
        m_problem
            = QStringLiteral("Address 0x%1 of %2 is held by the kernel's driver %3; unbind it or unload it "
                             "first.")
                  .arg(addr, 2, 16, QLatin1Char('0'))
                  .arg(m_place ? m_place->Node : QString(),
                       driver.isEmpty() ? QStringLiteral("(unknown)") : driver);
    } else if (error == EIO && code == ErrorCode::Terminated) {
        m_problem
            = QStringLiteral("The transfer broke off. The driver %1 gives one answer for a byte that was not "
                             "acknowledged, stuck lines and lost arbitration.")
                  .arg(m_place ? m_place->Driver : QString());
    } else if (error == ETIMEDOUT) {
        m_problem
            = QStringLiteral("No answer in time. The driver %1 gives one answer for a part that does not "
                             "acknowledge, stuck lines and a silent adapter.")
                  .arg(m_place ? m_place->Driver : QString());
    }
}

// ---- device ----

std::vector<AdapterFacts> LinuxAdapter::List(const LinuxAdapterSettings& settings)
{
    std::vector<AdapterFacts> adapters;
    const auto add = [&](const QString& node) {
        const LinuxBusState state = LookAtLinuxBus(node);
        AdapterFacts facts;
        facts.Name = kBusPrefix + node;
        facts.Kind = QStringLiteral("linux");
        facts.Free = state.Free;
        facts.Functions = FunctionsOf(state.Functions, settings);
        facts.Problem = state.Problem;
        adapters.push_back(facts);
    };
    if (const QString named = settings.NamedNode(); !named.isEmpty()) {
        add(named);
        return adapters;
    }
    for (const LinuxBusPlace& place : FindLinuxBuses())
        if (!place.UsbPort.isEmpty())
            add(place.Node);
    return adapters;
}

void LinuxAdapter::AdpListFreeDevices(std::int32_t most, std::int32_t& count, QString& names)
{
    const std::vector<AdapterFacts> adapters = List(m_settings);
    QStringList free;
    for (const AdapterFacts& adapter : adapters)
        if (adapter.Free && free.size() < most)
            free << adapter.Name;
    count = static_cast<std::int32_t>(free.size());
    names = free.join(QLatin1Char(','));
    if (adapters.empty())
        m_problem = QStringLiteral(
            "No USB-to-I2C adapter was found. Plug one in; the kernel must have a driver for "
            "it. Another I2C bus is used only when [Adapter] Device names it.");
    else if (free.isEmpty())
        m_problem = adapters.front().Problem;
    m_time.ProcessEvents(0);
}

std::int16_t LinuxAdapter::AdpOpenDevice(QString& name)
{
    m_time.ProcessEvents(0);
    if (m_place) {
        m_problem = QStringLiteral("The adapter %1%2 is open already.").arg(kBusPrefix, m_place->Node);
        return -1;
    }
    const QString node = name.startsWith(kBusPrefix) ? name.mid(kBusPrefix.size()) : QString();
    const std::vector<LinuxBusPlace> places = FindLinuxBuses();
    const auto found = std::ranges::find(places, node, &LinuxBusPlace::Node);
    const LinuxBusPlace place = found == places.end() ? LinuxBusPlace{node, {}, {}, {}} : *found;
    if (node.isEmpty() || (place.UsbPort.isEmpty() && node != m_settings.NamedNode())) {
        m_problem = QStringLiteral(
                        "\"%1\" names no adapter; USB adapters are called i2c:/dev/i2c-N, another bus is "
                        "used only when [Adapter] Device names it.")
                        .arg(name);
        return -1;
    }
    const std::shared_ptr<LinuxBus> bus = LinuxBus::Open(node, m_problem);
    if (!bus)
        return -1;
    m_smbus = std::make_shared<LinuxSmbus>(bus);
    m_lines = std::make_shared<LinuxLines>();
    if (!m_settings.OneWireMaster.isEmpty())
        m_oneWire = std::make_shared<LinuxOneWire>(m_settings.OneWireMaster);
    m_place = place;
    m_posted = ErrorCode::Ok;
    m_microseconds = 0;
    if (QCoreApplication::instance())
        m_watch.start();
    return 0;
}

void LinuxAdapter::AdpCloseDevice()
{
    FlushOneWire();
    m_watch.stop();
    m_smbus.reset();
    m_lines.reset();
    m_oneWire.reset();
    m_place.reset();
    m_time.ProcessEvents(0);
}

bool LinuxAdapter::Connect()
{
    if (m_smbus || !m_place)
        return m_smbus != nullptr;
    const std::int64_t now = m_time.MonotonicMs();
    if (now - m_lookedMs < kLookAgainMs)
        return false;
    m_lookedMs = now;
    const std::optional<LinuxBusPlace> place = FindAgain(*m_place, FindLinuxBuses());
    if (!place)
        return false;
    const std::shared_ptr<LinuxBus> bus = LinuxBus::Open(place->Node, m_problem);
    if (!bus)
        return false;
    m_place = place;
    m_smbus = std::make_shared<LinuxSmbus>(bus);
    return true;
}

void LinuxAdapter::Disconnect()
{
    m_smbus.reset();
    m_lookedMs = m_time.MonotonicMs();
    m_problem = QStringLiteral("The adapter %1%2 is gone. Plug it in again; it is found by itself.")
                    .arg(kBusPrefix, m_place ? m_place->Node : QString());
}

ErrorCode LinuxAdapter::AdpGetLastError()
{
    FlushOneWire();
    m_time.ProcessEvents(0);
    if (!Connect())
        return ErrorCode::NoUsb;
    // A transfer's own outcome is known when its operation returns; nothing of it waits here.
    return std::exchange(m_posted, ErrorCode::Ok);
}

void LinuxAdapter::AdpDelay(std::int32_t time)
{
    FlushOneWire();
    const std::int64_t end = m_time.MonotonicMs() + std::max(time, 0);
    m_time.ProcessEvents(0);
    for (std::int64_t left = end - m_time.MonotonicMs(); left > 0; left = end - m_time.MonotonicMs())
        m_time.ProcessEvents(static_cast<int>(left));
}

AdapterFacts LinuxAdapter::Facts() const
{
    AdapterFacts facts;
    facts.Kind = QStringLiteral("linux");
    facts.Free = !m_place;
    if (m_place)
        facts.Name = kBusPrefix + m_place->Node;
    facts.Functions = FunctionsOf(m_smbus ? m_smbus->Bus().Functions() : 0, m_settings);
    facts.Problem = m_problem;
    facts.BusMicroseconds = m_microseconds;
    return facts;
}
