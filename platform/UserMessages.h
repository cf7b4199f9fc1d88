#pragma once

#include <QFlags>
#include <QString>

#include <vector>

enum class Answer : unsigned {
    Ok = 1,
    Cancel = 2,
    Yes = 4,
    No = 8,
    Abort = 16,
    Retry = 32,
    Ignore = 64,
};
Q_DECLARE_FLAGS(Answers, Answer)
Q_DECLARE_OPERATORS_FOR_FLAGS(Answers)

/// How the core speaks to a person: views show a box, the command line prints, tests record.
class UserMessages {
public:
    virtual ~UserMessages() = default;
    virtual void Show(const QString& text) = 0;
    /// A fault that may come back on every pass: the window lists it without stopping anybody.
    virtual void Report(const QString& text) { Show(text); }
    /// Asks and waits. Where nobody can answer it gives the answer that changes nothing:
    /// No, else Cancel, else Ignore, else Abort.
    virtual Answer Ask(const QString& text, Answers offered) = 0;
    /// An answer in the question's own words, such as "Discard 3 edits".
    struct Choice {
        Answer Means;
        QString Verb;
    };
    /// The same with verbs on the buttons, where there are buttons.
    virtual Answer Choose(const QString& text, const std::vector<Choice>& choices)
    {
        Answers offered;
        for (const Choice& choice : choices)
            offered |= choice.Means;
        return Ask(text, offered);
    }
};
