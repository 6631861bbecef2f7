/**
 * @file connection.h
 * @brief How a fetch reached its server.
 */
#ifndef TNX_C_EXT_CONNECTION_H
#define TNX_C_EXT_CONNECTION_H

#include "tnx_c/response.h"

TNX_BEGIN_DECLS

/** A request that went out, or was to, and the answer to it. */
typedef struct Tnx_HopInfo {
    const char *url;
    int32_t statusCode; /**< 0: no answer. */
    struct Tnx_HopInfo *next;
} Tnx_HopInfo;

/** An address that a connection was tried to. */
typedef struct Tnx_AddressAttempt {
    const char *address;
    uint16_t port;
    int32_t error; /**< 0: connected. Else why not, as errno has it: ECONNREFUSED, ENETUNREACH, ...;
                        ETIMEDOUT: it did not answer in its time; ECANCELED: another was faster. */
    struct Tnx_AddressAttempt *next;
} Tnx_AddressAttempt;

/** The last connection that a request of the fetch went out on, and what all of the fetch came to.
 *  Texts are null where there is nothing to tell. */
typedef struct Tnx_ConnectionInfo {
    uint32_t httpVersion; /**< 10, 11, 20 or 30, of the last answer; 0: none came. */
    bool reused;          /**< The connection stood before the last hop. */
    uint16_t remotePort;  /**< Of the server, or of the proxy in front of it. */
    uint16_t localPort;
    const char *remoteAddress;
    const char *localAddress;
    const char *proxy;      /**< "http://proxy:3128", without a credential. */
    const char *tlsVersion; /**< "TLSv1.3"; null in clear text. */
    const char *cipher;     /**< "TLS_AES_256_GCM_SHA384" */
    const char *peerChain; /**< The certificates that the peer has shown, its own first, in PEM, one
                                behind the other. */
    uint64_t bytesSent;    /**< Header sections and bodies of all hops, before TLS and as HTTP/1.1
                                writes them. */
    uint64_t bytesReceived;             /**< The same, before content codings are undone. */
    const Tnx_HopInfo *hops;            /**< In order, the last one last. */
    const Tnx_AddressAttempt *attempts; /**< Of all hops, in the order of their ends. */
} Tnx_ConnectionInfo;

/**
 * Says whether the response is to tell how it was reached. Off unless set: collecting it costs some
 * microseconds, and the certificates their memory.
 * @return TNX_OK; TNX_ERR_PARAMETER for a request that OVX_Tnx_CreateRequest has not made; or
 *         TNX_ERR_OUT_OF_MEMORY.
 */
TNX_API uint32_t OVX_Tnx_SetRequestCollectConnectionInfo(Tnx_Request *request,
                                                         bool collect) TNX_NOEXCEPT;

/**
 * Tells how a fetch reached its server; of one that failed, as far as it came.
 * @return A record of the response, valid as long as it. Null where it was not collected, for a
 *         null response, for one that an interceptor or session type has made by itself, and where
 *         memory did not suffice.
 */
TNX_API const Tnx_ConnectionInfo *
OVX_Tnx_GetConnectionInfo(const Tnx_Response *response) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
