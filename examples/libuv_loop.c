/* libuv_loop URL...: fetches URLs in a program on libuv: every callback runs in its loop. */
#include <stdio.h>
#include <stdlib.h>
#include <uv.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

typedef struct Task {
    void (*run)(void *task);
    void *task;
    struct Task *next;
} Task;

static uv_async_t g_wakeup;
static uv_mutex_t g_mutex;
static Task *g_first; /* what is posted, in order */
static Task **g_end = &g_first;
static int g_open; /* fetches that have not completed; the loop's own, so it needs no lock */

/* Runs on threads of the library. */
static bool Post(void *usrCtx, void (*run)(void *task), void *task)
{
    Task *added = malloc(sizeof *added);
    if (added == NULL) {
        return false;
    }
    *added = (Task){run, task, NULL};
    uv_mutex_lock(&g_mutex);
    *g_end = added;
    g_end = &added->next;
    uv_mutex_unlock(&g_mutex);
    uv_async_send(usrCtx);
    return true;
}

/* Runs in the loop, once for several that were posted. */
static void RunPosted(uv_async_t *wakeup)
{
    (void)wakeup;
    uv_mutex_lock(&g_mutex);
    Task *task = g_first;
    g_first = NULL;
    g_end = &g_first;
    uv_mutex_unlock(&g_mutex);
    for (Task *next = NULL; task != NULL; task = next) {
        next = task->next;
        task->run(task->task);
        free(task);
    }
}

static void OnResponse(void *usrCtx, Tnx_Response *response, uint32_t errorCode)
{
    printf("%d  %8u bytes  %s\n", response->statusCode, response->bodyLength,
           errorCode == TNX_OK ? response->effectiveUrl : OVX_Tnx_GetErrorText(errorCode));
    OVX_Tnx_DestroyRequest(usrCtx);
    response->destroyResponse(response);
    if (--g_open == 0) {
        uv_close((uv_handle_t *)&g_wakeup, NULL); /* Nothing is left in the loop, so it ends. */
    }
}

int main(int argc, char **argv)
{
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(NULL, &code);
    uv_mutex_init(&g_mutex);
    uv_async_init(uv_default_loop(), &g_wakeup, RunPosted);
    OVX_Tnx_SetSessionExecutor(session, Post, &g_wakeup);
    for (g_open = 0; g_open + 1 < argc; ++g_open) {
        Tnx_Request *request = OVX_Tnx_CreateRequest(argv[g_open + 1]);
        OVX_Tnx_Fetch(session, request, &(Tnx_ResponseCallbackObject){OnResponse, request});
    }
    if (g_open > 0) {
        uv_run(uv_default_loop(), UV_RUN_DEFAULT);
    }
    return OVX_Tnx_CloseSession(&session) == TNX_OK ? 0 : 1;
}
