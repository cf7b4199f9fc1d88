// The Linux back end against bare ioctls on the same kernel bus; benchmarks/kernel-speed runs it in a virtual
// machine, where I2C_DEVICE names the bus. Prints figures, judges nothing.
#include "comm/adapters/LinuxAdapter.h"
#include "platform/SystemTime.h"

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr std::int16_t kGauge = 0x16;
constexpr std::int16_t kVoltage = 0x09;
constexpr std::int16_t kSilent = 0xE3;
constexpr std::int16_t kPullOut = 0xE7;
constexpr int kReads = 500;
constexpr int kProcesses = 5;
constexpr int kPasses = 20;

double MsOf(const std::function<void()>& work)
{
    const auto began = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - began).count();
}

double Median(std::vector<double>& values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void BareRead(int bus, std::uint8_t cmd)
{
    std::uint8_t answer[3] = {}; // a word and its check
    i2c_msg messages[] = {{kGauge / 2, 0, 1, &cmd}, {kGauge / 2, I2C_M_RD, sizeof answer, answer}};
    i2c_rdwr_ioctl_data request{messages, 2};
    ioctl(bus, I2C_RDWR, &request);
}

/// Times between two turns of the event loop.
class TurnMeter {
public:
    explicit TurnMeter(SystemTime& time) : m_time(time)
    {
        QObject::connect(&m_tick, &QTimer::timeout, [this] {
            const auto now = std::chrono::steady_clock::now();
            m_gaps.push_back(
                std::chrono::duration<double, std::milli>(now - std::exchange(m_turn, now)).count());
        });
        m_tick.setTimerType(Qt::PreciseTimer);
    }
    void Print(const char* what, const std::function<void()>& work)
    {
        m_tick.start(1);
        m_time.ProcessEvents(5);
        m_gaps.clear();
        m_turn = std::chrono::steady_clock::now();
        work();
        m_time.ProcessEvents(5);
        m_tick.stop();
        const double longest = *std::ranges::max_element(m_gaps);
        std::printf("event loop, %-24s longest gap %5.1f ms, median %4.1f ms\n", what, longest,
                    Median(m_gaps));
    }

private:
    SystemTime& m_time;
    QTimer m_tick;
    std::chrono::steady_clock::time_point m_turn;
    std::vector<double> m_gaps{0};
};

} // namespace

/// Arguments: the command that scans the 29 registers 0x00 to 0x1C, to which "--count N" is added; may be
/// missing.
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    SystemTime time;
    LinuxAdapter adapter(time, {.Device = QStringLiteral("auto")});
    const std::string device = qEnvironmentVariable("I2C_DEVICE").toStdString();
    QString name = QStringLiteral("i2c:%1").arg(QString::fromStdString(device));
    if (adapter.AdpOpenDevice(name) == -1) {
        std::printf("%s\n", adapter.Facts().Problem.toLocal8Bit().constData());
        return 1;
    }
    const int bus = open(device.c_str(), O_RDWR);
    std::int16_t addr = kGauge;
    std::int16_t word = 0;
    const auto read = [&](std::int16_t cmd) { return adapter.AdpReadSMBusWord(cmd, word, addr); };
    read(kVoltage); // settles the check

    // One by one in turn, so that what else the machine does hits both alike.
    std::vector<double> bare;
    std::vector<double> own;
    bare.reserve(kReads);
    own.reserve(kReads);
    for (int i = 0; i < kReads; ++i) {
        bare.push_back(MsOf([&] { BareRead(bus, kVoltage); }));
        own.push_back(MsOf([&] { read(kVoltage); }));
    }
    std::vector<double> processes;
    processes.reserve(kProcesses);
    const std::string one
        = "i2cget -y " + device.substr(std::string("/dev/i2c-").size()) + " 0x0b 0x09 w >/dev/null";
    for (int i = 0; i < kProcesses; ++i)
        processes.push_back(MsOf([&] { [[maybe_unused]] const int status = std::system(one.c_str()); }));
    const double word_ms = Median(own);
    std::printf(
        "one word: bare ioctl %.3f ms, adapter %.3f ms (%.2f times), one i2cget %.1f ms (%.0f times)\n",
        Median(bare), word_ms, word_ms / Median(bare), Median(processes), Median(processes) / word_ms);

    TurnMeter turns(time);
    turns.Print("scanning", [&] {
        for (std::int16_t cmd = 0; cmd < 0x1D; ++cmd)
            read(cmd);
    });
    turns.Print("silent adapter", [&] { read(kSilent); });
    turns.Print("adapter pause", [&] { adapter.AdpDelay(300); });
    if (argc > 1) {
        adapter.AdpCloseDevice();
        std::string scan;
        for (int i = 1; i < argc; ++i)
            scan += std::string(argv[i]) + " ";
        const auto passes = [&](int count) {
            return MsOf([&] {
                const std::string command = scan + "--count " + std::to_string(count) + " >/dev/null";
                if (std::system(command.c_str()) != 0)
                    std::printf("failed: %s\n", command.c_str());
            });
        };
        const double start = passes(1);
        const double scanned = (passes(1 + kPasses) - start) / kPasses;
        std::vector<double> loops;
        loops.reserve(kPasses);
        for (int i = 0; i < kPasses; ++i)
            loops.push_back(MsOf([&] {
                for (std::uint8_t cmd = 0; cmd < 0x1D; ++cmd)
                    BareRead(bus, cmd);
            }));
        std::printf(
            "one pass over 29 registers: bare ioctls %.1f ms, tarnlo-cli %.1f ms (%.2f times); its start and "
            "first pass %.0f ms\n",
            Median(loops), scanned, scanned / Median(loops), start);
        adapter.AdpOpenDevice(name);
    }
    close(bus); // the kernel does not let go of an unplugged adapter before
    turns.Print("adapter pulled out", [&] {
        read(kPullOut);
        for (int i = 0; i < 20; ++i) {
            read(kVoltage);
            adapter.AdpDelay(50);
        }
    });
    return 0;
}
