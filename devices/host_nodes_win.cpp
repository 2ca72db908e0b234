#include "devices/host_nodes.h"

QStringList hostNodes(const QString&)
{
    return {};
}
