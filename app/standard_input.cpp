#include "app/standard_streams.h"

#include <iostream>
#include <string>

std::optional<QString> readInputLine()
{
    std::string line;
    if (!std::getline(std::cin, line))
        return std::nullopt;
    QString text = QString::fromStdString(line);
    if (text.endsWith(QLatin1Char('\r')))
        text.chop(1);
    return text;
}
