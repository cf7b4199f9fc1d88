#pragma once

#include "dataflash/ValueOffers.h"

#include <QFrame>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTabWidget>
#include <QTableWidget>

/// Values of a file or of the defaults beside the ones on screen; nothing changes before the ticked ones are
/// taken. An import is such a comparison too.
class ComparePane final : public QFrame {
    Q_OBJECT
public:
    explicit ComparePane(QWidget* parent);
    void Show(ValueOffers offers, const DataFlashTree& tree);
    [[nodiscard]] const ValueOffers& Offers() const { return m_offers; }
    void SetLocked(bool on);
    void GoOn(bool forward); ///< next or previous difference
    void ShowMine(const DataFlashTree& tree); ///< the values on screen, after an edit or a read

signals:
    void Take();
    void Closed();
    void ItemChosen(const ItemPlace& place);

private:
    void Count();
    void TickAll(bool on);

    ValueOffers m_offers;
    bool m_locked = false;
    QLabel* lblCompareTitle;
    QLabel* lblCompareSummary;
    QTabWidget* m_pages;
    QTableWidget* grdCompare;
    QListWidget* lstRemarks;
    QPushButton* cmdTickAll;
    QPushButton* cmdTickNone;
    QPushButton* cmdCloseCompare;
    QPushButton* cmdTake;
};
