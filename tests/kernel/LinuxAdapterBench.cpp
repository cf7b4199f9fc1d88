// What the Linux back end makes of a real kernel's answers. Runs inside the machine that vm-run boots, under
// usb-gauge; BENCH_ADAPTER says which adapter that plays, I2C_DEVICE where its bus is.
#include "comm/adapters/LinuxAdapter.h"
#include "comm/adapters/OneWireModes.h"
#include "platform/SystemTime.h"

#include "tests/support/TestSupport.h"

#include <QFile>
#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <unistd.h>

namespace {

constexpr std::int16_t kGauge = 0x16;
constexpr std::int16_t kEeprom = 0xA0;
constexpr std::int16_t kNobody = 0x40;
constexpr std::int16_t kVoltage = 0x09;
constexpr std::int16_t kVoltageOfGauge = 12345;

bool IsTiny() { return qEnvironmentVariable("BENCH_ADAPTER") == QLatin1String("tiny"); }
QString Bus() { return qEnvironmentVariable("I2C_DEVICE"); }

void Echo(const QString& text, const QString& file)
{
    QFile out(QStringLiteral("/sys/bus/i2c/devices/%1/%2").arg(Bus().mid(5), file));
    ASSERT_TRUE(out.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) << file.toStdString();
    out.write(text.toLatin1());
}

QString FirstLine(const QString& path)
{
    QFile in(path);
    return in.open(QIODevice::ReadOnly) ? QString::fromLatin1(in.readAll()).trimmed() : QString();
}

/// An adapter as the program opens it, and the longest time in which its events did not run.
class Bench {
public:
    explicit Bench(const LinuxAdapterSettings& settings = {.Device = QStringLiteral("auto")})
        : adapter(m_time, settings)
    {
        std::int32_t count = 0;
        adapter.AdpListFreeDevices(16, count, name);
        name = name.section(QLatin1Char(','), 0, 0);
        opened = count > 0 && adapter.AdpOpenDevice(name) != -1;
        QObject::connect(&m_tick, &QTimer::timeout, [this] {
            const std::int64_t now = m_time.MonotonicMs();
            m_longestGapMs = std::max(m_longestGapMs, now - std::exchange(m_turnMs, now));
        });
        m_tick.setTimerType(Qt::PreciseTimer);
        m_tick.start(1);
    }
    ErrorCode Word(std::int16_t cmd, std::int16_t& word, std::int16_t addr = kGauge)
    {
        return adapter.AdpReadSMBusWord(cmd, word, addr);
    }
    ErrorCode Code(std::int16_t cmd, std::int16_t addr = kGauge)
    {
        std::int16_t word = 0;
        return Word(cmd, word, addr);
    }
    ErrorCode Block(std::int16_t cmd, Bytes& data)
    {
        std::int16_t length = 0;
        std::int16_t addr = kGauge;
        const ErrorCode code = adapter.AdpReadSMBusBlock(cmd, data, length, addr);
        EXPECT_TRUE(Failed(code) || static_cast<std::size_t>(length) == data.size());
        return code;
    }
    /// The longest gap while work runs.
    std::int64_t GapDuring(const std::function<void()>& work)
    {
        m_time.ProcessEvents(5);
        m_turnMs = m_time.MonotonicMs();
        m_longestGapMs = 0;
        work();
        m_time.ProcessEvents(0);
        return std::max(m_longestGapMs, m_time.MonotonicMs() - m_turnMs);
    }
    void Wait(int ms) { adapter.AdpDelay(ms); }

private:
    SystemTime m_time;
    QTimer m_tick;
    std::int64_t m_turnMs = 0;
    std::int64_t m_longestGapMs = 0;

public:
    QString name;
    bool opened = false;
    LinuxAdapter adapter;
};

class OnKernel : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(bench.opened) << bench.adapter.Facts().Problem.toStdString(); }
    Bench bench;
};

TEST_F(OnKernel, ReadsAndWritesWordsAndBlocks)
{
    std::int16_t word = 0;
    EXPECT_EQ(bench.Word(kVoltage, word), ErrorCode::Ok);
    EXPECT_EQ(word, kVoltageOfGauge);
    EXPECT_EQ(bench.Word(0x0A, word), ErrorCode::Ok);
    EXPECT_EQ(word, -1000);
    Bytes block;
    EXPECT_EQ(bench.Block(0x20, block), ErrorCode::Ok);
    EXPECT_EQ(block, (Bytes{'M', 'a', 'k', 'e', 'r'}));

    std::int16_t addr = kGauge;
    EXPECT_EQ(bench.adapter.AdpWriteSMBusWord(0x01, 0x1234, addr), ErrorCode::Ok);
    EXPECT_EQ(bench.Word(0x01, word), ErrorCode::Ok);
    EXPECT_EQ(word, 0x1234);
    for (std::int16_t length : std::initializer_list<std::int16_t>{1, 2, 31, 32}) {
        Bytes written(static_cast<std::size_t>(length));
        std::iota(written.begin(), written.end(), static_cast<std::uint8_t>(0x80 + length));
        std::int16_t cmd = 0x2F;
        EXPECT_EQ(bench.adapter.AdpWriteSMBusBlock(cmd, written, length, addr), ErrorCode::Ok);
        EXPECT_EQ(bench.Block(cmd, block), ErrorCode::Ok);
        EXPECT_EQ(block, written) << length;
    }
    std::int16_t cmd = 0x10;
    EXPECT_EQ(bench.adapter.AdpWriteSMBusCommand(cmd, addr), ErrorCode::Ok);
    EXPECT_EQ(bench.adapter.AdpGetLastError(), ErrorCode::Ok);
    EXPECT_GT(bench.adapter.Facts().BusMicroseconds, 0);
}

TEST_F(OnKernel, TellsFaultsApartAsFarAsTheDriverDoes)
{
    struct Row {
        const char* what;
        std::int16_t addr, cmd;
        bool block;
        ErrorCode tiny, cp2112;
    };
    constexpr auto kBrokenOff = ErrorCode::Terminated;
    constexpr auto kTime = ErrorCode::T2hTimeout;
    for (const Row& row : {
             Row{"nobody at the address", kNobody, kVoltage, false, ErrorCode::NoAcknowledge, kTime},
             Row{"command not acknowledged", kGauge, 0xE0, false, kBrokenOff, kBrokenOff},
             Row{"wrong PEC", kGauge, 0xE1, false, ErrorCode::BadPec, ErrorCode::BadPec},
             Row{"bus lines stuck", kGauge, 0xE2, false, kBrokenOff, kTime},
             Row{"silent adapter", kGauge, 0xE3, false, kTime, kTime},
             Row{"block of length 0", kGauge, 0xE4, true, ErrorCode::WrongNumBytes, ErrorCode::WrongNumBytes},
             Row{"block of length 0x40", kGauge, 0xE5, true, ErrorCode::WrongNumBytes,
                 ErrorCode::WrongNumBytes},
             Row{"arbitration lost", kGauge, 0xE6, false, kBrokenOff, kBrokenOff},
         }) {
        ASSERT_EQ(bench.Code(kVoltage), ErrorCode::Ok) << "before: " << row.what;
        Bytes block{1, 2, 3};
        std::int16_t word = 77;
        ErrorCode code = ErrorCode::Ok;
        const std::int64_t gapMs = bench.GapDuring(
            [&] { code = row.block ? bench.Block(row.cmd, block) : bench.Word(row.cmd, word, row.addr); });
        std::printf("%-26s %4d %s, longest gap %d ms\n", row.what, Number(code),
                    ErrorCodeToText(code).toUtf8().constData(), static_cast<int>(gapMs));
        EXPECT_EQ(code, IsTiny() ? row.tiny : row.cp2112) << row.what;
        EXPECT_TRUE(word == 77 && block == (Bytes{1, 2, 3})) << row.what << " left something on the screen";
        EXPECT_EQ(code == kBrokenOff || code == kTime, !bench.adapter.Facts().Problem.isEmpty()) << row.what;
    }
}

TEST_F(OnKernel, ReadsAndWritesPlainI2cRegisters)
{
    std::int16_t addr = kEeprom;
    std::int16_t reg = 0x30;
    std::int16_t length = 4;
    EXPECT_EQ(bench.adapter.AdpI2CWriteBlock(addr, reg, {1, 2, 3, 4}, length), ErrorCode::Ok);
    Bytes data;
    length = 6;
    EXPECT_EQ(bench.adapter.AdpI2CReadBlock(addr, reg, data, length), ErrorCode::Ok);
    EXPECT_EQ(data, (Bytes{1, 2, 3, 4, 0xFF, 0xFF}));
    std::int16_t value = 0x5A;
    reg = 0x33;
    EXPECT_EQ(bench.adapter.AdpI2CFunction(1, addr, reg, value), ErrorCode::Ok);
    value = 0;
    EXPECT_EQ(bench.adapter.AdpI2CFunction(2, addr, reg, value), ErrorCode::Ok);
    EXPECT_EQ(value, 0x5A);
    length = 1;
    EXPECT_EQ(bench.adapter.AdpReadI2CBlockNoCmdOnSMB(data, length, addr), ErrorCode::Ok);
    EXPECT_EQ(data, Bytes{0xFF}) << "the read goes on behind the last one";
    length = 2;
    EXPECT_EQ(bench.adapter.AdpWriteReadI2CBlockOnSMB(0x30, {}, 0, data, length, addr), ErrorCode::Ok);
    EXPECT_EQ(data, (Bytes{1, 2}));
}

TEST_F(OnKernel, RefusesWhatItCannotDo)
{
    std::int16_t a = 1;
    std::int16_t b = 0;
    std::int16_t odd = 300;
    Bytes data;
    EXPECT_EQ(bench.adapter.AdpGetVersion(a, b), ErrorCode::IncorrectParam);
    EXPECT_EQ(bench.Code(300), ErrorCode::IncorrectParam);
    EXPECT_EQ(bench.Code(kVoltage, odd), ErrorCode::IncorrectParam);
    EXPECT_EQ(bench.adapter.AdpWriteSMBusBlock(a, Bytes(33), odd, b), ErrorCode::IncorrectParam);
    EXPECT_EQ(bench.adapter.AdpI2CFunction(0, a, b, b), ErrorCode::IncorrectParam);
    EXPECT_THAT(bench.adapter.Facts().Problem.toStdString(), testing::HasSubstr("PowerLine="));
    std::int16_t bits = OneWire::kBits;
    std::int32_t value = 0;
    EXPECT_EQ(bench.adapter.AdpReadOneWire(OneWire::kReset, value, bits), ErrorCode::IncorrectParam);
    EXPECT_THAT(bench.adapter.Facts().Problem.toStdString(), testing::HasSubstr("OneWireMaster="));
}

TEST_F(OnKernel, IsHeldByOneTarnloAlone)
{
    const LinuxAdapterSettings settings{.Device = QStringLiteral("auto")};
    ASSERT_EQ(LinuxAdapter::List(settings).size(), 1U) << "another bus than the USB adapter's is offered";
    EXPECT_FALSE(LinuxAdapter::List(settings).front().Free);
    Bench second;
    EXPECT_FALSE(second.opened);
    EXPECT_THAT(second.adapter.Facts().Problem.toStdString(), testing::HasSubstr("another Tarnlo"));
    bench.adapter.AdpCloseDevice();
    EXPECT_TRUE(LinuxAdapter::List(settings).front().Free);
    EXPECT_TRUE(Bench().opened);
}

TEST_F(OnKernel, SaysWhatHelpsWithoutPermission)
{
    bench.adapter.AdpCloseDevice();
    ASSERT_EQ(seteuid(65534), 0);
    Bench powerless;
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_FALSE(powerless.opened);
    EXPECT_EQ(powerless.name, QStringLiteral("i2c:%1").arg(Bus())) << "an adapter that is there is offered";
    EXPECT_THAT(powerless.adapter.Facts().Problem.toStdString(), testing::HasSubstr("group i2c"));
}

/// What the kernel reads by itself; its driver then holds the address and is named.
TEST_F(OnKernel, AgreesWithTheKernelsOwnBatteryDriver)
{
    std::int16_t voltage = 0;
    std::int16_t charge = 0;
    ASSERT_EQ(bench.Word(kVoltage, voltage), ErrorCode::Ok);
    ASSERT_EQ(bench.Word(0x0D, charge), ErrorCode::Ok);
    Echo(QStringLiteral("sbs-battery 0x0b"), QStringLiteral("new_device"));
    const QString supply = QStringLiteral("/sys/class/power_supply/sbs-%1-000b/").arg(Bus().mid(9));
    EXPECT_EQ(FirstLine(supply + QLatin1String("voltage_now")).toInt(), voltage * 1000);
    EXPECT_EQ(FirstLine(supply + QLatin1String("capacity")).toInt(), charge);
    EXPECT_EQ(bench.Code(kVoltage), ErrorCode::BusBusy);
    EXPECT_THAT(bench.adapter.Facts().Problem.toStdString(), testing::HasSubstr("sbs-battery"));
    Echo(QStringLiteral("0x0b"), QStringLiteral("delete_device"));
    EXPECT_EQ(bench.Code(kVoltage), ErrorCode::Ok);
}

/// A bus that is not on USB, and speaks SMBus transactions only.
TEST(OtherBusOnKernel, IsUsedWhenTheSettingsNameItAndNotOtherwise)
{
    const std::vector<LinuxBusPlace> places = FindLinuxBuses();
    const auto stub = std::ranges::find(places, QStringLiteral("SMBus stub driver"), &LinuxBusPlace::Title);
    ASSERT_NE(stub, places.end());
    QString name = QStringLiteral("i2c:") + stub->Node;
    SystemTime time;
    LinuxAdapter unnamed(time, {.Device = QStringLiteral("auto")});
    EXPECT_EQ(unnamed.AdpOpenDevice(name), -1);
    EXPECT_THAT(unnamed.Facts().Problem.toStdString(), testing::HasSubstr("Device names it"));

    Bench bench({.Device = name});
    ASSERT_TRUE(bench.opened) << bench.adapter.Facts().Problem.toStdString();
    EXPECT_FALSE(bench.adapter.Facts().Functions.contains(QLatin1String("pec")));
    std::int16_t addr = kGauge;
    std::int16_t word = 0;
    EXPECT_EQ(bench.adapter.AdpWriteSMBusWord(0x09, 0x1234, addr), ErrorCode::Ok);
    EXPECT_EQ(bench.Word(0x09, word), ErrorCode::Ok);
    EXPECT_EQ(word, 0x1234);
    Bytes block;
    std::int16_t cmd = 0x20;
    std::int16_t length = 3;
    EXPECT_EQ(bench.adapter.AdpWriteSMBusBlock(cmd, {7, 8, 9}, length, addr), ErrorCode::Ok);
    EXPECT_EQ(bench.Block(cmd, block), ErrorCode::Ok);
    EXPECT_EQ(block, (Bytes{7, 8, 9}));
    std::int16_t reg = 0x40;
    EXPECT_EQ(bench.adapter.AdpI2CWriteBlock(addr, reg, {1, 2, 3}, length), ErrorCode::Ok);
    EXPECT_EQ(bench.adapter.AdpI2CReadBlock(addr, reg, block, length), ErrorCode::Ok);
    EXPECT_EQ(block, (Bytes{1, 2, 3}));
    EXPECT_EQ(bench.adapter.AdpReadI2CBlockNoCmdOnSMB(block, length, addr), ErrorCode::IncorrectParam);
}

/// Reset, bytes out, bytes in through the adapter's operations; the codes in order, the first failure ends
/// it.
ErrorCode OneWireSequence(LinuxAdapter& adapter, const Bytes& out, Bytes& in)
{
    std::int16_t bits = OneWire::kBits;
    std::int32_t value = 0;
    ErrorCode code = adapter.AdpReadOneWire(OneWire::kReset, value, bits);
    if (!Failed(code) && value == 0)
        return ErrorCode::NoAcknowledge;
    for (std::uint8_t byte : out)
        code = Failed(code) ? code : adapter.AdpWriteOneWire(OneWire::kWriteEightBits, byte, bits);
    for (std::uint8_t& byte : in) {
        code = Failed(code) ? code : adapter.AdpReadOneWire(OneWire::kReadEightBits, value, bits);
        byte = static_cast<std::uint8_t>(value);
    }
    return code;
}

TEST(OneWireOnKernel, WritesAndReadsAMemoryBehindTheBridge)
{
    Echo(QStringLiteral("ds2482 0x18"), QStringLiteral("new_device"));
    Echo(QStringLiteral("ds2482 0x19"), QStringLiteral("new_device"));
    for (int tries = 0; tries < 100 && !QFile::exists(QStringLiteral("/sys/bus/w1/devices/w1_bus_master2"));
         ++tries)
        usleep(20'000);
    {
        Bench bench({.Device = QStringLiteral("auto"), .OneWireMaster = QStringLiteral("w1_bus_master1")});
        ASSERT_TRUE(bench.opened);
        EXPECT_TRUE(bench.adapter.Facts().Functions.contains(QLatin1String("one-wire")));
        Bytes scratch(8);
        Bytes written{0xCC, 0x0F, 0x20, 0x00}; // skip ROM, write scratchpad, address
        for (std::uint8_t i = 0; i < 32; ++i)
            written.push_back(static_cast<std::uint8_t>(i * 7));
        Bytes none;
        EXPECT_EQ(OneWireSequence(bench.adapter, written, none), ErrorCode::Ok);
        EXPECT_EQ(bench.adapter.AdpGetLastError(), ErrorCode::Ok);
        Bytes back(3 + 32); // address, end, data: more than one read ahead
        EXPECT_EQ(OneWireSequence(bench.adapter, {0xCC, 0xAA}, back), ErrorCode::Ok);
        EXPECT_EQ(back[0], 0x20);
        EXPECT_TRUE(std::equal(back.begin() + 3, back.end(), written.begin() + 4));
    }
    Bench empty({.Device = QStringLiteral("auto"), .OneWireMaster = QStringLiteral("2")});
    Bytes none;
    EXPECT_EQ(OneWireSequence(empty.adapter, {0xCC}, none), ErrorCode::NoAcknowledge);
    empty.adapter.AdpCloseDevice();
    Bench wrong({.Device = QStringLiteral("auto"), .OneWireMaster = QStringLiteral("9")});
    EXPECT_EQ(OneWireSequence(wrong.adapter, {0xCC}, none), ErrorCode::NoUsb);
    wrong.adapter.AdpCloseDevice();
    Bench held;
    EXPECT_EQ(held.Code(0x00, 0x30), ErrorCode::BusBusy) << "the bridge belongs to the kernel's driver";
    Echo(QStringLiteral("0x18"), QStringLiteral("delete_device"));
    Echo(QStringLiteral("0x19"), QStringLiteral("delete_device"));
}

/// The simulated adapter joins output n to input n + 4.
TEST(LinesOnKernel, DriveReadAndRelease)
{
    if (IsTiny())
        GTEST_SKIP() << "i2c-tiny-usb has no lines";
    Bench bench({.Device = QStringLiteral("auto"),
                 .PowerLine = QStringLiteral("cp2112_gpio:1"),
                 .ChgLine = QStringLiteral("gpiochip0:0"),
                 .LoadLine = QStringLiteral("gpiochip0:4")});
    ASSERT_TRUE(bench.opened);
    std::int16_t charger = 0;
    std::int16_t load = 1;
    for (std::int16_t level : std::initializer_list<std::int16_t>{1, 0, 1, 0}) {
        std::int16_t seen = -1;
        EXPECT_EQ(bench.adapter.AdpGPIOWrite(charger, level), ErrorCode::Ok);
        EXPECT_EQ(bench.adapter.AdpGPIORead(load, seen), ErrorCode::Ok);
        EXPECT_EQ(seen, level);
    }
    std::int16_t none = 0;
    EXPECT_EQ(bench.adapter.AdpI2CFunction(0, load, none, none), ErrorCode::Ok);
    EXPECT_EQ(bench.adapter.AdpI2CFunction(3, none, none, none), ErrorCode::Ok);
    std::int16_t seen = -1;
    EXPECT_EQ(bench.adapter.AdpGPIORead(load, seen), ErrorCode::Ok);
    EXPECT_EQ(seen, 1) << "nobody drives line 0 any more";
    bench.adapter.AdpCloseDevice();

    Bench wrong({.Device = QStringLiteral("auto"),
                 .ChgLine = QStringLiteral("gpiochip0:99"),
                 .LoadLine = QStringLiteral("gpiochip7:0")});
    EXPECT_EQ(wrong.adapter.AdpGPIORead(none, seen), ErrorCode::IncorrectParam);
    EXPECT_EQ(wrong.adapter.AdpGPIORead(load, seen), ErrorCode::NoUsb);
    EXPECT_THAT(wrong.adapter.Facts().Problem.toStdString(), testing::HasSubstr("gpiochip7:0"));
}

/// Pulled out in the middle of a scan and plugged in again: the pass has holes, the next ones are whole.
TEST_F(OnKernel, FindsAnUnpluggedAdapterAgainByItself)
{
    std::vector<ErrorCode> pass;
    std::int64_t gapMs = bench.GapDuring([&] {
        for (std::int16_t cmd : std::initializer_list<std::int16_t>{0x08, 0x09, 0xE7, 0x0A, 0x0B, 0x0C})
            pass.push_back(bench.Code(cmd));
    });
    std::printf("pulled out in a scan:");
    for (ErrorCode code : pass)
        std::printf(" %d", Number(code));
    std::printf(", longest gap %d ms\n", static_cast<int>(gapMs));
    EXPECT_EQ(std::vector(pass.begin(), pass.begin() + 2), std::vector(2, ErrorCode::Ok));
    EXPECT_EQ(std::vector(pass.begin() + 2, pass.end()), std::vector(4, ErrorCode::NoUsb));
    EXPECT_THAT(bench.adapter.Facts().Problem.toStdString(), testing::HasSubstr("Plug it in again"));

    std::int16_t word = 0;
    int tries = 0;
    gapMs = bench.GapDuring([&] {
        for (; tries < 100 && Failed(bench.Word(kVoltage, word)); ++tries)
            bench.Wait(200);
    });
    EXPECT_EQ(word, kVoltageOfGauge);
    EXPECT_EQ(bench.adapter.Facts().Problem, QString());
    std::printf("found again after %d ms, longest gap %d ms\n", tries * 200, static_cast<int>(gapMs));
}

} // namespace
