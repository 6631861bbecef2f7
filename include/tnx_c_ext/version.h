/**
 * @file version.h
 * @brief Versions of the library and of what it stands on.
 */
#ifndef TNX_C_EXT_VERSION_H
#define TNX_C_EXT_VERSION_H

#include "tnx_c/base.h"

TNX_BEGIN_DECLS

/**
 * Tells the versions of the library and of what it stands on, for people:
 * "libtnx/1.0.0 libcurl/7.88.1 OpenSSL/3.0.15 nghttp2/1.52.0 c-ares/1.18.1". Works from any thread.
 * @return A text of the library's own, never null.
 */
TNX_API const char *OVX_Tnx_GetVersion(void) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
