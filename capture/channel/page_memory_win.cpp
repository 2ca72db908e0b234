#include "capture/channel/page_memory.h"

std::shared_ptr<char[]> pageMemory(std::size_t size)
{
    return std::make_shared_for_overwrite<char[]>(size);
}
