#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

/// Open-circuit voltage of one cell over its state of charge.
///
/// The shape follows slow (C/20) discharge curves that universities and battery laboratories publish for
/// cells with an NMC cathode and a graphite anode: a steep foot, a long shoulder, then nearly straight up
/// to 4.2 V. The points are our own, rounded. It rises everywhere, so that a voltage belongs to exactly one
/// state of charge; outside 0..1 the end pieces go on straight.
class CellCurve {
public:
    [[nodiscard]] static double Volts(double soc)
    {
        const std::size_t piece = Piece(soc);
        return kVolts[piece]
            + (soc * kPieces - static_cast<double>(piece)) * (kVolts[piece + 1] - kVolts[piece]);
    }

    /// Area under the curve from 0 to soc, in volts: times the capacity it is the energy stored.
    [[nodiscard]] static double Area(double soc)
    {
        const std::size_t piece = Piece(soc);
        double area = 0;
        for (std::size_t i = 0; i < piece; ++i)
            area += (kVolts[i] + kVolts[i + 1]) / (2.0 * kPieces);
        return area + (soc - static_cast<double>(piece) / kPieces) * (kVolts[piece] + Volts(soc)) / 2.0;
    }

private:
    static constexpr std::size_t kPieces = 20; // 5 % each
    static constexpr std::array<double, kPieces + 1> kVolts{3.000, 3.350, 3.480, 3.545, 3.585, 3.615, 3.640,
                                                            3.662, 3.685, 3.712, 3.745, 3.785, 3.828, 3.872,
                                                            3.916, 3.960, 4.002, 4.042, 4.082, 4.130, 4.200};

    static std::size_t Piece(double soc)
    {
        return static_cast<std::size_t>(std::clamp(soc * kPieces, 0.0, kPieces - 1.0));
    }
};
