/* cookie_jar FILE URL...: fetches one URL after the other with the cookies of a file, as a browser
 * would, and leaves there those that they set. */
#include <stdio.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

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

static void List(Tnx_CookieJar *jar)
{
    size_t count = 0;
    Tnx_JarCookie *cookies = OVX_Tnx_ListJarCookies(jar, NULL, &count);
    for (size_t i = 0; i < count; ++i) {
        printf("%s=%s for %s%s\n", cookies[i].name, cookies[i].value, cookies[i].domain,
               cookies[i].path);
    }
    OVX_Tnx_DestroyJarCookies(cookies);
}

int main(int argc, char **argv)
{
    if (argc < 3) {
        fprintf(stderr, "usage: cookie_jar FILE URL...\n");
        return 2;
    }
    uint32_t code = TNX_OK;
    Tnx_CookieJar *jar = OVX_Tnx_CreateCookieJar(argv[1], &code);
    if (jar == NULL) {
        fprintf(stderr, "%s: %s\n", argv[1], OVX_Tnx_GetErrorText(code));
        return 1;
    }
    Tnx_Session *session = OVX_Tnx_CreateSession(NULL, &code);
    if (session == NULL) {
        fprintf(stderr, "no session: %s\n", OVX_Tnx_GetErrorText(code));
        OVX_Tnx_DestroyCookieJar(jar);
        return 1;
    }
    OVX_Tnx_UseCookieJar(session, jar);
    for (int i = 2; i < argc && code == TNX_OK; ++i) {
        code = Show(session, argv[i]);
    }
    OVX_Tnx_CloseSession(&session);
    List(jar);
    const uint32_t saved = OVX_Tnx_SaveCookieJar(jar, NULL);
    if (saved != TNX_OK) {
        fprintf(stderr, "%s: %s\n", argv[1], OVX_Tnx_GetErrorText(saved));
    }
    OVX_Tnx_DestroyCookieJar(jar);
    return code == TNX_OK && saved == TNX_OK ? 0 : 1;
}
