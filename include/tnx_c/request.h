/**
 * @file request.h
 * @brief One HTTP request: URL, method, headers, cookies, body, ranges and configuration.
 */
#ifndef TNX_C_REQUEST_H
#define TNX_C_REQUEST_H

#include "configuration.h"
#include "form.h"
#include "headers.h"

TNX_BEGIN_DECLS

/** Bytes handed to a callback, valid during the call. */
typedef struct Tnx_Buffer {
    const char *data;
    uint32_t length;
} Tnx_Buffer;

/**
 * Takes a piece of the response's body as it arrives: at most 512 KiB, after decompression, of
 * the final response only. While it is set the body is not kept in the response.
 *
 * Called on a thread of the library, or on the caller's own during a synchronous fetch, one call
 * at a time for one request, without a lock held. May block: the download pauses, nobody else
 * waits.
 * @return `data->length` to go on; less stops the request with TNX_ERR_WRITE.
 */
typedef size_t (*Tnx_OnBinaryDataRecvCallback)(void *usrCtx, const Tnx_Buffer *data);

/** The data callback of a request. Change it only through
 *  OVX_Tnx_SetRequestOnBinaryDataRecvCallback. */
typedef struct Tnx_DataRecvCallbackObject {
    Tnx_OnBinaryDataRecvCallback callback;
    void *usrCtx;
} Tnx_DataRecvCallbackObject;

/** The kinds of body. */
typedef enum Tnx_RequestContentType {
    TNX_CONTENT_STRING = 0,         /**< Content type text/plain unless set. */
    TNX_CONTENT_FORM = 1,           /**< application/x-www-form-urlencoded */
    TNX_CONTENT_MULTIPART_FORM = 2, /**< multipart/form-data */
    TNX_CONTENT_GET_DATA = 3        /**< application/octet-stream; sent chunked (RFC 9112 section
                                         7.1) unless a content-length header is set. */
} Tnx_RequestContentType;

/** The body of a request. GET and HEAD carry none, only its type as a header. Any other kind counts
 * as no body. */
typedef struct Tnx_RequestContent {
    uint32_t type; /**< A Tnx_RequestContentType; says which member of `value` counts. */
    union {
        struct {
            const char *data; /**< Any bytes; copied by the fetch call. */
            uint32_t length;
        } string;
        Tnx_Form *form;
        Tnx_MultipartForm *multipartForm;
        Tnx_GetDataCallback getDataCallback;
    } value;
} Tnx_RequestContent;

/**
 * One byte range (RFC 9110 section 14.1.2): `a-b`, `a-` or `-b`. A bound is given when it is
 * non-zero or its flag is set. A node without bounds is left out.
 */
typedef struct Tnx_TransferRange {
    int64_t from;
    bool hasFrom;
    int64_t to;
    bool hasTo;
    struct Tnx_TransferRange *next; /**< The next range, or null. */
} Tnx_TransferRange;

/** A request. Made by OVX_Tnx_CreateRequest, then filled by hand. */
typedef struct Tnx_Request {
    char id[32];                      /**< Decimal, unique in the process. Read only. */
    char *url;                        /**< The record's own copy. */
    const char *method;               /**< "GET" unless set. Borrowed. */
    Tnx_Headers *headers;             /**< Borrowed; may be null. */
    Tnx_RequestContent *content;      /**< Borrowed; may be null. */
    Tnx_Configuration *configuration; /**< Borrowed; null: the session's, as a whole. */
    Tnx_TransferRange *transferRange; /**< Borrowed; may be null. */
    Tnx_RequestCookies *cookies;      /**< Borrowed; may be null. */
    Tnx_DataRecvCallbackObject *onDataRecvCallback; /**< Owned by the record. */
} Tnx_Request;

/**
 * Creates a GET request. Copies the URL, which is checked when it is fetched; a host name in it
 * may be international, in UTF-8. Works from any number of threads at once. The caller destroys it
 * with OVX_Tnx_DestroyRequest, at the earliest in the response callback of its fetch.
 */
TNX_API Tnx_Request *OVX_Tnx_CreateRequest(const char *url) TNX_NOEXCEPT;

/** Destroys a request, but not the records that were attached to it. */
TNX_API void OVX_Tnx_DestroyRequest(Tnx_Request *request) TNX_NOEXCEPT;

/**
 * Sets the function that takes the response's body as it arrives. A null callback changes
 * nothing.
 * @return TNX_OK, or TNX_ERR_PARAMETER for a null request.
 */
TNX_API uint32_t OVX_Tnx_SetRequestOnBinaryDataRecvCallback(Tnx_Request *request,
                                                            Tnx_OnBinaryDataRecvCallback callback,
                                                            void *usrCtx) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
