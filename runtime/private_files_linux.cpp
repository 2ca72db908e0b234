#include "runtime/private_files.h"

#include <sys/stat.h>

void keepNewFilesPrivate()
{
    ::umask(S_IRWXG | S_IRWXO);
}
