#pragma once

#include "sbs/PlotData.h"

#include <cstdint>
#include <optional>

/// Which span of time a plot shows. It follows the newest pass until somebody pans or zooms away from it, and
/// again when panned back to it; a pause holds it where it is.
class PlotTime {
public:
    void SetWhole(std::int64_t firstMs,
                  std::int64_t lastMs); ///< what there is to show; call it after each pass
    void ShowLast(std::int64_t spanMs);
    void ShowAll();
    void Show(std::int64_t fromMs, std::int64_t toMs);
    void Pan(double spans); ///< by so many spans, positive towards the newest
    void Zoom(double factor, std::int64_t aroundMs); ///< below 1 shows a shorter span
    void Pause(bool on);

    [[nodiscard]] std::int64_t FromMs() const { return m_fromMs; }
    [[nodiscard]] std::int64_t ToMs() const { return m_toMs; }
    [[nodiscard]] std::int64_t SpanMs() const { return m_toMs - m_fromMs; }
    [[nodiscard]] bool Paused() const { return m_paused; }
    [[nodiscard]] bool Following() const { return m_mode != Mode::Fixed && !m_paused; }
    [[nodiscard]] bool ShowsAll() const { return m_mode == Mode::All; }

    static constexpr std::int64_t kLeastSpanMs = 1000;
    static constexpr std::int64_t kMostSpanMs = 366LL * 24 * 3600 * 1000;

private:
    enum class Mode { Last, All, Fixed };
    void Update();

    Mode m_mode = Mode::Last;
    bool m_paused = false;
    std::int64_t m_firstMs = 0;
    std::int64_t m_lastMs = 0;
    std::int64_t m_fromMs = -15 * 60 * 1000;
    std::int64_t m_toMs = 0;
};
