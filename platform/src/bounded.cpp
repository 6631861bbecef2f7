// Bounds-checked string functions.
#include "tnx_platform/bounded.h"

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace
{

// The largest bound that is taken for one; a negative number that became unsigned is above it.
constexpr size_t MAX_BOUND = INT32_MAX;

bool IsBuffer(const void *dest, size_t destMax)
{
    return dest != nullptr && destMax > 0 && destMax <= MAX_BOUND;
}

} // namespace

int strcpy_s(char *dest, size_t destMax, const char *src) noexcept
{
    if (!IsBuffer(dest, destMax)) {
        return EINVAL;
    }
    if (src == dest) {
        return 0;
    }
    int error = src == nullptr ? EINVAL : ERANGE;
    const size_t length = src == nullptr ? destMax : strnlen(src, destMax);
    if (length < destMax) {
        const auto from = reinterpret_cast<uintptr_t>(src);
        const auto to = reinterpret_cast<uintptr_t>(dest);
        const bool overlap = from <= to + length && to <= from + length;
        error = overlap ? EINVAL : 0;
    }
    if (error == 0) {
        std::memcpy(dest, src, length + 1);
    } else {
        dest[0] = '\0';
    }
    return error;
}

int sprintf_s(char *dest, size_t destMax, const char *fmt, ...) noexcept
{
    if (!IsBuffer(dest, destMax)) {
        return -1;
    }
    int length = -1;
    if (fmt != nullptr) {
        va_list args;
        va_start(args, fmt);
        length = std::vsnprintf(dest, destMax, fmt, args);
        va_end(args);
    }
    if (length < 0 || static_cast<size_t>(length) >= destMax) {
        dest[0] = '\0';
        length = -1;
    }
    return length;
}

int memset_s(void *dest, size_t destMax, int c, size_t count) noexcept
{
    if (!IsBuffer(dest, destMax)) {
        return EINVAL;
    }
    std::memset(dest, c, count < destMax ? count : destMax);
    // The compiler must take the bytes for read.
    __asm__ __volatile__("" : : "r"(dest) : "memory");
    return count <= destMax ? 0 : ERANGE;
}
