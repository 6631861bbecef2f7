/**
 * @file request_target.h
 * @brief Another request target than the URL's path and query.
 */
#ifndef TNX_C_EXT_REQUEST_TARGET_H
#define TNX_C_EXT_REQUEST_TARGET_H

#include "tnx_c/request.h"

TNX_BEGIN_DECLS

/**
 * Says what is asked for in place of the URL's path and query, as it is to stand in the request
 * line (RFC 9112 section 3.2) or in `:path`: "*" with OPTIONS, or "/a/../b", of which a URL keeps
 * "/b" only. Where to connect, what Host says and whose cookies are sent stays with the URL. For
 * the URL of the request, not for what it redirects to. Copies the target.
 * @param target Null: the URL's again.
 * @return TNX_OK; TNX_ERR_PARAMETER for a request that OVX_Tnx_CreateRequest has not made, and for
 *         a target that is empty or holds a blank, a control character or a byte beyond ASCII; or
 *         TNX_ERR_OUT_OF_MEMORY.
 */
TNX_API uint32_t OVX_Tnx_SetRequestTarget(Tnx_Request *request, const char *target) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
