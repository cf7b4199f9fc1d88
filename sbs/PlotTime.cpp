#include "sbs/PlotTime.h"

#include <algorithm>

void PlotTime::SetWhole(std::int64_t firstMs, std::int64_t lastMs)
{
    m_firstMs = firstMs;
    m_lastMs = lastMs;
    Update();
}

void PlotTime::ShowLast(std::int64_t spanMs)
{
    m_mode = Mode::Last;
    m_fromMs = m_toMs - std::clamp(spanMs, kLeastSpanMs, kMostSpanMs);
    Update();
}

void PlotTime::ShowAll()
{
    m_mode = Mode::All;
    m_paused = false; // whoever asks for all wants to see it now
    Update();
}

void PlotTime::Show(std::int64_t fromMs, std::int64_t toMs)
{
    m_mode = Mode::Fixed;
    m_fromMs = fromMs;
    m_toMs = fromMs + std::clamp(toMs - fromMs, kLeastSpanMs, kMostSpanMs);
}

void PlotTime::Pan(double spans)
{
    const std::int64_t span = SpanMs();
    const std::int64_t from = m_fromMs + static_cast<std::int64_t>(static_cast<double>(span) * spans);
    // half a picture may be empty at either end
    const std::int64_t start
        = std::clamp(from, std::min(m_firstMs - span / 2, m_fromMs), std::max(m_lastMs - span / 2, m_fromMs));
    if (!m_paused && spans > 0 && from + span >= m_lastMs)
        ShowLast(span);
    else
        Show(start, start + span);
}

void PlotTime::Zoom(double factor, std::int64_t aroundMs)
{
    const double span = std::clamp(static_cast<double>(SpanMs()) * factor, static_cast<double>(kLeastSpanMs),
                                   static_cast<double>(kMostSpanMs));
    if (Following() && m_mode == Mode::Last) { // zooming the live end keeps it live
        ShowLast(static_cast<std::int64_t>(span));
        return;
    }
    const double part = static_cast<double>(aroundMs - m_fromMs) / static_cast<double>(SpanMs());
    const auto from = aroundMs - static_cast<std::int64_t>(span * part);
    Show(from, from + static_cast<std::int64_t>(span));
}

void PlotTime::Pause(bool on)
{
    m_paused = on;
    if (!on && m_mode == Mode::Fixed)
        m_mode = Mode::Last; // who goes on wants to see what comes
    Update();
}

void PlotTime::Update()
{
    if (!Following())
        return;
    const std::int64_t span
        = m_mode == Mode::All ? std::clamp(m_lastMs - m_firstMs, kLeastSpanMs, kMostSpanMs) : SpanMs();
    m_toMs = m_lastMs + 1; // the end of a span does not belong to it
    m_fromMs = m_toMs - span - (m_mode == Mode::All ? 1 : 0);
}
