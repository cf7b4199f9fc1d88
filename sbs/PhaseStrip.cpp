#include "sbs/PhaseStrip.h"

#include "look/Icons.h"
#include "look/Marks.h"
#include "look/Theme.h"
#include "sbs/AutoCycle.h"
#include "sbs/RowTexts.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>

namespace {

constexpr std::size_t kMostShown = 12;
constexpr int kNarrowest = 26; // room for the icon
constexpr int kIcon = 16;

} // namespace

PhaseLook LookOf(CycleState state)
{
    const SkinColours& c = Theme::Current().Colours();
    switch (state) {
    case CycleState::Charging:
    case CycleState::ChargeNow:
        return {c.BitLow, c.BitLowText, false, QStringLiteral("charge")};
    case CycleState::Discharging:
    case CycleState::DischargeNow:
        return {c.BitHigh, c.BitHighText, false, QStringLiteral("discharge")};
    case CycleState::RelaxBeforeCharge:
    case CycleState::RelaxBeforeDischarge:
        return {c.BitUnknown, c.BitUnknownText, true, QStringLiteral("relax")};
    case CycleState::Idle:
        break;
    }
    return {c.ShapedButton, c.TextFore, false, QStringLiteral("cycle")};
}

PhaseStrip::PhaseStrip(QWidget* parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessibleName(tr("Phases"));
}

QSize PhaseStrip::sizeHint() const { return {400, fontMetrics().height() + 10}; }

QSize PhaseStrip::minimumSizeHint() const
{
    return {kNarrowest * static_cast<int>(kMostShown), sizeHint().height()};
}

void PhaseStrip::Show(const CycleHistory& history, std::int64_t presentMs, const QString& unit)
{
    m_pieces.clear();
    QStringList spoken;
    const auto& phases = history.Phases();
    for (auto phase = phases.rbegin(); phase != phases.rend() && m_pieces.size() < kMostShown; ++phase) {
        if (phase->State == CycleState::Idle) // before the first switch and after the stop
            continue;
        Piece piece{phase->State, phase->LengthMs.value_or(presentMs), !phase->LengthMs, {}};
        piece.described = tr("%1 since %2, %3")
                              .arg(CycleStateText(phase->State),
                                   phase->Began.toString(QStringLiteral("HH:mm:ss")), AgeText(piece.ms));
        if (phase->RemAtStart && phase->RemAtEnd)
            piece.described += tr("\nremaining capacity %1 to %2 %3")
                                   .arg(*phase->RemAtStart)
                                   .arg(*phase->RemAtEnd)
                                   .arg(unit)
                                   .trimmed();
        spoken.prepend(QStringLiteral("%1 %2").arg(CycleStateText(phase->State), AgeText(piece.ms)));
        m_pieces.insert(m_pieces.begin(), piece);
    }
    setAccessibleDescription(spoken.isEmpty() ? tr("no phase yet") : spoken.join(QStringLiteral(", ")));
    update();
}

std::vector<QRect> PhaseStrip::Places() const
{
    const int count = static_cast<int>(m_pieces.size());
    const int shared = std::max(0, width() - 2 - count * kNarrowest);
    std::int64_t total = 0;
    for (const Piece& piece : m_pieces)
        total += std::max<std::int64_t>(piece.ms, 1);
    std::vector<QRect> places;
    std::int64_t before = 0;
    int left = 1;
    for (int i = 0; i < count; ++i) {
        before += std::max<std::int64_t>(m_pieces[static_cast<std::size_t>(i)].ms, 1);
        // from the sum so far, not piece by piece: rounding must not leave a gap at the end
        const int right = 1 + (i + 1) * kNarrowest
            + static_cast<int>(static_cast<double>(shared) * static_cast<double>(before)
                               / static_cast<double>(total));
        places.emplace_back(left, 1, right - left, height() - 2);
        left = right;
    }
    return places;
}

void PhaseStrip::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const Theme& theme = Theme::Current();
    const SkinColours& colours = theme.Colours();
    painter.fillRect(rect(), ToColour(colours.Base));
    const std::vector<QRect> places = Places();
    for (std::size_t i = 0; i < places.size(); ++i) {
        const QRect& place = places[i];
        const Piece& piece = m_pieces[i];
        const PhaseLook look = LookOf(piece.state);
        if (look.Hatched)
            DrawHatch(painter, place, ToColour(look.Fill), ToColour(colours.Base));
        else
            painter.fillRect(place, ToColour(look.Fill));
        const Rgb ink = look.Hatched ? colours.TextFore : look.Text;
        painter.drawPixmap(QPoint(place.left() + 5, place.center().y() - kIcon / 2 + 1),
                           IconPixmap(look.Icon, kIcon, ToColour(ink), devicePixelRatioF()));
        painter.setFont(theme.Font(piece.present ? Type::Strong : Type::Body));
        painter.setPen(ToColour(ink));
        const QRect room = place.adjusted(5 + kIcon + 4, 0, -4, 0);
        const QString age = AgeText(piece.ms);
        const QString now = tr("%1, now").arg(age);
        const auto fits = [&](const QString& text) {
            return !look.Hatched && painter.fontMetrics().horizontalAdvance(text) <= room.width();
        };
        if (piece.present && fits(now))
            painter.drawText(room, Qt::AlignLeft | Qt::AlignVCenter, now);
        else if (fits(age))
            painter.drawText(room, Qt::AlignLeft | Qt::AlignVCenter, age);
        painter.setPen(ToColour(colours.Base));
        if (i > 0)
            painter.drawLine(place.topLeft(), place.bottomLeft());
    }
    if (places.empty()) {
        painter.setPen(ToColour(colours.TextSecondary));
        painter.drawText(rect().adjusted(8, 0, -8, 0), Qt::AlignLeft | Qt::AlignVCenter,
                         tr("The phases of a run stand here."));
    }
    painter.setPen(ToColour(colours.Outline));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

bool PhaseStrip::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    const std::vector<QRect> places = Places();
    for (std::size_t i = 0; i < places.size(); ++i)
        if (places[i].contains(help->pos())) {
            QToolTip::showText(help->globalPos(), m_pieces[i].described, this, places[i]);
            return true;
        }
    QToolTip::hideText();
    return true;
}
