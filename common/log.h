// Log lines of the C library: its domain and tag, and the blank that every text begins with.
// Formats are the platform's: TNX_LOGI("create session %{public}s", id).
#ifndef TNX_COMMON_LOG_H
#define TNX_COMMON_LOG_H

#include "tnx_platform/log.h"

#define TNX_LOG_LINE(level, format, ...)                                                           \
    static_cast<void>(                                                                             \
        HiLogPrint(LOG_CORE, level, 0xD0015B0, "TNXC", " " format __VA_OPT__(, ) __VA_ARGS__))

#define TNX_LOGD(...) TNX_LOG_LINE(LOG_DEBUG, __VA_ARGS__)
#define TNX_LOGI(...) TNX_LOG_LINE(LOG_INFO, __VA_ARGS__)
#define TNX_LOGE(...) TNX_LOG_LINE(LOG_ERROR, __VA_ARGS__)

#endif
