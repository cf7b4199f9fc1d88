#pragma once

#include "dataflash/DataFlashFilter.h"

#include <QTabBar>

/// The classes of a data flash, a tab each, with the number of changed and edited items behind the name.
/// While a search runs a tab in front of them holds what was found in all classes.
class DataFlashTabs final : public QTabBar {
    Q_OBJECT
public:
    explicit DataFlashTabs(QWidget* parent);

    void SetClasses(const QStringList& names);
    void ShowMarks(const MarkTally& tally);
    /// Puts the tab of all classes in front, or takes it away; the class chosen before comes back.
    void ShowFound(bool on, int items = 0);
    /// @return a class, or DataFlashItemModel::kAllClasses
    [[nodiscard]] int CurrentClass() const;
    [[nodiscard]] int ChosenClass() const; ///< the same without the tab of all classes
    void SetCurrentClass(int classIndex);
    void Step(int by); ///< Ctrl+PgUp, Ctrl+PgDn

signals:
    void ClassChosen();

private:
    QStringList m_names;
    bool m_found = false;
    int m_before = 0; ///< class that was chosen before the search
};
