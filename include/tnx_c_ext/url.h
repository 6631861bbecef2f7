/**
 * @file url.h
 * @brief URLs made of their parts, and texts that stand in them (RFC 3986).
 *
 * Every function works from any thread. Each text that one of them returns is the caller's, who
 * destroys it with OVX_Tnx_DestroyText; it is null for null arguments, and when memory runs out.
 */
#ifndef TNX_C_EXT_URL_H
#define TNX_C_EXT_URL_H

#include "tnx_c/base.h"

TNX_BEGIN_DECLS

/** A name in the query of a URL, with its value. */
typedef struct Tnx_QueryPair {
    const char *name;
    const char *value; /**< Null: the name stands alone, without "=". */
} Tnx_QueryPair;

/**
 * Builds a URL: "https://h/v1" with the pieces "users" and "a/b" and the pair q, "x&y" is
 * "https://h/v1/users/a%2Fb?q=x%26y". Pieces and pairs are escaped as OVX_Tnx_EscapeUrlText does,
 * and stand behind the path and the query that the base has; its fragment stays last. An empty
 * piece at the end gives a slash at the end.
 * @param base  An absolute URL of http or https, which is taken as it is.
 * @param path  The pieces, each one segment whatever is in it. May be null where there are none.
 * @param query The pairs, in order. May be null where there are none.
 * @return Null for a base that is none, and for a piece "." or "..", which would leave the path
 *         above it.
 */
TNX_API char *OVX_Tnx_BuildUrl(const char *base, const char *const *path, size_t pathCount,
                               const Tnx_QueryPair *query, size_t queryCount) TNX_NOEXCEPT;

/**
 * Resolves a reference, as it stands in a Location or in a page, against the URL that it was found
 * at (RFC 3986 section 5.2). One with a scheme of its own comes back as a URL of its own, also of a
 * scheme that is not fetched ("mailto:a@h"). Blanks and bytes beyond ASCII become %XX or, blanks in
 * a query, "+".
 * @return Null for a base that is no absolute URL of http or https, and where no URL comes out.
 */
TNX_API char *OVX_Tnx_ResolveUrl(const char *base, const char *reference) TNX_NOEXCEPT;

/**
 * Escapes bytes for a URL: all but letters, digits and "-._~" become %XX (RFC 3986 section 2), a
 * blank too, so that the text can stand in a path and in a query.
 * @param length Bytes of the text, which may have NULs in it.
 */
TNX_API char *OVX_Tnx_EscapeUrlText(const char *text, size_t length) TNX_NOEXCEPT;

/**
 * Takes the escapes out of a text. A "%" without two hexadecimal digits stays, and so does "+",
 * which stands for a blank in forms only.
 * @param length Takes the bytes of the result, before the NUL that ends it. May be null: the result
 *               then is null for a text with %00, which would be cut there.
 */
TNX_API char *OVX_Tnx_UnescapeUrlText(const char *text, size_t *length) TNX_NOEXCEPT;

/** Destroys a text that a function above has returned. */
TNX_API void OVX_Tnx_DestroyText(char *text) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
