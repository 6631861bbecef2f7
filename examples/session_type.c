/* session_type: a session type of the program's own, for tests without a network. It answers every
 * request itself; code that is written against the interface does not see the difference. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

enum { CANNED_TYPE = 1 };

static void DestroyCanned(Tnx_Response *response)
{
    OVX_Tnx_DestroyHeaders(response->headers);
    free(response);
}

static Tnx_Response *Answer(Tnx_Request *request)
{
    Tnx_Response *response = calloc(1, sizeof *response);
    if (response != NULL) {
        response->request = request;
        response->effectiveUrl = request->url;
        response->statusCode = 200;
        response->headers = OVX_Tnx_CreateHeaders();
        response->body = "canned";
        response->bodyLength = (uint32_t)strlen(response->body);
        response->destroyResponse = DestroyCanned;
        OVX_Tnx_SetHeaderValue(response->headers, "content-type", "text/plain");
    }
    return response;
}

static Tnx_Session *Create(Tnx_SessionOps *ops, const Tnx_SessionConfiguration *config,
                           uint32_t *errCode)
{
    Tnx_Session *session = calloc(1, sizeof *session);
    *errCode = session != NULL ? TNX_OK : TNX_ERR_OUT_OF_MEMORY;
    if (session != NULL) {
        session->ops = ops;
        session->sessionImpl = (void *)config;
    }
    return session;
}

static const char *GetId(Tnx_Session *session)
{
    (void)session;
    return "canned";
}

static const Tnx_SessionConfiguration *GetConfiguration(Tnx_Session *session)
{
    return session->sessionImpl;
}

static Tnx_Response *FetchSync(Tnx_Session *session, Tnx_Request *request, uint32_t *errCode)
{
    (void)session;
    Tnx_Response *response = Answer(request);
    *errCode = response != NULL ? TNX_OK : TNX_ERR_OUT_OF_MEMORY;
    return response;
}

/* Calls back before it returns, which a session of the network never does. */
static uint32_t Fetch(Tnx_Session *session, Tnx_Request *request,
                      const Tnx_ResponseCallbackObject *callback)
{
    uint32_t code = TNX_OK;
    Tnx_Response *response = FetchSync(session, request, &code);
    if (callback->callback != NULL) {
        callback->callback(callback->usrCtx, response, code);
    } else if (response != NULL) {
        response->destroyResponse(response);
    }
    return TNX_OK;
}

static uint32_t CancelRequest(Tnx_Session *session, const Tnx_Request *request)
{
    (void)session;
    (void)request;
    return TNX_OK;
}

static uint32_t CancelSession(Tnx_Session *session)
{
    return CancelRequest(session, NULL);
}

static uint32_t Close(Tnx_Session **session)
{
    free(*session);
    *session = NULL;
    return TNX_OK;
}

static Tnx_SessionOps g_ops = {Create, GetId,         GetConfiguration, FetchSync,
                               Fetch,  CancelRequest, CancelSession,    Close};

int main(void)
{
    OVX_Tnx_RegisterSessionOps(CANNED_TYPE, &g_ops);
    const Tnx_SessionConfiguration config = {.sessionType = CANNED_TYPE};
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(&config, &code);
    Tnx_Request *request = OVX_Tnx_CreateRequest("https://nowhere.example/");
    Tnx_Response *response = OVX_Tnx_FetchSync(session, request, &code);
    printf("%s: %d %s\n", OVX_Tnx_GetErrorText(code), response->statusCode, response->body);
    response->destroyResponse(response);
    OVX_Tnx_DestroyRequest(request);
    OVX_Tnx_CloseSession(&session);
    return code == TNX_OK ? 0 : 1;
}
