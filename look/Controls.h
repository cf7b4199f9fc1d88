#pragma once

#include <QString>

class QLabel;

/// Gives a control the one word by which code and outside tools know it.
template <class Control>
[[nodiscard]] Control* Named(Control* control, const char* name)
{
    control->setObjectName(QLatin1String(name));
    return control;
}

/// Draws a label in the quieter colour of any skin.
void MakeSecondary(QLabel* label);
