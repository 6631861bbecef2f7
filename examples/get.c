/* get URL: fetches a URL, prints status, headers and body. */
#include <stdio.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

static void PrintHeaders(const Tnx_Headers *headers)
{
    Tnx_HeaderEntry *entries = OVX_Tnx_GetHeaderEntries(headers);
    for (const Tnx_HeaderEntry *entry = entries; entry != NULL; entry = entry->next) {
        for (const Tnx_HeaderValue *value = entry->value; value != NULL; value = value->next) {
            printf("%s: %s\n", entry->key, value->value);
        }
    }
    OVX_Tnx_DestroyHeaderEntries(entries);
}

int main(int argc, char **argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: get URL\n");
        return 2;
    }
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(NULL, &code);
    if (session == NULL) {
        fprintf(stderr, "no session: %s\n", OVX_Tnx_GetErrorText(code));
        return 1;
    }
    Tnx_Request *request = OVX_Tnx_CreateRequest(argv[1]);
    Tnx_Response *response = OVX_Tnx_FetchSync(session, request, &code);
    if (code == TNX_OK) {
        printf("%d %s\n", response->statusCode, response->effectiveUrl);
        PrintHeaders(response->headers);
        printf("\n");
        fwrite(response->body, 1, response->bodyLength, stdout);
    } else {
        const char *cause = OVX_Tnx_GetFailureText(response); /* what happened this time */
        fprintf(stderr, "%s: %s\n", argv[1], cause != NULL ? cause : OVX_Tnx_GetErrorText(code));
    }
    if (response != NULL) {
        response->destroyResponse(response);
    }
    OVX_Tnx_DestroyRequest(request);
    OVX_Tnx_CloseSession(&session);
    return code == TNX_OK ? 0 : 1;
}
