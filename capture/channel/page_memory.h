// page_memory.h: memory that is about to be filled.
#pragma once

#include <cstddef>
#include <memory>

/// `size` bytes that go back to the system with their last owner. They come all at once where the system can do that:
/// to be handed 4 KiB at a time costs more than to fill them. Throws std::bad_alloc.
std::shared_ptr<char[]> pageMemory(std::size_t size);
