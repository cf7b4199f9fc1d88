#pragma once

#include "sbs/FlagView.h"

#include <QScrollArea>
#include <QWidget>

#include <vector>

/// The bits of the flag rows, named, wrapped at a number of bits a line; each says 1, 0 or ? beside its
/// colour.
class FlagsPane final : public QScrollArea {
    Q_OBJECT
public:
    explicit FlagsPane(QWidget* parent = nullptr);

    /// Takes the flag rows of the tables over.
    void InitPictFlags(int bitsPerRow);
    /// Shows the values of the latest pass and which registers are being scanned.
    void RefreshPictFlags(const ScanEngine& scan);
    void Applyskin();

private:
    class Canvas;
    Canvas* m_canvas;
};
