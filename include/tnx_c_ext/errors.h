/**
 * @file errors.h
 * @brief Errors in words, and statuses that are errors.
 */
#ifndef TNX_C_EXT_ERRORS_H
#define TNX_C_EXT_ERRORS_H

#include "tnx_c/response.h"

TNX_BEGIN_DECLS

/**
 * Tells in words what an error code means. Works from any thread.
 * @return A text of the library's own, never null, for a code that is none too.
 */
TNX_API const char *OVX_Tnx_GetErrorText(uint32_t code) TNX_NOEXCEPT;

/**
 * Tells why a fetch failed this time, with names, addresses, the phase and the milliseconds: what
 * `debugInfo` has as its last text, whichever kinds of it are switched on.
 * @return A text of the response, valid as long as it; null for a fetch that did not fail, for a
 *         null response (one that was canceled brings none), for a response that an interceptor or
 *         session type has made by itself, and where memory did not suffice for the words.
 */
TNX_API const char *OVX_Tnx_GetFailureText(const Tnx_Response *response) TNX_NOEXCEPT;

/**
 * Says whether a status of 400 or more is a failure: the fetch then ends at the header fields with
 * TNX_ERR_HTTP_STATUS, and its response has status and headers but no body. Off unless set. An
 * answer to a challenge (401, 407) is no failure as long as there is a credential to answer with.
 * @return TNX_OK, or TNX_ERR_PARAMETER for a null request.
 */
TNX_API uint32_t OVX_Tnx_SetRequestFailOnHttpError(Tnx_Request *request, bool fail) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
