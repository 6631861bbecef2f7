/**
 * @file tnx_c.h
 * @brief The public interface of libtnx_c, a C library for HTTP requests.
 *
 * This is the one header to include. Conventions, told once for all of it:
 *
 * 1. Functions return 0 (TNX_OK) or an error code; creators and getters return null on failure.
 *    No function throws, aborts on bad input or changes errno on purpose. An exception that leaves
 *    a callback of C++ ends its fetch with TNX_ERR_CALLBACK.
 * 2. Who creates a record destroys it, with the destroy function of its type. Every destroy
 *    function accepts null. A response is released through its own `destroyResponse` field.
 * 3. "Copies" means that the caller's bytes may go after the call. "Borrows until ..." means that
 *    they must stay valid and unchanged until then. Where nothing is said, strings are copied.
 * 4. Records filled by hand (configurations, contents, ranges) are borrowed: a session borrows its
 *    Tnx_SessionConfiguration, with all it points to, until the session is closed; a fetch borrows
 *    its Tnx_Request until its response callback is called, which may destroy it.
 * 5. Zero-fill records before filling them: zero or null keeps the default everywhere, except for
 *    `autoRedirect`, where false turns redirects off.
 * 6. Strings are NUL-terminated UTF-8 unless a length stands beside them. Times are milliseconds
 *    in configurations and microseconds in results. Lengths are bytes.
 * 7. Sessions may be used from any thread. A map, headers, form, cookies or request record belongs
 *    to one thread at a time.
 * 8. Callbacks of an asynchronous fetch run on threads of the library, in order and one at a time
 *    for one request, concurrently for different requests. Callbacks of a synchronous fetch run on
 *    the thread that called it. A callback that blocks delays its own request only. The response
 *    callback is the last that a fetch calls, whatever ends it.
 * 9. No callback runs with a lock of the library held. From any callback you may fetch, cancel and
 *    close, with one exception: an interceptor must not close the session it runs in, because the
 *    chain that it stands in goes with the session.
 * 10. A closed session completes nothing any more: cancel first, then close. After
 *    OVX_Tnx_CloseSession has returned no callback of the session runs on any thread, except one
 *    that closed the session itself and has yet to return.
 * 11. Every accepted asynchronous fetch calls its callback exactly once, unless the session is
 *    closed first.
 */
#ifndef TNX_C_H
#define TNX_C_H

#include "tnx_c/base.h"
#include "tnx_c/configuration.h"
#include "tnx_c/form.h"
#include "tnx_c/headers.h"
#include "tnx_c/map.h"
#include "tnx_c/request.h"
#include "tnx_c/response.h"
#include "tnx_c/session.h"

#endif
