#include "dataflash/EditHistory.h"

#include "dataflash/EachItem.h"

#include <utility>

int EditHistory::Do(const QString& text, const std::vector<Value>& values)
{
    std::vector<Change> changes;
    for (const Value& value : values) {
        DataItem& item = ItemAt(m_tree, value.Place);
        if (item.Value == value.Text)
            continue;
        changes.push_back({value.Place, item.Value, value.Text});
        item.Value = value.Text;
    }
    const int changed = static_cast<int>(changes.size());
    Note(text, std::move(changes));
    return changed;
}

void EditHistory::Note(const QString& text, std::vector<Change> changes)
{
    if (changes.empty())
        return;
    m_steps.resize(m_done);
    m_steps.push_back({text, std::move(changes)});
    ++m_done;
}

QString EditHistory::UndoText() const { return m_done == 0 ? QString() : m_steps[m_done - 1].Text; }

QString EditHistory::RedoText() const { return m_done == m_steps.size() ? QString() : m_steps[m_done].Text; }

const EditHistory::Step* EditHistory::Undo()
{
    if (m_done == 0)
        return nullptr;
    const Step& step = m_steps[--m_done];
    for (auto change = step.Changes.rbegin(); change != step.Changes.rend(); ++change)
        ItemAt(m_tree, change->Place).Value = change->Before;
    return &step;
}

const EditHistory::Step* EditHistory::Redo()
{
    if (m_done == m_steps.size())
        return nullptr;
    const Step& step = m_steps[m_done++];
    for (const Change& change : step.Changes)
        ItemAt(m_tree, change.Place).Value = change.After;
    return &step;
}

void EditHistory::Clear()
{
    m_steps.clear();
    m_done = 0;
}
