/* glib_loop URL...: fetches URLs in a GLib program: every callback runs in its main loop. */
#include <stdio.h>

#include <glib.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

/* The loop's thread alone uses them, so that they need no lock. */
static GMainLoop *g_loop;
static int g_open; /* fetches that have not completed */
static int g_failed;

/* Runs on threads of the library. */
static bool Post(void *usrCtx, void (*run)(void *task), void *task)
{
    (void)usrCtx;
    g_idle_add_once(run, task);
    return true;
}

static void OnResponse(void *usrCtx, Tnx_Response *response, uint32_t errorCode)
{
    Tnx_Request *request = usrCtx;
    if (errorCode == TNX_OK) {
        printf("%d  %8u bytes  %s\n", response->statusCode, response->bodyLength, request->url);
    } else {
        printf("%s  %s\n", OVX_Tnx_GetErrorText(errorCode), request->url);
        ++g_failed;
    }
    if (response != NULL) {
        response->destroyResponse(response);
    }
    OVX_Tnx_DestroyRequest(request);
    if (--g_open == 0) {
        g_main_loop_quit(g_loop);
    }
}

int main(int argc, char **argv)
{
    if (argc < 2) {
        fprintf(stderr, "usage: glib_loop URL...\n");
        return 2;
    }
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(NULL, &code);
    if (session == NULL || OVX_Tnx_SetSessionExecutor(session, Post, NULL) != TNX_OK) {
        fprintf(stderr, "no session\n");
        return 1;
    }
    g_loop = g_main_loop_new(NULL, FALSE);
    g_open = argc - 1;
    for (int i = 1; i < argc; ++i) {
        Tnx_Request *request = OVX_Tnx_CreateRequest(argv[i]);
        const Tnx_ResponseCallbackObject callback = {OnResponse, request};
        code = OVX_Tnx_Fetch(session, request, &callback);
        if (code != TNX_OK) {
            OnResponse(request, NULL, code); /* Not accepted: the callback will not run. */
        }
    }
    if (g_open > 0) {
        g_main_loop_run(g_loop);
    }
    OVX_Tnx_CloseSession(&session);
    g_main_loop_unref(g_loop);
    return g_failed == 0 ? 0 : 1;
}
