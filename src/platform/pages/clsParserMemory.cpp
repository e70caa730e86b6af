// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pages/clsParserMemory.h"

#include <algorithm>
#include <bit>
#include <new>

namespace
{
constexpr std::size_t BlockBytes = std::size_t{64} * 1024;
constexpr std::size_t BlocksKept = 12;
} // namespace

clsParserMemory& clsParserMemory::OfThread()
{
    static thread_local clsParserMemory memory;
    return memory;
}

GumboOptions clsParserMemory::Options()
{
    GumboOptions options = kGumboDefaultOptions;
    options.allocator = &clsParserMemory::Take;
    options.deallocator = &clsParserMemory::GiveBack;
    options.userdata = this;
    return options;
}

void clsParserMemory::Clear()
{
    m_free.fill(nullptr);
    m_large.clear();
    m_blocks.resize(std::min(m_blocks.size(), BlocksKept));
    m_blocksUsed = m_left = 0;
}

std::byte* clsParserMemory::Fresh(std::size_t bytes)
{
    if (bytes > BlockBytes / 4)
        return m_large.emplace_back(std::make_unique_for_overwrite<std::byte[]>(bytes)).get();
    if (bytes > m_left) {
        if (m_blocksUsed == m_blocks.size())
            m_blocks.push_back(std::make_unique_for_overwrite<std::byte[]>(BlockBytes));
        ++m_blocksUsed;
        m_left = BlockBytes;
    }
    std::byte* fresh = m_blocks[m_blocksUsed - 1].get() + (BlockBytes - m_left);
    m_left -= bytes;
    return fresh;
}

void* clsParserMemory::Take(void* self, std::size_t bytes)
{
    auto& memory = *static_cast<clsParserMemory*>(self);
    std::size_t room = std::max(SmallStep, (bytes + SmallStep - 1) / SmallStep * SmallStep);
    std::size_t size = room / SmallStep;
    if (room > MostSmall) {
        room = std::bit_ceil(bytes);
        size = MostSmall / SmallStep + static_cast<std::size_t>(std::bit_width(room) - std::bit_width(MostSmall));
    }
    Piece* piece = memory.m_free[size];
    if (piece)
        memory.m_free[size] = piece->next;
    else
        piece = new (memory.Fresh(offsetof(Piece, next) + room)) Piece{size, nullptr};
    return &piece->next;
}

void clsParserMemory::GiveBack(void* self, void* bytes)
{
    if (!bytes)
        return;
    auto& memory = *static_cast<clsParserMemory*>(self);
    auto* piece = reinterpret_cast<Piece*>(static_cast<std::byte*>(bytes) - offsetof(Piece, next));
    piece->next = memory.m_free[piece->size];
    memory.m_free[piece->size] = piece;
}
