#include "look/TarnloStyle.h"

#include "look/Theme.h"

#include <QPainter>
#include <QStyleOption>
#include <QWidget>

namespace {

constexpr int kHeaderRoom = 3; // left and right, more than Fusion has

const SkinColours& Colours() { return Theme::Current().Colours(); }

void DrawFrame(QPainter* painter, const QRect& rect, Rgb colour, qreal width,
               const QBrush& fill = Qt::NoBrush)
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(ToColour(colour), width));
    painter->setBrush(fill);
    const qreal inset = width / 2;
    painter->drawRoundedRect(QRectF(rect).adjusted(inset, inset, -inset, -inset), 2, 2);
    painter->restore();
}

/// The frame of anything that takes the keyboard.
void DrawFieldFrame(QPainter* painter, const QStyleOption* option, const QWidget* widget,
                    const QBrush& fill = Qt::NoBrush)
{
    const bool enabled = option->state & QStyle::State_Enabled;
    if (widget && widget->property("refused").toBool()) // what is typed there will not be taken
        DrawFrame(painter, option->rect, Colours().Failed, 2, fill);
    else if (enabled && (option->state & QStyle::State_HasFocus))
        DrawFrame(painter, option->rect, Colours().SelectionHighlight, 2, fill);
    else
        DrawFrame(painter, option->rect, enabled ? Colours().Outline : Colours().Line, 1, fill);
}

void DrawCheckBox(QPainter* painter, const QStyleOption* option, QStyle::State checked)
{
    const int side = std::min({option->rect.width(), option->rect.height(), 13});
    QRect box(0, 0, side, side);
    box.moveCenter(option->rect.center());
    const bool enabled = option->state & QStyle::State_Enabled;
    const bool focus = enabled && (option->state & QStyle::State_HasFocus);
    DrawFrame(painter, box,
              focus         ? Colours().SelectionHighlight
                  : enabled ? Colours().Outline
                            : Colours().Line,
              focus ? 2 : 1, ToColour(enabled ? Colours().Base : Colours().Background));
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QColor ink = ToColour(enabled ? Colours().TextFore : Colours().TextDisabled);
    painter->setPen(QPen(ink, 1.75, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QRectF inner = QRectF(box).adjusted(3, 3, -3, -3);
    if (checked & QStyle::State_On)
        painter->drawPolyline(QPolygonF{{inner.left(), inner.center().y()},
                                        {inner.left() + inner.width() * .38, inner.bottom() - .7},
                                        {inner.right() + .3, inner.top() + .3}});
    else if (checked & QStyle::State_NoChange)
        painter->drawLine(QPointF(inner.left(), inner.center().y()),
                          QPointF(inner.right(), inner.center().y()));
    painter->restore();
}

void DrawRadioButton(QPainter* painter, const QStyleOption* option)
{
    const qreal side = std::min({option->rect.width(), option->rect.height(), 13});
    QRectF ring(0, 0, side, side);
    ring.moveCenter(QRectF(option->rect).center());
    const bool enabled = option->state & QStyle::State_Enabled;
    const bool focus = enabled && (option->state & QStyle::State_HasFocus);
    const qreal width = focus ? 2 : 1;
    const Rgb frame = focus ? Colours().SelectionHighlight : enabled ? Colours().Outline : Colours().Line;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(ToColour(frame), width));
    painter->setBrush(ToColour(enabled ? Colours().Base : Colours().Background));
    painter->drawEllipse(ring.adjusted(width / 2, width / 2, -width / 2, -width / 2));
    if (option->state & QStyle::State_On) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(ToColour(enabled ? Colours().TextFore : Colours().TextDisabled));
        painter->drawEllipse(ring.adjusted(4, 4, -4, -4));
    }
    painter->restore();
}

void DrawSplitterDots(QPainter* painter, const QStyleOption* option)
{
    constexpr int kDots = 8;
    constexpr int kPitch = 4;
    const bool upright = option->state & QStyle::State_Horizontal; // between things side by side
    QPoint dot
        = option->rect.center() - (upright ? QPoint(0, kDots * kPitch / 2) : QPoint(kDots * kPitch / 2, 0));
    for (int i = 0; i < kDots; ++i, dot += upright ? QPoint(0, kPitch) : QPoint(kPitch, 0))
        painter->fillRect(QRect(dot, QSize(2, 2)), ToColour(Colours().Outline));
}

void DrawHeader(QPainter* painter, const QRect& rect, bool section)
{
    painter->fillRect(rect, ToColour(Colours().HeaderFill));
    painter->setPen(ToColour(Colours().Line));
    painter->drawLine(rect.bottomLeft(), rect.bottomRight());
    if (section)
        painter->drawLine(rect.topRight(), rect.bottomRight());
}

/// One of the three buttons of a maximised child in the menu bar, whose own pictures vanish on a dark window.
void DrawChildButton(QPainter* painter, const QRect& rect, QStyle::SubControl button, QStyle::State state)
{
    if (state & (QStyle::State_Sunken | QStyle::State_MouseOver))
        painter->fillRect(rect, ToColour(Colours().Line));
    painter->save();
    painter->setPen(QPen(ToColour(Colours().TextFore), 1));
    QRect glyph(0, 0, 8, 8);
    glyph.moveCenter(rect.center());
    if (button == QStyle::SC_MdiMinButton) {
        painter->drawLine(glyph.bottomLeft(), glyph.bottomRight());
    } else if (button == QStyle::SC_MdiNormalButton) {
        painter->drawRect(glyph.adjusted(0, 2, -3, -1));
        painter->drawPolyline(QPolygon{{glyph.left() + 2, glyph.top()},
                                       {glyph.right(), glyph.top()},
                                       {glyph.right(), glyph.bottom() - 2}});
    } else {
        painter->setRenderHint(QPainter::Antialiasing);
        painter->drawLine(glyph.topLeft(), glyph.bottomRight());
        painter->drawLine(glyph.topRight(), glyph.bottomLeft());
    }
    painter->restore();
}

} // namespace

TarnloStyle::TarnloStyle() : QProxyStyle(QStringLiteral("Fusion")) { }

void TarnloStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                const QWidget* widget) const
{
    switch (element) {
    case PE_IndicatorCheckBox:
    case PE_IndicatorItemViewItemCheck:
        DrawCheckBox(painter, option, option->state);
        return;
    case PE_IndicatorRadioButton:
        DrawRadioButton(painter, option);
        return;
    case PE_PanelLineEdit:
        if (const auto* frame = qstyleoption_cast<const QStyleOptionFrame*>(option);
            frame && frame->lineWidth > 0)
            DrawFieldFrame(painter, option, widget, option->palette.brush(QPalette::Base));
        else
            painter->fillRect(option->rect, option->palette.brush(QPalette::Base));
        return;
    case PE_Frame:
        if (widget && widget->focusPolicy() != Qt::NoFocus) { // a list, table or text, not a group
            DrawFieldFrame(painter, option, widget);
            return;
        }
        DrawFrame(painter, option->rect, Colours().Line, 1);
        return;
    case PE_FrameTabWidget: // the window's own colour, which a pane of Fusion's button colour is not
        painter->fillRect(option->rect, option->palette.brush(QPalette::Window));
        DrawFrame(painter, option->rect, Colours().Line, 1);
        return;
    case PE_PanelButtonCommand: {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
        if (button && (button->state & State_Enabled)
            && ((button->features & QStyleOptionButton::DefaultButton) || (button->state & State_HasFocus)))
            DrawFrame(painter, option->rect, Colours().SelectionHighlight, 2);
        return;
    }
    case PE_FrameFocusRect:
        if (widget
            && (widget->inherits("QPushButton") || widget->inherits("QCheckBox")
                || widget->inherits("QRadioButton") || widget->inherits("QListView")))
            return; // their frame, and a list's selected line, show it
        break;
    default:
        break;
    }
    QProxyStyle::drawPrimitive(element, option, painter, widget);
}

void TarnloStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                              const QWidget* widget) const
{
    switch (element) {
    case CE_Splitter:
        DrawSplitterDots(painter, option);
        return;
    case CE_HeaderSection:
    case CE_HeaderEmptyArea:
        DrawHeader(painter, option->rect, element == CE_HeaderSection);
        return;
    case CE_HeaderLabel:
        if (const auto* header = qstyleoption_cast<const QStyleOptionHeader*>(option)) {
            QStyleOptionHeader quiet(*header);
            quiet.palette.setColor(QPalette::ButtonText, ToColour(Colours().TextSecondary));
            // a heading stands over the text of its cells, and two that face each other do not touch
            quiet.rect.adjust(kHeaderRoom, 0, -kHeaderRoom, 0);
            QProxyStyle::drawControl(element, &quiet, painter, widget);
            return;
        }
        break;
    case CE_TabBarTabShape:
        if (const auto* tab = qstyleoption_cast<const QStyleOptionTab*>(option)) {
            QStyleOptionTab even(*tab); // as its pane
            even.palette.setColor(QPalette::Button, option->palette.color(QPalette::Window));
            QProxyStyle::drawControl(element, &even, painter, widget);
            return;
        }
        break;
    default:
        break;
    }
    QProxyStyle::drawControl(element, option, painter, widget);
    if (element == CE_ProgressBarGroove)
        DrawFrame(painter, option->rect, Colours().Outline, 1);
}

void TarnloStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                     QPainter* painter, const QWidget* widget) const
{
    if (const auto* group = qstyleoption_cast<const QStyleOptionGroupBox*>(option);
        group && control == CC_GroupBox) {
        // here and not as the box's own font, which its children would take over
        const QFont strong = Theme::Current().Font(Type::Strong);
        QStyleOptionGroupBox titled(*group);
        titled.fontMetrics = QFontMetrics(strong);
        painter->save();
        painter->setFont(strong);
        QProxyStyle::drawComplexControl(control, &titled, painter, widget);
        painter->restore();
        return;
    }
    if (control == CC_MdiControls) {
        for (const SubControl button : {SC_MdiMinButton, SC_MdiNormalButton, SC_MdiCloseButton})
            if (option->subControls & button)
                DrawChildButton(painter, subControlRect(control, option, button, widget), button,
                                option->activeSubControls & button ? option->state : State());
        return;
    }
    QProxyStyle::drawComplexControl(control, option, painter, widget);
    if (control == CC_ComboBox || control == CC_SpinBox)
        DrawFieldFrame(painter, option, widget);
}

QSize TarnloStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                                    const QWidget* widget) const
{
    QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
    const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
    if (type == CT_PushButton && button && !button->icon.isNull())
        size.rwidth() += 12; // Fusion leaves no room beside an icon
    if (type == CT_HeaderSection)
        size.rwidth() += 2 * kHeaderRoom;
    return size;
}

int TarnloStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const
{
    switch (metric) {
    case PM_LayoutLeftMargin:
    case PM_LayoutTopMargin:
    case PM_LayoutRightMargin:
    case PM_LayoutBottomMargin:
        return 12;
    case PM_LayoutHorizontalSpacing:
    case PM_LayoutVerticalSpacing:
        return 8;
    case PM_SplitterWidth:
        return 6;
    case PM_FocusFrameHMargin:
        return 5; // room left and right of a cell's text
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int TarnloStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                           QStyleHintReturn* returned) const
{
    switch (hint) {
    case SH_Widget_Animation_Duration:
    case SH_EtchDisabledText:
    case SH_DialogButtonBox_ButtonsHaveIcons: // Qt's own icons are not in the style of ours
        return 0;
    default:
        return QProxyStyle::styleHint(hint, option, widget, returned);
    }
}
