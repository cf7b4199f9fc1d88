#include "cli/Arguments.h"
#include "cli/CommandContext.h"
#include "cli/Commands.h"
#include "comm/OneWireMemory.h"
#include "platform/Bytes.h"

#include <functional>

namespace {

constexpr std::int64_t kLongestBlock = 255;
constexpr std::int64_t kLongestDelayMs = 86'400'000;

const ArgumentSpec kCmd{"CMD", "Command byte", ArgumentKind::Number, true, 0, 255};
const ArgumentSpec kWord{"WORD", "Word, signed or unsigned", ArgumentKind::Number, true, -32768, 65535};
const ArgumentSpec kHex{"HEX", "Bytes as pairs of hexadecimal digits", ArgumentKind::Text, true};
const ArgumentSpec kAddr{"ADDR", "Bus address of the part in 8-bit form", ArgumentKind::Number, true, 0, 255};
const ArgumentSpec kReg{"REG", "Register of the part", ArgumentKind::Number, true, 0, 65535};
const ArgumentSpec kMemory{"ADDR", "Address in the memory, 0 to 255", ArgumentKind::Number, true, 0, 32767};
const ArgumentSpec kLen{"LEN", "How many bytes", ArgumentKind::Number, true, 0, kLongestBlock};
const ArgumentSpec kLine{"N", "Number of the line", ArgumentKind::Number, true, 0, 32767};

/// What every operation gets: the layer and the gauge's address.
struct Bus {
    frmUSB& Usb;
    std::int16_t Address;
};

std::int16_t Short(const Arguments& arguments, const char* key)
{
    return static_cast<std::int16_t>(arguments.Number(QLatin1String(key)));
}

std::uint8_t Byte(const Arguments& arguments, const char* key)
{
    return static_cast<std::uint8_t>(arguments.Number(QLatin1String(key)));
}

Outcome Coded(ErrorCode code)
{
    Outcome outcome;
    outcome.Status = Failed(code) ? ExitStatus::kNoAnswer : ExitStatus::kDone;
    outcome.Json = {{QStringLiteral("code"), Number(code)}, {QStringLiteral("text"), ErrorCodeToText(code)}};
    outcome.Text = Failed(code) ? QString() : QStringLiteral("done");
    return outcome;
}

Outcome WordOutcome(ErrorCode code, std::int16_t value)
{
    Outcome outcome = Coded(code);
    const auto word = static_cast<std::uint16_t>(value);
    const bool ok = !Failed(code);
    outcome.Json[QStringLiteral("word")] = ok ? QJsonValue(word) : QJsonValue();
    outcome.Json[QStringLiteral("msb")] = ok ? QJsonValue(word >> 8) : QJsonValue();
    outcome.Json[QStringLiteral("lsb")] = ok ? QJsonValue(word & 0xFF) : QJsonValue();
    if (ok)
        outcome.Text = QStringLiteral("%1  0x%2")
                           .arg(word)
                           .arg(QString::number(word, 16).toUpper(), 4, QLatin1Char('0'));
    return outcome;
}

Outcome BytesOutcome(ErrorCode code, const Bytes& bytes)
{
    Outcome outcome = Coded(code);
    outcome.Json[QStringLiteral("bytes")] = Failed(code) ? QJsonValue() : QJsonValue(HexText(bytes));
    if (!Failed(code))
        outcome.Text = HexText(bytes);
    return outcome;
}

/// Runs one operation while holding the bus. The code's text goes to "text" in JSON and to standard error for
/// people.
template <typename Operation>
Outcome OnBus(CommandContext& context, const Operation& operation)
{
    Outcome outcome;
    GaugeSession* gauge = context.Gauge(outcome);
    if (!gauge)
        return outcome;
    const StartupState& startup = *context.Startup(outcome);
    const ExclusiveAccess access(gauge->Access(), QStringLiteral("tarnlo-cli bus"));
    outcome = access ? operation(Bus{gauge->Usb(), startup.TargetAddress}) : Coded(ErrorCode::BusBusy);
    if (outcome.Status != ExitStatus::kDone && !context.Out.Json())
        outcome.Error = outcome.Json.value(QLatin1String("text")).toString();
    return outcome;
}

/// Operations that send bytes share the check of what was typed.
template <typename Operation>
Outcome WithBytes(CommandContext& context, const Arguments& arguments, const Operation& operation)
{
    const std::optional<Bytes> bytes = ParseHex(arguments.Text(QStringLiteral("hex")));
    if (!bytes)
        return WrongUsage(QStringLiteral("HEX must be pairs of hexadecimal digits, such as 0A1B, not \"%1\"")
                              .arg(arguments.Text(QStringLiteral("hex"))));
    if (bytes->size() > static_cast<std::size_t>(kLongestBlock))
        return WrongUsage(QStringLiteral("HEX holds %1 bytes; a block has at most %2")
                              .arg(bytes->size())
                              .arg(kLongestBlock));
    return OnBus(context, [&](const Bus& bus) { return operation(bus, *bytes); });
}

Outcome ReadWord(CommandContext& context, const Arguments& arguments)
{
    return OnBus(context, [&](const Bus& bus) {
        ErrorCode err = ErrorCode::Ok;
        std::int16_t word = 0;
        bus.Usb.ReadSMBusWord_(Byte(arguments, "cmd"), word, bus.Address, err);
        return WordOutcome(err, word);
    });
}

Outcome WriteWord(CommandContext& context, const Arguments& arguments)
{
    return OnBus(context, [&](const Bus& bus) {
        ErrorCode err = ErrorCode::Ok;
        bus.Usb.WriteSMBusWord_(Byte(arguments, "cmd"), Short(arguments, "word"), bus.Address, err);
        return Coded(err);
    });
}

Outcome ReadBlock(CommandContext& context, const Arguments& arguments)
{
    return OnBus(context, [&](const Bus& bus) {
        ErrorCode err = ErrorCode::Ok;
        Bytes data;
        std::int16_t length = 0;
        bus.Usb.ReadSMBusBlock_(Byte(arguments, "cmd"), data, length, bus.Address, err);
        data.resize(std::min(data.size(), static_cast<std::size_t>(std::max<std::int16_t>(length, 0))));
        return BytesOutcome(err, data);
    });
}

Outcome WriteBlock(CommandContext& context, const Arguments& arguments)
{
    return WithBytes(context, arguments, [&](const Bus& bus, const Bytes& bytes) {
        ErrorCode err = ErrorCode::Ok;
        bus.Usb.WriteSMBusBlock(Byte(arguments, "cmd"), bytes, static_cast<std::int16_t>(bytes.size()),
                                bus.Address, err);
        return Coded(err);
    });
}

Outcome SendCommand(CommandContext& context, const Arguments& arguments)
{
    return OnBus(context, [&](const Bus& bus) {
        ErrorCode err = ErrorCode::Ok;
        bus.Usb.WriteSMBusCommand(Byte(arguments, "cmd"), bus.Address, err);
        return Coded(err);
    });
}

Outcome I2CRead(CommandContext& context, const Arguments& arguments)
{
    return OnBus(context, [&](const Bus& bus) {
        ErrorCode err = ErrorCode::Ok;
        Bytes data;
        std::int16_t length = Short(arguments, "len");
        bus.Usb.I2CReadBlock_(Short(arguments, "addr"), Short(arguments, "reg"), data, length, err);
        data.resize(std::min(data.size(), static_cast<std::size_t>(std::max<std::int16_t>(length, 0))));
        return BytesOutcome(err, data);
    });
}

Outcome I2CWrite(CommandContext& context, const Arguments& arguments)
{
    return WithBytes(context, arguments, [&](const Bus& bus, const Bytes& bytes) {
        ErrorCode err = ErrorCode::Ok;
        bus.Usb.I2CWriteBlock(Short(arguments, "addr"), Short(arguments, "reg"), bytes,
                              static_cast<std::int16_t>(bytes.size()), err);
        return Coded(err);
    });
}

Outcome OneWireRead(CommandContext& context, const Arguments& arguments)
{
    return OnBus(context, [&](const Bus& bus) {
        Bytes data;
        const ErrorCode err
            = OneWireReadMemory(bus.Usb, Short(arguments, "addr"), data, Short(arguments, "len"));
        return BytesOutcome(err, data);
    });
}

Outcome OneWireWrite(CommandContext& context, const Arguments& arguments)
{
    return WithBytes(context, arguments, [&](const Bus& bus, const Bytes& bytes) {
        return Coded(OneWireWriteMemory(bus.Usb, Short(arguments, "addr"), bytes));
    });
}

Outcome GpioRead(CommandContext& context, const Arguments& arguments)
{
    return OnBus(context, [&](const Bus& bus) {
        ErrorCode err = ErrorCode::Ok;
        std::int16_t level = 0;
        bus.Usb.GPIORead(Short(arguments, "n"), level, err);
        Outcome outcome = WordOutcome(err, level);
        outcome.Json[QStringLiteral("v")] = outcome.Json.value(QLatin1String("word"));
        if (!Failed(err))
            outcome.Text = QString::number(level);
        return outcome;
    });
}

Outcome GpioWrite(CommandContext& context, const Arguments& arguments)
{
    return OnBus(context, [&](const Bus& bus) {
        ErrorCode err = ErrorCode::Ok;
        bus.Usb.GPIOWrite(Short(arguments, "n"), Short(arguments, "v"), err);
        return Coded(err);
    });
}

/// Waits in the gauge's time without holding the bus, so a simulated pack lives on meanwhile.
Outcome Delay(CommandContext& context, const Arguments& arguments)
{
    Outcome failed;
    GaugeSession* gauge = context.Gauge(failed);
    if (!gauge)
        return failed;
    gauge->Wait(arguments.Number(QStringLiteral("ms")));
    return Coded(ErrorCode::Ok);
}

} // namespace

std::vector<CommandSpec> BusCommands()
{
    return {
        {.Path = "bus",
         .Summary = "Single transactions with the gauge and other parts on the adapter",
         .Examples
         = {"tarnlo-cli bus read-word 9",
            "printf '%s\\n' '{\"op\":\"gpio-write\",\"n\":0,\"v\":1}' '{\"op\":\"delay\",\"ms\":5000}' "
            "'{\"op\":\"read-word\",\"cmd\":9}' | tarnlo-cli bus --batch -"},
         .Batch = BatchForm::Ops},
        {.Path = "bus read-word",
         .Summary = "Read a word",
         .Arguments = {kCmd},
         .Examples = {"tarnlo-cli bus read-word 0x09 --json"},
         .Run = ReadWord},
        {.Path = "bus write-word",
         .Summary = "Write a word",
         .Arguments = {kCmd, kWord},
         .Examples = {"tarnlo-cli bus write-word 4 -1500"},
         .Run = WriteWord},
        {.Path = "bus read-block",
         .Summary = "Read a block",
         .Arguments = {kCmd},
         .Examples = {"tarnlo-cli bus read-block 0x20"},
         .Run = ReadBlock},
        {.Path = "bus write-block",
         .Summary = "Write a block",
         .Arguments = {kCmd, kHex},
         .Examples = {"tarnlo-cli bus write-block 0x2F 0102030A"},
         .Run = WriteBlock},
        {.Path = "bus command",
         .Summary = "Send a command byte alone",
         .Arguments = {kCmd},
         .Examples = {"tarnlo-cli bus command 0x10"},
         .Run = SendCommand},
        {.Path = "bus i2c-read",
         .Summary = "Read bytes of an I2C part",
         .Arguments = {kAddr, kReg, kLen},
         .Examples = {"tarnlo-cli bus i2c-read 0xA0 0 16"},
         .Run = I2CRead},
        {.Path = "bus i2c-write",
         .Summary = "Write bytes to an I2C part",
         .Arguments = {kAddr, kReg, kHex},
         .Examples = {"tarnlo-cli bus i2c-write 0xA0 0 55AA"},
         .Run = I2CWrite},
        {.Path = "bus one-wire", .Summary = "The memory on the single-wire line"},
        {.Path = "bus one-wire read",
         .Summary = "Read bytes of the memory",
         .Arguments = {kMemory, kLen},
         .Examples = {"tarnlo-cli bus one-wire read 0 8"},
         .Run = OneWireRead},
        {.Path = "bus one-wire write",
         .Summary = "Write bytes to the memory's scratchpad; nothing makes them permanent",
         .Arguments = {kMemory, kHex},
         .Examples = {"tarnlo-cli bus one-wire write 0x20 0102"},
         .Run = OneWireWrite},
        {.Path = "bus gpio-read",
         .Summary = "Read an output line of the adapter",
         .Arguments = {kLine},
         .Examples = {"tarnlo-cli bus gpio-read 0"},
         .Run = GpioRead},
        {.Path = "bus gpio-write",
         .Summary = "Set an output line of the adapter: 0 charger, 1 load",
         .Arguments = {kLine, {"V", "Level", ArgumentKind::Number, true, -32768, 32767}},
         .Examples = {"tarnlo-cli bus gpio-write 0 1"},
         .Run = GpioWrite},
        {.Path = "bus delay",
         .Summary = "Wait, in the pack's own time when it is simulated",
         .Arguments = {{"MS", "Milliseconds", ArgumentKind::Number, true, 0, kLongestDelayMs}},
         .Examples = {"tarnlo-cli bus delay 5000"},
         .Run = Delay},
    };
}
