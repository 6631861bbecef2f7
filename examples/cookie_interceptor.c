/* cookie_interceptor SET-URL URL: keeps what the first response sets and sends it with the second
 * request. Nothing is kept between fetches otherwise. This jar is for one host: a whole one asks
 * for domain, path, secure and expiry (RFC 6265 section 5.4), which the record has all of. */
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

/* An interceptor has no context of its own, so the jar is the program's. */
static Tnx_RequestCookies *g_jar;

static void Keep(const Tnx_ResponseCookies *cookie)
{
    for (; cookie != NULL; cookie = cookie->next) {
        const bool expired = cookie->expiryTime != 0 && cookie->expiryTime <= (int64_t)time(NULL);
        OVX_Tnx_SetRequestCookieValue(g_jar, cookie->name, expired ? "" : cookie->value);
    }
}

static Tnx_Response *KeepCookies(Tnx_Request *request, const Tnx_SyncRequestHandler *next,
                                 uint32_t *errCode)
{
    if (request->cookies == NULL) {
        request->cookies = g_jar;
    }
    Tnx_Response *response = OVX_Tnx_CallNextSyncRequestHandler(request, next, errCode);
    if (response != NULL) {
        Keep(response->cookies);
    }
    return response;
}

static uint32_t Show(Tnx_Session *session, const char *url)
{
    uint32_t code = TNX_OK;
    Tnx_Request *request = OVX_Tnx_CreateRequest(url);
    Tnx_Response *response = OVX_Tnx_FetchSync(session, request, &code);
    if (code == TNX_OK) {
        printf("%d\n%.*s\n", response->statusCode, (int)response->bodyLength, response->body);
    } else {
        fprintf(stderr, "%s: %s\n", url, OVX_Tnx_GetErrorText(code));
    }
    if (response != NULL) {
        response->destroyResponse(response);
    }
    OVX_Tnx_DestroyRequest(request);
    return code;
}

int main(int argc, char **argv)
{
    if (argc != 3) {
        fprintf(stderr, "usage: cookie_interceptor SET-URL URL\n");
        return 2;
    }
    g_jar = OVX_Tnx_CreateRequestCookies();
    Tnx_SyncInterceptor interceptors[] = {{KeepCookies}};
    const Tnx_SessionConfiguration config = {.syncInterceptors = {interceptors, 1}};
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(&config, &code);
    if (session == NULL) {
        fprintf(stderr, "no session: %s\n", OVX_Tnx_GetErrorText(code));
        return 1;
    }
    code = Show(session, argv[1]);
    if (code == TNX_OK) {
        code = Show(session, argv[2]);
    }
    OVX_Tnx_CloseSession(&session);
    OVX_Tnx_DestroyRequestCookies(g_jar);
    return code == TNX_OK ? 0 : 1;
}
