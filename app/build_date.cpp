#include "app/build_date.h"

QString buildDate()
{
    return QStringLiteral(BUILD_DATE);
}
