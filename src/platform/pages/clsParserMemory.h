// SPDX-License-Identifier: GPL-3.0-or-later
// Memory for the HTML parser, which asks for very many small pieces: taken in large blocks, given back all at once.
#pragma once

#include <array>
#include <cstddef>
#include <gumbo.h>
#include <memory>
#include <vector>

/// What a thread's parser works in. Pieces that the parser gives back serve its next requests of that size; the rest
/// goes with Clear, which saves the walk over the whole tree. Never shared between threads.
class clsParserMemory
{
public:
    /// The calling thread's, which keeps a common page's worth for the next page.
    static clsParserMemory& OfThread();

    /// The parser's options, so that it takes all its memory here.
    [[nodiscard]] GumboOptions Options();
    /// Takes everything back: what the parser returned is gone.
    void Clear();

private:
    static constexpr std::size_t SmallStep = 16;
    static constexpr std::size_t MostSmall = 512;
    /// Small sizes in steps, above them the powers of two.
    static constexpr std::size_t Sizes = MostSmall / SmallStep + 64;
    struct Piece
    {
        std::size_t size; ///< which of the sizes; in front of what the parser sees
        Piece* next;      ///< while it is free; else the parser's bytes begin here
    };
    static void* Take(void* self, std::size_t bytes);
    static void GiveBack(void* self, void* bytes);
    std::byte* Fresh(std::size_t bytes);

    std::array<Piece*, Sizes> m_free{};
    std::vector<std::unique_ptr<std::byte[]>> m_blocks; ///< all of the same size
    std::vector<std::unique_ptr<std::byte[]>> m_large;  ///< a piece each
    std::size_t m_blocksUsed = 0;
    std::size_t m_left = 0; ///< bytes of the last block in use
};
