#include "app/SelectorPane.h"

#include "look/Icons.h"
#include "look/Theme.h"
#include "plugins/PluginCatalogue.h"

#include <QKeySequence>
#include <QPainter>
#include <QScrollBar>
#include <QStyle>
#include <QStyleOptionButton>

namespace {

constexpr int kWidth = 104;
constexpr int kCompactWidth = 48;
constexpr int kSpacing = 6;
constexpr int kCompactSpacing = 4;

/// Of a view key, as ThemeIcon takes it.
QString IconOf(const QString& key, const QStringList& pluginFolders)
{
    if (key == QLatin1String("SBS"))
        return QStringLiteral("sbs");
    if (key == QLatin1String("DF"))
        return QStringLiteral("df");
    if (key == QLatin1String("Cal"))
        return QStringLiteral("cal");
    if (key == QLatin1String("Pro"))
        return QStringLiteral("pro");
    const QString own = PluginIconFile(key, pluginFolders);
    return own.isEmpty() ? QStringLiteral("plugin") : own;
}

/// One view button: icon over caption, with the skin's border at the left edge when it is selected.
class SelectorButton final : public QAbstractButton {
public:
    SelectorButton(const QString& icon, QWidget* parent) : QAbstractButton(parent)
    {
        setCheckable(true);
        setIcon(ThemeIcon(icon));
        setFocusPolicy(Qt::TabFocus);
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    }
    void SetCompact(bool compact)
    {
        m_compact = compact;
        updateGeometry();
    }
    QSize sizeHint() const override
    {
        return m_compact ? QSize(38, 36) : QSize(88, 38 + fontMetrics().height() + 7);
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        const SkinColours& colours = Theme::Current().Colours();
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
        QColor fill = ToColour(isChecked() ? colours.Base : colours.ShapedButton);
        if (underMouse() && !isChecked())
            fill = ToColour(colours.Midlight);
        painter.setBrush(fill);
        painter.setPen(QPen(ToColour(colours.Line), isChecked() ? 1 : colours.UnHighlightBorderWidth));
        painter.drawRoundedRect(frame, 3, 3);
        if (isChecked()) {
            painter.fillRect(0, 0, colours.HighlightBorderWidth, height(),
                             ToColour(colours.SelectionHighlight));
        }
        if (hasFocus()) {
            painter.setBrush(Qt::NoBrush);
            painter.setPen(QPen(ToColour(colours.SelectionHighlight), 2));
            painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 3, 3);
        }
        const int icon = 24;
        const int top = m_compact ? (height() - icon) / 2 : 8;
        this->icon().paint(&painter, QRect((width() - icon) / 2, top, icon, icon));
        if (!m_compact) {
            QFont font = Theme::Current().Font(isChecked() ? Type::Strong : Type::Body);
            painter.setFont(font);
            painter.setPen(ToColour(colours.TextFore));
            const QString shown = QFontMetrics(font).elidedText(text(), Qt::ElideRight,
                                                                width() - 6 - colours.HighlightBorderWidth);
            painter.drawText(QRect(2, top + icon + 4, width() - 4, height() - top - icon - 6),
                             Qt::AlignHCenter | Qt::AlignTop, shown);
        }
    }

private:
    bool m_compact = false;
};

} // namespace

SelectorPane::SelectorPane(QWidget* parent)
    : QFrame(parent), FrameButtonView(new QScrollArea(this)), FrameMDIButtons(new QWidget),
      m_column(new QVBoxLayout(FrameMDIButtons)), FrameRemCap(new QFrame(this)),
      lblStatic(new QLabel(FrameRemCap)), lblRemCap(new QLabel(FrameRemCap)),
      pbRemCap(new QProgressBar(FrameRemCap))
{
    setObjectName(QStringLiteral("FrameSelector"));
    setAutoFillBackground(true);
    FitWidth();

    FrameButtonView->setObjectName(QStringLiteral("FrameButtonView"));
    FrameButtonView->setWidget(FrameMDIButtons);
    FrameButtonView->setWidgetResizable(true);
    FrameButtonView->setFrameShape(QFrame::NoFrame);
    FrameButtonView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    FrameButtonView->verticalScrollBar()->setObjectName(QStringLiteral("VScrollButtonFrame"));
    FrameButtonView->setFocusPolicy(Qt::NoFocus);
    connect(FrameButtonView->verticalScrollBar(), &QScrollBar::rangeChanged, this, &SelectorPane::FitWidth);
    FrameMDIButtons->setObjectName(QStringLiteral("FrameMDIButtons"));
    m_column->setContentsMargins(0, 0, 0, 0);
    m_column->setSpacing(kSpacing);
    m_column->addStretch();

    FrameRemCap->setObjectName(QStringLiteral("FrameRemCap"));
    lblStatic->setObjectName(QStringLiteral("lblStatic"));
    lblStatic->setText(tr("Remaining capacity"));
    lblStatic->setWordWrap(true);
    lblRemCap->setObjectName(QStringLiteral("lblRemCap"));
    lblRemCap->setText(QStringLiteral("--"));
    lblRemCap->setAccessibleDescription(tr("Remaining capacity"));
    pbRemCap->setObjectName(QStringLiteral("pbRemCap"));
    pbRemCap->setRange(0, 100);
    pbRemCap->setTextVisible(false);
    pbRemCap->setFixedHeight(13);
    pbRemCap->setAccessibleName(tr("Remaining capacity"));
    auto* foot = new QVBoxLayout(FrameRemCap);
    foot->setContentsMargins(0, 6, 0, 0);
    foot->setSpacing(4);
    foot->addWidget(lblStatic);
    foot->addWidget(lblRemCap);
    foot->addWidget(pbRemCap);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->addWidget(FrameButtonView, 1);
    layout->addWidget(FrameRemCap);
    Applyskin();
}

void SelectorPane::Clear()
{
    for (const Entry& entry : m_buttons)
        entry.widget->deleteLater();
    m_buttons.clear();
    m_selected = -1;
    lblRemCap->setText(QStringLiteral("--"));
    pbRemCap->setValue(0);
}

void SelectorPane::LoadMDIButton(int index, const ViewButton& button)
{
    auto* widget = new SelectorButton(IconOf(button.Key, m_pluginFolders), FrameMDIButtons);
    widget->setObjectName(QStringLiteral("txtForm%1").arg(index));
    m_buttons.push_back({button, widget});
    SetCaption(index, button.Caption);
    widget->SetCompact(m_compact);
    m_column->insertWidget(m_column->count() - 1, widget, 0, Qt::AlignHCenter);
    connect(widget, &QAbstractButton::clicked, this, [this, index] {
        Select(m_selected); // the click alone does not switch: the view may refuse to open
        emit Chosen(index);
    });
    widget->show();
}

void SelectorPane::SetCaption(int index, const QString& caption)
{
    if (index < 0 || index >= Count())
        return;
    Entry& entry = m_buttons[static_cast<std::size_t>(index)];
    entry.button.Caption = caption;
    entry.widget->setText(caption);
    entry.widget->setAccessibleName(caption);
    entry.widget->setToolTip(index < 9 ? QStringLiteral("%1 (Ctrl+%2)").arg(caption).arg(index + 1)
                                       : caption);
}

void SelectorPane::Select(int index)
{
    m_selected = index;
    for (int i = 0; i < Count(); ++i)
        m_buttons[static_cast<std::size_t>(i)].widget->setChecked(i == index);
    if (index >= 0 && index < Count()) // one chosen by its key can be out of sight
        FrameButtonView->ensureWidgetVisible(m_buttons[static_cast<std::size_t>(index)].widget, 0, 0);
}

void SelectorPane::SetRemCap(std::int16_t value)
{
    const int shown = ShownRemCap(value);
    pbRemCap->setValue(shown);
    lblRemCap->setText(QStringLiteral("%1%").arg(shown));
}

void SelectorPane::SetCompact(bool icons)
{
    m_compact = icons;
    FitWidth();
    m_column->setSpacing(icons ? kCompactSpacing : kSpacing);
    layout()->setContentsMargins(icons ? 4 : 8, 8, icons ? 4 : 8, 8);
    lblStatic->setVisible(!icons);
    for (const Entry& entry : m_buttons)
        static_cast<SelectorButton*>(entry.widget)->SetCompact(icons);
    Applyskin();
}

void SelectorPane::FitWidth()
{
    const QScrollBar* bar = FrameButtonView->verticalScrollBar();
    setFixedWidth((m_compact ? kCompactWidth : kWidth) + (bar->maximum() > 0 ? bar->sizeHint().width() : 0));
}

void SelectorPane::Applyskin()
{
    const Theme& theme = Theme::Current();
    setPalette(ToolPalette(theme.Colours()));
    FrameButtonView->viewport()->setPalette(ToolPalette(theme.Colours()));
    QPalette quiet = palette();
    quiet.setColor(QPalette::WindowText, ToColour(theme.Colours().TextSecondary));
    lblStatic->setPalette(quiet);
    lblRemCap->setFont(theme.Font(m_compact ? Type::Strong : Type::Figure));
    update();
}
