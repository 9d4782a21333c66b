// SPDX-License-Identifier: MIT
#include "support/allocations.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

static std::size_t count = 0;
static std::size_t live = 0;

std::size_t allocations()
{
    return count;
}

std::size_t live_bytes()
{
    return live;
}

// Not inline: valgrind puts its own in the place of all of them or, of inline ones, of some.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    void* const memory = std::malloc(size > 0 ? size : 1);
    ++count;
    live += malloc_usable_size(memory);
    return memory;
}

[[gnu::noinline]] void* operator new(std::size_t size)
{
    if (void* const memory = operator new(size, std::nothrow); memory != nullptr)
        return memory;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    live -= malloc_usable_size(memory);
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}
