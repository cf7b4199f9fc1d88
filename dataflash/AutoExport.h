#pragma once

#include "platform/TimeSource.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <optional>

class DataFlash;
struct TransferReport;

/// Saves the gauge's data flash to numbered files at a fixed interval. The owner runs the timer tmrExport and
/// hands its ticks on.
class AutoExport {
public:
    static constexpr int kLowestSeconds = 15;
    static constexpr int kHighestSeconds = 86'400;
    static constexpr int kLongestTimerMs = 65'535;
    static constexpr int kHighestNumber = 32'767;

    /// Reads the gauge and saves one file.
    /// @return empty, or why nothing was written
    using Export = std::function<QString(const QString& path, QStringList& warnings)>;

    struct Result {
        QString File;
        bool Replaced = false; ///< a file of an earlier round stood there
        QString Problem; ///< empty, or why nothing was written
        QStringList Warnings; ///< values that the file cannot carry back
    };

    AutoExport(TimeSource& time, Export exportTo);

    /// Takes over an interval typed by a person, in seconds.
    /// @return empty, or what to tell: the interval then is as it was
    [[nodiscard]] QStringList SetInterval(const QString& typed);
    [[nodiscard]] std::int64_t IntervalMs() const { return m_intervalMs; }

    /// Begins a run: the interval counts from now, the number from one above the highest one present.
    /// @param base  file name, with its folder, that "_00000.gg" is put to
    void Start(const QString& base);
    /// What tmrExport runs with, in ms. A longer interval is waited for in several ticks.
    [[nodiscard]] int SetAutoExportTimer() const;
    /// Whether a tick acts: always when the timer has the interval itself, else when that many whole seconds
    /// have passed since the last one that did.
    [[nodiscard]] bool TimeToProcess() const;
    /// One tick of the timer.
    /// @return nothing when the time has not come or an export is still under way further down the stack
    std::optional<Result> Tick();

    [[nodiscard]] int NextNumber() const { return m_number; }
    /// "base_00007.gg".
    [[nodiscard]] static QString FileName(const QString& base, int number);

private:
    TimeSource& m_time;
    Export m_export;
    std::int64_t m_intervalMs = kLowestSeconds * 1000LL;
    std::int64_t m_last = 0;
    QString m_base;
    int m_number = 0;
    bool m_running = false;
};

/// A Read All and then an export of what it read. Nothing is written when the read failed, and nothing is
/// even read while there are edits that it would take away.
/// @param read  receives the report of the Read All, if there was one
/// @return empty, or why nothing was written
[[nodiscard]] QString ReadAndExport(DataFlash& dataFlash, TimeSource& time, const QString& path,
                                    QStringList& warnings, TransferReport* read = nullptr);
