#include "sbs/FlagsPane.h"

#include "look/Icons.h"
#include "look/Marks.h"
#include "look/Theme.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>

namespace {

constexpr int kMargin = 10;
constexpr int kGap = 4;
constexpr int kBitHeight = 20;
constexpr int kNarrowestBit = 44;

} // namespace

class FlagsPane::Canvas final : public QWidget {
public:
    explicit Canvas(QWidget* parent) : QWidget(parent)
    {
        setObjectName(QStringLiteral("PictFlags"));
        setAccessibleName(FlagsPane::tr("Flags"));
    }

    void Show(std::vector<FlagLine> lines, std::vector<QString> values)
    {
        m_lines = std::move(lines);
        m_values = std::move(values);
        setMinimumSize(LabelWidth() + m_bitsPerRow * (kNarrowestBit + kGap) + 2 * kMargin, HeightOfAll());
        QStringList spoken;
        for (const FlagLine& line : m_lines)
            for (const FlagBit& bit : line.Bits)
                if (bit.Value.value_or(false) && !bit.Name.isEmpty())
                    spoken << line.Caption + QLatin1Char(' ') + bit.Name;
        setAccessibleDescription(spoken.isEmpty()
                                     ? FlagsPane::tr("no flag is set")
                                     : FlagsPane::tr("set: ") + spoken.join(QStringLiteral(", ")));
        update();
    }

    void SetBitsPerRow(int bits) { m_bitsPerRow = std::clamp(bits, 1, kMostFlagBits); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        const Theme& theme = Theme::Current();
        m_places.clear();
        int y = kMargin;
        for (std::size_t i = 0; i < m_lines.size(); ++i) {
            const FlagLine& line = m_lines[i];
            PaintHead(painter, line, m_values[i], y);
            y += HeadHeight();
            const QStringList shortNames = NamesFit(line) ? QStringList() : ShortBitNames(line);
            const int count = static_cast<int>(line.Bits.size());
            for (int first = 0; first < count; first += m_bitsPerRow) {
                const int last = std::min(first + m_bitsPerRow, count) - 1;
                painter.setFont(theme.Font(Type::Mono));
                painter.setPen(ToColour(theme.Colours().TextSecondary));
                painter.drawText(QRect(kMargin, y, LabelWidth() - 8, kBitHeight),
                                 Qt::AlignLeft | Qt::AlignVCenter,
                                 QStringLiteral("%1..%2")
                                     .arg(line.Bits[static_cast<std::size_t>(first)].Bit)
                                     .arg(line.Bits[static_cast<std::size_t>(last)].Bit));
                painter.setFont(theme.Font(Type::Body));
                for (int bit = first; bit <= last; ++bit) {
                    const QRect cell = CellOf(bit - first, y);
                    FlagBit shown = line.Bits[static_cast<std::size_t>(bit)];
                    m_places.emplace_back(cell, Described(line, shown));
                    if (!shortNames.isEmpty())
                        shown.Name = shortNames[bit];
                    DrawBit(painter, cell,
                            !shown.Value       ? BitState::Unknown
                                : *shown.Value ? BitState::Set
                                               : BitState::Clear,
                            shown.Name);
                }
                y += kBitHeight + kGap;
            }
            y += kGap * 2;
        }
    }

    bool event(QEvent* event) override
    {
        if (event->type() != QEvent::ToolTip)
            return QWidget::event(event);
        const auto* help = static_cast<QHelpEvent*>(event);
        for (const auto& [cell, text] : m_places)
            if (cell.contains(help->pos())) {
                QToolTip::showText(help->globalPos(), text, this, cell);
                return true;
            }
        QToolTip::hideText();
        return true;
    }

private:
    static QString Described(const FlagLine& line, const FlagBit& bit)
    {
        if (bit.Name.isEmpty())
            return FlagsPane::tr("%1, bit %2: reserved").arg(line.Caption).arg(bit.Bit);
        const QString value = !bit.Value ? FlagsPane::tr("not known")
            : *bit.Value                 ? FlagsPane::tr("set")
                                         : FlagsPane::tr("clear");
        return FlagsPane::tr("%1, bit %2: %3\n%4").arg(line.Caption).arg(bit.Bit).arg(bit.Name, value);
    }

    void PaintHead(QPainter& painter, const FlagLine& line, const QString& value, int y) const
    {
        const Theme& theme = Theme::Current();
        const QRect head(kMargin, y, width() - 2 * kMargin, HeadHeight() - 2);
        painter.setFont(theme.Font(Type::Strong));
        painter.setPen(ToColour(theme.Colours().TextFore));
        painter.drawText(head, Qt::AlignLeft | Qt::AlignVCenter, line.Caption);
        const int after = QFontMetrics(painter.font()).horizontalAdvance(line.Caption) + 8;
        painter.setFont(theme.Font(Type::Mono));
        painter.drawText(head.adjusted(after, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                         value.isEmpty() ? QStringLiteral("----") : value);
        painter.setFont(theme.Font(Type::Body));
        painter.setPen(ToColour(theme.Colours().TextSecondary));
        const QString scanned = line.Scanned ? FlagsPane::tr("scanned") : FlagsPane::tr("not scanned");
        painter.drawText(head, Qt::AlignRight | Qt::AlignVCenter, scanned);
        const int icon = 14;
        painter.drawPixmap(
            QPoint(head.right() - QFontMetrics(painter.font()).horizontalAdvance(scanned) - icon - 5,
                   head.center().y() - icon / 2),
            IconPixmap(line.Scanned ? QStringLiteral("scan") : QStringLiteral("pause"), icon,
                       ToColour(theme.Colours().TextSecondary), devicePixelRatioF()));
    }

    QRect CellOf(int place, int y) const
    {
        const int room = width() - 2 * kMargin - LabelWidth();
        const int each = std::max(kNarrowestBit, (room - (m_bitsPerRow - 1) * kGap) / m_bitsPerRow);
        return {kMargin + LabelWidth() + place * (each + kGap), y, each, kBitHeight};
    }

    /// All names of a line in full, or all of them short: a mixture reads badly.
    bool NamesFit(const FlagLine& line) const
    {
        const QFontMetrics strong(Theme::Current().Font(Type::Strong));
        const int room = CellOf(0, 0).width() - 22; // beside the digit and the edges
        return std::ranges::all_of(
            line.Bits, [&](const FlagBit& bit) { return strong.horizontalAdvance(bit.Name) <= room; });
    }

    int LabelWidth() const
    {
        return QFontMetrics(Theme::Current().Font(Type::Mono)).horizontalAdvance(QStringLiteral("31..24"))
            + 8;
    }
    int HeadHeight() const { return QFontMetrics(Theme::Current().Font(Type::Strong)).height() + 6; }
    int HeightOfAll() const
    {
        int height = 2 * kMargin;
        for (const FlagLine& line : m_lines) {
            const int count = static_cast<int>(line.Bits.size());
            height
                += HeadHeight() + (count + m_bitsPerRow - 1) / m_bitsPerRow * (kBitHeight + kGap) + kGap * 2;
        }
        return height;
    }

    std::vector<FlagLine> m_lines;
    std::vector<QString> m_values;
    std::vector<std::pair<QRect, QString>> m_places;
    int m_bitsPerRow = 8;
};

FlagsPane::FlagsPane(QWidget* parent) : QScrollArea(parent), m_canvas(new Canvas(this))
{
    setObjectName(QStringLiteral("paneFlags"));
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setWidget(m_canvas);
    Applyskin();
}

void FlagsPane::InitPictFlags(int bitsPerRow) { m_canvas->SetBitsPerRow(bitsPerRow); }

void FlagsPane::RefreshPictFlags(const ScanEngine& scan)
{
    std::vector<FlagLine> lines;
    std::vector<QString> values;
    for (int flag = 0; flag < scan.Tables().GetNumFlags(); ++flag) {
        lines.push_back(ReadFlagLine(scan, flag));
        const int row = lines.back().Row;
        const bool known = row >= 0 && row < scan.RowCount() && scan.Row(row).Raw;
        values.push_back(
            known ? QStringLiteral("%1").arg(*scan.Row(row).Raw & 0xFFFF, 4, 16, QLatin1Char('0')).toUpper()
                  : QString());
    }
    m_canvas->Show(std::move(lines), std::move(values));
}

void FlagsPane::Applyskin()
{
    viewport()->setBackgroundRole(QPalette::Base);
    m_canvas->setBackgroundRole(QPalette::Base);
    m_canvas->setAutoFillBackground(true);
    m_canvas->update();
}
