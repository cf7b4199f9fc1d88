#pragma once

#include "comm/GaugeAccess.h"
#include "comm/frmUSB.h"
#include "dataflash/AccessStyle.h"
#include "dataflash/DataFlashModel.h"
#include "dataflash/PackIdentity.h"
#include "dataflash/PreserveSettings.h"
#include "dataflash/SubClassTransfer.h"
#include "dataflash/WriteJournal.h"
#include "platform/ProfileFile.h"
#include "platform/TimeSource.h"
#include "platform/UserMessages.h"
#include "settings/StartupState.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace DataFlashResult {
inline constexpr std::int32_t kOk = 0;
inline constexpr std::int32_t kNotRead = 5041; ///< what should be preserved was not read
inline constexpr std::int32_t kNoValue = 5042; ///< an item's text does not encode
inline constexpr std::int32_t kNoJournal = 5043; ///< the journal could not be saved, so nothing was sent
} // namespace DataFlashResult

/// Indices into the tree.
struct SubClassPlace {
    int Class = 0;
    int SubClass = 0;
    // the check takes the 0 of the generated comparison for a pointer
    auto operator<=>(const SubClassPlace&) const = default; // NOLINT(modernize-use-nullptr)
};

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
        int Class = 0; ///< -1 when the loaded configuration does not have the subclass
        int SubClass = 0;
        Fate What = Fate::Done;
        std::int32_t Code = 0;
        std::vector<int> Offsets{}; ///< bytes that did not take
    };
    std::int32_t Result = 0; ///< 0, 5041, 5042, 5043 or the adapter's code; 11 when something did not take,
                             ///< 34 when cancelled, 94 when the bus was not to be had
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
        bool Sent = false; ///< the gauge had acknowledged all of it
    };
    QString Pack; ///< the pack it belongs to, for people
    QString Begun; ///< ISO 8601
    std::vector<Entry> Entries;
};

/// The data flash of the selected target: its values, and their way to and from the gauge one subclass at a
/// time. Holds the bus under the name "DF" for its sequences; messages come after it was given back. Before
/// the first byte of a write goes out, a journal is on the disk (docs/dataflash-journal.md).
///
/// Every operation lets events run. One that is called while another runs answers at once with Cancelled and
/// code 34, and so does a load; values may be edited meanwhile and stay, but are not part of that write.
class DataFlash {
public:
    struct Links {
        frmUSB& usb;
        GaugeAccess& access;
        TimeSource& time;
        UserMessages& messages;
        ProfileStore& profiles;
        const StartupState& state;
        JournalFiles* journals = nullptr; ///< null: folder Journal of the program folder
    };
    explicit DataFlash(const Links& links);
    ~DataFlash();
    DataFlash(const DataFlash&) = delete;
    DataFlash& operator=(const DataFlash&) = delete;

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

    // One subclass; the bus is held by the caller, who shows what TakeMessages() hands out once he gave it
    // back. Results: 0, 5041, 5042, 5043, 34 or the adapter's code.
    std::int32_t ReadDFSubClass(int classIndex, int subClassIndex);
    std::int32_t WriteDFSubClass(int classIndex, int subClassIndex);
    [[nodiscard]] QStringList TakeMessages();

    TransferReport ReadAllDF();
    /// These subclasses alone. LastReadAllOK can only become false by it.
    TransferReport ReadSome(const std::vector<SubClassPlace>& places);
    /// The whole of Write All: guard, journal, walk, wait for the adapter, verify. What verifies is a Read
    /// All that compares byte by byte.
    TransferReport WriteAll(bool verify);
    /// Only subclasses with edited items; each must have been read before. Verified by reading them again.
    TransferReport WriteChanged(bool verify);
    /// The same for these subclasses alone, edited or not.
    TransferReport WriteSome(const std::vector<SubClassPlace>& places, bool verify);
    /// Write All that keeps what preserve set n names; asks when it names nothing.
    TransferReport WritePreserve(int set, bool verify);
    [[nodiscard]] QStringList PreserveSets() const; ///< for the menu, set 1 first
    /// Pings the adapter until it answers, for at most 20 s.
    void WaitforPacketsToBeSent();

    [[nodiscard]] WritePlan PlanAll() const;
    [[nodiscard]] WritePlan PlanChanged() const;

    /// A running operation ends: a read after its present page, a write after its present subclass, so that
    /// none is left half written. The journal of a write that was cut short stays.
    void Cancel();
    [[nodiscard]] bool Running() const { return m_running; }
    /// Called while an operation runs, once a subclass, with how many classes are done of how many and what
    /// is under way; in the end with 100 of 100 and an empty step.
    std::function<void(int done, int of, const QString& step)> OnProgress;

    /// Who is on the bus, for records and backups; nothing when the bus is not to be had.
    [[nodiscard]] std::optional<PackIdentity> ReadPack();

    /// Compares the gauge with the journal of a write that never ended. Nothing when there is none for the
    /// pack on the bus; without any journal the bus is not touched. Needs no loaded configuration.
    /// @param unclear  why nothing does not mean that there is none, such as a pack that does not answer
    [[nodiscard]] std::optional<PendingWrite> FindPendingWrite(QString* unclear = nullptr);
    /// Writes what is not new yet, or what is not old any more, and verifies it. The journal goes when all of
    /// it took. Values on the screen are then out of date: LastReadAllOK is false.
    TransferReport FinishPendingWrite();
    TransferReport RollBackPendingWrite();
    bool ForgetPendingWrite(); ///< @return false after a message: it is not forgotten

private:
    struct Message {
        QString Text;
        bool Fault = false; ///< for the list of faults rather than a box
    };
    /// What is known of a subclass beside its record in the tree.
    struct Known {
        bool Read = false; ///< its buffer is the gauge's, as of the last read or write
        Bytes Tail; ///< behind its end in its last page, as the gauge sent it
    };
    /// One subclass on its way to the gauge.
    struct Outgoing {
        SubClassPlace At;
        Bytes Old;
        Bytes New;
        QStringList Texts; ///< of the items as they were encoded
    };
    /// One operation at a time. Messages come when it ended, for then the bus is free.
    class Operation {
    public:
        explicit Operation(DataFlash& flash, bool shows = true);
        ~Operation();
        Operation(const Operation&) = delete;
        Operation& operator=(const Operation&) = delete;
        explicit operator bool() const { return m_first; }

    private:
        DataFlash& m_flash;
        bool m_first;
        bool m_shows;
    };

    static const QString kOwner;
    static const QString kBusy;
    [[nodiscard]] static QString CodeText(std::int32_t code);

    [[nodiscard]] bool Has(SubClassPlace place) const;
    [[nodiscard]] SubClass& At(SubClassPlace place);
    [[nodiscard]] const SubClass& At(SubClassPlace place) const;
    [[nodiscard]] QString NameOf(SubClassPlace place) const;
    [[nodiscard]] SubClassPlace PlaceOf(std::uint16_t id) const; ///< -1, -1: not in the tree
    [[nodiscard]] std::vector<SubClassPlace> AllPlaces() const;
    [[nodiscard]] std::vector<SubClassPlace> ChangedPlaces() const;
    [[nodiscard]] SubClassTransfer::Setup SetupOf(const AccessStyle& style) const;
    [[nodiscard]] SubClassTransfer MakeTransfer(const AccessStyle& style);
    [[nodiscard]] bool Preserved(std::uint16_t id) const;

    void Say(const QString& text, bool fault = false) { m_said.push_back({text, fault}); }
    void SayFaults(SubClassTransfer& transfer);
    void SayReadError(SubClassPlace place, std::int32_t code);
    void ShowMessages();
    void Progress(SubClassPlace place, const QString& verb);
    void ProgressEnds();
    [[nodiscard]] static TransferReport AlreadyRunning();
    [[nodiscard]] static TransferReport ReportOf(const std::vector<SubClassPlace>& places);
    [[nodiscard]] QString Summary(const TransferReport& report, const QString& verb) const;
    static void Fail(TransferReport::Entry& entry, std::int32_t code);
    [[nodiscard]] TransferReport Busy(TransferReport report);

    // steps with the bus held
    std::int32_t Fetch(SubClassTransfer& transfer, SubClassPlace place, Bytes& whole);
    [[nodiscard]] Bytes WithTail(const SubClassTransfer& transfer, SubClassPlace place,
                                 const Bytes& image) const;
    [[nodiscard]] QStringList Decoded(SubClassPlace place, const Bytes& image);
    void Take(SubClassPlace place, const Bytes& whole);
    std::int32_t ReadOne(SubClassTransfer& transfer, SubClassPlace place);
    std::int32_t Encode(SubClassPlace place, Outgoing& out);
    std::int32_t TakePreserved(SubClassTransfer& transfer, Outgoing& out);
    std::int32_t Send(SubClassTransfer& transfer, const Outgoing& out);
    std::int32_t BeginJournal(const std::vector<Outgoing>& writes);
    void EndJournal(const std::vector<Outgoing>& writes);
    [[nodiscard]] std::optional<JournalContent> OpenJournal(QString* unclear = nullptr);
    void WalkWrites(SubClassTransfer& transfer, std::vector<Outgoing>& writes, TransferReport& report);

    // parts of operations; each takes the bus and gives it back
    TransferReport Read(const std::vector<SubClassPlace>& places, bool all);
    TransferReport GuardedWriteAll(bool verify);
    TransferReport Write(const std::vector<SubClassPlace>& places, bool all, bool verify);
    void Verify(const std::vector<Outgoing>& writes, bool all, TransferReport& report);
    [[nodiscard]] bool Ping();
    TransferReport Recover(bool finish);
    [[nodiscard]] WritePlan Plan(const std::vector<SubClassPlace>& places, bool all) const;

    Links m_links;
    DataFlashTree m_tree;
    AccessStyle m_style;
    std::map<SubClassPlace, Known> m_known;
    bool m_lastReadAllOK = false;
    bool m_running = false;
    bool m_cancel = false;
    std::vector<Message> m_said;

    int m_preserveSelection = -1; ///< the active preserve set
    std::vector<std::uint16_t> m_preserveWhole;
    std::vector<std::uint16_t> m_preservePartly;

    std::unique_ptr<JournalFiles> m_ownJournals;
    WriteJournal m_journal;
};
