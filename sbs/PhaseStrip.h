#pragma once

#include "look/SkinColours.h"
#include "sbs/CycleHistory.h"

#include <QWidget>

#include <vector>

/// How a state of the auto-cycle is drawn: fill and icon go together, so no state is told by its colour
/// alone.
struct PhaseLook {
    Rgb Fill;
    Rgb Text;
    bool Hatched = false;
    QString Icon;
};
[[nodiscard]] PhaseLook LookOf(CycleState state);

/// The newest phases of a run, as wide as they are long, the one under way at the right end.
class PhaseStrip final : public QWidget {
    Q_OBJECT
public:
    explicit PhaseStrip(QWidget* parent = nullptr);
    /// @param presentMs  length of the phase under way
    void Show(const CycleHistory& history, std::int64_t presentMs, const QString& unit);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    struct Piece {
        CycleState state;
        std::int64_t ms;
        bool present;
        QString described;
    };
    [[nodiscard]] std::vector<QRect> Places() const;
    std::vector<Piece> m_pieces;
};
