/**
 * @file version.h
 * @brief Versions of the library and of what it stands on.
 */
#ifndef TNX_C_EXT_VERSION_H
#define TNX_C_EXT_VERSION_H

#include "tnx_c/base.h"

/** @name The version of these headers
 *  Changed by hand, here only: everything else reads it from here. The first number changes with
 *  what a built program relies on, the second with additions, the third with mends.
 *  @{ */
#define TNX_VERSION_MAJOR 1
#define TNX_VERSION_MINOR 0
#define TNX_VERSION_PATCH 0
/** @} */

/** The three in one number, a byte each: 0x010203 is 1.2.3. For `#if`, to compare. */
#define TNX_VERSION_NUMBER                                                                         \
    ((TNX_VERSION_MAJOR << 16) | (TNX_VERSION_MINOR << 8) | TNX_VERSION_PATCH)

TNX_BEGIN_DECLS

/**
 * Tells the version of the library that the program runs with, as TNX_VERSION_NUMBER tells that of
 * the headers it was built with. Works from any thread.
 */
TNX_API uint32_t OVX_Tnx_GetVersionNumber(void) TNX_NOEXCEPT;

/**
 * Tells the versions of the library and of what it stands on, for people:
 * "libtnx/1.0.0 libcurl/7.88.1 OpenSSL/3.0.15 nghttp2/1.52.0 c-ares/1.18.1". Works from any thread.
 * @return A text of the library's own, never null.
 */
TNX_API const char *OVX_Tnx_GetVersion(void) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
