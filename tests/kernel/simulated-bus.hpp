// The simulated I2C bus: a smart battery at 0x0b, a 256-byte EEPROM at 0x50, and two one-wire
// bridges, at 0x18 with a memory on its wire and at 0x19 with nothing on it. No other address answers.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <vector>

using Bytes = std::vector<uint8_t>;

enum class Outcome { Ok, AddressNack, DataNack, LinesStuck, ArbitrationLost, Silent, Unplugged };

struct Target {
    virtual ~Target() = default;
    virtual Outcome write(const Bytes& data) = 0; // up to the next start or stop
    virtual Outcome read(size_t count, Bytes& data) = 0;
    virtual void stop() { }
};

uint8_t pec(const Bytes& bytes)
{
    uint8_t crc = 0;
    for (uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = static_cast<uint8_t>((crc << 1) ^ ((crc & 0x80) ? 0x07 : 0));
    }
    return crc;
}

// Keeps what is written to it, as words or as blocks, and answers reads of both with the PEC byte
// after them. Some commands misbehave on purpose:
//   0xe0 not acknowledged             0xe1 answered with a wrong PEC
//   0xe2 bus lines stuck              0xe3 the adapter never answers
//   0xe4 block of length 0            0xe5 block with the length byte 0x40
//   0xe6 arbitration lost             0xe7 the adapter is pulled out
class Gauge : public Target {
public:
    Gauge()
    {
        words = {{0x00, 0},      {0x01, 440},    {0x02, 10},   {0x03, 0x0001}, {0x08, 2982},   {0x09, 12345},
                 {0x0a, 0xfc18}, {0x0b, 0xfc18}, {0x0c, 1},    {0x0d, 57},     {0x0e, 55},     {0x0f, 2508},
                 {0x10, 4400},   {0x11, 150},    {0x12, 150},  {0x13, 0xffff}, {0x14, 2000},   {0x15, 12600},
                 {0x16, 0x00c0}, {0x17, 42},     {0x18, 4400}, {0x19, 10800},  {0x1a, 0x0031}, {0x1b, 0x5a21},
                 {0x1c, 1234},   {0xe1, 0x5aa5}};
        blocks = {{0x20, text("Maker")}, {0x21, text("Battery")}, {0x22, text("LION")}, {0xe4, {}}};
        for (uint8_t i = 1; i <= 32; ++i)
            blocks[0x23].push_back(i);
    }

    Outcome write(const Bytes& data) override
    {
        received = data;
        if (data.empty())
            return Outcome::Ok;
        switch (data[0]) {
        case 0xe0:
            return Outcome::DataNack;
        case 0xe2:
            return Outcome::LinesStuck;
        case 0xe3:
            return Outcome::Silent;
        case 0xe6:
            return Outcome::ArbitrationLost;
        case 0xe7:
            return Outcome::Unplugged;
        }
        size_t length = 1; // a command alone
        if (data.size() > 2)
            length = isBlock(data) ? data[1] + 2 : 3;
        if (data.size() < length || data.size() > length + 1)
            return Outcome::DataNack;
        if (data.size() == length + 1) {
            Bytes checked{address << 1};
            checked.insert(checked.end(), data.begin(), data.end());
            if (pec(checked) != 0)
                return Outcome::DataNack;
            received.pop_back();
        }
        return Outcome::Ok;
    }

    Outcome read(size_t count, Bytes& data) override
    {
        const uint8_t command = received.empty() ? 0 : received[0];
        if (received.size() == 3) // process call
            words[command] = static_cast<uint16_t>(received[1] | received[2] << 8);
        Bytes reply{address << 1};
        reply.insert(reply.end(), received.begin(), received.end());
        reply.push_back(address << 1 | 1);
        const size_t head = reply.size();
        if (command == 0xe5) {
            reply.insert(reply.end(), {0x40, 0x11, 0x22});
        } else if (blocks.count(command)) {
            const Bytes& block = blocks[command];
            reply.push_back(static_cast<uint8_t>(block.size()));
            reply.insert(reply.end(), block.begin(), block.end());
        } else {
            if (!words.count(command))
                return Outcome::AddressNack; // a command that it does not know
            reply.push_back(static_cast<uint8_t>(words[command] & 0xff));
            reply.push_back(static_cast<uint8_t>(words[command] >> 8));
        }
        reply.push_back(pec(reply) ^ (command == 0xe1 ? 0xff : 0));
        data.assign(reply.begin() + head, reply.end());
        data.resize(count, 0xff);
        received.clear();
        return Outcome::Ok;
    }

    void stop() override
    {
        if (received.size() < 3)
            return; // a command alone changes nothing here
        if (isBlock(received)) {
            blocks[received[0]] = Bytes(received.begin() + 2, received.end());
            words.erase(received[0]);
        } else {
            words[received[0]] = static_cast<uint16_t>(received[1] | received[2] << 8);
            blocks.erase(received[0]);
        }
        received.clear();
    }

    static constexpr uint8_t address = 0x0b;

private:
    static Bytes text(const char* s) { return Bytes(s, s + strlen(s)); }

    bool isBlock(const Bytes& data) const
    {
        if (words.count(data[0]) || data[1] > 32)
            return false;
        return blocks.count(data[0]) || data.size() - 2u == data[1] || data.size() - 3u == data[1];
    }

    std::map<uint8_t, uint16_t> words;
    std::map<uint8_t, Bytes> blocks;
    Bytes received;
};

class Eeprom : public Target {
public:
    Outcome write(const Bytes& data) override
    {
        for (size_t i = 0; i < data.size(); ++i) {
            if (i == 0)
                position = data[0];
            else
                cells[position++] = data[i];
        }
        return Outcome::Ok;
    }

    Outcome read(size_t count, Bytes& data) override
    {
        data.clear();
        while (data.size() < count)
            data.push_back(cells[position++]);
        return Outcome::Ok;
    }

private:
    Bytes cells = Bytes(256, 0xff);
    uint8_t position = 0;
};

// A one-wire memory of 512 bytes with a 32-byte scratchpad (family 0x23), slot by slot.
class OneWireMemory {
public:
    void reset() { *this = OneWireMemory(memory); }

    // One time slot: what the master writes, and what it then sees on the line.
    bool slot(bool bit)
    {
        if (!sending.empty()) {
            bit = bit && sending.front();
            sending.erase(sending.begin());
            if (sending.empty())
                sent();
            return bit;
        }
        if (state == Search) {
            if (bit != romBit(searched))
                state = Idle;
            else if (++searched < 64)
                sendSearchBits();
            else
                state = Function;
            return bit;
        }
        shift = static_cast<uint8_t>(shift >> 1 | bit << 7);
        if (++bits == 8) {
            bits = 0;
            take(shift);
        }
        return bit;
    }

    explicit OneWireMemory(Bytes content = Bytes(512, 0xff)) : memory(content) { }

private:
    enum State { Idle, Rom, Match, Search, Function, Address, Reading, Filling, Copying };

    bool romBit(int n) const { return rom[n / 8] >> n % 8 & 1; }
    void sendSearchBits() { sending = {romBit(searched), !romBit(searched)}; }

    void send(const Bytes& bytes)
    {
        for (uint8_t byte : bytes)
            for (int bit = 0; bit < 8; ++bit)
                sending.push_back(byte >> bit & 1);
    }

    void sent()
    {
        if (state == Reading && target < memory.size())
            send({memory[target++]});
    }

    void take(uint8_t byte)
    {
        received.push_back(byte);
        switch (state) {
        case Rom:
            state = byte == 0xcc || byte == 0x33 ? Function
                : byte == 0x55                   ? Match
                : byte == 0xf0                   ? Search
                                                 : Idle;
            if (byte == 0x33)
                send(rom);
            if (byte == 0xf0)
                sendSearchBits();
            received.clear();
            break;
        case Match:
            if (received.size() == rom.size()) {
                state = received == rom ? Function : Idle;
                received.clear();
            }
            break;
        case Function:
            command = byte;
            state = byte == 0xf0 || byte == 0x0f ? Address : byte == 0x55 ? Copying : Idle;
            if (byte == 0xaa) { // read scratchpad
                send({uint8_t(target), uint8_t(target >> 8), end()});
                send(scratchpad);
            }
            received.clear();
            break;
        case Address:
            if (received.size() < 2)
                break;
            target = static_cast<uint16_t>(received[0] | received[1] << 8);
            scratchpad.clear();
            state = command == 0xf0 ? Reading : Filling;
            sent();
            break;
        case Filling:
            if (target % 32 + scratchpad.size() < 32)
                scratchpad.push_back(byte);
            break;
        case Copying:
            if (received != Bytes{uint8_t(target), uint8_t(target >> 8), end()})
                break;
            std::copy(scratchpad.begin(), scratchpad.end(), memory.begin() + target % memory.size());
            send({0xaa});
            break;
        default:
            break;
        }
    }

    uint8_t end() const { return static_cast<uint8_t>(target % 32 + scratchpad.size() - 1); }

    Bytes memory, received;
    std::vector<bool> sending;
    State state = Rom;
    int bits = 0, searched = 0;
    uint8_t shift = 0, command = 0;
    static inline const Bytes rom{0x23, 1, 2, 3, 4, 5, 6, 0x28};
    static inline uint16_t target = 0; // the scratchpad and its address outlive a reset
    static inline Bytes scratchpad;
};

// A DS2482, the I2C to one-wire bridge, with one memory on its wire or with nothing.
class OneWireBridge : public Target {
public:
    explicit OneWireBridge(bool hasDevice) : device(hasDevice) { }

    Outcome write(const Bytes& data) override
    {
        if (data.empty())
            return Outcome::Ok;
        const uint8_t value = data.size() > 1 ? data[1] : 0;
        pointer = &status;
        switch (data[0]) {
        case 0xf0: // reset of the bridge
            status = lineHigh | 0x10;
            break;
        case 0xe1:
            pointer = value == 0xe1 ? &byte : value == 0xc3 ? &configuration : &status;
            break;
        case 0xd2:
            configuration = value & 0x0f;
            status = lineHigh;
            pointer = &configuration;
            break;
        case 0xb4: // reset of the wire
            memory.reset();
            status = lineHigh | (device ? 0x02 : 0);
            break;
        case 0x87: // one slot
            status = static_cast<uint8_t>(lineHigh | slot(value & 0x80) << 5);
            break;
        case 0xa5:
            for (int bit = 0; bit < 8; ++bit)
                slot(value >> bit & 1);
            break;
        case 0x96:
            byte = 0;
            for (int bit = 0; bit < 8; ++bit)
                byte = static_cast<uint8_t>(byte | slot(true) << bit);
            break;
        case 0x78: { // two slots read, one written
            const bool first = slot(true), second = slot(true);
            const bool direction = first == second ? first || value & 0x80 : first;
            slot(direction);
            status = lineHigh | first << 5 | second << 6 | direction << 7;
            break;
        }
        default:
            return Outcome::DataNack;
        }
        return Outcome::Ok;
    }

    Outcome read(size_t count, Bytes& data) override
    {
        data.assign(count, *pointer);
        return Outcome::Ok;
    }

private:
    bool slot(bool bit) { return device ? memory.slot(bit) : bit; }

    static constexpr uint8_t lineHigh = 0x08;
    const bool device;
    OneWireMemory memory;
    uint8_t status = lineHigh | 0x10, byte = 0, configuration = 0;
    uint8_t* pointer = &status;
};

class Bus {
public:
    Bus()
    {
        targets[Gauge::address] = std::make_unique<Gauge>();
        targets[0x50] = std::make_unique<Eeprom>();
        targets[0x18] = std::make_unique<OneWireBridge>(true);
        targets[0x19] = std::make_unique<OneWireBridge>(false);
    }

    Outcome write(uint8_t address, const Bytes& data, bool last)
    {
        const auto found = targets.find(address);
        return found == targets.end() ? Outcome::AddressNack
                                      : finish(*found->second, found->second->write(data), last);
    }

    Outcome read(uint8_t address, size_t count, Bytes& data, bool last)
    {
        const auto found = targets.find(address);
        return found == targets.end() ? Outcome::AddressNack
                                      : finish(*found->second, found->second->read(count, data), last);
    }

private:
    static Outcome finish(Target& target, Outcome outcome, bool last)
    {
        if (last && outcome == Outcome::Ok)
            target.stop();
        return outcome;
    }

    std::map<uint8_t, std::unique_ptr<Target>> targets;
};
