#include "plugins/PluginHost.h"

#include "comm/BusSequence.h"
#include "comm/Wait.h"
#include "plugins/NamedCall.h"

#include <array>
#include <optional>
#include <utility>

namespace {

constexpr std::int16_t kRetryMs = 200;

Bytes ToBytes(const QByteArray& data) { return {data.begin(), data.end()}; }

/// What was read, as long as the adapter says it is.
QByteArray Received(const Bytes& data, std::int16_t length)
{
    const auto most = static_cast<qsizetype>(data.size());
    return {reinterpret_cast<const char*>(data.data()), std::clamp<qsizetype>(length, 0, most)};
}

} // namespace

/// One use of the bus by the plug-in: under its own hold, or for this call alone.
class PluginHost::Turn {
public:
    explicit Turn(PluginHost& host) : m_host(host)
    {
        // a holder that calls without a pause comes no further than this
        if (m_host.m_holds && m_host.m_calls == 0
            && host.m_links.time.MonotonicMs() - host.m_heldSinceMs > kLongestHoldMs)
            m_host.TakeAway(tr("it was held for %1 s").arg(kLongestHoldMs / 1000));
        ++m_host.m_calls;
        if (!m_host.MayUseBus())
            return;
        if (m_host.m_holds)
            m_underHold.emplace();
        else
            m_access.emplace(m_host.m_links.access, m_host.m_owner, std::int16_t{0});
    }
    ~Turn()
    {
        m_access.reset();
        m_underHold.reset();
        --m_host.m_calls;
        if (m_host.m_holds)
            m_host.m_lease.start();
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    explicit operator bool() const { return m_underHold || (m_access && *m_access); }

private:
    PluginHost& m_host;
    std::optional<CallOfHolder> m_underHold;
    std::optional<ExclusiveAccess> m_access;
};

template <typename Operation, typename... Arguments>
void PluginHost::Forward(qint16& err, Operation operation, Arguments&&... arguments)
{
    ErrorCode code = ErrorCode::BusBusy;
    if (const Turn turn(*this); turn)
        (m_links.usb.*operation)(std::forward<Arguments>(arguments)..., code);
    err = Number(code);
}

PluginHost::PluginHost(const Links& links, const QString& owner, QObject* parent)
    : QObject(parent), m_links(links), m_owner(owner)
{
    m_lease.setInterval(m_links.idleHoldMs);
    connect(&m_lease, &QTimer::timeout, this, &PluginHost::WatchHold);
}

PluginHost::~PluginHost() { GiveBack(); }

void PluginHost::Mode(const QString& key) { emit ModeRequested(key); }

void PluginHost::WriteSMBusWord_(quint8 cmd, qint16 word, qint16 addr, qint16& err)
{
    Forward(err, &frmUSB::WriteSMBusWord_, cmd, word, addr);
}

void PluginHost::WriteSMBusWord(quint8 cmd, quint8 msb, quint8 lsb, qint16 addr, qint16& err)
{
    Forward(err, &frmUSB::WriteSMBusWord, cmd, msb, lsb, addr);
}

void PluginHost::WriteSMBusBlock(quint8 cmd, const QByteArray& data, qint16 length, qint16 addr, qint16& err)
{
    Forward(err, &frmUSB::WriteSMBusBlock, cmd, ToBytes(data), length, addr);
}

void PluginHost::WriteSMBusCommand(quint8 cmd, qint16 addr, qint16& err)
{
    Forward(err, &frmUSB::WriteSMBusCommand, cmd, addr);
}

void PluginHost::ReadSMBusWord_(quint8 cmd, qint16& word, qint16 addr, qint16& err)
{
    Forward(err, &frmUSB::ReadSMBusWord_, cmd, word, addr);
}

void PluginHost::ReadSMBusWord(quint8 cmd, quint8& msb, quint8& lsb, qint16 addr, qint16& err)
{
    Forward(err, &frmUSB::ReadSMBusWord, cmd, msb, lsb, addr);
}

void PluginHost::ReadSMBusBlock_(quint8 cmd, QByteArray& data, qint16& length, qint16 addr, qint16& err)
{
    Bytes read;
    Forward(err, &frmUSB::ReadSMBusBlock_, cmd, read, length, addr);
    data = Received(read, length);
}

void PluginHost::ReadSMBusBlock(quint8 cmd, QString& text, qint16 addr, qint16 format, qint16& err)
{
    Forward(err, &frmUSB::ReadSMBusBlock, cmd, text, addr, format);
}

void PluginHost::ReadI2CBlockOnSMB(quint8 cmd, QString& text, qint16 addr, qint16& err)
{
    Forward(err, &frmUSB::ReadI2CBlockOnSMB, cmd, text, addr);
}

void PluginHost::ReadI2CBlockOnSMB_(quint8 cmd, QByteArray& data, qint16& length, qint16 addr, qint16& err)
{
    Bytes read;
    Forward(err, &frmUSB::ReadI2CBlockOnSMB_, cmd, read, length, addr);
    data = Received(read, length);
}

void PluginHost::WriteI2CBlockOnSMB(quint8 cmd, const QByteArray& data, qint16 length, qint16 addr,
                                    qint16& err)
{
    Forward(err, &frmUSB::WriteI2CBlockOnSMB, cmd, ToBytes(data), length, addr);
}

void PluginHost::Delay(qint32 time, qint16& err)
{
    if (time > kLongestDelayMs) {
        err = Number(ErrorCode::IncorrectParam);
        return;
    }
    Forward(err, &frmUSB::Delay, time);
}

void PluginHost::CheckForError(qint16& err) { Forward(err, &frmUSB::CheckForError); }

void PluginHost::I2CReadBlock(qint16 addr, qint16 reg, QByteArray& data, qint16& length, qint16& err)
{
    Bytes read;
    Forward(err, &frmUSB::I2CReadBlock, addr, reg, read, length);
    data = Received(read, length);
}

void PluginHost::I2CReadBlock_(qint16 addr, qint16 reg, QByteArray& data, qint16& length, qint16& err)
{
    Bytes read;
    Forward(err, &frmUSB::I2CReadBlock_, addr, reg, read, length);
    data = Received(read, length);
}

void PluginHost::I2CWriteBlock(qint16 addr, qint16 reg, const QByteArray& data, qint16 length, qint16& err)
{
    Forward(err, &frmUSB::I2CWriteBlock, addr, reg, ToBytes(data), length);
}

void PluginHost::I2CPower(qint16 on, qint16& err) { Forward(err, &frmUSB::I2CPower, on); }

void PluginHost::ReadOneWire(qint16 mode, qint32& value, qint16& err)
{
    Forward(err, &frmUSB::ReadOneWire, mode, value);
}

void PluginHost::WriteOneWire(qint16 mode, qint32 value, qint16& err)
{
    Forward(err, &frmUSB::WriteOneWire, mode, value);
}

void PluginHost::ProgramSrec(const QString& path, qint16& status, qint32& detail, qint16& err)
{
    Forward(err, &frmUSB::ProgramSrec, path, status, detail);
}

void PluginHost::ReadSrec(const QString& path, qint16& status, qint32& detail, qint16& err)
{
    Forward(err, &frmUSB::ReadSrec, path, status, detail);
}

bool PluginHost::AcquireUSBExclAccess(qint16& timeout)
{
    // who holds it already, or stands on a holder's stack, would wait for itself
    if (m_holds || m_calls > 0 || ExclusiveAccess::HeldBelow() || BusSequence::Running())
        return false;
    ++m_calls;
    m_stopWaiting = false;
    while (GaugeAccess::Held() && timeout >= 1 && !m_stopWaiting) {
        WaitMs(m_links.time, kRetryMs);
        timeout = static_cast<qint16>(timeout - kRetryMs);
    }
    qint16 noMoreWaiting = std::min<qint16>(timeout, 0);
    m_holds = !m_stopWaiting && m_links.access.AcquireUSBExclusiveAccess(noMoreWaiting);
    --m_calls;
    if (!m_holds)
        return false;
    m_takenAway = false;
    m_links.access.Lend(m_owner, [this] { TakeAway(tr("something that cannot wait needed it")); });
    m_heldSinceMs = m_links.time.MonotonicMs();
    m_lease.start();
    return true;
}

void PluginHost::ReleaseUSBExclAccess()
{
    if (m_holds)
        GiveBack();
    else if (!std::exchange(m_takenAway, false) && !GaugeAccess::Held())
        m_links.access.ReleaseUSBExclusiveAccess(); // the message of a release too many
    // else another one holds it, whose hold stays
}

void PluginHost::GiveBack()
{
    if (!m_holds)
        return;
    m_holds = false;
    m_lease.stop();
    m_links.access.ReleaseUSBExclusiveAccess();
}

void PluginHost::StopWaiting() { m_stopWaiting = true; }

void PluginHost::WatchHold()
{
    if (m_calls > 0 || !m_holds)
        return; // the end of the call starts the timer again
    TakeAway(tr("it was not used for %1 s").arg(m_links.idleHoldMs / 1000));
}

void PluginHost::TakeAway(const QString& why)
{
    GiveBack();
    m_takenAway = true;
    m_links.messages.Report(tr("The plug-in \"%1\" no longer has the bus for itself: %2.").arg(m_owner, why));
}

template <typename Work>
void PluginHost::OnDataFlash(qint32& err, Work work)
{
    err = Number(ErrorCode::IncorrectParam);
    if (!m_links.dataFlash || !m_links.dataFlash->Prepare())
        return;
    err = Number(ErrorCode::BusBusy);
    if (const Turn turn(*this); turn)
        err = work(*m_links.dataFlash);
    for (const QString& text : m_links.dataFlash->TakeMessages())
        m_links.messages.Report(text);
}

void PluginHost::ReadDFSubClass(qint16 classIndex, qint16 subClassIndex, QVariantMap& items, qint32& err)
{
    items.clear();
    OnDataFlash(err, [&](PluginDataFlash& flash) { return flash.Read(classIndex, subClassIndex, items); });
}

void PluginHost::WriteDFSubClass(qint16 classIndex, qint16 subClassIndex, const QVariantMap& items,
                                 qint32& err)
{
    OnDataFlash(err, [&](PluginDataFlash& flash) { return flash.Write(classIndex, subClassIndex, items); });
}

qint32 PluginHost::GetColor(qint32 index)
{
    // Plug-ins know these numbers: 0 is Background, not ToolBackground, and two are widths, on purpose.
    static constexpr std::array kValues{
        &Skin::Background,
        &Skin::ToolBackground,
        &Skin::HighlightBorderWidth,
        &Skin::UnHighlightBorderWidth,
        &Skin::SelectionHighlight,
        &Skin::TextFore,
        &Skin::TextHighlightFore,
        &Skin::ShapedButton,
        &Skin::ChangeHighlight,
        &Skin::BitHigh,
        &Skin::BitLow,
        &Skin::BitUnknown,
    };
    if (index < 0 || index >= static_cast<qint32>(kValues.size()))
        return 0;
    return m_links.skin().*kValues[static_cast<std::size_t>(index)];
}

void PluginHost::UnloadInTime() { emit UnloadRequested(); }

QString PluginHost::test() { return QStringLiteral("test"); }

QVariantMap PluginHost::Call(const QString& operation, const QVariantMap& arguments)
{
    ++m_served;
    return CallByName(*this, operation, arguments);
}

bool PluginHost::NeedsBus(const QString& operation)
{
    static const QStringList without{QStringLiteral("Mode"), QStringLiteral("ReleaseUSBExclAccess"),
                                     QStringLiteral("GetColor"), QStringLiteral("UnloadInTime"),
                                     QStringLiteral("test")};
    return !without.contains(operation);
}

bool PluginHost::MayUseBus() const
{
    return !BusSequence::Running() && !ExclusiveAccess::HeldBelow() && (m_holds || !GaugeAccess::Held());
}
