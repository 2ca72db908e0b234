#include "runtime/private_files.h"

void keepNewFilesPrivate()
{
    // Folders hand their rights down here; those of a user are the user's alone.
}
