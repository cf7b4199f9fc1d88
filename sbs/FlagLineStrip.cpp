#include "sbs/FlagLineStrip.h"

#include "look/Marks.h"
#include "look/Theme.h"

#include <QPainter>

namespace {

constexpr int kGap = 4;
constexpr int kHeight = 20;
constexpr int kPerRow = 8;
constexpr int kNarrowest = 44;

int RowsOf(const FlagLine& line) { return (static_cast<int>(line.Bits.size()) + kPerRow - 1) / kPerRow; }

} // namespace

FlagLineStrip::FlagLineStrip(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("picFlagPreview"));
    setAccessibleName(tr("Preview of the bits"));
}

void FlagLineStrip::Show(const FlagLine& line)
{
    m_line = line;
    QStringList set;
    for (const FlagBit& bit : line.Bits)
        if (bit.Value.value_or(false))
            set << (bit.Name.isEmpty() ? tr("bit %1").arg(bit.Bit) : bit.Name);
    setAccessibleDescription(tr("set: %1").arg(set.isEmpty() ? tr("none") : set.join(QStringLiteral(", "))));
    setFixedHeight(sizeHint().height());
    update();
}

QSize FlagLineStrip::sizeHint() const
{
    return {kPerRow * (kNarrowest + kGap) - kGap, std::max(RowsOf(m_line), 1) * (kHeight + kGap) - kGap};
}

void FlagLineStrip::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setFont(Theme::Current().Font(Type::Body));
    const int each = std::min((width() - (kPerRow - 1) * kGap) / kPerRow, 120);
    for (std::size_t i = 0; i < m_line.Bits.size(); ++i) {
        const int at = static_cast<int>(i);
        const FlagBit& bit = m_line.Bits[i];
        const QRect cell(at % kPerRow * (each + kGap), at / kPerRow * (kHeight + kGap), each, kHeight);
        DrawBit(painter, cell,
                !bit.Value       ? BitState::Unknown
                    : *bit.Value ? BitState::Set
                                 : BitState::Clear,
                bit.Name);
    }
}
