#pragma once

#include <QString>

#include <initializer_list>

class QAction;
class QKeySequence;
class QLabel;
class QPushButton;
class QWidget;

/// Gives a control the one word by which code and outside tools know it.
template <class Control>
[[nodiscard]] Control* Named(Control* control, const char* name)
{
    control->setObjectName(QLatin1String(name));
    return control;
}

/// Draws a label in the quieter colour of any skin.
void MakeSecondary(QLabel* label);

/// An action of a view. Its shortcut works while the view is in front, wherever the action's entry or button
/// stands, and its tooltip names the shortcut.
/// @param icon  may be null
[[nodiscard]] QAction* ViewAction(QWidget* view, const char* name, const QString& text, const char* icon,
                                  const QKeySequence& shortcut);

/// Fills the page of a view that has nothing to show: what is missing, why or what to do, and the buttons
/// that do it.
void LayOutEmptyState(QWidget* page, QLabel* title, QLabel* text,
                      std::initializer_list<QPushButton*> next = {});
