#include "capture/channel/page_memory.h"

#include <sys/mman.h>

#include <new>

#ifndef MADV_POPULATE_WRITE
#define MADV_POPULATE_WRITE 23 // Linux 5.14
#endif

// Huge pages would cost less where they lie ready, but machines that run in others give free ones back to their host,
// and to get those again costs several times as much.
std::shared_ptr<char[]> pageMemory(std::size_t size)
{
    void* mapped = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED)
        throw std::bad_alloc();
    madvise(mapped, size, MADV_POPULATE_WRITE); // an older kernel hands it out page by page, when it is written to
    return {static_cast<char*>(mapped), [size](char* bytes) { munmap(bytes, size); }};
}
