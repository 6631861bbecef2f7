/* logging_interceptor URL: a line for each request and its outcome, of asynchronous fetches too,
 * and of the first one here, whose response nobody takes. */
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

/* What the line needs when the response comes, with the callback that it belongs to. */
typedef struct Pending {
    Tnx_ResponseCallbackObject callback;
    struct timespec begin;
} Pending;

static double MillisecondsSince(const struct timespec *begin)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)(now.tv_sec - begin->tv_sec) * 1e3 +
           (double)(now.tv_nsec - begin->tv_nsec) / 1e6;
}

static void LogOutcome(void *usrCtx, Tnx_Response *response, uint32_t errorCode)
{
    Pending *pending = usrCtx;
    if (response != NULL && errorCode == TNX_OK) {
        printf("<- %d, %u bytes, %.1f ms\n", response->statusCode, response->bodyLength,
               MillisecondsSince(&pending->begin));
    } else {
        printf("<- %s, %.1f ms\n", OVX_Tnx_GetErrorText(errorCode),
               MillisecondsSince(&pending->begin));
    }
    const Tnx_ResponseCallbackObject callback = pending->callback;
    free(pending);
    if (callback.callback != NULL) {
        callback.callback(callback.usrCtx, response, errorCode);
    } else if (response != NULL) { /* who fetched does not want it */
        response->destroyResponse(response);
    }
}

/* Passes the request on with a callback of its own, which passes the response on. */
static uint32_t Log(Tnx_Request *request, const Tnx_RequestHandler *next,
                    const Tnx_ResponseCallbackObject *callback)
{
    Pending *pending = malloc(sizeof *pending);
    if (pending == NULL) {
        return TNX_ERR_OUT_OF_MEMORY;
    }
    pending->callback = *callback;
    clock_gettime(CLOCK_MONOTONIC, &pending->begin);
    printf("-> %s %s\n", request->method, request->url);
    const Tnx_ResponseCallbackObject own = {LogOutcome, pending};
    const uint32_t code = OVX_Tnx_CallNextRequestHandler(request, next, &own);
    if (code != TNX_OK) {
        printf("<- not accepted: %s\n", OVX_Tnx_GetErrorText(code));
        free(pending);
    }
    return code;
}

static pthread_mutex_t g_mutex = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t g_finished = PTHREAD_COND_INITIALIZER;
static bool g_done;

static void OnResponse(void *usrCtx, Tnx_Response *response, uint32_t errorCode)
{
    *(uint32_t *)usrCtx = errorCode;
    if (response != NULL) {
        response->destroyResponse(response);
    }
    pthread_mutex_lock(&g_mutex);
    g_done = true;
    pthread_cond_signal(&g_finished);
    pthread_mutex_unlock(&g_mutex);
}

int main(int argc, char **argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: logging_interceptor URL\n");
        return 2;
    }
    Tnx_Interceptor interceptors[] = {{Log}};
    const Tnx_SessionConfiguration config = {.interceptors = {interceptors, 1},
                                             .maxConnectionsPerHost = 1}; /* in turn */
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(&config, &code);
    if (session == NULL) {
        fprintf(stderr, "no session: %s\n", OVX_Tnx_GetErrorText(code));
        return 1;
    }
    Tnx_Request *first = OVX_Tnx_CreateRequest(argv[1]);
    Tnx_Request *second = OVX_Tnx_CreateRequest(argv[1]);
    const Tnx_ResponseCallbackObject nobody = {NULL, NULL};
    const Tnx_ResponseCallbackObject callback = {OnResponse, &code};
    OVX_Tnx_Fetch(session, first, &nobody);
    if (OVX_Tnx_Fetch(session, second, &callback) == TNX_OK) {
        pthread_mutex_lock(&g_mutex);
        while (!g_done) {
            pthread_cond_wait(&g_finished, &g_mutex);
        }
        pthread_mutex_unlock(&g_mutex);
    }
    OVX_Tnx_CloseSession(&session);
    OVX_Tnx_DestroyRequest(first);
    OVX_Tnx_DestroyRequest(second);
    return code == TNX_OK ? 0 : 1;
}
