/* token_interceptor URL TOKEN: an interceptor that adds a header field to every request that lacks
 * it. */
#include <stdio.h>
#include <stdlib.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

static const char *g_token; /* an interceptor has no context of its own */

/* A request may have no headers yet. What is added to it is taken away again: the caller owns it.
 */
static Tnx_Response *AddToken(Tnx_Request *request, const Tnx_SyncRequestHandler *next,
                              uint32_t *errCode)
{
    Tnx_Headers *added = request->headers == NULL ? OVX_Tnx_CreateHeaders() : NULL;
    if (added != NULL) {
        request->headers = added;
    }
    const bool ours = OVX_Tnx_FindHeader(request->headers, "Authorization") == NULL;
    if (ours) {
        OVX_Tnx_ReplaceHeaderValue(request->headers, "Authorization", g_token);
    }
    Tnx_Response *response = OVX_Tnx_CallNextSyncRequestHandler(request, next, errCode);
    if (ours) {
        OVX_Tnx_RemoveHeader(request->headers, "Authorization");
    }
    if (added != NULL) {
        request->headers = NULL;
        OVX_Tnx_DestroyHeaders(added);
    }
    return response;
}

int main(int argc, char **argv)
{
    if (argc != 3) {
        fprintf(stderr, "usage: token_interceptor URL TOKEN\n");
        return 2;
    }
    char token[128];
    snprintf(token, sizeof token, "Bearer %s", argv[2]);
    g_token = token;
    Tnx_SyncInterceptor interceptors[] = {{AddToken}};
    const Tnx_SessionConfiguration config = {.syncInterceptors = {interceptors, 1}};
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(&config, &code);
    Tnx_Request *request = OVX_Tnx_CreateRequest(argv[1]);
    Tnx_Response *response = OVX_Tnx_FetchSync(session, request, &code);
    if (code == TNX_OK) {
        const char *type = OVX_Tnx_FindHeader(response->headers, "Content-Type");
        printf("%d, %s\n%.*s\n", response->statusCode, type != NULL ? type : "no content type",
               (int)response->bodyLength, response->body);
    } else {
        fprintf(stderr, "%s\n", OVX_Tnx_GetErrorText(code));
    }
    if (response != NULL) {
        response->destroyResponse(response);
    }
    OVX_Tnx_DestroyRequest(request);
    OVX_Tnx_CloseSession(&session);
    return code == TNX_OK ? 0 : 1;
}
