#include "dataflash/DataFlashTabs.h"

#include "dataflash/DataFlashItemModel.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QPainter>
#include <QSignalBlocker>

namespace {

constexpr int kSide = 12;
constexpr int kGap = 3;

/// Icons and counts behind the name of a tab.
class TabMarks final : public QWidget {
public:
    TabMarks(const MarkCounts& counts, QWidget* parent) : QWidget(parent), m_counts(counts)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        resize(sizeHint());
    }
    [[nodiscard]] QSize sizeHint() const override
    {
        int width = 0;
        for (const int count : {m_counts.Changed, m_counts.Edited})
            if (count > 0)
                width += kSide + kGap + fontMetrics().horizontalAdvance(QString::number(count)) + 2 * kGap;
        return {width, fontMetrics().height()};
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override
    {
        QPainter painter(this);
        int x = 0;
        const auto mark = [&](int count, const QString& icon, Rgb ink) {
            if (count == 0)
                return;
            painter.drawPixmap(x, (height() - kSide) / 2,
                               IconPixmap(icon, kSide, ToColour(ink), devicePixelRatioF()));
            x += kSide + kGap;
            const QString text = QString::number(count);
            painter.setPen(ToColour(ink));
            painter.drawText(QRect(x, 0, width() - x, height()), Qt::AlignVCenter | Qt::AlignLeft, text);
            x += fontMetrics().horizontalAdvance(text) + 2 * kGap;
        };
        mark(m_counts.Changed, QStringLiteral("changed"), Theme::Current().Colours().ChangeHighlight);
        mark(m_counts.Edited, QStringLiteral("edit"), Theme::Current().Colours().Edited);
    }

private:
    MarkCounts m_counts;
};

} // namespace

DataFlashTabs::DataFlashTabs(QWidget* parent) : QTabBar(parent)
{
    setObjectName(QStringLiteral("tabsClasses"));
    setAccessibleName(tr("Classes"));
    setDrawBase(false);
    setExpanding(false);
    setUsesScrollButtons(true);
    setElideMode(Qt::ElideNone);
    connect(this, &QTabBar::currentChanged, this, &DataFlashTabs::ClassChosen);
}

void DataFlashTabs::SetClasses(const QStringList& names)
{
    const QSignalBlocker quiet(this);
    while (count() > 0)
        removeTab(0);
    m_names = names;
    m_found = false;
    for (const QString& name : names)
        addTab(QString(name).replace(QLatin1Char('&'), QStringLiteral("&&")));
}

void DataFlashTabs::ShowMarks(const MarkTally& tally)
{
    for (int i = 0; i < m_names.size() && i < static_cast<int>(tally.Classes.size()); ++i) {
        const MarkCounts& counts = tally.Classes[static_cast<std::size_t>(i)];
        const int tab = i + (m_found ? 1 : 0);
        QStringList words;
        if (counts.Changed > 0)
            words << tr("%1 changed by the last read").arg(counts.Changed);
        if (counts.Edited > 0)
            words << tr("%1 edited, not written").arg(counts.Edited);
        const QString said = words.isEmpty()
            ? m_names[i]
            : m_names[i] + QStringLiteral(": ") + words.join(QStringLiteral(", "));
        if (tabToolTip(tab) == said)
            continue;
        setTabToolTip(tab, said);
        setAccessibleTabName(tab, said);
        QWidget* old = tabButton(tab, RightSide);
        setTabButton(tab, RightSide, words.isEmpty() ? nullptr : new TabMarks(counts, this));
        delete old;
    }
}

void DataFlashTabs::ShowFound(bool on, int items)
{
    const QSignalBlocker quiet(this);
    if (on && !m_found) {
        m_before = currentIndex();
        insertTab(0, ThemeIcon(QStringLiteral("search")), QString());
        m_found = true;
        setCurrentIndex(0);
    } else if (!on && m_found) {
        const int chosen = currentIndex() == 0 ? m_before : currentIndex() - 1;
        m_found = false;
        removeTab(0);
        setCurrentIndex(chosen);
    }
    if (m_found)
        setTabText(0, tr("All classes: %1").arg(items));
}

int DataFlashTabs::CurrentClass() const
{
    return m_found ? currentIndex() - 1 : currentIndex(); // -1 is all of them
}

int DataFlashTabs::ChosenClass() const { return m_found && currentIndex() == 0 ? m_before : CurrentClass(); }

void DataFlashTabs::SetCurrentClass(int classIndex) { setCurrentIndex(classIndex + (m_found ? 1 : 0)); }

void DataFlashTabs::Step(int by)
{
    if (count() > 0)
        setCurrentIndex((currentIndex() + by + count()) % count());
}
