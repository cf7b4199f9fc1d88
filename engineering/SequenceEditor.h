#pragma once

#include <QPlainTextEdit>

/// A text with line numbers and one line that is marked: where a run is, or where something is wrong.
class SequenceEditor final : public QPlainTextEdit {
    Q_OBJECT
public:
    enum class Mark { None, Running, Wrong };

    explicit SequenceEditor(QWidget* parent = nullptr);
    /// @param line  from 1
    void MarkLine(int line, Mark mark);
    void GoToLine(int line);
    void Applyskin();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    class Numbers;
    void PaintNumbers(QPaintEvent* event);
    [[nodiscard]] int NumbersWidth() const;
    void Fit();
    void ShowMark();

    QWidget* m_numbers;
    int m_line = 0;
    Mark m_mark = Mark::None;
};
