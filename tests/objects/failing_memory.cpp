#include "tests/objects/failing_memory.h"

#include <atomic>
#include <cstddef>

// Visible, because under AddressSanitizer the linker finds references to them in shared libraries.
#pragma GCC visibility push(default)
extern "C" {
void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
char *__real_strdup(const char *text);
void __real_free(void *block);
void *__wrap_malloc(size_t size);
void *__wrap_calloc(size_t count, size_t size);
char *__wrap_strdup(const char *text);
void __wrap_free(void *block);
}
#pragma GCC visibility pop

namespace FailingMemory
{
namespace
{

std::atomic<long> g_live{0};
std::atomic<int> g_countdown{0};
std::atomic<bool> g_armed{false};
std::atomic<bool> g_persistent{false};

bool MustFail()
{
    if (!g_armed) {
        return false;
    }
    const int left = --g_countdown;
    return left == 0 || (left < 0 && g_persistent);
}

template <class Pointer> Pointer Count(Pointer block)
{
    g_live += block != nullptr;
    return block;
}

} // namespace

Failure::Failure(int n, Kind kind)
{
    g_countdown = n;
    g_persistent = kind == Kind::PERSISTENT;
    g_armed = true;
}

Failure::~Failure()
{
    g_armed = false;
}

bool Failure::Happened() const
{
    return g_countdown <= 0;
}

long LiveBlocks()
{
    return g_live;
}

} // namespace FailingMemory

using namespace FailingMemory;

void *__wrap_malloc(size_t size)
{
    return MustFail() ? nullptr : Count(__real_malloc(size));
}

void *__wrap_calloc(size_t count, size_t size)
{
    return MustFail() ? nullptr : Count(__real_calloc(count, size));
}

char *__wrap_strdup(const char *text)
{
    return MustFail() ? nullptr : Count(__real_strdup(text));
}

void __wrap_free(void *block)
{
    g_live -= block != nullptr;
    __real_free(block);
}
