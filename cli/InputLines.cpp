#include "cli/InputLines.h"

#include "platform/Interrupt.h"

#include <QFileInfo>

#include <iostream>
#include <string>

InputLines::InputLines(const QString& file) : m_standardInput(file == QLatin1String("-"))
{
    if (m_standardInput)
        return;
    if (QFileInfo(file).isDir()) // would open, and then hold no line
        m_problem = QStringLiteral("%1 is a folder, not a file of lines").arg(file);
    else if (m_opened.open(file.toStdString()); !m_opened)
        m_problem = QStringLiteral("%1 could not be opened for reading").arg(file);
}

bool InputLines::Next(QByteArray& line)
{
    std::string text;
    if (Interrupt::Asked() || !std::getline(m_standardInput ? std::cin : m_opened, text))
        return false;
    line = QByteArray::fromStdString(text);
    return true;
}
