#include "app/build_date.h"

QString buildDate()
{
    return QStringLiteral(__DATE__);
}
