#include "simulator/FlashDefaults.h"

#include <array>

namespace {

/// The default values of targets/sim4s/sim4s-dataflash.toml; a test holds the two together. Change both.
// clang-format off
constexpr auto kFactory = std::to_array<FactorySubClass>({
    {1, 0, 20, // Safety / Voltage
     "10CC10360209C40BB802433040D80328A02EE003"},
    {2, 32, 12, // Safety / Current
     "138805E0C0050064080F0403"},
    {3, 64, 14, // Safety / Temperature
     "0D040CD20009E40A160E620DCC02"},
    {4, 96, 9, // Safety / Imbalance
     "012C0E74003200F001"},
    {5, 128, 8, // Safety / Switch Faults
     "0014FFEC0A089803"},
    {6, 160, 5, // Safety / Watchdog
     "0504000000"},
    {7, 192, 12, // Safety / Lasting Faults
     "0000000004B01F402E51B7A0"},
    {8, 224, 9, // Charge Control / Charge Limits
     "089841A000DC0BB80A"},
    {9, 256, 6, // Charge Control / Charge Temperature
     "0AAC0C6E1432"},
    {10, 288, 7, // Charge Control / Full Detection
     "00DC003C285F63"},
    {11, 320, 6, // Charge Control / Empty Detection
     "0BB803142EE0"},
    {12, 352, 9, // Charge Control / Balancing
     "0F3C000F00644B0003"},
    {13, 384, 7, // Charge Control / Charge Faults
     "10A4050E104650"},
    {14, 416, 7, // Charge Control / Maintenance
     "000040D85C0258"},
    {16, 448, 57, // Configuration / Pack Data
     "065461726E6C6F00000000000753494D3453343400000000044C494F4E5A6E00"
     "011130197039D0003101B8000A00001130076C6174696E2D31"},
    {17, 512, 9, // Configuration / Operation
     "0C1200060000041B00"},
    {18, 544, 8, // Configuration / Communication
     "160203E801000032"},
    {19, 576, 6, // Configuration / Alarms
     "0AE89002FFFF"},
    {20, 608, 10, // Configuration / Display
     "050414283C5081400000"},
    {22, 640, 19, // Manufacturer Data / Manufacturer Info
     "010200044C5430313A1721C00EEB7D170102B2"},
    {23, 672, 22, // Manufacturer Data / Production
     "06454F4C2D303300046175746F005A6E0167D3F01001"},
    {24, 704, 128, // Manufacturer Data / Notes
     "1D73696D756C61746564207061636B2C206E6F207265616C2063656C6C730000"
     "1F666F75722063656C6C732C206F6E6520626F6172642C206E6F207769726573"
     "012D000000000000000000000000000000000000000000000000000000000000"
     "012D000000000000000000000000000000000000000000000000000000000000"},
    {26, 832, 7, // Gas Gauging / Capacity
     "10EE326E00003C"},
    {27, 864, 14, // Gas Gauging / Learning
     "09740B10087F0000000180400000"},
    {28, 896, 9, // Gas Gauging / Current Thresholds
     "000A0028003C07083C"},
    {29, 928, 10, // Gas Gauging / Voltage Thresholds
     "0E420EC47903126E0C1C"},
    {30, 960, 8, // Gas Gauging / Self-Discharge
     "7D23D70A00B40BA6"},
    {31, 992, 14, // Gas Gauging / Rate Compensation
     "7C0F5C287975C28F010000000000"},
    {32, 1024, 8, // Gas Gauging / Gauging State
     "000010EE00020000"},
    {34, 1056, 42, // Cell Model / Open-Circuit Voltage
     "0BB80CEE0D6C0DB10DE40E0A0E260E3B0E4D0E5F0E730E8A0EA60EC80EEF0F1A"
     "0F4A0F800FBE10081068"},
    {35, 1120, 24, // Cell Model / Resistance Cell 1
     "0055026C01E0019A0172015401400136012C012C012C0136"},
    {36, 1152, 24, // Cell Model / Resistance Cell 2
     "0055026D01E1019B0173015501410137012D012D012D0137"},
    {37, 1184, 24, // Cell Model / Resistance Cell 3
     "0055026E01E2019C0174015601420138012E012E012E0138"},
    {38, 1216, 24, // Cell Model / Resistance Cell 4
     "0055026F01E3019D0175015701430139012F012F012F0139"},
    {39, 1248, 16, // Cell Model / Thermal Model
     "894800007F0000007B65604100B4002D"},
    {41, 1280, 8, // Power / Power Modes
     "000A051425800A05"},
    {42, 1312, 4, // Power / Wake
     "0719445C"},
    {43, 1344, 7, // Power / Peak Power
     "0A2BC02EE000FA"},
    {45, 1376, 18, // Calibration / Gains
     "50008071205B93092C484E204E204E204E20"},
    {46, 1408, 8, // Calibration / Offsets
     "0000000000000000"},
    {47, 1440, 10, // Calibration / Sampling
     "EF050FA0753084200000"},
    {48, 1472, 16, // Calibration / Thermistor
     "81108AF87E6FBA0173388CA347E02710"},
    {50, 1504, 22, // Lifetime / Extremes
     "0E740E740E740E740E740E740E740E74000000000000"},
    {51, 1536, 7, // Lifetime / Lifetime Temperatures
     "0BA60BA60BA600"},
    {52, 1568, 20, // Lifetime / Counters
     "0000000000000000000000000000000000000000"},
    {53, 1600, 32, // Lifetime / Time At Temperature
     "0000000000000000000000000000000000000000000000000000000000000000"},
    {54, 1632, 24, // Lifetime / Time At Charge
     "000000000000000000000000000000000000000000000000"},
    {55, 1664, 48, // Lifetime / Wear Record
     "0000000000000000000000000000000000000000000000000000000000000000"
     "00000000000000000000000000000000"},
    {56, 1728, 24, // Security / Keys
     "1A2B3C4D5E6F708100112233445566778899AABBCCDDEEFF"},
    {57, 1760, 5, // Security / Access
     "000304003C"},
    {59, 1792, 13, // Event Record / First Event
     "0000000000000AAC0000000000"},
    {60, 1824, 13, // Event Record / Second Event
     "0000000000000AAC0000000000"},
    {61, 1856, 13, // Event Record / Third Event
     "0000000000000AAC0000000000"},
    {63, 1888, 5, // Outputs / Lines
     "01020100FA"},
    {64, 1920, 64, // Host Data / Scratch
     "012D000000000000000000000000000000000000000000000000000000000000"
     "0000000000000000000000000000000000000000000000000000000000000000"},
    {66, 1984, 15, // Factory / Trim
     "FD0075FFFE17B800C0FFEE7889A027"},
    {67, 2016, 32, // Factory / Reserve
     "0108000134FECAFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF"},
});
// clang-format on

} // namespace

std::span<const FactorySubClass> FactoryDataFlash() { return kFactory; }
