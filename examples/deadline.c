/* deadline MILLISECONDS URL...: fetches the URLs together, and cancels what is not there in time.
 */
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

enum { MOST = 100 };

/* Milliseconds that only go up. */
static int64_t Now(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (int64_t)now.tv_sec * 1000 + now.tv_nsec / 1000000;
}

/* Whether the response came before the deadline. */
static bool Take(Tnx_Transfer *transfer, const char *url, int64_t deadline)
{
    const int64_t left = deadline - Now();
    uint32_t code = TNX_OK;
    Tnx_Response *response = OVX_Tnx_Wait(transfer, left > 0 ? (uint32_t)left : 0, &code);
    if (code == TNX_OK) {
        printf("%d  %8u bytes  %s\n", response->statusCode, response->bodyLength, url);
    } else {
        printf("%s  %s\n", code == TNX_WAIT_TIMEOUT ? "too late" : OVX_Tnx_GetErrorText(code), url);
    }
    if (response != NULL) {
        response->destroyResponse(response);
    }
    return code == TNX_OK;
}

int main(int argc, char **argv)
{
    const int count = argc - 2;
    if (count < 1 || count > MOST) {
        fprintf(stderr, "usage: deadline MILLISECONDS URL...\n");
        return 2;
    }
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(NULL, &code);
    if (session == NULL) {
        fprintf(stderr, "no session: %s\n", OVX_Tnx_GetErrorText(code));
        return 1;
    }
    char **urls = argv + 2;
    Tnx_Request *requests[MOST];
    Tnx_Transfer *transfers[MOST];
    for (int i = 0; i < count; ++i) {
        requests[i] = OVX_Tnx_CreateRequest(urls[i]);
        transfers[i] = OVX_Tnx_Start(session, requests[i], &code);
    }
    const int64_t deadline = Now() + atol(argv[1]);
    int missing = 0;
    for (int i = 0; i < count; ++i) {
        missing += Take(transfers[i], urls[i], deadline) ? 0 : 1;
    }
    for (int i = 0; i < count; ++i) {
        OVX_Tnx_DestroyTransfer(transfers[i]); /* Cancels what goes on: then its request is free. */
        OVX_Tnx_DestroyRequest(requests[i]);
    }
    OVX_Tnx_CloseSession(&session);
    return missing == 0 ? 0 : 1;
}
