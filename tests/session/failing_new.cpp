// Lets C++ allocations fail, and be counted, together with those of C: new goes through malloc,
// which the program wraps.
#include <cstdlib>
#include <new>

void *operator new(size_t size)
{
    if (void *block = std::malloc(size == 0 ? 1 : size); block != nullptr) {
        return block;
    }
    throw std::bad_alloc();
}

void *operator new(size_t size, const std::nothrow_t &) noexcept
{
    return std::malloc(size == 0 ? 1 : size);
}

void operator delete(void *block) noexcept
{
    std::free(block);
}

void operator delete(void *block, size_t) noexcept
{
    std::free(block);
}
