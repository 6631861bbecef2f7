// The platform's bounds-checked string functions. All accept null and report it. Their symbols have
// a prefix: a program may have functions of these names, which must not stand in for ours.
#ifndef TNX_PLATFORM_BOUNDED_H
#define TNX_PLATFORM_BOUNDED_H

#include <cstddef>

#pragma GCC visibility push(default)

// Copies a text with its terminator. Returns 0; when it does not fit, or overlaps, or is null, an
// error number, and the destination is then the empty string.
extern "C" int strcpy_s(char *dest, size_t destMax, const char *src) noexcept
    __asm__("tnx_strcpy_s");

// Returns the length of the text without its terminator; -1 when it does not fit, and the
// destination is then the empty string.
extern "C" int sprintf_s(char *dest, size_t destMax, const char *fmt, ...) noexcept
    __asm__("tnx_sprintf_s") __attribute__((format(printf, 3, 4)));

// Sets `count` bytes, and does so even where nobody reads them any more. Returns 0; when `count` is
// above `destMax`, an error number, and then `destMax` bytes are set.
extern "C" int memset_s(void *dest, size_t destMax, int c, size_t count) noexcept
    __asm__("tnx_memset_s");

#pragma GCC visibility pop

#endif
