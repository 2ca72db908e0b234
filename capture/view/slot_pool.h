// slot_pool.h: memory for very many objects of one size, side by side in large blocks.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

/// Hands out slots in ascending addresses while none has been given back, so that a walk over objects in the order of
/// their making reads memory in order. All blocks are freed when the last slot comes back. Not for use by several
/// threads.
template<std::size_t SlotSize>
class SlotPool
{
public:
    void* take()
    {
        ++m_taken;
        if (m_free) {
            Slot* slot = m_free;
            m_free = slot->next;
            return slot;
        }
        if (m_unused == kSlotsOfBlock) {
            m_blocks.push_back(std::make_unique_for_overwrite<Slot[]>(kSlotsOfBlock));
            m_unused = 0;
        }
        return &m_blocks.back()[m_unused++];
    }

    void giveBack(void* memory)
    {
        if (--m_taken == 0) {
            m_blocks.clear();
            m_unused = kSlotsOfBlock;
            m_free = nullptr;
            return;
        }
        auto* slot = static_cast<Slot*>(memory);
        slot->next = m_free;
        m_free = slot;
    }

private:
    static constexpr std::size_t kSlotsOfBlock = 4096;

    union Slot
    {
        Slot* next;
        alignas(std::max_align_t) std::byte bytes[SlotSize];
    };

    std::vector<std::unique_ptr<Slot[]>> m_blocks;
    std::size_t m_unused = kSlotsOfBlock; // first slot of the last block that was never handed out
    Slot* m_free = nullptr;
    std::size_t m_taken = 0;
};
