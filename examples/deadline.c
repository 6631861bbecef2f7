/* deadline URL MILLISECONDS: fetches a URL, and cancels when the deadline comes first. */
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

typedef struct Outcome {
    pthread_mutex_t mutex;
    pthread_cond_t changed;
    bool done;
    uint32_t code;
    int32_t status;
} Outcome;

static void OnResponse(void *usrCtx, Tnx_Response *response, uint32_t errorCode)
{
    Outcome *outcome = usrCtx;
    pthread_mutex_lock(&outcome->mutex);
    outcome->done = true;
    outcome->code = errorCode;
    outcome->status = response != NULL ? response->statusCode : 0;
    pthread_cond_signal(&outcome->changed);
    pthread_mutex_unlock(&outcome->mutex);
    if (response != NULL) {
        response->destroyResponse(response);
    }
}

/* Whether the response came in time. */
static bool Wait(Outcome *outcome, long milliseconds)
{
    struct timespec end;
    clock_gettime(CLOCK_REALTIME, &end);
    end.tv_sec += milliseconds / 1000;
    end.tv_nsec += milliseconds % 1000 * 1000000;
    if (end.tv_nsec >= 1000000000) {
        end.tv_nsec -= 1000000000;
        ++end.tv_sec;
    }
    int status = 0;
    pthread_mutex_lock(&outcome->mutex);
    while (!outcome->done && status == 0) {
        status = pthread_cond_timedwait(&outcome->changed, &outcome->mutex, &end);
    }
    const bool done = outcome->done;
    pthread_mutex_unlock(&outcome->mutex);
    return done;
}

int main(int argc, char **argv)
{
    if (argc != 3) {
        fprintf(stderr, "usage: deadline URL MILLISECONDS\n");
        return 2;
    }
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(NULL, &code);
    if (session == NULL) {
        fprintf(stderr, "no session: %s\n", OVX_Tnx_GetErrorText(code));
        return 1;
    }
    Outcome outcome = {.mutex = PTHREAD_MUTEX_INITIALIZER, .changed = PTHREAD_COND_INITIALIZER};
    const Tnx_ResponseCallbackObject callback = {OnResponse, &outcome};
    Tnx_Request *request = OVX_Tnx_CreateRequest(argv[1]);
    code = OVX_Tnx_Fetch(session, request, &callback);
    if (code == TNX_OK) {
        while (!Wait(&outcome, atol(argv[2]))) {
            OVX_Tnx_CancelRequest(session, request); /* The callback runs now or has begun to. */
        }
        code = outcome.code;
    }
    if (code == TNX_OK) {
        printf("in time: %d\n", outcome.status);
    } else {
        printf("%s\n", OVX_Tnx_GetErrorText(code));
    }
    OVX_Tnx_CloseSession(&session); /* After it nothing touches request and outcome any more. */
    OVX_Tnx_DestroyRequest(request);
    return code == TNX_OK ? 0 : 1;
}
