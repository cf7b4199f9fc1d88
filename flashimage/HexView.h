#pragma once

#include "flashimage/ImageDiff.h"
#include "flashimage/ImageDocument.h"

#include <QAbstractScrollArea>

#include <vector>

/// One region of an image as bytes and text, sixteen to a row. Types into hexadecimal digits or characters;
/// marks what was edited and what differs. Two of them, side by side, compare.
class HexView final : public QAbstractScrollArea {
    Q_OBJECT
public:
    explicit HexView(QWidget* parent = nullptr);

    /// @param document  outlives the view; nullptr shows nothing
    void SetDocument(ImageDocument* document) { m_document = document; }
    void SetReadOnly(bool readOnly) { m_readOnly = readOnly; }
    /// The addresses that are shown; bytes that the image does not have stay blank. The cursor goes to their
    /// start.
    void SetRange(ImageArea area, std::uint32_t first, std::uint64_t end);
    /// Ascending.
    void SetDifferences(std::vector<DiffRange> ranges);
    void ShowDifferencesOnly(bool only);

    [[nodiscard]] ImageArea Area() const { return m_area; }
    [[nodiscard]] std::uint32_t Cursor() const { return m_cursor; }
    /// Selects bytes, the cursor on their first, and brings them into view.
    void GoTo(std::uint32_t address, std::uint64_t count = 1);
    /// The document was changed from outside.
    void Refresh() { viewport()->update(); }
    [[nodiscard]] int
    RowOf(std::uint32_t address) const; ///< of the rows shown; the next one when it is left out
    [[nodiscard]] QRect CellOf(std::uint32_t address) const; ///< of the hexadecimal digits, in the viewport
    [[nodiscard]] int WidthNeeded() const;

signals:
    void CursorMoved(quint32 address);
    void Edited(quint32 address);
    void Refused(const QString& why); ///< a key that cannot be taken

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool event(QEvent* event) override;
    bool focusNextPrevChild(bool next) override;

private:
    struct Cell { // how a byte is drawn
        bool Blank, Edited, Differs, Selected, Cursor, Erased;
        std::uint8_t Value;
    };
    void Measure();
    void UpdateBars();
    [[nodiscard]] int RowCount() const;
    [[nodiscard]] std::uint32_t AddressOfRow(int row) const;
    [[nodiscard]] int RowsVisible() const;
    [[nodiscard]] bool Differs(std::uint32_t address) const;
    [[nodiscard]] bool RowDiffers(std::uint32_t row) const;
    [[nodiscard]] Cell CellAt(std::uint32_t address) const;
    [[nodiscard]] int HexX(int column) const; ///< of a byte's digits
    [[nodiscard]] int TextX(int column) const;
    void PaintHeader(QPainter& painter) const;
    void PaintRow(QPainter& painter, int y, std::uint32_t row) const;
    void PaintByte(QPainter& painter, const QRect& box, const QString& text, const Cell& cell,
                   bool here) const;

    void Move(std::int64_t address, bool select);
    void Type(const QString& text);
    void Put(std::uint8_t value, bool advance);
    void Copy() const;
    bool Hit(const QPoint& point, std::uint32_t& address, bool& text) const;
    void EnsureVisible(std::uint32_t address);

    ImageDocument* m_document = nullptr;
    ImageArea m_area = ImageArea::Data;
    std::uint32_t m_first = 0;
    std::uint64_t m_end = 0;
    std::vector<DiffRange> m_differences;
    std::vector<std::uint32_t> m_rows; ///< addresses of the rows shown while only differing ones are
    bool m_onlyDifferences = false;
    bool m_readOnly = false;

    std::uint32_t m_cursor = 0;
    std::uint32_t m_anchor = 0; ///< other end of the selection
    std::uint64_t m_selected = 0; ///< bytes selected from the lower end on, when GoTo chose them
    bool m_inText = false; ///< the keyboard types characters
    bool m_halfTyped = false; ///< the high digit of the byte at the cursor has been typed

    int m_char = 8;
    int m_rowHeight = 19;
};
