#include "tests/media/allocation_counter.h"

#include <cerrno>

#include <malloc.h>

namespace {

// Of the program itself, so that reading it never allocates.
thread_local std::uint64_t t_allocations = 0;

} // namespace

// The C library's allocator under its own second names; the functions below stand in front of it for the whole program.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

void* malloc(std::size_t size)
{
    ++t_allocations;
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size)
{
    ++t_allocations;
    return __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size)
{
    ++t_allocations;
    return __libc_realloc(memory, size);
}

void* memalign(std::size_t alignment, std::size_t size)
{
    ++t_allocations;
    return __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return memalign(alignment, size);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size)
{
    *memory = memalign(alignment, size);
    return *memory ? 0 : ENOMEM;
}
}

AllocationCounter::AllocationCounter() : m_start(t_allocations)
{}

std::uint64_t AllocationCounter::count() const
{
    return t_allocations - m_start;
}

std::size_t heapInUse()
{
    const struct mallinfo2 information = mallinfo2();
    return information.uordblks + information.hblkhd;
}
