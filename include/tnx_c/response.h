/**
 * @file response.h
 * @brief What came back: status, headers, body, cookies, phase times and debug information.
 */
#ifndef TNX_C_RESPONSE_H
#define TNX_C_RESPONSE_H

#include "headers.h"
#include "request.h"

TNX_BEGIN_DECLS

struct Tnx_Response;

/**
 * Takes the outcome of an asynchronous fetch.
 *
 * Called once for each accepted fetch, on a thread of the library, without a lock held; after a
 * cancel, on the thread that canceled.
 * @param usrCtx    The context of the callback object.
 * @param response  Owned by the callee, who releases it through its `destroyResponse`. Null after
 *                  a cancel. A transfer that failed brings a response too: what was known by then,
 *                  and the cause as the last text of `debugInfo`.
 * @param errorCode TNX_OK, or why the transfer failed.
 */
typedef void (*Tnx_ResponseCallback)(void *usrCtx, struct Tnx_Response *response,
                                     uint32_t errorCode);

/** A response callback with its context. Copied by a fetch. */
typedef struct Tnx_ResponseCallbackObject {
    Tnx_ResponseCallback callback; /**< May be null: the response is dropped. */
    void *usrCtx;
} Tnx_ResponseCallbackObject;

/** One piece of debug information. Pieces stand in order of time, over all hops. */
typedef struct Tnx_DebugInfo {
    uint32_t type;    /**< A Tnx_DebugKind. */
    const char *data; /**< Valid as long as the response; any bytes. */
    uint32_t length;
    struct Tnx_DebugInfo *next;
} Tnx_DebugInfo;

/** When each phase was over, in microseconds since the request left the queue. 0: the phase did
 *  not happen (a kept connection has no lookup, connect or TLS). */
typedef struct Tnx_TimeInfo {
    int64_t nameLookup;
    int64_t connect;
    int64_t tls;
    int64_t firstSend;
    double firstReceive;
    double total;
    int64_t redirect; /**< The hops that were followed, together. */
    int64_t queue;    /**< The wait for a free connection, before time 0. */
} Tnx_TimeInfo;

/** The attributes of a response cookie: from a lower-case name to a value, "" where there is none.
 *  Unknown attributes are there too. */
typedef struct Tnx_CookieAttributes {
    Tnx_Map *fields;
} Tnx_CookieAttributes;

/** One cookie that the server set (RFC 6265 section 5.2). Absent texts are null. */
typedef struct Tnx_ResponseCookies {
    char *name;
    char *value;
    char *domain;
    char *path;
    char *expires;  /**< The text of the attribute, as received. */
    int64_t maxAge; /**< Seconds. */
    bool secure;
    bool httpOnly;
    char *sameSite;
    int64_t expiryTime; /**< Resolved, seconds since 1970: Max-Age before Expires; 0 for a session
                             cookie, 1 for one that has expired. */
    char *raw;          /**< The whole field value. */
    Tnx_CookieAttributes *cookieAttributes;
    struct Tnx_ResponseCookies *next;
} Tnx_ResponseCookies;

/** A response. The receiver owns it and releases it with `response->destroyResponse(response)`;
 *  all it points to lives as long as it does. */
typedef struct Tnx_Response {
    Tnx_Request *request; /**< The request, borrowed. */
    char *effectiveUrl;   /**< After redirects. */
    int32_t statusCode;   /**< 0 when no response came. */
    Tnx_Headers *headers; /**< Names in lower case. */
    const char *body;     /**< Any bytes. */
    uint32_t bodyLength;
    Tnx_DebugInfo *debugInfo;                           /**< May be null. */
    Tnx_TimeInfo *timeInfo;                             /**< Null unless `collectTimeInfo` is on. */
    Tnx_ResponseCookies *cookies;                       /**< Of all hops, in order; may be null. */
    Tnx_ResponseCallbackObject *responseCallbackObject; /**< The library's copy; null after a
                                                             synchronous fetch. */
    void (*destroyResponse)(struct Tnx_Response *response);
    void *engineResponse; /**< The library's own. */
} Tnx_Response;

/** Gets an attribute of a cookie, borrowed from it; null when there is none. */
TNX_API char *OVX_Tnx_GetResponseCookieAttrValue(const Tnx_CookieAttributes *attributes,
                                                 const char *name) TNX_NOEXCEPT;

/** Lists the attributes of a cookie; `value` is a char *. The caller destroys the list with
 *  OVX_Tnx_DestroyResponseCookieAttrEntries. */
TNX_API Tnx_HeaderEntry *
OVX_Tnx_GetResponseCookieAttrEntries(const Tnx_CookieAttributes *attributes) TNX_NOEXCEPT;

/** Destroys a list of entries, not what it borrows. */
TNX_API void OVX_Tnx_DestroyResponseCookieAttrEntries(Tnx_HeaderEntry *entries) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
