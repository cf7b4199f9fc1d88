#include "engineering/BusScan.h"

#include "comm/BusSequence.h"

#include <algorithm>
#include <array>

namespace {

struct Range {
    std::int16_t First;
    std::int16_t Last;
    const char* Text;
};

constexpr std::array kUsual{
    Range{0x10, 0x10, "Smart Battery host"},
    Range{0x12, 0x12, "Smart Battery charger"},
    Range{0x14, 0x14, "Smart Battery selector"},
    Range{0x16, 0x16, "Smart Battery gauge"},
    Range{0x18, 0x18, "alert response"},
    Range{0x40, 0x4E, "port expander or ADC"},
    Range{0x60, 0x6E, "memory protection"},
    Range{0x90, 0x9E, "temperature sensor or ADC"},
    Range{0xA0, 0xAE, "EEPROM"},
    Range{0xD0, 0xDE, "clock"},
};

/// Places of the Smart Battery standard, and a word that each has and that reading does not change.
struct Word {
    std::int16_t Address;
    std::uint8_t Command;
};
constexpr std::array kWords{Word{0x12, 0x11}, Word{0x14, 0x24}, Word{0x16, 0x1A}};
constexpr std::uint8_t kGaugeWord = 0x1A;

} // namespace

QString UsualPart(std::int16_t address)
{
    if (address == 0xAA)
        return QStringLiteral("EEPROM, or gauge with registers");
    const auto found = std::ranges::find_if(
        kUsual, [&](const Range& range) { return address >= range.First && address <= range.Last; });
    return found == kUsual.end() ? QString() : QString::fromLatin1(found->Text);
}

bool RiskyAddress(std::int16_t address)
{
    return (address >= 0x60 && address <= 0x6E) || (address >= 0xD0 && address <= 0xDE);
}

BusScan::Result BusScan::Run(bool risky, const QString& owner,
                             const std::function<bool(const ScannedAddress&, int, int)>& onProgress)
{
    Result result;
    for (std::int16_t address = kFirst; address <= kLast; address = static_cast<std::int16_t>(address + 2))
        result.Addresses.push_back({address});
    const BusSequence bus(m_access, owner);
    if (!bus) {
        result.Problem = QStringLiteral(
            "Nothing was asked: another sequence holds the bus. Try again when it has ended.");
        return result;
    }
    int done = 0;
    for (ScannedAddress& scanned : result.Addresses) {
        if (RiskyAddress(scanned.Address) && !risky) {
            scanned.Found = ScannedAddress::State::LeftOut;
        } else {
            scanned.Code = Ask(scanned.Address);
            const bool hopeless
                = scanned.Code == ErrorCode::IncorrectParam || scanned.Code == ErrorCode::NoUsb;
            if (Failed(scanned.Code) && scanned.Code != ErrorCode::NoAcknowledge && !hopeless)
                scanned.Code = Ask(scanned.Address); // a disturbed bus says nothing about the part
            scanned.Found = !Failed(scanned.Code)          ? ScannedAddress::State::Present
                : scanned.Code == ErrorCode::NoAcknowledge ? ScannedAddress::State::Silent
                                                           : ScannedAddress::State::Failed;
        }
        if (scanned.Code == ErrorCode::IncorrectParam || scanned.Code == ErrorCode::NoUsb) {
            const AdapterFacts facts = m_usb.Facts();
            result.Problem = scanned.Code == ErrorCode::NoUsb
                ? QStringLiteral("The adapter is gone: %1").arg(ErrorCodeToText(scanned.Code))
                : QStringLiteral(
                      "The adapter %1 cannot read without a command, which the scan needs; it offers: %2.")
                      .arg(facts.Name, facts.Functions.join(QStringLiteral(", ")));
            break;
        }
        if (!onProgress(scanned, ++done, static_cast<int>(result.Addresses.size()))) {
            result.Cancelled = true;
            break;
        }
    }
    return result;
}

ErrorCode BusScan::Ask(std::int16_t address)
{
    ErrorCode err = ErrorCode::Ok;
    const auto word = std::ranges::find(kWords, address, &Word::Address);
    if (word != kWords.end() || address == m_gauge) {
        std::int16_t value = 0;
        m_usb.ReadSMBusWord_(word != kWords.end() ? word->Command : kGaugeWord, value, address, err);
        return err;
    }
    Bytes data;
    std::int16_t length = 1;
    m_usb.ReadI2CBlockNoCmdOnSMB(data, length, address, err);
    return err;
}
