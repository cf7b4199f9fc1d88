#pragma once

#include "comm/adapters/AdapterFunnel.h"
#include "platform/TimeSource.h"
#include "plugins/PluginProtocol.h"

#include <QString>

#include <map>
#include <memory>

class QLocalSocket;

/// The adapter that a running Tarnlo lends to what its plug-ins start: every operation that plug-ins are
/// offered goes through that host and its turn on the bus. The others (flash areas, output lines, a byte on
/// the I2C side) answer code 7. A host that does not answer within 30 s, or goes, is code 2.
class HostAdapter final : public AdapterFunnel {
public:
    /// @param socket, token  as the host gave them to the plug-in
    HostAdapter(TimeSource& time, QString socket, QString token);
    ~HostAdapter() override;

    ErrorCode AdpReadSMBusWord(std::int16_t cmd, std::int16_t& word, std::int16_t& addr) override;
    ErrorCode AdpWriteSMBusWord(std::int16_t cmd, std::int16_t word, std::int16_t& addr) override;
    ErrorCode AdpReadSMBusBlock(std::int16_t cmd, Bytes& data, std::int16_t& length,
                                std::int16_t& addr) override;
    ErrorCode AdpWriteSMBusBlock(std::int16_t& cmd, const Bytes& data, std::int16_t& length,
                                 std::int16_t& addr) override;
    ErrorCode AdpWriteSMBusCommand(std::int16_t& cmd, std::int16_t& addr) override;
    ErrorCode AdpGetLastError() override;
    ErrorCode AdpReadI2CBlockOnSMB(std::int16_t cmd, Bytes& data, std::int16_t& length,
                                   std::int16_t& addr) override;
    ErrorCode AdpWriteI2CBlockOnSMB(std::int16_t& cmd, const Bytes& data, std::int16_t& length,
                                    std::int16_t& addr) override;
    ErrorCode AdpI2CReadBlock(std::int16_t& addr, std::int16_t& reg, Bytes& data,
                              std::int16_t& length) override;
    ErrorCode AdpI2CWriteBlock(std::int16_t& addr, std::int16_t& reg, const Bytes& data,
                               std::int16_t& length) override;
    ErrorCode AdpI2CFunction(std::int32_t selector, std::int16_t& first, std::int16_t& second,
                             std::int16_t& third) override;
    ErrorCode AdpReadOneWire(std::int16_t mode, std::int32_t& value, std::int16_t& extra) override;
    ErrorCode AdpWriteOneWire(std::int16_t mode, std::int32_t value, std::int16_t extra) override;
    void AdpDelay(std::int32_t time) override;
    std::int32_t AdpProgramSrec(QString& path, std::int16_t& status, std::int32_t& detail) override;
    std::int32_t AdpReadSrec(QString& path, std::int16_t zero, std::int16_t& status,
                             std::int32_t& detail) override;
    std::int16_t AdpOpenDevice(QString& name) override;
    void AdpCloseDevice() override;

    [[nodiscard]] AdapterFacts Facts() const override;

private:
    void Perform(DriverCall& call) override; ///< what plug-ins are not offered
    /// One operation of the host and what it wrote.
    ErrorCode Ask(const QString& operation, const QVariantMap& arguments, QVariantMap& answer, int limitMs);
    ErrorCode Ask(const QString& operation, const QVariantMap& arguments);
    void Read();

    TimeSource& m_time;
    QString m_path;
    QString m_token;
    std::unique_ptr<QLocalSocket> m_socket;
    PluginProtocol::Lines m_lines;
    std::map<std::int64_t, PluginProtocol::Message> m_answers;
    std::int64_t m_nextId = 1;
    QString m_host; ///< what it calls itself, once it has greeted
    QString m_problem;
};

/// The host's adapter when the environment names the socket of a running Tarnlo, as it does for what a
/// plug-in starts; else nothing.
/// @param traceFile  records every call when not empty
[[nodiscard]] std::unique_ptr<Pc61vRW> HostAdapterFromEnvironment(TimeSource& time, const QString& traceFile);
[[nodiscard]] bool EnvironmentNamesHost();
