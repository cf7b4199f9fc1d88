#include "flashimage/HexView.h"

#include "look/Marks.h"
#include "look/Theme.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QToolTip>

#include <algorithm>

namespace {

constexpr std::uint32_t kBytesARow = 16;
constexpr int kLeft = 8; // px
constexpr int kAddressChars = 8;
constexpr int kSpacing = 6; // above and below a row's letters together
const QChar kDot(0x00B7);
const QChar kNotEqual(0x2260);

std::uint32_t RowStart(std::uint32_t address) { return address & ~(kBytesARow - 1); }

QString HexOf(std::uint32_t value, int width)
{
    return QStringLiteral("%1").arg(value, width, 16, QLatin1Char('0')).toUpper();
}

bool Printable(std::uint8_t byte) { return byte >= 0x20 && byte < 0x7F; }

} // namespace

HexView::HexView(QWidget* parent) : QAbstractScrollArea(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setFrameShape(QFrame::NoFrame);
    viewport()->setBackgroundRole(QPalette::Base);
    viewport()->setCursor(Qt::IBeamCursor);
    setAccessibleName(tr("Bytes of the image"));
    Measure();
}

void HexView::Measure()
{
    const QFontMetrics metrics(Theme::Current().Font(Type::Mono));
    m_char = metrics.horizontalAdvance(QLatin1Char('0'));
    m_rowHeight = metrics.height() + kSpacing;
}

int HexView::HexX(int column) const
{
    // address, mark, and a gap in the middle of the row
    return kLeft + m_char * (kAddressChars + 2 + 3 * column + (column >= 8 ? 1 : 0));
}

int HexView::TextX(int column) const { return HexX(kBytesARow) + m_char * (1 + column); }

int HexView::WidthNeeded() const
{
    return TextX(kBytesARow) + kLeft + verticalScrollBar()->sizeHint().width();
}

void HexView::SetRange(ImageArea area, std::uint32_t first, std::uint64_t end)
{
    m_area = area;
    m_first = first;
    m_end = std::max<std::uint64_t>(end, first);
    m_cursor = m_anchor = first;
    m_selected = 0;
    m_halfTyped = false;
    SetDifferences({});
    verticalScrollBar()->setValue(0);
}

void HexView::SetDifferences(std::vector<DiffRange> ranges)
{
    m_differences = std::move(ranges);
    ShowDifferencesOnly(m_onlyDifferences);
}

void HexView::ShowDifferencesOnly(bool only)
{
    m_onlyDifferences = only;
    m_rows.clear();
    if (only)
        for (const DiffRange& range : m_differences)
            for (std::uint64_t row = RowStart(range.Start); row < range.Start + range.Size; row += kBytesARow)
                if (m_rows.empty() || m_rows.back() < row)
                    m_rows.push_back(static_cast<std::uint32_t>(row));
    UpdateBars();
    viewport()->update();
}

int HexView::RowCount() const
{
    if (m_onlyDifferences)
        return static_cast<int>(m_rows.size());
    if (m_end == m_first)
        return 0;
    return static_cast<int>((m_end - RowStart(m_first) + kBytesARow - 1) / kBytesARow);
}

std::uint32_t HexView::AddressOfRow(int row) const
{
    return m_onlyDifferences ? m_rows[static_cast<std::size_t>(row)]
                             : RowStart(m_first) + static_cast<std::uint32_t>(row) * kBytesARow;
}

int HexView::RowOf(std::uint32_t address) const
{
    if (!m_onlyDifferences)
        return static_cast<int>((address - RowStart(m_first)) / kBytesARow);
    return static_cast<int>(std::lower_bound(m_rows.begin(), m_rows.end(), RowStart(address))
                            - m_rows.begin());
}

int HexView::RowsVisible() const { return std::max(1, (viewport()->height() - m_rowHeight) / m_rowHeight); }

void HexView::UpdateBars()
{
    verticalScrollBar()->setPageStep(RowsVisible());
    verticalScrollBar()->setRange(0, std::max(0, RowCount() - RowsVisible()));
    horizontalScrollBar()->setPageStep(viewport()->width());
    horizontalScrollBar()->setRange(0, std::max(0, TextX(kBytesARow) + kLeft - viewport()->width()));
}

bool HexView::Differs(std::uint32_t address) const
{
    const auto after
        = std::upper_bound(m_differences.begin(), m_differences.end(), address,
                           [](std::uint32_t at, const DiffRange& range) { return at < range.Start; });
    return after != m_differences.begin() && address - std::prev(after)->Start < std::prev(after)->Size;
}

bool HexView::RowDiffers(std::uint32_t row) const
{
    const auto first = std::lower_bound(
        m_differences.begin(), m_differences.end(), row,
        [](const DiffRange& range, std::uint32_t at) { return range.Start + range.Size <= at; });
    return first != m_differences.end() && first->Start < std::uint64_t{row} + kBytesARow;
}

HexView::Cell HexView::CellAt(std::uint32_t address) const
{
    const std::optional<std::uint8_t> byte
        = m_document ? m_document->ByteAt(m_area, address) : std::optional<std::uint8_t>();
    const auto [low, high] = std::minmax(m_cursor, m_anchor);
    return {.Blank = !byte,
            .Edited = byte && m_document->EditedAt({m_area, address}),
            .Differs = Differs(address),
            .Selected = m_selected > 0 ? address >= m_cursor && address - m_cursor < m_selected
                                       : low != high && address >= low && address <= high,
            .Cursor = address == m_cursor,
            .Erased = byte.value_or(0) == 0xFF,
            .Value = byte.value_or(0)};
}

void HexView::PaintHeader(QPainter& painter) const
{
    painter.setPen(ToColour(Theme::Current().Colours().TextSecondary));
    const auto put = [&](int x, const QString& text) {
        painter.drawText(QRect(x, 0, viewport()->width(), m_rowHeight), Qt::AlignLeft | Qt::AlignVCenter,
                         text);
    };
    put(kLeft, tr("Address"));
    for (int column = 0; column < static_cast<int>(kBytesARow); ++column)
        put(HexX(column), HexOf(static_cast<std::uint32_t>(column), 2));
    put(TextX(0), tr("Text"));
}

void HexView::PaintByte(QPainter& painter, const QRect& box, const QString& text, const Cell& cell,
                        bool here) const
{
    const SkinColours& c = Theme::Current().Colours();
    Rgb ink = cell.Erased || cell.Blank ? c.TextSecondary : c.TextFore;
    if (cell.Selected) {
        painter.fillRect(box, ToColour(c.SelectionHighlight));
        ink = c.TextHighlightFore;
    } else if (cell.Edited) {
        painter.fillRect(box, ToColour(c.EditTint));
    } else if (cell.Differs) {
        painter.fillRect(box, ToColour(c.ChangeTint));
    }
    if ((cell.Edited || cell.Differs) && !cell.Selected && !cell.Blank)
        ink = c.TextFore;
    QFont font = painter.font();
    font.setWeight(cell.Edited || cell.Differs ? QFont::DemiBold : QFont::Normal);
    painter.setFont(font);
    painter.setPen(ToColour(ink));
    painter.drawText(box, Qt::AlignCenter, text);
    if (cell.Edited || cell.Differs)
        painter.fillRect(QRect(box.left(), box.bottom() - 1, box.width(), 2),
                         ToColour(cell.Selected     ? c.TextHighlightFore
                                      : cell.Edited ? c.Edited
                                                    : c.ChangeHighlight));
    if (cell.Cursor) { // filled frame where the keyboard types, a line in the other half
        painter.setPen(ToColour(here && hasFocus() ? c.SelectionHighlight : c.Outline));
        painter.setBrush(Qt::NoBrush);
        const QRect frame = box.adjusted(-1, 0, 0, -1);
        painter.drawRect(frame);
        if (here && hasFocus())
            painter.drawRect(frame.adjusted(1, 1, -1, -1));
    }
}

void HexView::PaintRow(QPainter& painter, int y, std::uint32_t row) const
{
    const SkinColours& c = Theme::Current().Colours();
    QFont font = painter.font();
    font.setWeight(QFont::Normal);
    painter.setFont(font);
    painter.setPen(ToColour(c.TextSecondary));
    painter.drawText(QRect(kLeft, y, m_char * kAddressChars, m_rowHeight), Qt::AlignLeft | Qt::AlignVCenter,
                     HexOf(row, kAddressChars));
    if (RowDiffers(row)) {
        painter.setPen(ToColour(c.ChangeHighlight));
        painter.drawText(QRect(kLeft + m_char * kAddressChars, y, m_char, m_rowHeight), Qt::AlignCenter,
                         kNotEqual);
    }
    for (int column = 0; column < static_cast<int>(kBytesARow); ++column) {
        const std::uint64_t address = std::uint64_t{row} + static_cast<std::uint64_t>(column);
        if (address < m_first || address >= m_end)
            continue;
        const Cell cell = CellAt(static_cast<std::uint32_t>(address));
        const QRect hex(HexX(column) - 1, y + 2, 2 * m_char + 2, m_rowHeight - 4);
        const QRect text(TextX(column), y + 2, m_char, m_rowHeight - 4);
        PaintByte(painter, hex, cell.Blank ? QStringLiteral("--") : HexOf(cell.Value, 2), cell, !m_inText);
        PaintByte(painter, text,
                  cell.Blank                  ? QStringLiteral(" ")
                      : Printable(cell.Value) ? QString(QLatin1Char(static_cast<char>(cell.Value)))
                                              : QString(kDot),
                  cell, m_inText);
    }
}

void HexView::paintEvent(QPaintEvent*)
{
    QPainter painter(viewport());
    painter.fillRect(viewport()->rect(), ToColour(Theme::Current().Colours().Base));
    painter.setFont(Theme::Current().Font(Type::Mono));
    painter.translate(-horizontalScrollBar()->value(), 0);
    PaintHeader(painter);
    int y = m_rowHeight;
    for (int row = verticalScrollBar()->value(); row < RowCount() && y < viewport()->height(); ++row) {
        PaintRow(painter, y, AddressOfRow(row));
        y += m_rowHeight;
    }
}

void HexView::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    UpdateBars();
}

void HexView::changeEvent(QEvent* event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        Measure();
        UpdateBars();
    }
}

QRect HexView::CellOf(std::uint32_t address) const
{
    const int row = RowOf(address) - verticalScrollBar()->value();
    const int column = static_cast<int>(address % kBytesARow);
    return {HexX(column) - horizontalScrollBar()->value(), (row + 1) * m_rowHeight, 2 * m_char, m_rowHeight};
}

void HexView::EnsureVisible(std::uint32_t address)
{
    const int row = RowOf(address);
    const int top = verticalScrollBar()->value();
    if (row < top)
        verticalScrollBar()->setValue(row);
    else if (row >= top + RowsVisible())
        verticalScrollBar()->setValue(row - RowsVisible() + 1);
}

void HexView::GoTo(std::uint32_t address, std::uint64_t count)
{
    if (address < m_first || address >= m_end)
        return;
    m_cursor = m_anchor = address;
    m_selected = count > 1 ? count : 0;
    m_halfTyped = false;
    const int row = RowOf(address);
    const int top = verticalScrollBar()->value();
    if (row < top || row >= top + RowsVisible()) // with something to see before it
        verticalScrollBar()->setValue(row - RowsVisible() / 3);
    viewport()->update();
    emit CursorMoved(m_cursor);
}

void HexView::Move(std::int64_t address, bool select)
{
    if (m_end == m_first)
        return;
    const std::int64_t last = static_cast<std::int64_t>(m_end) - 1;
    m_cursor = static_cast<std::uint32_t>(std::clamp<std::int64_t>(address, m_first, last));
    if (!select)
        m_anchor = m_cursor;
    m_selected = 0;
    m_halfTyped = false;
    EnsureVisible(m_cursor);
    viewport()->update();
    emit CursorMoved(m_cursor);
}

void HexView::Put(std::uint8_t value, bool advance)
{
    m_document->SetByte({m_area, m_cursor}, value);
    emit Edited(m_cursor);
    if (advance)
        Move(std::int64_t{m_cursor} + 1, false);
    viewport()->update();
}

void HexView::Type(const QString& text)
{
    const char letter = text.size() == 1 ? text[0].toLatin1() : '\0';
    const std::optional<std::uint8_t> old
        = m_document ? m_document->ByteAt(m_area, m_cursor) : std::optional<std::uint8_t>();
    const auto digit = static_cast<int>(QStringLiteral("0123456789ABCDEF").indexOf(text.toUpper()));
    if (m_readOnly) {
        emit Refused(tr("This image is read only: it is here to be compared with."));
    } else if (!old) {
        emit Refused(tr("The image has no byte here."));
    } else if (m_inText) {
        if (Printable(static_cast<std::uint8_t>(letter)))
            Put(static_cast<std::uint8_t>(letter), true);
        else
            emit Refused(tr("Only plain characters can be typed as text; type the byte as two digits."));
    } else if (digit < 0 || text.size() != 1) {
        emit Refused(tr("\"%1\" is no hexadecimal digit. Tab goes to the text column.").arg(text));
    } else if (!m_halfTyped) {
        Put(static_cast<std::uint8_t>(digit << 4 | (*old & 0x0F)), false);
        m_halfTyped = true;
    } else {
        Put(static_cast<std::uint8_t>((*old & 0xF0) | digit), true);
    }
}

void HexView::Copy() const
{
    if (!m_document)
        return;
    const auto [low, high] = std::minmax(m_cursor, m_anchor);
    const std::uint64_t end = m_selected > 0 ? m_cursor + m_selected : std::uint64_t{high} + 1;
    QString text;
    for (std::uint64_t at = low; at < end; ++at) {
        const std::optional<std::uint8_t> byte = m_document->ByteAt(m_area, static_cast<std::uint32_t>(at));
        if (!byte)
            continue;
        if (m_inText)
            text += Printable(*byte) ? QLatin1Char(static_cast<char>(*byte)) : QLatin1Char('.');
        else
            text += (text.isEmpty() ? QString() : QStringLiteral(" ")) + HexOf(*byte, 2);
    }
    QApplication::clipboard()->setText(text);
}

void HexView::keyPressEvent(QKeyEvent* event)
{
    const bool select = event->modifiers().testFlag(Qt::ShiftModifier);
    const bool control = event->modifiers().testFlag(Qt::ControlModifier);
    const std::int64_t at = m_cursor;
    const std::int64_t page = std::int64_t{RowsVisible()} * kBytesARow;
    if (event->matches(QKeySequence::Copy)) {
        Copy();
        return;
    }
    switch (event->key()) {
    case Qt::Key_Left:
        Move(at - 1, select);
        return;
    case Qt::Key_Right:
        Move(at + 1, select);
        return;
    case Qt::Key_Up:
        if (at - kBytesARow >= m_first)
            Move(at - kBytesARow, select);
        return;
    case Qt::Key_Down:
        if (at + kBytesARow < static_cast<std::int64_t>(m_end))
            Move(at + kBytesARow, select);
        return;
    case Qt::Key_PageUp:
        Move(at - page, select);
        return;
    case Qt::Key_PageDown:
        Move(at + page, select);
        return;
    case Qt::Key_Home:
        Move(control ? m_first : RowStart(m_cursor), select);
        return;
    case Qt::Key_End:
        Move(control ? static_cast<std::int64_t>(m_end) - 1 : RowStart(m_cursor) + kBytesARow - 1, select);
        return;
    case Qt::Key_Escape:
        Move(at, false);
        return;
    default:
        break;
    }
    const bool typed = !event->text().isEmpty() && event->text()[0].isPrint()
        && (event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) == Qt::NoModifier;
    if (typed)
        Type(event->text());
    else
        QAbstractScrollArea::keyPressEvent(event);
}

bool HexView::event(QEvent* event)
{
    // a letter that is a digit here must not work as somebody's shortcut
    if (event->type() == QEvent::ShortcutOverride) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->matches(QKeySequence::Copy)
            || (!key->text().isEmpty() && key->text()[0].isPrint()
                && (key->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) == Qt::NoModifier)) {
            event->accept();
            return true;
        }
    }
    return QAbstractScrollArea::event(event);
}

/// Tab goes from the digits to the characters before it leaves.
bool HexView::focusNextPrevChild(bool next)
{
    if (next == m_inText)
        return QAbstractScrollArea::focusNextPrevChild(next);
    m_inText = next;
    m_halfTyped = false;
    viewport()->update();
    return true;
}

bool HexView::Hit(const QPoint& point, std::uint32_t& address, bool& text) const
{
    const int row = verticalScrollBar()->value() + point.y() / m_rowHeight - 1;
    if (point.y() < m_rowHeight || row >= RowCount())
        return false;
    const int x = point.x() + horizontalScrollBar()->value();
    text = x >= TextX(0) - m_char / 2;
    int column = 0;
    if (text)
        column = (x - TextX(0)) / m_char;
    else
        while (column + 1 < static_cast<int>(kBytesARow) && x >= HexX(column + 1) - m_char / 2)
            ++column;
    column = std::clamp(column, 0, static_cast<int>(kBytesARow) - 1);
    const std::uint64_t at = std::uint64_t{AddressOfRow(row)} + static_cast<std::uint64_t>(column);
    address = static_cast<std::uint32_t>(std::clamp<std::uint64_t>(at, m_first, m_end - 1));
    return true;
}

void HexView::mousePressEvent(QMouseEvent* event)
{
    std::uint32_t address = 0;
    if (event->button() == Qt::LeftButton && Hit(event->pos(), address, m_inText))
        Move(address, event->modifiers().testFlag(Qt::ShiftModifier));
}

void HexView::mouseMoveEvent(QMouseEvent* event)
{
    std::uint32_t address = 0;
    bool text = false;
    if (event->buttons().testFlag(Qt::LeftButton) && Hit(event->pos(), address, text))
        Move(address, true);
}

void HexView::focusInEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
    emit CursorMoved(m_cursor);
}

void HexView::focusOutEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusOutEvent(event);
    m_halfTyped = false;
    viewport()->update();
}
