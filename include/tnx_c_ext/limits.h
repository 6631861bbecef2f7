/**
 * @file limits.h
 * @brief What one request may take, and which way its connections go.
 *
 * The settings go with the request: they hold for each of its fetches and for all redirects on the
 * way. One that runs keeps what it began with.
 */
#ifndef TNX_C_EXT_LIMITS_H
#define TNX_C_EXT_LIMITS_H

#include "tnx_c/request.h"

TNX_BEGIN_DECLS

/** A value of TNX_LIMIT_REDIRECTS: already the first redirect is one too many. */
#define TNX_NO_REDIRECTS (-1)

/** Versions of TLS. */
typedef enum Tnx_TlsVersion { TNX_TLS_1_2 = 12, TNX_TLS_1_3 = 13 } Tnx_TlsVersion;

/** What is limited. Where nothing else is said, a value is 1 or more. */
typedef enum Tnx_RequestLimit {
    /** Milliseconds in which no byte comes or goes once the request is on its way, a header field
     *  counting when its line is whole: TNX_ERR_TIMEOUT. A pause for a rate below does not count,
     *  nor does one for the application: for a callback that the transfer waits for. */
    TNX_LIMIT_IDLE_TIME = 0,
    /** Milliseconds from the last byte of the request to the first of an answer, for each hop:
     *  TNX_ERR_TIMEOUT. The same pauses do not count. */
    TNX_LIMIT_FIRST_BYTE = 1,
    /** Redirects to follow, in place of 50, or TNX_NO_REDIRECTS: TNX_ERR_TOO_MANY_REDIRECTS. */
    TNX_LIMIT_REDIRECTS = 2,
    /** Bytes of the response's body, decoded: TNX_ERR_BODY_TOO_LARGE. An announced length above it
     *  ends the fetch at the header fields, unless there is a content coding to undo. */
    TNX_LIMIT_RESPONSE_SIZE = 3,
    TNX_LIMIT_RATE_DOWN = 4, /**< Bytes a second of the response, on average. */
    TNX_LIMIT_RATE_UP = 5,   /**< Bytes a second of the request, on average. */
    /** 4 or 6: only addresses of that version of IP are connected to, also those of a proxy. A host
     *  that has none ends with TNX_ERR_RESOLVE_HOST, a proxy with TNX_ERR_RESOLVE_PROXY. */
    TNX_LIMIT_ADDRESS_FAMILY = 6,
    /** A Tnx_TlsVersion, for the server, not for a proxy: TNX_ERR_TLS_CONNECT where the server
     *  speaks none that is let through. */
    TNX_LIMIT_TLS_LOWEST = 7,
    TNX_LIMIT_TLS_HIGHEST = 8, /**< The same; not below the lowest. */
    TNX_REQUEST_LIMITS = 9     /**< How many there are. */
} Tnx_RequestLimit;

/** What a connection is made with, as texts. Requests that differ in one share no connection. */
typedef enum Tnx_ConnectionSetting {
    /** The path of a socket that every hop connects to, whichever host the URL names: no name is
     *  looked up, no proxy is asked. At most 107 bytes. */
    TNX_CONNECTION_UNIX_SOCKET = 0,
    /** The network interface, or the address of this machine, to connect from: "eth0", "10.0.0.2".
     *  One that cannot be used ends with 1007900045. */
    TNX_CONNECTION_INTERFACE = 1,
    /** HOST:PORT:HOST2:PORT2, several of them separated by commas, of which the first that fits
     *  counts: what goes to HOST and PORT is connected to HOST2 and PORT2 instead. Everything else,
     *  the certificate's check too, stays with the URL. An empty HOST or PORT is any, an empty
     *  HOST2 or PORT2 that of the URL. An address of IPv6 stands in brackets. A proxy of HTTP is
     *  asked for a tunnel then. */
    TNX_CONNECTION_TO = 2,
    /** Ciphers for TLS 1.2, and cipher suites for TLS 1.3: names that OpenSSL knows, separated by
     *  colons. Where it knows none of them, the fetch ends with 1007900059. */
    TNX_CONNECTION_TLS12_CIPHERS = 3,
    TNX_CONNECTION_TLS13_CIPHERS = 4,
    TNX_CONNECTION_SETTINGS = 5 /**< How many there are. */
} Tnx_ConnectionSetting;

/**
 * Limits a request. The fetch that meets a limit ends with the code told above, and the text of
 * OVX_Tnx_GetFailureText has the number.
 * @param which A Tnx_RequestLimit.
 * @param value Zero takes the limit back.
 * @return TNX_OK; TNX_ERR_PARAMETER for a null request, one that OVX_Tnx_CreateRequest has not
 *         made, an unknown limit and a value that is none for it; or TNX_ERR_OUT_OF_MEMORY. An
 * error changes nothing.
 */
TNX_API uint32_t OVX_Tnx_SetRequestLimit(Tnx_Request *request, uint32_t which,
                                         int64_t value) TNX_NOEXCEPT;

/**
 * Says what the connections of a request are made with. Copies the text.
 * @param which A Tnx_ConnectionSetting.
 * @param value Null takes the setting back.
 * @return As OVX_Tnx_SetRequestLimit. Whether a path, an interface or a cipher is there shows when
 *         the request is fetched.
 */
TNX_API uint32_t OVX_Tnx_SetRequestConnection(Tnx_Request *request, uint32_t which,
                                              const char *value) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
