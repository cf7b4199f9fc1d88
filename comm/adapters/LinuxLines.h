#pragma once

#include <QString>

#include <map>

struct gpiod_chip;
struct gpiod_line;

/// Output lines of GPIO chips through libgpiod 1.x; nothing else in the program knows that library. Results
/// are errno values, 0 for success. A line is taken from the kernel on first use and kept until this object
/// goes, which lets it go without a change of its level. Runs on the I/O thread.
class LinuxLines {
public:
    LinuxLines() = default;
    ~LinuxLines();
    LinuxLines(const LinuxLines&) = delete;
    LinuxLines& operator=(const LinuxLines&) = delete;

    /// @param line  "chip:offset", the chip by name (gpiochip0), number or label (cp2112_gpio)
    [[nodiscard]] int Write(const QString& line, bool level);
    /// Leaves a line that is not driven by us as it is, input or output.
    [[nodiscard]] int Read(const QString& line, bool& level);
    /// Ends driving: the line becomes an input, so that whatever pulls it on the board decides.
    [[nodiscard]] int Release(const QString& line);

private:
    struct Taken {
        gpiod_chip* Chip = nullptr;
        gpiod_line* Line = nullptr;
        bool Output = false;
    };
    int Take(const QString& line, Taken*& taken);
    int Drop(const QString& line, int error);

    std::map<QString, Taken> m_taken;
};

/// Plain words on a line that failed; empty when the errno says nothing about the line itself.
[[nodiscard]] QString LinuxLineProblem(const QString& line, int error);
