/* retry URL: tries again what may pass, and tells when it does. */
#include <stdio.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

static void OnTrace(void *usrCtx, const Tnx_TraceEvent *event)
{
    (void)usrCtx;
    if (event->kind == TNX_TRACE_RETRIED) {
        printf("%.*s\n", (int)event->length, event->data);
    }
}

int main(int argc, char **argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: retry URL\n");
        return 2;
    }
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(NULL, &code);
    if (session == NULL) {
        fprintf(stderr, "no session: %s\n", OVX_Tnx_GetErrorText(code));
        return 1;
    }
    const Tnx_RetryPolicy policy = {.attempts = 5, .firstWait = 100, .giveUpAfter = 20000};
    OVX_Tnx_SetSessionRetry(session, &policy);
    Tnx_Request *request = OVX_Tnx_CreateRequest(argv[1]);
    OVX_Tnx_SetRequestTrace(request, OnTrace, NULL);
    Tnx_Response *response = OVX_Tnx_FetchSync(session, request, &code);
    const int32_t status = response != NULL ? response->statusCode : 0;
    printf("%d %s\n", status, OVX_Tnx_GetErrorText(code));
    if (response != NULL) {
        response->destroyResponse(response);
    }
    OVX_Tnx_DestroyRequest(request);
    OVX_Tnx_CloseSession(&session);
    return status == 200 ? 0 : 1;
}
