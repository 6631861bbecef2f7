/**
 * @file retry.h
 * @brief Trying again what may pass.
 */
#ifndef TNX_C_EXT_RETRY_H
#define TNX_C_EXT_RETRY_H

#include "tnx_c/session.h"

TNX_BEGIN_DECLS

/** What is tried again, how often and when. Zero and null keep the default. */
typedef struct Tnx_RetryPolicy {
    uint32_t attempts;    /**< At most, with the first; 0: 3. */
    uint32_t firstWait;   /**< Before the second attempt, ms; 0: 500. It doubles each time, and up
                               to half of it is left out, at random. */
    uint32_t longestWait; /**< ms; 0: 30000. A server that asks for more (Retry-After) gets no
                               further attempt. */
    uint32_t giveUpAfter; /**< No attempt begins later than this after the fetch began, ms;
                               0: no limit. */
    const int32_t *statuses; /**< From 400 to 599; null: 408, 429, 500, 502, 503 and 504. */
    size_t statusCount;
    const uint32_t *codes; /**< Of TNX_ERR_RESOLVE_PROXY, _RESOLVE_HOST, _CONNECT,
                                _TRUNCATED_BODY, _TIMEOUT, _EMPTY_REPLY, _SEND, _RECEIVE and
                                _HTTP2_STREAM; null: all of these. */
    size_t codeCount;
} Tnx_RetryPolicy;

/**
 * Says what a session tries again, for fetches that start from now on. Copies the policy.
 *
 * Repeated is only what may be (RFC 9110 section 9.2.2): GET, HEAD, PUT, DELETE, OPTIONS and TRACE;
 * others where nothing of the request has gone out. Not repeated is what has a body that cannot be
 * sent again, and what the application has been told of: by a data callback, or by onHeaderReceive.
 * Where redirects were followed, the last hop is tried again.
 *
 * The wait is that of the backoff or of Retry-After, whichever is longer. It takes no thread of the
 * library and no connection; a synchronous fetch waits on its own. Cancel and close end it at once.
 * Each attempt has the whole of both time-outs; `giveUpAfter` limits them together. Times of the
 * response are those of the last attempt, with all before it as `queue`.
 * @param policy Null: nothing is tried again, as it is unless set.
 * @return TNX_OK; TNX_ERR_SESSION_CLOSED without a session; TNX_ERR_PARAMETER for a value that
 * makes no sense and for a session of a type of the application's own, which does its own fetching;
 * or TNX_ERR_OUT_OF_MEMORY.
 */
TNX_API uint32_t OVX_Tnx_SetSessionRetry(Tnx_Session *session,
                                         const Tnx_RetryPolicy *policy) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
