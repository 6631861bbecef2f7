/* parallel URL...: fetches several URLs at the same time, prints each as it comes. */
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

static pthread_mutex_t g_mutex = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t g_done = PTHREAD_COND_INITIALIZER;
static int g_open;   /* fetches that have not completed */
static int g_failed; /* fetches that went wrong */

/* Runs on a thread of the library, for each fetch once. */
static void OnResponse(void *usrCtx, Tnx_Response *response, uint32_t errorCode)
{
    Tnx_Request *request = usrCtx;
    pthread_mutex_lock(&g_mutex);
    if (errorCode == TNX_OK) {
        printf("%d  %8u bytes  %s\n", response->statusCode, response->bodyLength, request->url);
    } else {
        printf("%s  %s\n", OVX_Tnx_GetErrorText(errorCode), request->url);
        ++g_failed;
    }
    pthread_mutex_unlock(&g_mutex);
    if (response != NULL) {
        response->destroyResponse(response);
    }
    OVX_Tnx_DestroyRequest(request);
    pthread_mutex_lock(&g_mutex);
    --g_open;
    pthread_cond_signal(&g_done);
    pthread_mutex_unlock(&g_mutex);
}

int main(int argc, char **argv)
{
    if (argc < 2) {
        fprintf(stderr, "usage: parallel URL...\n");
        return 2;
    }
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(NULL, &code);
    if (session == NULL) {
        fprintf(stderr, "no session: %s\n", OVX_Tnx_GetErrorText(code));
        return 1;
    }
    for (int i = 1; i < argc; ++i) {
        Tnx_Request *request = OVX_Tnx_CreateRequest(argv[i]);
        const Tnx_ResponseCallbackObject callback = {OnResponse, request};
        pthread_mutex_lock(&g_mutex);
        ++g_open;
        pthread_mutex_unlock(&g_mutex);
        code = OVX_Tnx_Fetch(session, request, &callback);
        if (code != TNX_OK) {
            /* Not accepted: the callback will not run. */
            OnResponse(request, NULL, code);
        }
    }
    pthread_mutex_lock(&g_mutex);
    while (g_open > 0) {
        pthread_cond_wait(&g_done, &g_mutex);
    }
    pthread_mutex_unlock(&g_mutex);
    OVX_Tnx_CloseSession(&session);
    return g_failed == 0 ? 0 : 1;
}
