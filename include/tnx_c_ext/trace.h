/**
 * @file trace.h
 * @brief What happens to a request, while it happens.
 */
#ifndef TNX_C_EXT_TRACE_H
#define TNX_C_EXT_TRACE_H

#include "tnx_c/request.h"

TNX_BEGIN_DECLS

/** The steps of a fetch, as `kind` of an event; the kinds of debug information (Tnx_DebugKind) are
 *  events too. A redirect goes through the steps again. */
typedef enum Tnx_TracePhase {
    TNX_TRACE_QUEUED = 16,        /**< Waits for its turn to have a connection. */
    TNX_TRACE_LEFT_QUEUE = 17,    /**< Has it: time 0 of Tnx_TimeInfo. */
    TNX_TRACE_LOOKED_UP = 18,     /**< Data: the addresses, with a blank between. */
    TNX_TRACE_CONNECTING = 19,    /**< Data: to "192.0.2.1:443" or "[2001:db8::1]:443",
                                       or the path of a Unix socket. */
    TNX_TRACE_NOT_CONNECTED = 20, /**< Data: the same, a blank, and why. */
    TNX_TRACE_CONNECTED = 21,     /**< Data: to which of them. */
    TNX_TRACE_TLS_DONE = 22,      /**< Data: "TLSv1.3 TLS_AES_256_GCM_SHA384". */
    TNX_TRACE_REUSED = 23,        /**< In place of the four before: a kept connection, or one that
                                       others share. Data: to where. */
    TNX_TRACE_SENT = 24,          /**< The request with its body; left out where the answer comes
                                       first. */
    TNX_TRACE_FIRST_BYTE = 25,    /**< Of the answer. */
    TNX_TRACE_REDIRECTED = 26,    /**< Data: the URL that comes next. */
    TNX_TRACE_RETRIED = 27,       /**< Data: why, and when the next attempt begins. */
    TNX_TRACE_DONE = 28           /**< The last one. Data: the cause of a failure; else empty. */
} Tnx_TracePhase;

/** Something that has happened. */
typedef struct Tnx_TraceEvent {
    uint32_t kind;    /**< A Tnx_TracePhase or a Tnx_DebugKind. */
    int64_t time;     /**< Microseconds since the fetch began. */
    const char *data; /**< Any bytes, without a NUL behind them. */
    size_t length;
} Tnx_TraceEvent;

/**
 * Takes an event, which is valid during the call.
 *
 * Called on a thread of the library, or on the caller's own during a synchronous fetch, in order
 * with the other callbacks of the request and one at a time, without a lock held; before the
 * response callback, and not after a cancel. May block: nobody else waits. The download then pauses
 * when 1 MiB waits to be heard; debug information that comes all the same is left out, and an event
 * of TNX_DEBUG_TEXT says how much.
 */
typedef void (*Tnx_OnTraceCallback)(void *usrCtx, const Tnx_TraceEvent *event);

/**
 * Sets who is told what happens to a request: the steps, and all debug information, whichever kinds
 * of it are recorded with the response. No copy is kept. Credentials stand in no text; header
 * fields and data come as they are.
 * @param callback Null: nobody.
 * @return TNX_OK; TNX_ERR_PARAMETER for a request that OVX_Tnx_CreateRequest has not made; or
 *         TNX_ERR_OUT_OF_MEMORY.
 */
TNX_API uint32_t OVX_Tnx_SetRequestTrace(Tnx_Request *request, Tnx_OnTraceCallback callback,
                                         void *usrCtx) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
