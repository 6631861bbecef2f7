/**
 * @file header_fields.h
 * @brief Header fields by their names whatever the case of the letters, as RFC 9110 section 5.1 has
 * it. For headers of requests, sessions and responses.
 */
#ifndef TNX_C_EXT_HEADER_FIELDS_H
#define TNX_C_EXT_HEADER_FIELDS_H

#include "tnx_c/headers.h"
#include "tnx_c/request.h"

TNX_BEGIN_DECLS

/**
 * Finds a field: "content-type", "Content-Type" and every other spelling are one name. Of several
 * spellings that are there, the one that is asked for comes first.
 * @return The first value, borrowed until the headers are changed or destroyed; null when there is
 *         none.
 */
TNX_API const char *OVX_Tnx_FindHeader(const Tnx_Headers *headers, const char *name) TNX_NOEXCEPT;

/**
 * Gives a field one value, in place of all values that it has under any spelling of its name. The
 * field then has the name as it is spelled here. Copies both, which may come from these headers.
 * @return TNX_OK; TNX_ERR_PARAMETER for null, for a name that is no token (RFC 9110 section 5.6.2)
 *         and for a value with CR or LF (section 5.5); or TNX_ERR_OUT_OF_MEMORY. An error leaves
 *         the headers as they were.
 */
TNX_API uint32_t OVX_Tnx_ReplaceHeaderValue(Tnx_Headers *headers, const char *name,
                                            const char *value) TNX_NOEXCEPT;

/**
 * Removes a field with all its values, under every spelling of its name. An absent one is no error.
 * What the library adds where the application says nothing (Host, a content type, ...) is not in
 * the headers: OVX_Tnx_OmitRequestHeader has it left out.
 * @return TNX_OK, or TNX_ERR_PARAMETER for null.
 */
TNX_API uint32_t OVX_Tnx_RemoveHeader(Tnx_Headers *headers, const char *name) TNX_NOEXCEPT;

/**
 * Has a field left out that the library adds where the application says nothing: Accept,
 * Accept-Encoding (a coded body then stays as it is), Content-Type, Host, User-Agent and the like.
 * One that the headers of the request or of its session have is sent all the same. It holds for the
 * redirects too. Copies the name.
 * @return TNX_OK; TNX_ERR_PARAMETER for null, a request that OVX_Tnx_CreateRequest has not made, a
 *         name that is no token, and for Content-Length and Transfer-Encoding, without which nobody
 *         knows where a body ends; or TNX_ERR_OUT_OF_MEMORY.
 */
TNX_API uint32_t OVX_Tnx_OmitRequestHeader(Tnx_Request *request, const char *name) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
