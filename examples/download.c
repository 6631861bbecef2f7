/* download URL FILE: streams a URL to a file and shows the progress. */
#include <inttypes.h>
#include <stdio.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

/* Writes a piece. Taking less than was given, as a full disk does, stops the request. */
static size_t OnData(void *usrCtx, const Tnx_Buffer *data)
{
    return fwrite(data->data, 1, data->length, usrCtx);
}

static void OnProgress(void *usrCtx, uint64_t total, uint64_t now)
{
    const char *name = usrCtx;
    if (total > 0) {
        fprintf(stderr, "\r%s  %3" PRIu64 " %%", name, now * 100 / total);
    } else {
        fprintf(stderr, "\r%s  %" PRIu64 " bytes", name, now);
    }
}

static uint32_t Download(Tnx_Session *session, const char *url, FILE *file)
{
    uint32_t code = TNX_OK;
    Tnx_Request *request = OVX_Tnx_CreateRequest(url);
    OVX_Tnx_SetRequestOnBinaryDataRecvCallback(request, OnData, file);
    Tnx_Response *response = OVX_Tnx_FetchSync(session, request, &code);
    fprintf(stderr, "\n");
    if (code != TNX_OK) {
        fprintf(stderr, "%s: %s\n", url, OVX_Tnx_GetErrorText(code));
    } else if (response->statusCode != 200) {
        fprintf(stderr, "%s: status %d\n", url, response->statusCode);
        code = TNX_ERR_WEIRD_REPLY;
    }
    if (response != NULL) {
        response->destroyResponse(response);
    }
    OVX_Tnx_DestroyRequest(request);
    return code;
}

int main(int argc, char **argv)
{
    if (argc != 3) {
        fprintf(stderr, "usage: download URL FILE\n");
        return 2;
    }
    FILE *file = fopen(argv[2], "wb");
    if (file == NULL) {
        perror(argv[2]);
        return 1;
    }
    Tnx_Configuration configuration = {
        .transfer = {.autoRedirect = true, .transferTimeout = TNX_NO_TIMEOUT},
        .tracing.eventsHandler.onProgress1 = {OnProgress, argv[2]}};
    Tnx_SessionConfiguration config = {.requestConfiguration = &configuration};
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(&config, &code);
    if (session != NULL) {
        code = Download(session, argv[1], file);
        OVX_Tnx_CloseSession(&session);
    }
    if (fclose(file) != 0) {
        perror(argv[2]);
        return 1;
    }
    return code == TNX_OK ? 0 : 1;
}
