/* trace URL: fetches a URL and prints each step of it when it happens, and the header fields. */
#include <stdio.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

/* From TNX_TRACE_QUEUED on. */
static const char *const STEPS[] = {"queued",        "left the queue",     "looked up",
                                    "connecting to", "no connection to",   "connected to",
                                    "TLS done",      "kept connection to", "sent",
                                    "first byte",    "redirected to",      "again",
                                    "done"};

static void OnTrace(void *usrCtx, const Tnx_TraceEvent *event)
{
    FILE *out = usrCtx;
    const int length = (int)event->length;
    if (event->kind >= TNX_TRACE_QUEUED && event->kind <= TNX_TRACE_DONE) {
        fprintf(out, "%8.1f ms  %s %.*s\n", (double)event->time / 1000,
                STEPS[event->kind - TNX_TRACE_QUEUED], length, event->data);
    } else if (event->kind == TNX_DEBUG_HEADER_OUT || event->kind == TNX_DEBUG_HEADER_IN) {
        fprintf(out, "%.*s", length, event->data);
    }
}

int main(int argc, char **argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: trace URL\n");
        return 2;
    }
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(NULL, &code);
    Tnx_Request *request = OVX_Tnx_CreateRequest(argv[1]);
    OVX_Tnx_SetRequestTrace(request, OnTrace, stdout);
    Tnx_Response *response = OVX_Tnx_FetchSync(session, request, &code);
    if (response != NULL) {
        response->destroyResponse(response);
    }
    OVX_Tnx_DestroyRequest(request);
    OVX_Tnx_CloseSession(&session);
    return code == TNX_OK ? 0 : 1;
}
