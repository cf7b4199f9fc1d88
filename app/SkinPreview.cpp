#include "app/SkinPreview.h"

#include "look/Icons.h"
#include "look/Marks.h"
#include "look/Theme.h"

#include <QBoxLayout>
#include <QPainter>
#include <QPushButton>

namespace {

constexpr int kWidth = 212;
constexpr int kRow = 20;
constexpr int kUnit = 34;
constexpr int kValue = 84;
constexpr int kBitsTop = 5 * kRow + 8;

} // namespace

SkinPreview::SkinPreview(QWidget* parent) : QWidget(parent)
{
    setFixedWidth(kWidth);
    setAccessibleName(tr("Preview of the skin"));
    auto* down = new QVBoxLayout(this);
    down->setContentsMargins(0, kBitsTop + kRow + 8, 0, 0);
    auto* button = new QPushButton(ThemeIcon(QStringLiteral("settings")), tr("Button"), this);
    button->setAutoDefault(false);
    button->setFocusPolicy(Qt::NoFocus);
    down->addWidget(button);
}

void SkinPreview::paintEvent(QPaintEvent*)
{
    const Theme& theme = Theme::Current();
    const SkinColours& c = theme.Colours();
    QPainter painter(this);
    const QRect table(0, 0, width(), 5 * kRow);
    painter.fillRect(table, ToColour(c.Base));
    const int valueLeft = width() - kUnit - kValue;
    const auto cells = [&](int row, const QString& name, const QString& value, const QString& unit, Rgb ink,
                           Rgb unitInk) {
        const int top = row * kRow;
        painter.setPen(ToColour(ink));
        painter.drawText(QRect(6, top, valueLeft - 8, kRow), Qt::AlignVCenter, name);
        painter.drawText(QRect(valueLeft, top, kValue - 6, kRow), Qt::AlignVCenter | Qt::AlignRight, value);
        painter.setPen(ToColour(unitInk));
        painter.drawText(QRect(valueLeft + kValue + 6, top, kUnit, kRow), Qt::AlignVCenter, unit);
    };
    const auto cell = [&](int row) { return QRect(valueLeft, row * kRow, kValue, kRow); };

    painter.fillRect(0, 0, width(), kRow, ToColour(c.HeaderFill));
    cells(0, tr("Description"), tr("Value"), tr("Unit"), c.TextSecondary, c.TextSecondary);
    DrawChangedCell(painter, cell(1), Trend::Down, false);
    painter.setFont(theme.Font(Type::Strong));
    cells(1, {}, QStringLiteral("14873"), {}, c.TextFore, c.TextFore);
    painter.setFont(theme.Font(Type::Body));
    cells(1, QStringLiteral("Voltage"), {}, QStringLiteral("mV"), c.TextFore, c.TextSecondary);
    painter.fillRect(0, 2 * kRow, width(), kRow, ToColour(c.AlternateBase));
    cells(2, QStringLiteral("Temperature"), QStringLiteral("27.4"), QStringLiteral("\u00b0C"), c.TextFore,
          c.TextSecondary);
    painter.fillRect(0, 3 * kRow, width(), kRow, ToColour(c.SelectionHighlight));
    cells(3, QStringLiteral("Current"), QStringLiteral("-1498"), QStringLiteral("mA"), c.TextHighlightFore,
          c.TextHighlightFore);
    DrawFailedCell(painter, cell(4), false);
    cells(4, QStringLiteral("ChgVoltage"), {}, QStringLiteral("mV"), c.TextFore, c.TextSecondary);
    painter.setPen(ToColour(c.Outline));
    painter.drawRect(table.adjusted(0, 0, -1, -1));

    constexpr int kGap = 4;
    const int bitWidth = (width() - 2 * kGap) / 3;
    const BitState states[]{BitState::Set, BitState::Clear, BitState::Unknown};
    const QString names[]{QStringLiteral("DSG"), QStringLiteral("FC"), QStringLiteral("EC0")};
    for (int i = 0; i < 3; ++i)
        DrawBit(painter, QRect(i * (bitWidth + kGap), kBitsTop, bitWidth, kRow), states[i], names[i]);
}
