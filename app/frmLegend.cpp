#include "app/frmLegend.h"

#include "look/Icons.h"
#include "look/Marks.h"
#include "look/Theme.h"

#include <QGridLayout>
#include <QLabel>
#include <QPainter>

#include <functional>

namespace {

/// One painted sample of the size of a cell.
class Sample final : public QWidget {
public:
    Sample(std::function<void(QPainter&, const QRect&)> draw, QWidget* parent)
        : QWidget(parent), m_draw(std::move(draw))
    {
        setFixedSize(78, 20);
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        m_draw(painter, rect());
    }

private:
    std::function<void(QPainter&, const QRect&)> m_draw;
};

void DrawValue(QPainter& painter, const QRect& cell, const QString& text)
{
    painter.setFont(Theme::Current().Font(Type::Strong));
    painter.setPen(ToColour(Theme::Current().Colours().TextFore));
    painter.drawText(cell.adjusted(0, 0, -6, 0), Qt::AlignRight | Qt::AlignVCenter, text);
}

void DrawIcon(QPainter& painter, const QRect& cell, const QString& name, Rgb colour)
{
    QRect place(0, 0, 16, 16);
    place.moveCenter(cell.center());
    painter.drawPixmap(place.topLeft(),
                       IconPixmap(name, 16, ToColour(colour), painter.device()->devicePixelRatio()));
}

} // namespace

frmLegend::frmLegend(QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmLegend"));
    setWindowTitle(tr("Tarnlo - Legend"));

    struct Line {
        std::function<void(QPainter&, const QRect&)> draw;
        QString meaning;
    };
    const auto bit = [](BitState state) {
        return [state](QPainter& painter, const QRect& cell) {
            DrawBit(painter, cell, state, QStringLiteral("NAME"));
        };
    };
    const auto icon = [](const char* name, Rgb SkinColours::*colour) {
        return [name = QString::fromLatin1(name), colour](QPainter& painter, const QRect& cell) {
            DrawIcon(painter, cell, name, Theme::Current().Colours().*colour);
        };
    };
    const Line lines[]{
        {bit(BitState::Set), tr("Bit set")},
        {bit(BitState::Clear), tr("Bit clear")},
        {bit(BitState::Unknown), tr("Bit not known: not read or read failed")},
        {[](QPainter& painter, const QRect& cell) {
             DrawChangedCell(painter, cell, Trend::Up, false);
             DrawValue(painter, cell, QStringLiteral("4200"));
         },
         tr("Changed since the pass before, and which way")},
        {[](QPainter& painter, const QRect& cell) { DrawFailedCell(painter, cell, false); },
         tr("Read failed; the reason is the tooltip")},
        {[](QPainter& painter, const QRect& cell) {
             DrawEditedCell(painter, cell);
             DrawValue(painter, cell, QStringLiteral("660"));
         },
         tr("Edited, not yet written")},
        {icon("neq", &SkinColours::TextFore), tr("Differs from the default")},
        {icon("edit", &SkinColours::TextFore), tr("May be edited")},
        {icon("error", &SkinColours::Failed), tr("Failed")},
        {icon("warn", &SkinColours::Caution), tr("Needs attention")},
        {icon("ok", &SkinColours::Good), tr("In order")},
    };
    auto* grid = new QGridLayout(this);
    grid->setHorizontalSpacing(12);
    grid->setSizeConstraint(QLayout::SetFixedSize);
    int row = 0;
    for (const Line& line : lines) {
        auto* sample = new Sample(line.draw, this);
        sample->setAccessibleName(line.meaning);
        grid->addWidget(sample, row, 0);
        grid->addWidget(new QLabel(line.meaning, this), row++, 1);
    }
    connect(&Theme::Current(), &Theme::Changed, this, &frmLegend::Applyskin);
}

void frmLegend::Applyskin() { update(); }
