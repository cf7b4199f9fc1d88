#pragma once

#include "platform/WholeFile.h"

#include <QTemporaryDir>

#include <array>
#include <random>

// A register log of seven days at 5 s with 40 columns.

inline constexpr int kRecords = 121'000;
inline constexpr int kRegisters = 37;

/// Words, negative currents, fractions, hexadecimal, percents and now and then a failed read.
inline QByteArray WeekOfRecords()
{
    std::mt19937 random(1);
    const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
    QByteArray log = "GG Version: 1.02 for Simulated\r\n2026-01-05\r\n           \r\nMaker: A "
                     "\r\nSample\tStamp\t~Elapsed(s)";
    for (int i = 0; i < kRegisters; ++i)
        log += "\tRegister" + QByteArray::number(i);
    log += "\r\n";
    for (int record = 0; record < kRecords; ++record) {
        std::array<char, 64> text{};
        const int t = record * 5;
        std::snprintf(text.data(), text.size(), "%d\t%02d:%02d:%02d\t%d", record + 1, t / 3600 % 24,
                      t / 60 % 60, t % 60, t);
        log += text.data();
        for (int i = 0; i < kRegisters; ++i) {
            switch (i % 6) {
            case 0:
                std::snprintf(text.data(), text.size(), "\t%d", 14000 + below(3000));
                break;
            case 1:
                std::snprintf(text.data(), text.size(), "\t-%d", below(3000));
                break;
            case 2:
                std::snprintf(text.data(), text.size(), "\t%d.%d", below(60), below(10));
                break;
            case 3:
                std::snprintf(text.data(), text.size(), "\t%04X", static_cast<unsigned>(below(65536)));
                break;
            case 4:
                std::snprintf(text.data(), text.size(), "\t%d", below(100));
                break;
            default:
                std::snprintf(text.data(), text.size(), below(100) == 0 ? "\t" : "\t65535");
                break;
            }
            log += text.data();
        }
        log += "\r\n";
    }
    return log;
}

inline const QString& WeekFile()
{
    static const QTemporaryDir folder;
    static const QString path = [] {
        QString name = folder.filePath(QStringLiteral("week.log"));
        if (!SaveWhole(name, WeekOfRecords()).isEmpty())
            std::abort();
        return name;
    }();
    return path;
}
