#include "media/host_controller_reset.h"

bool sendHostControllerReset(const std::wstring&)
{
    return false;
}
