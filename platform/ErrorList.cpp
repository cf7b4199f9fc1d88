#include "platform/ErrorList.h"

void ErrorList::Add(const QString& text)
{
    const QString shown = text.size() <= kMostCharacters ? text : text.left(kMostCharacters) + QChar(0x2026);
    const QDateTime now = m_time.Now();
    ++m_revision;
    if (!m_entries.empty() && m_entries.back().Text == shown) {
        m_entries.back().Last = now;
        ++m_entries.back().Count;
        return;
    }
    if (m_entries.size() == kMostEntries)
        m_entries.pop_front();
    m_entries.push_back({now, now, shown, 1});
}

void ErrorList::Clear()
{
    m_entries.clear();
    ++m_revision;
}
