#include "look/Controls.h"

#include "look/Icons.h"
#include "look/Theme.h"

#include <QAction>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

// a line length that reads well, and one that a small window still has
constexpr int kWidestText = 520;
constexpr int kNarrowestText = 280;
constexpr int kBetweenButtons = 8;

} // namespace

void MakeSecondary(QLabel* label) { label->setForegroundRole(QPalette::PlaceholderText); }

QAction* ViewAction(QWidget* view, const char* name, const QString& text, const char* icon,
                    const QKeySequence& shortcut)
{
    QAction* action = Named(new QAction(text, view), name);
    if (icon)
        action->setIcon(ThemeIcon(QLatin1String(icon)));
    action->setShortcut(shortcut);
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    const QString plain = QString(text).remove(QLatin1Char('&')).remove(QStringLiteral("..."));
    action->setToolTip(shortcut.isEmpty() ? plain
                                          : QStringLiteral("%1 (%2)").arg(
                                              plain, shortcut.toString(QKeySequence::NativeText)));
    view->addAction(action);
    return action;
}

void LayOutEmptyState(QWidget* page, QLabel* title, QLabel* text, std::initializer_list<QPushButton*> next)
{
    title->setFont(Theme::Current().Font(Type::State));
    text->setWordWrap(true);
    text->setAlignment(Qt::AlignHCenter);
    text->setMaximumWidth(kWidestText);
    text->setMinimumWidth(kNarrowestText);
    auto* column = new QVBoxLayout(page);
    column->addStretch(1);
    column->addWidget(title, 0, Qt::AlignHCenter);
    auto* row = new QHBoxLayout; // an alignment would give the text too little height for its lines
    row->addStretch(1);
    row->addWidget(text, 8);
    row->addStretch(1);
    column->addLayout(row);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(kBetweenButtons);
    buttons->addStretch(1);
    for (QPushButton* button : next)
        buttons->addWidget(button);
    buttons->addStretch(1);
    column->addLayout(buttons);
    column->addStretch(2);
}
