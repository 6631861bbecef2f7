// The platform's log: one line a call, to standard error, from the level that TNX_LOG names
// (debug, info, warn, error, off; error when it is not set).
#ifndef TNX_PLATFORM_LOG_H
#define TNX_PLATFORM_LOG_H

typedef enum LogType {
    LOG_APP = 0,
    LOG_INIT = 1,
    LOG_CORE = 3,
} LogType;

typedef enum LogLevel {
    LOG_DEBUG = 3,
    LOG_INFO = 4,
    LOG_WARN = 5,
    LOG_ERROR = 6,
    LOG_FATAL = 7,
} LogLevel;

#pragma GCC visibility push(default)

// The format is printf's, with {public} or {private} after the percent sign; an argument without
// either counts as private and prints as <private>. No `*`, no %n. Returns the bytes written, 0
// for a line below the level, -1 for failure. Leaves errno alone.
extern "C" int HiLogPrint(LogType type, LogLevel level, unsigned int domain, const char *tag,
                          const char *fmt, ...) noexcept;

#pragma GCC visibility pop

#endif
