#include "cli/CliMessages.h"

#include <cstdio>
#include <utility>

void CliMessages::Show(const QString& text)
{
    if (m_keep)
        m_kept << text;
    else
        std::fprintf(stderr, "%s\n", text.toUtf8().constData());
}

Answer CliMessages::Ask(const QString& text, Answers offered)
{
    Show(text);
    const bool yes = m_questions == Questions::Yes;
    if (!m_keep)
        std::fputs(yes                                ? "(answered Yes, as --yes says)\n"
                       : m_questions == Questions::No ? "(answered No, as --no says)\n"
                                                      : "(answered No; --yes answers Yes)\n",
                   stderr);
    // Retry is never chosen: nobody is there to put the cause right in between
    if (yes)
        for (const Answer answer : {Answer::Yes, Answer::Ok})
            if (offered.testFlag(answer))
                return answer;
    for (const Answer answer : {Answer::No, Answer::Cancel, Answer::Ignore, Answer::Abort})
        if (offered.testFlag(answer))
            return answer;
    return Answer::Ok;
}

QStringList CliMessages::Take() { return std::exchange(m_kept, {}); }
