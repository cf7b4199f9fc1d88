#pragma once

#include "cli/Command.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

/// Standard output and error of the program. A reader that went away ends streams instead of the program, so
/// that the bus is given back.
class Output {
public:
    explicit Output(bool json);

    [[nodiscard]] bool Json() const { return m_json; }
    [[nodiscard]] bool Terminal() const { return m_terminal; }
    [[nodiscard]] bool Colours() const { return m_colours; }
    [[nodiscard]] bool Broken() const { return m_broken; } ///< nobody reads any more

    /// One JSON object on a line of its own, at once.
    void PrintJson(const QJsonObject& object);
    void PrintText(const QString& text); ///< at once; a line end is added
    void PrintError(const QString& text);

    /// An outcome in the form asked for; a batch line is always JSON.
    void Print(const Outcome& outcome, const QStringList& messages, bool alwaysJson = false);

private:
    void Write(const QByteArray& bytes);
    bool m_json;
    bool m_terminal;
    bool m_colours;
    bool m_broken = false;
};
