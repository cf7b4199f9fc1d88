#include "engineering/SequenceEditor.h"

#include "look/Theme.h"

#include <QPainter>
#include <QTextBlock>

class SequenceEditor::Numbers final : public QWidget {
public:
    explicit Numbers(SequenceEditor* editor) : QWidget(editor), m_editor(editor) { }
    QSize sizeHint() const override { return {m_editor->NumbersWidth(), 0}; }

protected:
    void paintEvent(QPaintEvent* event) override { m_editor->PaintNumbers(event); }

private:
    SequenceEditor* m_editor;
};

SequenceEditor::SequenceEditor(QWidget* parent) : QPlainTextEdit(parent), m_numbers(new Numbers(this))
{
    setLineWrapMode(NoWrap);
    setTabChangesFocus(true);
    Applyskin();
    connect(this, &QPlainTextEdit::blockCountChanged, this, &SequenceEditor::Fit);
    connect(this, &QPlainTextEdit::updateRequest, this, [this](const QRect& rect, int dy) {
        if (dy != 0)
            m_numbers->scroll(0, dy);
        else
            m_numbers->update(0, rect.y(), m_numbers->width(), rect.height());
    });
    Fit();
}

void SequenceEditor::Applyskin()
{
    setFont(Theme::Current().Font(Type::Mono));
    ShowMark();
    m_numbers->update();
}

int SequenceEditor::NumbersWidth() const
{
    const auto digits = std::max<qsizetype>(2, QString::number(blockCount()).size());
    return static_cast<int>(digits) * fontMetrics().horizontalAdvance(QLatin1Char('0')) + 12;
}

void SequenceEditor::Fit()
{
    setViewportMargins(NumbersWidth(), 0, 0, 0);
    const QRect inside = contentsRect();
    m_numbers->setGeometry(inside.left(), inside.top(), NumbersWidth(), inside.height());
}

void SequenceEditor::resizeEvent(QResizeEvent* event)
{
    QPlainTextEdit::resizeEvent(event);
    Fit();
}

void SequenceEditor::PaintNumbers(QPaintEvent* event)
{
    const SkinColours& colours = Theme::Current().Colours();
    QPainter painter(m_numbers);
    painter.fillRect(event->rect(), ToColour(colours.HeaderFill));
    painter.setFont(font());
    QTextBlock block = firstVisibleBlock();
    QRectF place = blockBoundingGeometry(block).translated(contentOffset());
    while (block.isValid() && place.top() <= event->rect().bottom()) {
        const bool marked = block.blockNumber() + 1 == m_line && m_mark != Mark::None;
        painter.setPen(ToColour(marked ? (m_mark == Mark::Wrong ? colours.Failed : colours.TextFore)
                                       : colours.TextSecondary));
        painter.drawText(
            QRectF(0, place.top(), m_numbers->width() - 6, place.height()), Qt::AlignRight | Qt::AlignVCenter,
            (marked ? (m_mark == Mark::Wrong ? QStringLiteral("!") : QStringLiteral(">")) : QString())
                + QString::number(block.blockNumber() + 1));
        block = block.next();
        place = blockBoundingGeometry(block).translated(contentOffset());
    }
}

void SequenceEditor::MarkLine(int line, Mark mark)
{
    m_line = line;
    m_mark = mark;
    ShowMark();
    m_numbers->update();
}

void SequenceEditor::ShowMark()
{
    QList<QTextEdit::ExtraSelection> marks;
    if (m_mark != Mark::None && m_line >= 1 && m_line <= blockCount()) {
        const SkinColours& colours = Theme::Current().Colours();
        QTextEdit::ExtraSelection mark;
        mark.format.setBackground(ToColour(m_mark == Mark::Wrong ? colours.FailTint : colours.ChangeTint));
        mark.format.setProperty(QTextFormat::FullWidthSelection, true);
        mark.cursor = QTextCursor(document()->findBlockByNumber(m_line - 1));
        marks << mark;
    }
    setExtraSelections(marks);
}

void SequenceEditor::GoToLine(int line)
{
    if (line >= 1 && line <= blockCount()) {
        setTextCursor(QTextCursor(document()->findBlockByNumber(line - 1)));
        ensureCursorVisible();
    }
}
