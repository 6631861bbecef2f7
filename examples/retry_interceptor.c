/* retry_interceptor URL: asks again when the server says 429 or 503, as late as it wants. */
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

enum { ATTEMPTS = 5, FIRST_PAUSE_MS = 100, LONGEST_PAUSE_MS = 30000 };

static void Sleep(long milliseconds)
{
    const struct timespec pause = {milliseconds / 1000, milliseconds % 1000 * 1000000};
    nanosleep(&pause, NULL);
}

static bool WantsRetry(const Tnx_Response *response, uint32_t code)
{
    return code == TNX_OK && (response->statusCode == 429 || response->statusCode == 503);
}

/* What the server asks for (in seconds; a date is left out here), else twice as long each time. */
static long PauseAfter(const Tnx_Response *response, int attempt)
{
    const char *after = OVX_Tnx_FindHeader(response->headers, "Retry-After");
    long pause = (long)FIRST_PAUSE_MS << attempt;
    if (after != NULL) {
        char *end = NULL;
        const long seconds = strtol(after, &end, 10);
        if (end != after && *end == '\0' && seconds >= 0 && seconds <= LONGEST_PAUSE_MS / 1000) {
            pause = seconds * 1000;
        }
    }
    return pause < LONGEST_PAUSE_MS ? pause : LONGEST_PAUSE_MS;
}

/* Runs on the thread that fetches, so it may sleep. */
static Tnx_Response *Retry(Tnx_Request *request, const Tnx_SyncRequestHandler *next,
                           uint32_t *errCode)
{
    for (int attempt = 0;; ++attempt) {
        Tnx_Response *response = OVX_Tnx_CallNextSyncRequestHandler(request, next, errCode);
        if (!WantsRetry(response, *errCode) || attempt + 1 == ATTEMPTS) {
            return response;
        }
        const long pause = PauseAfter(response, attempt);
        fprintf(stderr, "status %d, again in %ld ms\n", response->statusCode, pause);
        response->destroyResponse(response);
        Sleep(pause);
    }
}

int main(int argc, char **argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: retry_interceptor URL\n");
        return 2;
    }
    Tnx_SyncInterceptor interceptors[] = {{Retry}};
    const Tnx_SessionConfiguration config = {.syncInterceptors = {interceptors, 1}};
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(&config, &code);
    if (session == NULL) {
        fprintf(stderr, "no session: %s\n", OVX_Tnx_GetErrorText(code));
        return 1;
    }
    Tnx_Request *request = OVX_Tnx_CreateRequest(argv[1]);
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
