// usb-gauge [-a tiny|cp2112] [-r MS] [-l FILE] [-p] COMMAND [ARG...]
//
// A simulated smart battery behind a simulated USB adapter, for the kernel's own drivers to talk
// to: it plugs the adapter in, waits for the bus to appear, runs COMMAND with I2C_DEVICE naming its
// device node, and ends with COMMAND's exit status. With -r an adapter that was pulled out is plugged
// in again after that many milliseconds; -l writes down what the GPIO lines come to, a text line for every
// change, line 0 first, "-" for one that is not driven; with -p every request takes until the next frame of
// full-speed USB (1 ms), as it does behind a real cable.
//
//   tiny    plain I2C transfers; the kernel (i2c-tiny-usb) makes SMBus commands and PEC out of them
//   cp2112  SMBus commands as the adapter does them, plain I2C, 8 GPIO lines (hid-cp2112); line
//           n + 4 reads what line n drives
//
// What is on the bus: see simulated-bus.hpp.
#include "simulated-bus.hpp"

#include <arpa/inet.h>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <time.h>
#include <unistd.h>

// ---- a USB device, spoken to over USB/IP

[[noreturn]] void fail(const std::string& what)
{
    perror(("usb-gauge: " + what).c_str());
    _exit(125);
}

class UsbDevice {
public:
    virtual ~UsbDevice() = default;

    void plugIn()
    {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) < 0)
            fail("socketpair");
        const std::string line = "0 " + std::to_string(ends[1]) + " 65538 2"; // port, socket, id, full speed
        const int attach = open("/sys/devices/platform/vhci_hcd.0/attach", O_WRONLY);
        // The port is busy for a moment after an adapter was pulled out.
        for (int tries = 500; attach < 0 || ::write(attach, line.data(), line.size()) < 0; --tries) {
            if (attach < 0 || tries == 0)
                fail("attach to vhci-hcd");
            usleep(10000);
        }
        close(attach);
        close(ends[1]);
        inputs.clear();
        waiting.clear();
        unanswered.clear();
        socket = ends[0];
    }

    bool paced = false;
    std::string linesFile; // empty: not written

    void pullOut() { shutdown(socket, SHUT_RDWR); }

    // Until the adapter is pulled out.
    void serve()
    {
        Header request;
        while (receive(&request, sizeof request) && answer(request))
            for (; !inputs.empty() && !waiting.empty(); inputs.pop_front(), waiting.pop_front())
                reply(submitted, waiting.front(), 0, inputs.front().size(), inputs.front());
        close(socket);
    }

protected:
    struct Setup {
        uint8_t type, request;
        uint16_t value, index;
    };

    virtual Bytes descriptor(int kind) const = 0; // empty: none
    // A request that reads gets its answer in data, which comes as long as the host wants it.
    virtual Outcome control(const Setup& setup, bool in, Bytes& data) = 0;
    virtual Outcome output(const Bytes&) { return Outcome::Ok; } // interrupt endpoint

    std::deque<Bytes> inputs; // for the interrupt endpoint

private:
    static constexpr uint32_t submit = 1, unlink = 2, submitted = 3, unlinked = 4;

    struct Header { // numbers big endian; flags is the status in answers
        uint32_t command, sequence, device, direction, endpoint;
        uint32_t flags, length, startFrame, packets, interval;
        uint8_t setup[8];
    };

    bool answer(const Header& request)
    {
        if (ntohl(request.command) == unlink) {
            const auto before = waiting.size();
            waiting.erase(std::remove(waiting.begin(), waiting.end(), request.flags), waiting.end());
            const bool pending = waiting.size() < before || unanswered.erase(request.flags) > 0;
            reply(unlinked, request.sequence, pending ? -ECONNRESET : 0, 0, {});
            return true;
        }
        const bool in = ntohl(request.direction) == 1;
        if (in && request.endpoint != 0) {
            waiting.push_back(request.sequence);
            return true;
        }
        if (paced)
            waitForFrame();
        Bytes data(ntohl(request.length));
        if (!in && !receive(data.data(), data.size()))
            return false;
        const uint8_t* s = request.setup;
        const Setup setup{s[0], s[1], uint16_t(s[2] | s[3] << 8), uint16_t(s[4] | s[5] << 8)};
        Outcome outcome = Outcome::Ok;
        if (request.endpoint != 0)
            outcome = output(data);
        else if ((setup.type & 0x60) == 0)
            outcome = standard(setup, in, data);
        else
            outcome = control(setup, in, data);
        data.resize(std::min<size_t>(data.size(), ntohl(request.length)));
        if (outcome == Outcome::Unplugged)
            return false;
        if (outcome == Outcome::Silent)
            unanswered.insert(request.sequence);
        else if (outcome == Outcome::Ok)
            reply(submitted, request.sequence, 0, data.size(), in ? data : Bytes());
        else
            reply(submitted, request.sequence, -EPIPE, 0, {});
        return true;
    }

    Outcome standard(const Setup& setup, bool in, Bytes& data) const
    {
        if (setup.request != 6) {
            if (in)
                data = {0, 0}; // status
            return Outcome::Ok;
        }
        data = descriptor(setup.value >> 8);
        return data.empty() ? Outcome::LinesStuck : Outcome::Ok; // the former a stall
    }

    static void waitForFrame()
    {
        timespec at{};
        clock_gettime(CLOCK_MONOTONIC, &at);
        at.tv_nsec += 1'000'000 - at.tv_nsec % 1'000'000;
        if (at.tv_nsec == 1'000'000'000) {
            at.tv_nsec = 0;
            ++at.tv_sec;
        }
        clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &at, nullptr);
    }

    bool receive(void* buffer, size_t size)
    {
        return size == 0 || recv(socket, buffer, size, MSG_WAITALL) == ssize_t(size);
    }

    void reply(uint32_t command, uint32_t sequence, int status, size_t length, const Bytes& data)
    {
        Header header{};
        header.command = htonl(command);
        header.sequence = sequence;
        header.flags = htonl(status);
        header.length = htonl(static_cast<uint32_t>(length));
        Bytes whole(sizeof header);
        memcpy(whole.data(), &header, sizeof header);
        whole.insert(whole.end(), data.begin(), data.end());
        send(socket, whole.data(), whole.size(), MSG_NOSIGNAL); // receive() notices a closed end
    }

    int socket = -1;
    std::deque<uint32_t> waiting; // transfers of the interrupt endpoint without input so far
    std::set<uint32_t> unanswered;
};

// ---- the two adapters

class TinyUsb : public UsbDevice {
public:
    static constexpr const char *modules = "i2c-tiny-usb", *busName = "i2c-tiny-usb";
    static constexpr bool hasGpio = false;

private:
    Bytes descriptor(int kind) const override
    {
        switch (kind) {
        case 1: // a USB 1.1 device of a class of its own
            return {18, 1, 0x10, 0x01, 0xff, 0, 0, 8, 0x03, 0x04, 0x31, 0xc6, 0, 1, 0, 0, 0, 1};
        case 2: // one interface, no endpoints, 100 mA
            return {9, 2, 18, 0, 1, 1, 0, 0x80, 50, 9, 4, 0, 0, 0, 0xff, 0, 0, 0};
        }
        return {};
    }

    Outcome control(const Setup& setup, bool in, Bytes& data) override
    {
        if (setup.request == 1) { // functionality: I2C and what the kernel makes out of it
            data = {0x09, 0x00, 0xff, 0x0e};
        } else if (setup.request == 3) {
            data = {status};
        } else if (setup.request & 4) {
            const bool last = setup.request & 2;
            const auto address = static_cast<uint8_t>(setup.index);
            const Outcome outcome
                = in ? bus.read(address, data.size(), data, last) : bus.write(address, data, last);
            status = outcome == Outcome::AddressNack ? 2 : 1;
            return outcome == Outcome::AddressNack ? Outcome::Ok : outcome;
        }
        return Outcome::Ok;
    }

    Bus bus;
    uint8_t status = 0;
};

class Cp2112 : public UsbDevice {
public:
    static constexpr const char *modules = "usbhid hid-cp2112", *busName = "CP2112";
    static constexpr bool hasGpio = true;

private:
    Bytes descriptor(int kind) const override
    {
        const auto size = static_cast<uint8_t>(reports().size());
        switch (kind) {
        case 1:
            return {18, 1, 0, 2, 0, 0, 0, 64, 0xc4, 0x10, 0x90, 0xea, 0, 1, 0, 0, 0, 1};
        case 2: // one HID interface with an interrupt endpoint each way
            return {9, 2, 41, 0,    1,    1, 0, 0x80, 50,   9, 4,  0, 0, 2, 3, 0,    0, 0,  9, 0x21, 0x11,
                    1, 0, 1,  0x22, size, 0, 7, 5,    0x81, 3, 64, 0, 1, 7, 5, 0x01, 3, 64, 0, 1};
        case 0x22:
            return reports();
        }
        return {};
    }

    static Bytes reports()
    {
        constexpr uint8_t input = 0x81, output = 0x91, feature = 0xb1;
        Bytes bytes{0x06, 0x00, 0xff, 0x09, 0x01, 0xa1, 0x01, 0x15, 0x00, 0x26, 0xff, 0x00, 0x75, 0x08};
        const uint8_t list[][3]
            = {{0x02, 4, feature},  {0x03, 1, feature}, {0x04, 2, feature}, {0x05, 2, feature},
               {0x06, 13, feature}, {0x20, 1, feature}, {0x21, 8, feature}, {0x10, 3, output},
               {0x11, 20, output},  {0x12, 2, output},  {0x13, 63, input},  {0x14, 62, output},
               {0x15, 1, output},   {0x16, 6, input},   {0x17, 1, output}};
        for (const auto& [number, size, kind] : list)
            bytes.insert(bytes.end(), {0x85, number, 0x95, size, 0x09, 0x01, kind, 0x02});
        bytes.push_back(0xc0);
        return bytes;
    }

    Outcome control(const Setup& setup, bool in, Bytes& report) override
    {
        if (!in) { // set a report; other requests carry no report
            if (report.size() >= 2 && report[0] == 0x02)
                directions = report[1];
            if (report.size() >= 3 && report[0] == 0x04)
                latch = (latch & ~report[2]) | (report[1] & report[2]);
            noteLines();
            return Outcome::Ok;
        }
        switch (setup.value & 0xff) {
        case 0x02:
            report = {0x02, directions, 0, 0, 0};
            break;
        case 0x03:
            report = {0x03, levels()};
            break;
        case 0x05:
            report = {0x05, 0x0c, 0x02};
            break;
        case 0x06:
            report = {0x06, 0, 0x01, 0x86, 0xa0, 0x02, 0, 0, 0, 0, 0, 0, 0, 0};
            break;
        case 0x20:
            report = {0x20, 0};
            break;
        default:
            return Outcome::LinesStuck; // stall
        }
        return Outcome::Ok;
    }

    void noteLines()
    {
        std::string lines;
        for (int n = 0; n < 8; ++n)
            lines += (directions >> n & 1) == 0 ? '-' : latch >> n & 1 ? '1' : '0';
        if (!linesFile.empty() && lines != noted)
            std::ofstream(linesFile, std::ios::app) << lines << '\n';
        noted = lines;
    }

    // A line that nothing drives is high; line n + 4 as an input reads what line n drives.
    uint8_t levels() const
    {
        const uint8_t driven = latch | ~directions;
        return (driven & directions) | (~directions & (0x0f | driven << 4));
    }

    Outcome output(const Bytes& report) override
    {
        const uint8_t address = report[1] >> 1;
        const size_t count = report.size() > 3 ? report[2] << 8 | report[3] : 0;
        switch (report[0]) {
        case 0x10:
            outcome = bus.read(address, count, data, true);
            break;
        case 0x11:
            outcome = bus.write(address, Bytes(&report[5], &report[5] + report[4]), false);
            if (outcome == Outcome::Ok)
                outcome = bus.read(address, count, data, true);
            break;
        case 0x14:
            data.clear();
            outcome = bus.write(address, Bytes(&report[3], &report[3] + report[2]), true);
            break;
        case 0x12: {
            const size_t part = std::min<size_t>({size_t(report[1] << 8 | report[2]), data.size(), 61});
            Bytes answer{0x13, 0, uint8_t(part)};
            answer.insert(answer.end(), data.begin(), data.begin() + part);
            answer.resize(64);
            data.erase(data.begin(), data.begin() + part);
            inputs.push_back(answer);
            break;
        }
        case 0x15:
            if (outcome != Outcome::Silent)
                inputs.push_back(transferStatus());
            break;
        }
        return outcome == Outcome::Unplugged ? outcome : Outcome::Ok;
    }

    Bytes transferStatus() const
    {
        switch (outcome) {
        case Outcome::Ok:
            return {0x16, 2, 5, 0, 0, uint8_t(data.size() >> 8), uint8_t(data.size())};
        case Outcome::LinesStuck:
            return {0x16, 3, 1, 0, 0, 0, 0};
        case Outcome::ArbitrationLost:
            return {0x16, 3, 2, 0, 0, 0, 0};
        case Outcome::DataNack:
            return {0x16, 3, 4, 0, 0, 0, 0};
        default:
            return {0x16, 3, 0, 0, 1, 0, 0};
        }
    }

    Bus bus;
    Outcome outcome = Outcome::Ok;
    Bytes data;
    uint8_t directions = 0, latch = 0xff;
    std::string noted = "--------";
};

// ---- plugging in and running the command

// The device node of the bus whose name begins so.
std::string waitForBus(const std::string& name)
{
    for (int i = 0; i < 1000; ++i, usleep(10000)) {
        for (const auto& entry : std::filesystem::directory_iterator("/sys/class/i2c-dev")) {
            std::string found;
            std::getline(std::ifstream(entry.path() / "name"), found);
            std::string node = "/dev/" + entry.path().filename().string();
            if (found.rfind(name, 0) == 0 && access(node.c_str(), F_OK) == 0)
                return node;
        }
    }
    fail("no I2C bus appeared");
}

template <typename Adapter>
int run(char** command, int plugInAgainMs, const std::string& linesFile, bool paced)
{
    if (system((std::string("modprobe -a i2c-dev vhci-hcd ") + Adapter::modules).c_str()) != 0)
        fail("modprobe");
    Adapter adapter;
    adapter.paced = paced;
    adapter.linesFile = linesFile;
    adapter.plugIn();
    std::atomic<bool> ended = false;
    std::thread server([&] {
        adapter.serve();
        while (plugInAgainMs >= 0 && !ended) {
            usleep(static_cast<useconds_t>(plugInAgainMs) * 1000);
            adapter.plugIn();
            if (ended)
                adapter.pullOut();
            adapter.serve();
        }
    });
    const std::string node = waitForBus(Adapter::busName);
    setenv("I2C_DEVICE", node.c_str(), 1);
    // the virtual machine has no other GPIO chip
    while (Adapter::hasGpio && access("/dev/gpiochip0", F_OK) != 0)
        usleep(10000);

    const pid_t child = fork();
    if (child == 0) {
        execvp(command[0], command);
        fail(command[0]);
    }
    int status = 0;
    waitpid(child, &status, 0);

    ended = true;
    adapter.pullOut();
    server.join();
    // so that the next run cannot take this bus for its own
    for (int i = 0; i < 500 && access(node.c_str(), F_OK) == 0; ++i)
        usleep(10000);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int main(int count, char** arguments)
{
    std::string adapter = "tiny", linesFile;
    int plugInAgainMs = -1;
    bool paced = false, understood = true;
    for (int option; (option = getopt(count, arguments, "+a:r:l:p")) != -1;) {
        if (option == 'a')
            adapter = optarg;
        else if (option == 'r')
            plugInAgainMs = atoi(optarg);
        else if (option == 'l')
            linesFile = optarg;
        else if (option == 'p')
            paced = true;
        else
            understood = false;
    }
    if (!understood || optind >= count || (adapter != "tiny" && adapter != "cp2112")) {
        fprintf(stderr, "usage: usb-gauge [-a tiny|cp2112] [-r MS] [-l FILE] [-p] COMMAND [ARG...]\n");
        return 2;
    }
    char** const command = arguments + optind;
    return adapter == "tiny" ? run<TinyUsb>(command, plugInAgainMs, linesFile, paced)
                             : run<Cp2112>(command, plugInAgainMs, linesFile, paced);
}
