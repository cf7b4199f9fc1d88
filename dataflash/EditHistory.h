#pragma once

#include "dataflash/DataFlashModel.h"

#include <QString>

#include <cstddef>
#include <vector>

/// Changes of values on screen, with undo. A step may hold many items: an import, defaults, or the edits that
/// a read replaced. What the gauge holds is never touched, so marks follow by themselves.
class EditHistory {
public:
    struct Value {
        ItemPlace Place;
        QString Text; ///< native
    };
    struct Change {
        ItemPlace Place;
        QString Before;
        QString After;
    };
    struct Step {
        QString Text; ///< what was done, for menus
        std::vector<Change> Changes;
    };

    /// @param tree  outlives the history and keeps its layout while it has steps
    explicit EditHistory(DataFlashTree& tree) : m_tree(tree) { }

    /// Puts the values on screen as one step. Values that stand there already make no part of it.
    /// @return how many changed
    int Do(const QString& text, const std::vector<Value>& values);
    /// Keeps a step that somebody else has already done.
    void Note(const QString& text, std::vector<Change> changes);

    [[nodiscard]] QString UndoText() const; ///< what Undo takes back; empty: nothing
    [[nodiscard]] QString RedoText() const;
    const Step* Undo(); ///< @return the step taken back, null when there is none
    const Step* Redo();
    void Clear();

private:
    DataFlashTree& m_tree;
    std::vector<Step> m_steps;
    std::size_t m_done = 0; ///< steps that are in force
};
