// An allocator for libcurl on top of the C library's.
#include "wiping_allocator.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include <malloc.h>

#include "base/secrets.h"
#include "tnx_platform/bounded.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr size_t MOST_WIPED = 16 * 1024; // no secret is longer, and no buffer shorter
constexpr size_t WIPED_HEAD = 4 * 1024;  // of a buffer: where the fields of a request stand
constexpr size_t LEAST_KEPT = 32 * 1024;
constexpr size_t MOST_KEPT = 512 * 1024;

// The large blocks that were released last.
class KeptBlocks
{
public:
    void *Take(size_t size)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (size_t i = count_; i > 0; --i) {
            void *const block = blocks_[i - 1];
            const size_t usable = malloc_usable_size(block);
            if (usable >= size && usable - size < size / 4) {
                blocks_[i - 1] = blocks_[--count_];
                return block;
            }
        }
        return nullptr;
    }

    bool Keep(void *block)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (count_ == blocks_.size()) {
            return false;
        }
        blocks_[count_++] = block;
        return true;
    }

private:
    std::mutex mutex_;
    std::array<void *, 64> blocks_{};
    size_t count_ = 0;
};

constinit KeptBlocks g_kept;

std::atomic<uint64_t> g_failures = 0;

// Counts the failures.
template <class Memory> Memory *Counted(Memory *memory)
{
    if (memory == nullptr) {
        ++g_failures;
    }
    return memory;
}

void *Allocate(size_t size)
{
    if (size >= LEAST_KEPT && size <= MOST_KEPT) {
        if (void *const block = g_kept.Take(size)) {
            return block;
        }
    }
    return Counted(std::malloc(size));
}

void *AllocateZeros(size_t count, size_t size)
{
    return Counted(std::calloc(count, size));
}

void Release(void *block)
{
    if (block == nullptr) {
        return; // libcurl releases dozens of texts that are not set with each request
    }
    const size_t size = malloc_usable_size(block);
    if (SecretsAbout()) {
        memset_s(block, size, 0, size <= MOST_WIPED ? size : WIPED_HEAD);
    }
    if (size >= LEAST_KEPT && size <= MOST_KEPT && g_kept.Keep(block)) {
        return;
    }
    std::free(block);
}

void *Resize(void *block, size_t size)
{
    if (!SecretsAbout()) {
        return Counted(std::realloc(block, size));
    }
    void *const resized = Allocate(size);
    if (resized != nullptr && block != nullptr) {
        std::memcpy(resized, block, std::min(malloc_usable_size(block), size));
        Release(block);
    }
    return resized;
}

char *Duplicate(const char *text)
{
    const size_t size = std::strlen(text) + 1;
    void *const copy = Allocate(size);
    return copy == nullptr ? nullptr : static_cast<char *>(std::memcpy(copy, text, size));
}

} // namespace

uint64_t FailedAllocations()
{
    return g_failures;
}

CURLcode InitialiseCurl()
{
    return curl_global_init_mem(CURL_GLOBAL_ALL, Allocate, Release, Resize, Duplicate,
                                AllocateZeros);
}

} // namespace OHOS::Pelloria::Tnx
