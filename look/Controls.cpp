#include "look/Controls.h"

#include <QLabel>

void MakeSecondary(QLabel* label) { label->setForegroundRole(QPalette::PlaceholderText); }
