#pragma once

#include "platform/UserMessages.h"

#include <QStringList>

/// What the window would show in a box: kept for "messages" of the answer, or printed to standard error at
/// once.
class CliMessages final : public UserMessages {
public:
    enum class Questions { Unanswered, Yes, No };
    CliMessages(bool keep, Questions questions) : m_keep(keep), m_questions(questions) { }

    void Show(const QString& text) override;
    /// --yes and --no answer; with neither, and for buttons that mean neither, what changes nothing.
    Answer Ask(const QString& text, Answers offered) override;
    /// From now on messages are kept: they would spoil a picture that is drawn over.
    void Keep() { m_keep = true; }
    /// What was kept since the last call.
    [[nodiscard]] QStringList Take();

private:
    bool m_keep;
    Questions m_questions;
    QStringList m_kept;
};
