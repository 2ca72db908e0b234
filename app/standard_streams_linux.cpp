#include "app/standard_streams.h"

#include <cstdio>

void printOut(const QString& text)
{
    std::fputs(text.toUtf8().constData(), stdout);
    std::fflush(stdout);
}

void printError(const QString& text)
{
    std::fputs(text.toUtf8().constData(), stderr);
}
