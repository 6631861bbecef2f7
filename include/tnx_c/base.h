/**
 * @file base.h
 * @brief What every part of the interface stands on: linkage and error codes.
 */
#ifndef TNX_C_BASE_H
#define TNX_C_BASE_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#define TNX_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define TNX_NOEXCEPT noexcept
#define TNX_BEGIN_DECLS extern "C" {
#define TNX_END_DECLS }
#else
#define TNX_NOEXCEPT
#define TNX_BEGIN_DECLS
#define TNX_END_DECLS
#endif

TNX_BEGIN_DECLS

/**
 * Error codes. A code of the transfer is TNX_ERR_TRANSFER_BASE plus the number that libcurl gives
 * the failure (1 to 99); the ones worth a name have one here. An HTTP status of 400 or more is a
 * response like any other, not an error, unless a request wants it to be one.
 */
enum {
    TNX_OK = 0,
    TNX_ERR_PERMISSION_DENIED = 201, /**< The application lacks the internet permission. */
    TNX_ERR_PARAMETER = 401,         /**< A null or invalid argument, or an unknown session type. */

    TNX_ERR_TRANSFER_BASE = 1007900000,
    TNX_ERR_UNSUPPORTED_SCHEME = 1007900001, /**< The URL's scheme is not http or https. */
    TNX_ERR_INIT_FAILED = 1007900002,        /**< The session could not be set up. */
    TNX_ERR_URL_MALFORMED = 1007900003,      /**< The URL is malformed. */
    TNX_ERR_NOT_BUILT_IN = 1007900004,       /**< The libcurl at hand cannot do this. */
    TNX_ERR_RESOLVE_PROXY = 1007900005,      /**< The proxy's name has no address. */
    TNX_ERR_RESOLVE_HOST = 1007900006,       /**< The host's name has no address. */
    TNX_ERR_CONNECT = 1007900007,            /**< No address accepted a connection. */
    TNX_ERR_WEIRD_REPLY = 1007900008,        /**< The answer is not HTTP. */
    TNX_ERR_HTTP2 = 1007900016,              /**< The rules of HTTP/2 were broken. */
    TNX_ERR_TRUNCATED_BODY = 1007900018,     /**< The body ended early. */
    TNX_ERR_HTTP_STATUS = 1007900022,        /**< The status is 400 or more. */
    TNX_ERR_WRITE = 1007900023,              /**< The data callback took less than it was given,
                                                  or a file could not be written. */
    TNX_ERR_READ = 1007900026,               /**< A file could not be read. */
    TNX_ERR_OUT_OF_MEMORY = 1007900027,      /**< Memory ran out. */
    TNX_ERR_TIMEOUT = 1007900028,            /**< A time-out, or a time that a limit gives,
                                                  passed. */
    TNX_ERR_TLS_CONNECT = 1007900035,        /**< The TLS handshake failed. */
    TNX_ERR_CALLBACK = 1007900042,           /**< A callback reported failure or threw an
                                                  exception. */
    TNX_ERR_BAD_ARGUMENT = 1007900043,       /**< A header field or method must not be sent. */
    TNX_ERR_TOO_MANY_REDIRECTS = 1007900047, /**< There are more redirects than are followed. */
    TNX_ERR_EMPTY_REPLY = 1007900052,        /**< The server closed the connection without an
                                                  answer. */
    TNX_ERR_SEND = 1007900055,               /**< Sending failed. */
    TNX_ERR_RECEIVE = 1007900056,            /**< Receiving failed. */
    TNX_ERR_CLIENT_CERTIFICATE = 1007900058, /**< The client certificate or its key is bad. */
    TNX_ERR_PEER_VERIFICATION = 1007900060,  /**< The server's certificate was refused. */
    TNX_ERR_CONTENT_ENCODING = 1007900061,   /**< The content coding is unknown, or the content
                                                  damaged. */
    TNX_ERR_BODY_TOO_LARGE = 1007900063,     /**< The body is larger than is kept, or than a
                                                  limit allows. */
    TNX_ERR_CANNOT_REPLAY = 1007900065,      /**< The body would have to be sent again, but
                                                  cannot be. */
    TNX_ERR_TRUST_STORE = 1007900077,        /**< The trusted CAs could not be read. */
    TNX_ERR_PIN_MISMATCH = 1007900090,       /**< No public-key pin matched. */
    TNX_ERR_HTTP2_STREAM = 1007900092,       /**< The peer reset the HTTP/2 stream. */
    TNX_ERR_PROXY = 1007900097,              /**< The proxy refused or failed. */
    TNX_ERR_REQUEST_CANCELED = 1007900992,   /**< The request was canceled. */
    TNX_ERR_SESSION_CLOSED = 1007900993      /**< The session is closed, or there is none. */
};

/** The largest body, in bytes, that is kept in memory for a response. */
#define TNX_MAX_BODY 2147483647

TNX_END_DECLS

#endif
