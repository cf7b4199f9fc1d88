#pragma once

#include "sbs/FlagView.h"

#include <QWidget>

/// One line of named bits, eight in a row, as the flags tab draws them.
class FlagLineStrip final : public QWidget {
    Q_OBJECT
public:
    explicit FlagLineStrip(QWidget* parent = nullptr);
    void Show(const FlagLine& line);
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    FlagLine m_line;
};
