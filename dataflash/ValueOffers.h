#pragma once

#include "dataflash/DataFlashDiff.h"
#include "dataflash/DataFlashModel.h"
#include "dataflash/EditHistory.h"
#include "dataflash/GgFile.h"

#include <QString>
#include <QStringList>

#include <vector>

/// Values of a file or of the defaults beside the ones on screen, to be ticked and taken.
struct ValueOffers {
    struct Offer {
        ItemPlace Place;
        QString Mine; ///< native text on screen; empty: none
        QString Theirs; ///< native text offered; empty: none
        QString Note; ///< why it cannot be taken, or which limit it passes
        bool CanTake = true;
        bool Ticked = true;
    };
    QString Title;
    QString Source; ///< head of the column with their values
    QString Summary; ///< counts of everything that was looked at, skipped items included
    std::vector<Offer> Offers;
    QStringList Remarks; ///< one line each

    [[nodiscard]] int Ticked() const;
    [[nodiscard]] std::vector<EditHistory::Value> Taken() const; ///< the ticked ones
};

/// Values past a limit come unticked: who wants them takes them one by one.
[[nodiscard]] ValueOffers OffersOf(const GgImport& import, const DataFlashTree& tree, const QString& title,
                                   const QString& source);
[[nodiscard]] ValueOffers OffersOfDefaults(const DataFlashTree& tree, const QString& title,
                                           const QString& source);
