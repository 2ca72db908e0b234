// allocation_counter.h: counts what one thread takes from the heap, for tests of what must not take any.
#pragma once

#include <cstddef>
#include <cstdint>

/// Allocations and reallocations of the calling thread since construction: the program's own and those of every library
/// in it. Memory given back is not counted.
class AllocationCounter
{
public:
    AllocationCounter();
    std::uint64_t count() const;

private:
    std::uint64_t m_start;
};

/// Bytes of the heap in use by the whole program.
std::size_t heapInUse();
