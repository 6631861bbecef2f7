/**
 * @file body.h
 * @brief Bodies of requests that are read where they are: from a source of the application's, or
 * from a file.
 *
 * Either takes the place of `request->content`, which is then not looked at; as with that, GET and
 * HEAD carry no body, only its type: application/octet-stream unless a header says otherwise.
 */
#ifndef TNX_C_EXT_BODY_H
#define TNX_C_EXT_BODY_H

#include "tnx_c/request.h"

TNX_BEGIN_DECLS

/**
 * Gives the next bytes of a body.
 *
 * Called on a thread of the library, or on the caller's own during a synchronous fetch, one call
 * at a time for one request, without a lock held. May block: that delays its own request only.
 * @param buffer Where to write, valid during the call.
 * @param size   The most bytes to write.
 * @return The bytes written; 0 at the end of the body; a negative number for failure, which ends
 *         the request with TNX_ERR_CALLBACK.
 */
typedef int64_t (*Tnx_ReadBodyCallback)(void *usrCtx, char *buffer, size_t size);

/**
 * Goes to the start of a body. Called as the one that reads, before each time that the body is
 * read from its start, the first time too.
 * @return False for failure, which ends the request with TNX_ERR_CANNOT_REPLAY.
 */
typedef bool (*Tnx_RewindBodyCallback)(void *usrCtx);

/** Takes leave of a source. Called once, on the thread of the call that ends its use. */
typedef void (*Tnx_ReleaseBodyCallback)(void *usrCtx);

/** Where a body comes from. */
typedef struct Tnx_BodySource {
    Tnx_ReadBodyCallback read;
    Tnx_RewindBodyCallback rewind;   /**< May be null: the body is there once. With it, it is sent
                                          again after a redirect (307, 308), a challenge (401, 407)
                                          or the end of a kept connection, and by the next fetch. */
    Tnx_ReleaseBodyCallback release; /**< May be null. */
    int64_t length;                  /**< Bytes of the body; 0: not known, it is sent chunked (RFC
                                          9112 section 7.1) unless a content-length header is set. */
    void *usrCtx;                    /**< For each of the three; not looked at. */
} Tnx_BodySource;

/**
 * Has a request read its body from a source. Copies the record. The source is the request's from
 * then on: it is released when the request is destroyed, or when this function or
 * OVX_Tnx_SetRequestBodyFile is called again for it. A source that ends before its length is
 * reached ends the request with TNX_ERR_TRUNCATED_BODY, one that gives more in a piece than is
 * missing with TNX_ERR_CALLBACK.
 * @param source Null takes the body back.
 * @return TNX_OK; TNX_ERR_PARAMETER for a null request, one that OVX_Tnx_CreateRequest has not
 *         made, a source that cannot be read and a negative length; or TNX_ERR_OUT_OF_MEMORY. An
 *         error changes nothing, and the source stays the caller's.
 */
TNX_API uint32_t OVX_Tnx_SetRequestBodySource(Tnx_Request *request,
                                              const Tnx_BodySource *source) TNX_NOEXCEPT;

/**
 * Has a request send a file as its body, read while it is sent, as often as it takes. Copies the
 * path, which may be of any length. The file is opened by each fetch, which sends as much as there
 * is then; one that cannot be read, or is no regular file (a directory, a pipe), ends it with
 * TNX_ERR_READ.
 * @param path Null takes the body back.
 * @return As OVX_Tnx_SetRequestBodySource; TNX_ERR_PARAMETER for an empty path too.
 */
TNX_API uint32_t OVX_Tnx_SetRequestBodyFile(Tnx_Request *request, const char *path) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
