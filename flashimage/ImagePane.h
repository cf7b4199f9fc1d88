#pragma once

#include "flashimage/HexView.h"
#include "flashimage/ImageDocument.h"

#include <QFrame>
#include <QLabel>

/// One image: a head with its name, hash and state, and its bytes below.
class ImagePane final : public QFrame {
    Q_OBJECT
public:
    ImagePane(const char* name, bool readOnly, QWidget* parent);

    [[nodiscard]] ImageDocument& Document() { return m_document; }
    [[nodiscard]] const ImageDocument& Document() const { return m_document; }
    [[nodiscard]] HexView* Hex() const { return hexView; }
    void ShowHead(); ///< after the document, its region or its edits changed

private:
    bool m_readOnly;
    ImageDocument m_document;
    HexView* hexView;
    QLabel* lblName;
    QLabel* lblHash;
    QLabel* lblPencil;
    QLabel* lblState;
};
