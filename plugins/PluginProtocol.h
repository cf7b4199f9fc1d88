#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <cstdint>
#include <deque>
#include <optional>

/// The lines between a host and a plug-in in a process of its own: docs/plugins.md has the form. Both sides
/// send requests and answers; each numbers its own requests.
namespace PluginProtocol {

inline constexpr int kVersion = 1;
inline constexpr qsizetype kLongestLine = 64 * 1024; ///< bytes, line end included
inline constexpr int kMostWaiting = 64; ///< requests sent but not answered

inline constexpr char kSocketVariable[] = "TARNLO_PLUGIN_SOCKET";
inline constexpr char kTokenVariable[] = "TARNLO_PLUGIN_TOKEN";

struct Message {
    enum class Kind : std::uint8_t { Hello, Call, Get, Set, Result, Error, Bad };
    Kind What = Kind::Bad;
    std::int64_t Id = 0;
    QString Name; ///< operation or property; of a hello the role: "plugin" or "adapter"
    QVariantMap Arguments; ///< of a call
    QVariant Value; ///< of a set; the result; of a hello the version
    QString Text; ///< token of a hello, text of an error, or what is wrong with the line
};

/// @param line  without its line end
[[nodiscard]] Message Parse(const QByteArray& line);

// Lines with their end. Bytes become hexadecimal text.
[[nodiscard]] QByteArray Hello(const QString& role, const QString& token); ///< of the plug-in
[[nodiscard]] QByteArray HelloAnswer(const QString& program);
[[nodiscard]] QByteArray Call(std::int64_t id, const QString& operation, const QVariantMap& arguments);
[[nodiscard]] QByteArray Get(std::int64_t id, const QString& property);
[[nodiscard]] QByteArray Set(std::int64_t id, const QString& property, const QVariant& value);
[[nodiscard]] QByteArray Result(std::int64_t id, const QVariant& result);
/// @param id  nothing: of no request
[[nodiscard]] QByteArray Error(std::optional<std::int64_t> id, const QString& text);

/// Cuts what comes from a stream into lines.
class Lines {
public:
    /// @return false when a line is too long; nothing is taken any more then
    bool Take(const QByteArray& bytes);
    [[nodiscard]] std::optional<QByteArray> Next();
    [[nodiscard]] std::size_t Waiting() const { return m_lines.size(); }

private:
    QByteArray m_rest;
    std::deque<QByteArray> m_lines;
    bool m_tooLong = false;
};

} // namespace PluginProtocol
