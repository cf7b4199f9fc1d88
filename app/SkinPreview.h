#pragma once

#include <QWidget>

/// A few register rows, bits and a button in the colours of the skin in use.
class SkinPreview final : public QWidget {
    Q_OBJECT
public:
    explicit SkinPreview(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};
