/**
 * @file session.h
 * @brief Sessions: fetching, cancelling, closing, interceptors and session types.
 */
#ifndef TNX_C_SESSION_H
#define TNX_C_SESSION_H

#include "configuration.h"
#include "request.h"
#include "response.h"

TNX_BEGIN_DECLS

/** The rest of an asynchronous chain, handed to an interceptor. */
typedef struct Tnx_RequestHandler {
    uint32_t (*handle)(void *handlerContext, Tnx_Request *request,
                       const Tnx_ResponseCallbackObject *callback);
    void *handlerContext;
} Tnx_RequestHandler;

/** The rest of a synchronous chain, handed to an interceptor. */
typedef struct Tnx_SyncRequestHandler {
    Tnx_Response *(*handle)(void *handlerContext, Tnx_Request *request, uint32_t *errCode);
    void *handlerContext;
} Tnx_SyncRequestHandler;

/**
 * Stands between OVX_Tnx_Fetch and the wire. Runs on the thread that fetches. It may change the
 * request and pass it on with OVX_Tnx_CallNextRequestHandler, pass it on with a callback object of
 * its own, or answer by itself: what it returns is what OVX_Tnx_Fetch returns. It must not close
 * the session.
 */
typedef struct Tnx_Interceptor {
    uint32_t (*intercept)(Tnx_Request *request, const Tnx_RequestHandler *next,
                          const Tnx_ResponseCallbackObject *callback);
} Tnx_Interceptor;

/** Stands between OVX_Tnx_FetchSync and the wire; as Tnx_Interceptor. */
typedef struct Tnx_SyncInterceptor {
    Tnx_Response *(*intercept)(Tnx_Request *request, const Tnx_SyncRequestHandler *next,
                               uint32_t *errCode);
} Tnx_SyncInterceptor;

/** Interceptors in the order in which they run. Entries without a function are skipped. */
typedef struct Tnx_InterceptorArray {
    Tnx_Interceptor *interceptors;
    int32_t count;
} Tnx_InterceptorArray;

/** As Tnx_InterceptorArray, for synchronous fetches. */
typedef struct Tnx_SyncInterceptorArray {
    Tnx_SyncInterceptor *interceptors;
    int32_t count;
} Tnx_SyncInterceptorArray;

/** The session type of HTTP. Types 1 to TNX_MAX_SESSION_TYPE are the application's. */
#define TNX_SESSION_TYPE_HTTP 0
#define TNX_MAX_SESSION_TYPE 99

/** The defaults of the connection limits. */
#define TNX_DEFAULT_CONNECTIONS_PER_HOST 6
#define TNX_DEFAULT_TOTAL_CONNECTIONS 64

/** What a session is made of. Borrowed, with all it points to, until the session is closed. */
typedef struct Tnx_SessionConfiguration {
    uint32_t sessionType; /**< TNX_SESSION_TYPE_HTTP, or a registered type. */
    Tnx_InterceptorArray interceptors;
    Tnx_SyncInterceptorArray syncInterceptors;
    const char *baseAddress;     /**< Stands before each request's URL, one slash between them. */
    Tnx_Headers *headers;        /**< Added to each request, value by value. */
    Tnx_RequestCookies *cookies; /**< Added to each request; the request's own win. */
    void (*onSessionCanceled)(void);         /**< Once a session cancel, on its thread. */
    void (*onSessionClosed)(void);           /**< Once, last of all. */
    Tnx_Configuration *requestConfiguration; /**< For requests without their own. */
    int64_t maxConnectionsPerHost; /**< 0: 6. A connection of HTTP/2 carries up to 100 requests. */
    int64_t maxTotalConnections;   /**< 0: 64. */
    int64_t optionalConnectionLimit; /**< Idle connections kept for reuse; 0: the engine's. */
} Tnx_SessionConfiguration;

struct Tnx_SessionOps;

/** A session. Its fields are for session types, not for callers. */
typedef struct Tnx_Session {
    struct Tnx_SessionOps *ops;
    void *sessionImpl;
} Tnx_Session;

/** The operations of a session type, one static table each. Every slot must be set. */
typedef struct Tnx_SessionOps {
    Tnx_Session *(*create)(struct Tnx_SessionOps *ops, const Tnx_SessionConfiguration *config,
                           uint32_t *errCode);
    const char *(*getSessionId)(Tnx_Session *session);
    const Tnx_SessionConfiguration *(*getSessionConfiguration)(Tnx_Session *session);
    Tnx_Response *(*fetchSync)(Tnx_Session *session, Tnx_Request *request, uint32_t *errCode);
    uint32_t (*fetch)(Tnx_Session *session, Tnx_Request *request,
                      const Tnx_ResponseCallbackObject *callback);
    uint32_t (*cancelRequest)(Tnx_Session *session, const Tnx_Request *request);
    uint32_t (*cancelSession)(Tnx_Session *session);
    uint32_t (*closeSession)(Tnx_Session **session); /**< Frees the handle, writes null. */
} Tnx_SessionOps;

/**
 * Registers the operations of a session type, in place of the ones registered before. Borrows the
 * table for the life of the process. `type` must lie in 0 to TNX_MAX_SESSION_TYPE: it is not
 * checked. Not thread-safe: register before sessions are created.
 */
TNX_API void OVX_Tnx_RegisterSessionOps(int32_t type, Tnx_SessionOps *ops) TNX_NOEXCEPT;

/** Gets the operations of a session type; null when there are none. */
TNX_API Tnx_SessionOps *OVX_Tnx_GetSessionOps(int32_t type) TNX_NOEXCEPT;

/**
 * Creates a session. A null configuration makes an HTTP session with every default. The caller
 * closes it with OVX_Tnx_CloseSession.
 * @param errCode Takes the code: TNX_ERR_PARAMETER for an unknown session type,
 *                TNX_ERR_PERMISSION_DENIED, TNX_ERR_INIT_FAILED, TNX_ERR_OUT_OF_MEMORY. Null:
 * nothing is done.
 */
TNX_API Tnx_Session *OVX_Tnx_CreateSession(const Tnx_SessionConfiguration *config,
                                           uint32_t *errCode) TNX_NOEXCEPT;

/** Gets the session's identifier, borrowed until it is closed. */
TNX_API const char *OVX_Tnx_GetSessionId(Tnx_Session *session) TNX_NOEXCEPT;

/** Gets the configuration that the session was created with; may be null. */
TNX_API const Tnx_SessionConfiguration *
OVX_Tnx_GetSessionConfiguration(Tnx_Session *session) TNX_NOEXCEPT;

/**
 * Sends a request and waits for its response, on the calling thread. Works from any thread, a
 * callback included: there it uses the connection slot of the request whose callback it is. Only
 * OVX_Tnx_CancelSession and OVX_Tnx_CloseSession end it early.
 * @param errCode Takes the code. Null: nothing is done.
 * @return The response, which the caller releases through its `destroyResponse`; null where there
 *         is none (wrong arguments, a cancel). A transfer that failed returns a response too.
 */
TNX_API Tnx_Response *OVX_Tnx_FetchSync(Tnx_Session *session, Tnx_Request *request,
                                        uint32_t *errCode) TNX_NOEXCEPT;

/**
 * Sends a request and returns at once; the callback takes the response. The callback never runs
 * inside this call, though another thread may run it while this returns. Copies `callback`; borrows
 * `request` until the callback is called. The same request must not be fetched again while it is in
 * flight: the first callback would then never run.
 * @return TNX_OK when the fetch was accepted: the callback will be called. Else it will not be.
 */
TNX_API uint32_t OVX_Tnx_Fetch(Tnx_Session *session, Tnx_Request *request,
                               const Tnx_ResponseCallbackObject *callback) TNX_NOEXCEPT;

/**
 * Cancels one asynchronous request: none of its callbacks starts any more, but for its `onCanceled`
 * and then its response callback, with null and TNX_ERR_REQUEST_CANCELED. They run before this
 * returns, or, where another thread is inside a callback of the request, on that thread as soon as
 * it returns. `onCanceled` also runs for a request that is not in flight. Waits for nothing.
 */
TNX_API uint32_t OVX_Tnx_CancelRequest(Tnx_Session *session,
                                       const Tnx_Request *request) TNX_NOEXCEPT;

/**
 * Cancels every request of the session, asynchronous ones as OVX_Tnx_CancelRequest does,
 * synchronous ones by returning null and TNX_ERR_REQUEST_CANCELED. The session stays usable.
 */
TNX_API uint32_t OVX_Tnx_CancelSession(Tnx_Session *session) TNX_NOEXCEPT;

/**
 * Closes the session and writes null to the variable. Completes nothing: cancel first. Waits for
 * callbacks that are running, except those on its own call stack, never for the network.
 * No other thread may be using, or start to use, the handle.
 */
TNX_API uint32_t OVX_Tnx_CloseSession(Tnx_Session **session) TNX_NOEXCEPT;

/** Passes a request on to the rest of the chain, from inside an interceptor or later. */
TNX_API uint32_t
OVX_Tnx_CallNextRequestHandler(Tnx_Request *request, const Tnx_RequestHandler *next,
                               const Tnx_ResponseCallbackObject *callback) TNX_NOEXCEPT;

/** Passes a request on to the rest of the chain, from inside an interceptor. `errCode` must not be
 *  null. */
TNX_API Tnx_Response *OVX_Tnx_CallNextSyncRequestHandler(Tnx_Request *request,
                                                         const Tnx_SyncRequestHandler *next,
                                                         uint32_t *errCode) TNX_NOEXCEPT;

/** The name that usage events carry as "sdk_name". May be pointed elsewhere; borrowed. */
extern TNX_API const char *g_sdkName;

/**
 * Writes one usage event.
 * @param result    0 or 1.
 * @param errorCode The outcome of the call.
 * @param apiName   The name of the function that was called.
 * @param beginTime Seconds since 1970.
 */
TNX_API void TnxTraceApiEvent(uint32_t result, uint32_t errorCode, const char *apiName,
                              int64_t beginTime) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
