/**
 * @file headers.h
 * @brief Header fields (RFC 9110 section 5) and the cookies of a request (RFC 6265).
 */
#ifndef TNX_C_HEADERS_H
#define TNX_C_HEADERS_H

#include "map.h"

TNX_BEGIN_DECLS

/** One value of a header name. */
typedef struct Tnx_HeaderValue {
    char *value;
    struct Tnx_HeaderValue *next; /**< The next value of the same name, in order of setting. */
} Tnx_HeaderValue;

/** Header fields: from a name to a list of values. In a request, names are kept as given and are
 *  compared byte by byte; in a response, names are lower case under every version of HTTP. Of a
 *  name that may stand once (Authorization, Content-Type, Host, ...) one value is sent, however it
 *  is spelled: the request's own, else the session's, else the default that content brings. */
typedef struct Tnx_Headers {
    Tnx_Map *fields;
} Tnx_Headers;

/** The cookies of a request: from a name to one value. */
typedef struct Tnx_RequestCookies {
    Tnx_Map *fields;
} Tnx_RequestCookies;

/** One element of a list of entries. Borrows key and value from the record that it was taken
 *  from, until that record is changed or destroyed. */
typedef struct Tnx_HeaderEntry {
    char *key;
    void *value; /**< For headers a Tnx_HeaderValue list, for cookies and attributes a char *. */
    struct Tnx_HeaderEntry *next;
} Tnx_HeaderEntry;

/** Creates empty headers. The caller destroys them with OVX_Tnx_DestroyHeaders. */
TNX_API Tnx_Headers *OVX_Tnx_CreateHeaders(void) TNX_NOEXCEPT;

/**
 * Adds a value to a name, after the values that it has. A value that the name has already is not
 * added again. Copies both. Names and values with CR, LF or NUL are stored, but a fetch refuses
 * them with TNX_ERR_BAD_ARGUMENT (RFC 9110 section 5.5). So it does with transfer-encoding, and
 * with a content-length that is not the body's: where a message ends is for the library to say. The
 * length of a body that a callback gives is yours to tell.
 * @return TNX_OK, TNX_ERR_PARAMETER for null, or TNX_ERR_OUT_OF_MEMORY.
 */
TNX_API uint32_t OVX_Tnx_SetHeaderValue(Tnx_Headers *headers, const char *name,
                                        const char *value) TNX_NOEXCEPT;

/** Gets the first value of a name, borrowed from the headers; null when there is none. */
TNX_API Tnx_HeaderValue *OVX_Tnx_GetHeaderValue(const Tnx_Headers *headers,
                                                const char *name) TNX_NOEXCEPT;

/**
 * Lists all names with their values. The caller destroys the list with
 * OVX_Tnx_DestroyHeaderEntries.
 * @return null for empty headers too.
 */
TNX_API Tnx_HeaderEntry *OVX_Tnx_GetHeaderEntries(const Tnx_Headers *headers) TNX_NOEXCEPT;

/** Destroys a list of entries, not what it borrows. */
TNX_API void OVX_Tnx_DestroyHeaderEntries(Tnx_HeaderEntry *entries) TNX_NOEXCEPT;

/** Destroys headers with all names and values. */
TNX_API void OVX_Tnx_DestroyHeaders(Tnx_Headers *headers) TNX_NOEXCEPT;

/** Creates empty cookies. The caller destroys them with OVX_Tnx_DestroyRequestCookies. */
TNX_API Tnx_RequestCookies *OVX_Tnx_CreateRequestCookies(void) TNX_NOEXCEPT;

/**
 * Sets the value of a cookie, in place of the one that it has. Copies both. A fetch refuses control
 * characters in them with TNX_ERR_BAD_ARGUMENT.
 * @return TNX_OK, TNX_ERR_PARAMETER for null, or TNX_ERR_OUT_OF_MEMORY, after which the cookie has
 *         no value.
 */
TNX_API uint32_t OVX_Tnx_SetRequestCookieValue(Tnx_RequestCookies *cookies, const char *name,
                                               const char *value) TNX_NOEXCEPT;

/** Gets the value of a cookie, borrowed until it is set again; null when there is none. */
TNX_API char *OVX_Tnx_GetRequestCookieValue(const Tnx_RequestCookies *cookies,
                                            const char *name) TNX_NOEXCEPT;

/**
 * Lists all cookies; `value` is a char *. The caller destroys the list with
 * OVX_Tnx_DestroyRequestCookieEntries.
 * @return null for empty cookies too; when memory runs out, what was listed so far.
 */
TNX_API Tnx_HeaderEntry *
OVX_Tnx_GetRequestCookieEntries(const Tnx_RequestCookies *cookies) TNX_NOEXCEPT;

/** Destroys a list of entries, not what it borrows. */
TNX_API void OVX_Tnx_DestroyRequestCookieEntries(Tnx_HeaderEntry *entries) TNX_NOEXCEPT;

/** Destroys cookies with all names and values. */
TNX_API void OVX_Tnx_DestroyRequestCookies(Tnx_RequestCookies *cookies) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
