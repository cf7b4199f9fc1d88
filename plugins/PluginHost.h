#pragma once

#include "comm/GaugeAccess.h"
#include "comm/frmUSB.h"
#include "look/Skin.h"
#include "platform/TimeSource.h"
#include "platform/UserMessages.h"

#include <QByteArray>
#include <QObject>
#include <QTimer>
#include <QVariantMap>

#include <cstdint>
#include <functional>

/// What of the data flash layer plug-ins reach. Items are texts by item name.
class PluginDataFlash {
public:
    virtual ~PluginDataFlash() = default;
    /// Called before the bus is taken.
    /// @return false: the target has no data flash that can be used
    virtual bool Prepare() = 0;
    [[nodiscard]] virtual QStringList TakeMessages() = 0; ///< for people, once the bus was given back
    // With the bus held; 0, 5041, 5042, 5043 or the adapter's code. No such place or item is code 7.
    virtual std::int32_t Read(int classIndex, int subClassIndex, QVariantMap& items) = 0;
    /// @param items  only those to change; the others keep what is known of them
    virtual std::int32_t Write(int classIndex, int subClassIndex, const QVariantMap& items) = 0;
};

/// The host as one plug-in sees it: the operations lent to it, found by name through the meta-object. Every
/// one that uses the bus takes it for that call, or goes on under the hold that the plug-in acquired; while
/// anybody else has it, the answer is code 94 at once. A hold is a loan: it ends when the plug-in does not
/// use it for 5 s, after 60 s at the latest, when the plug-in goes, and when an output line must be switched
/// off.
///
/// Words are bit patterns, bytes travel as QByteArray, err is the adapter's code (0: success).
class PluginHost final : public QObject {
    Q_OBJECT
public:
    struct Links {
        frmUSB& usb;
        GaugeAccess& access;
        TimeSource& time;
        UserMessages& messages;
        std::function<Skin()> skin;
        PluginDataFlash* dataFlash = nullptr;
        int idleHoldMs = 5000; ///< a hold ends when the plug-in does not use it for so long
    };
    static constexpr int kLongestHoldMs = 60'000;
    static constexpr std::int32_t kLongestDelayMs = 10'000; ///< more answers code 7: it would hold up closing

    /// @param owner  the plug-in's name for people
    PluginHost(const Links& links, const QString& owner, QObject* parent = nullptr);
    ~PluginHost() override;

    // operations lent to the plug-in, in this order
    Q_INVOKABLE void Mode(const QString& key);
    Q_INVOKABLE void WriteSMBusWord_(quint8 cmd, qint16 word, qint16 addr, qint16& err);
    Q_INVOKABLE void WriteSMBusWord(quint8 cmd, quint8 msb, quint8 lsb, qint16 addr, qint16& err);
    Q_INVOKABLE void WriteSMBusBlock(quint8 cmd, const QByteArray& data, qint16 length, qint16 addr,
                                     qint16& err);
    Q_INVOKABLE void WriteSMBusCommand(quint8 cmd, qint16 addr, qint16& err);
    Q_INVOKABLE void ReadSMBusWord_(quint8 cmd, qint16& word, qint16 addr, qint16& err);
    Q_INVOKABLE void ReadSMBusWord(quint8 cmd, quint8& msb, quint8& lsb, qint16 addr, qint16& err);
    Q_INVOKABLE void ReadSMBusBlock_(quint8 cmd, QByteArray& data, qint16& length, qint16 addr, qint16& err);
    Q_INVOKABLE void ReadSMBusBlock(quint8 cmd, QString& text, qint16 addr, qint16 format, qint16& err);
    Q_INVOKABLE void ReadI2CBlockOnSMB(quint8 cmd, QString& text, qint16 addr, qint16& err);
    Q_INVOKABLE void ReadI2CBlockOnSMB_(quint8 cmd, QByteArray& data, qint16& length, qint16 addr,
                                        qint16& err);
    Q_INVOKABLE void WriteI2CBlockOnSMB(quint8 cmd, const QByteArray& data, qint16 length, qint16 addr,
                                        qint16& err);
    Q_INVOKABLE void Delay(qint32 time, qint16& err);
    Q_INVOKABLE void CheckForError(qint16& err);
    Q_INVOKABLE void I2CReadBlock(qint16 addr, qint16 reg, QByteArray& data, qint16& length, qint16& err);
    Q_INVOKABLE void I2CReadBlock_(qint16 addr, qint16 reg, QByteArray& data, qint16& length, qint16& err);
    Q_INVOKABLE void I2CWriteBlock(qint16 addr, qint16 reg, const QByteArray& data, qint16 length,
                                   qint16& err);
    Q_INVOKABLE void I2CPower(qint16 on, qint16& err);
    Q_INVOKABLE void ReadOneWire(qint16 mode, qint32& value, qint16& err);
    Q_INVOKABLE void WriteOneWire(qint16 mode, qint32 value, qint16& err);
    Q_INVOKABLE void ProgramSrec(const QString& path, qint16& status, qint32& detail, qint16& err);
    Q_INVOKABLE void ReadSrec(const QString& path, qint16& status, qint32& detail, qint16& err);
    /// Waits for another holder while events run.
    /// @param timeout  ms; what is left of it is handed back
    Q_INVOKABLE bool AcquireUSBExclAccess(qint16& timeout);
    Q_INVOKABLE void ReleaseUSBExclAccess();
    Q_INVOKABLE void ReadDFSubClass(qint16 classIndex, qint16 subClassIndex, QVariantMap& items, qint32& err);
    Q_INVOKABLE void WriteDFSubClass(qint16 classIndex, qint16 subClassIndex, const QVariantMap& items,
                                     qint32& err);
    Q_INVOKABLE qint32 GetColor(qint32 index);
    Q_INVOKABLE void UnloadInTime();
    Q_INVOKABLE QString test();

    /// Any of the operations with its arguments by name: what it only reads is needed, what it also writes
    /// may be given. Answers what it wrote, by name, and its result as "result"; or "error" in plain words
    /// when nothing was done. Bytes may also be given as hexadecimal text.
    Q_SLOT QVariantMap Call(const QString& operation, const QVariantMap& arguments);

    /// Would use the bus.
    [[nodiscard]] static bool NeedsBus(const QString& operation);
    /// A call that uses the bus would not be refused just now.
    [[nodiscard]] bool MayUseBus() const;
    [[nodiscard]] bool Holds() const { return m_holds; }
    [[nodiscard]] bool Busy() const { return m_calls > 0; } ///< a call is under way further down the stack
    [[nodiscard]] std::uint64_t Calls() const { return m_served; }
    void GiveBack(); ///< ends the plug-in's hold, if it has one
    void StopWaiting(); ///< a wait for the bus ends soon, without a message
    /// Names the plug-in once it has told its caption.
    void SetOwner(const QString& owner) { m_owner = owner; }

signals:
    void ModeRequested(const QString& key);
    void UnloadRequested();

private:
    class Turn;
    template <typename Operation, typename... Arguments>
    void Forward(qint16& err, Operation operation, Arguments&&... arguments);
    template <typename Work>
    void OnDataFlash(qint32& err, Work work);
    void WatchHold(); ///< of m_lease
    void TakeAway(const QString& why);

    Links m_links;
    QString m_owner;
    QTimer m_lease;
    std::int64_t m_heldSinceMs = 0;
    std::uint64_t m_served = 0;
    int m_calls = 0;
    bool m_holds = false;
    bool m_takenAway = false; ///< a release that comes late is no mistake of the plug-in
    bool m_stopWaiting = false;
};
