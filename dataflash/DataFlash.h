#pragma once

#include "comm/GaugeAccess.h"
#include "comm/frmUSB.h"
#include "dataflash/AccessStyle.h"
#include "dataflash/DataFlashModel.h"
#include "platform/ProfileFile.h"
#include "platform/TimeSource.h"
#include "platform/UserMessages.h"
#include "settings/StartupState.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace DataFlashResult {
inline constexpr std::int32_t kOk = 0;
inline constexpr std::int32_t kNotRead = 5041; ///< what should be preserved was not read
inline constexpr std::int32_t kNoValue = 5042; ///< an item's text does not encode
} // namespace DataFlashResult

/// What a write would do, before it is done.
struct WritePlan {
    struct Entry {
        int Class = 0;
        int SubClass = 0;
        int Items = 0; ///< edited ones
        int Bytes = 0; ///< sent
    };
    std::vector<Entry> Entries;
    int Bytes = 0;
    double Seconds = 0; ///< bus time, row delays and the read that verifies
};

/// What became of a read or a write.
struct TransferReport {
    enum class Fate : std::uint8_t { Done, Failed, NotReached, NotVerified };
    struct Entry {
        int Class = 0;
        int SubClass = 0;
        Fate What = Fate::Done;
        std::int32_t Code = 0;
        std::vector<int> Offsets{}; ///< bytes that did not take
    };
    std::int32_t Result = 0; ///< 0, 5041, 5042 or the adapter's code
    bool Cancelled = false;
    bool Verified = false; ///< read back, and everything took
    std::vector<Entry> Entries;
    QString Text; ///< what happened, in plain words
};

/// A write that never ended: the cable was pulled or the program stopped.
struct PendingWrite {
    enum class Now : std::uint8_t { Old, New, Torn, Unreadable };
    struct Entry {
        std::uint16_t Id = 0;
        QString Name; ///< subclass (class)
        Now What = Now::Unreadable;
    };
    QString Pack; ///< the pack it belongs to, for people
    QString Begun; ///< ISO 8601
    std::vector<Entry> Entries;
};

/// The data flash of the selected target: its values, and their way to and from the gauge one subclass at a
/// time. Holds the bus under the name "DF" for its sequences; messages come after it was given back.
class DataFlash {
public:
    struct Links {
        frmUSB& usb;
        GaugeAccess& access;
        TimeSource& time;
        UserMessages& messages;
        ProfileStore& profiles;
        const StartupState& state;
    };
    explicit DataFlash(const Links& links);
    ~DataFlash();

    /// Loads key ConfigFile of section DataFlash of the target's configuration file, opened in the folder of
    /// that file, else in the program folder.
    /// @return false after a message; what was loaded before stays
    bool Load();
    /// The same with a given configuration file.
    bool LoadFile(const QString& path);
    [[nodiscard]] bool Loaded() const { return !m_tree.Classes.empty(); }
    [[nodiscard]] const DataFlashTree& Tree() const { return m_tree; }
    [[nodiscard]] DataFlashTree& Tree() { return m_tree; }
    [[nodiscard]] const AccessStyle& Style() const { return m_style; }
    [[nodiscard]] bool LastReadAllOK() const { return m_lastReadAllOK; }
    /// Key Name of section Device of the target's configuration file, or "Unknown".
    [[nodiscard]] QString DeviceName() const;

    // operations; each answers at once with Cancelled when another one runs further down the stack
    std::int32_t ReadDFSubClass(int classIndex, int subClassIndex); ///< bus held by the caller
    std::int32_t WriteDFSubClass(int classIndex, int subClassIndex); ///< bus held by the caller
    TransferReport ReadAllDF();
    /// The whole of Write All: guard, journal, walk, wait for the adapter, verify.
    TransferReport WriteAll(bool verify);
    /// Only subclasses with edited items.
    TransferReport WriteChanged(bool verify);
    /// Write All that keeps what preserve set n names.
    TransferReport WritePreserve(int set, bool verify);
    [[nodiscard]] QStringList PreserveSets() const; ///< for the menu, set 1 first
    void WaitforPacketsToBeSent();

    [[nodiscard]] WritePlan PlanAll() const;
    [[nodiscard]] WritePlan PlanChanged() const;

    void Cancel(); ///< a running operation ends after its present page
    [[nodiscard]] bool Running() const { return m_running; }
    /// Called while an operation runs, once a subclass: how many are done of how many, and what is under way.
    std::function<void(int done, int of, const QString& step)> OnProgress;

    /// Compares the gauge with the journal of a write that never ended. Nothing when there is none for the
    /// pack on the bus.
    [[nodiscard]] std::optional<PendingWrite> FindPendingWrite();
    TransferReport FinishPendingWrite();
    TransferReport RollBackPendingWrite();
    void ForgetPendingWrite();

private:
    Links m_links;
    DataFlashTree m_tree;
    AccessStyle m_style;
    bool m_lastReadAllOK = false;
    bool m_running = false;
};
