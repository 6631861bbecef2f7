/**
 * @file cookie_jar.h
 * @brief Cookies that are kept between requests (RFC 6265), in memory and in files.
 *
 * A session that uses a jar sends with each hop of a fetch what the jar has for its URL, and puts
 * there what the hop sets, at once: the next hop sends it, and so do other fetches. What came
 * before a fetch was canceled or failed stays. The request's own cookies, and its session's, win
 * over those of the jar that have the same name, unless a hop of the same fetch has set these.
 *
 * Cookies are taken by RFC 6265 section 5.3 and sent by section 5.4, longest path first, then in
 * the order in which they were made. Its revision adds: control characters are refused, names with
 * `__Secure-` and `__Host-` have to keep their promise, `Secure` is taken over https only, and what
 * comes over http replaces no such cookie. No cookie is taken for a public suffix. `SameSite` is
 * kept and told, but decides nothing: there is no page that another site could send from.
 *
 * A cookie has at most 4096 bytes of name and value, and 1024 of path; a jar has at most 180
 * cookies for one domain, and 3000 in all. Above that those that are over go first, and then the
 * one that was not sent for longest; for one domain, those that are not secure before the others.
 * A request sends at most 8 KiB of cookies.
 *
 * Every function works from any thread. No lock is held while a file is read or written.
 */
#ifndef TNX_C_EXT_COOKIE_JAR_H
#define TNX_C_EXT_COOKIE_JAR_H

#include "tnx_c/session.h"

TNX_BEGIN_DECLS

/** A jar of cookies, for any number of sessions. */
typedef struct Tnx_CookieJar Tnx_CookieJar;

/** A cookie of a jar. Its texts are never null. */
typedef struct Tnx_JarCookie {
    const char *name;
    const char *value;
    const char *domain; /**< In lower case, without a dot in front. */
    const char *path;
    const char *sameSite; /**< "Strict", "Lax" or "None", else empty. */
    int64_t expiryTime;   /**< Seconds since 1970; 0: a session cookie. */
    bool hostOnly;        /**< For the domain alone, not for hosts below it. */
    bool secure;
    bool httpOnly;
} Tnx_JarCookie;

/**
 * Creates a jar. The caller destroys it with OVX_Tnx_DestroyCookieJar.
 * @param path A file that cookies are read from now, where it is there, and written to by
 *             OVX_Tnx_SaveCookieJar. Null: the jar is in memory only.
 *
 * The file has the Netscape format, as libcurl reads and writes it: session cookies have the expiry
 * 0, and `#HttpOnly_` stands before what only HTTP is to see. `SameSite` stands in a line
 * `# SameSite=Lax` before its cookie, which others take for a comment. A damaged line, or one whose
 * cookie the rules refuse, is left out; OVX_Tnx_GetDamagedCookieLines counts them.
 * @param errCode Takes the code: TNX_ERR_READ for a file that cannot be read, is no regular file or
 *                has more than 32 MiB, with the reason in the log; TNX_ERR_PARAMETER for an empty
 *                path; TNX_ERR_OUT_OF_MEMORY. Null: nothing is done.
 */
TNX_API Tnx_CookieJar *OVX_Tnx_CreateCookieJar(const char *path, uint32_t *errCode) TNX_NOEXCEPT;

/**
 * Destroys a jar, without saving it. Sessions that use it, and fetches that do, keep its cookies
 * until they use another or are over: it may be destroyed as soon as it was handed to them.
 */
TNX_API void OVX_Tnx_DestroyCookieJar(Tnx_CookieJar *jar) TNX_NOEXCEPT;

/**
 * Says which jar a session uses, for fetches that start from now on. Shares the jar.
 * @param jar Null: none any more. Cookies then go from hop to hop of one fetch, and no further.
 * @return TNX_OK; TNX_ERR_SESSION_CLOSED without a session; or TNX_ERR_PARAMETER for a session of a
 *         type of the application's own, which does its own fetching.
 */
TNX_API uint32_t OVX_Tnx_UseCookieJar(Tnx_Session *session, Tnx_CookieJar *jar) TNX_NOEXCEPT;

/**
 * Writes the jar to a file, session cookies too (OVX_Tnx_DropSessionCookies leaves them out). The
 * file gets the mode 0600, and is replaced at one go by one that was written beside it: who reads
 * it meanwhile, or after a crash, finds the old or the new one whole. What another program has
 * written there since is lost. A symbolic link stays, and the file it leads to is replaced.
 * @param path Null: the one that the jar was created with.
 * @return TNX_OK; TNX_ERR_WRITE where that fails or something else than a regular file is there,
 *         with the reason in the log; TNX_ERR_PARAMETER for a null jar, for an empty path and where
 *         there is none; or TNX_ERR_OUT_OF_MEMORY. An error leaves the file as it was.
 */
TNX_API uint32_t OVX_Tnx_SaveCookieJar(Tnx_CookieJar *jar, const char *path) TNX_NOEXCEPT;

/** Counts the lines of its file that were left out when the jar was created; 0 for null. */
TNX_API uint32_t OVX_Tnx_GetDamagedCookieLines(const Tnx_CookieJar *jar) TNX_NOEXCEPT;

/**
 * Puts a cookie into a jar, as if a response from the URL had set it; or takes it out, with
 * `Max-Age=0`.
 * @param setCookie What stands in the field Set-Cookie (RFC 6265 section 4.1.1),
 *                  "name=value; Path=/; Secure" for instance. The name of the field may be in
 * front.
 * @return TNX_OK; TNX_ERR_PARAMETER for null, for a URL that is none of http or https, and for a
 *         cookie that is none or that the rules refuse, which all change nothing; or
 *         TNX_ERR_OUT_OF_MEMORY.
 */
TNX_API uint32_t OVX_Tnx_SetJarCookie(Tnx_CookieJar *jar, const char *url,
                                      const char *setCookie) TNX_NOEXCEPT;

/**
 * Lists cookies of a jar; those that are over are not there any more.
 * @param url   Those that a request for this URL would send, in order. Null: all, the oldest first.
 * @param count Takes how many there are.
 * @return An array, which the caller destroys with OVX_Tnx_DestroyJarCookies, with the texts in it;
 *         null for a null jar or count, for a URL that is none, and when memory runs out.
 */
TNX_API Tnx_JarCookie *OVX_Tnx_ListJarCookies(Tnx_CookieJar *jar, const char *url,
                                              size_t *count) TNX_NOEXCEPT;

/** Destroys a list of cookies. */
TNX_API void OVX_Tnx_DestroyJarCookies(Tnx_JarCookie *cookies) TNX_NOEXCEPT;

/**
 * Takes all cookies out of a jar. Its file stays as it is until the jar is saved.
 * @return TNX_OK, or TNX_ERR_PARAMETER for null.
 */
TNX_API uint32_t OVX_Tnx_ClearCookieJar(Tnx_CookieJar *jar) TNX_NOEXCEPT;

/**
 * Takes out the cookies without an expiry, as a browser does when it ends.
 * @return TNX_OK, or TNX_ERR_PARAMETER for null.
 */
TNX_API uint32_t OVX_Tnx_DropSessionCookies(Tnx_CookieJar *jar) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
