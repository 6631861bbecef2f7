/* api_call BASE NAME TEXT: asks BASE/users/NAME?q=TEXT, whatever characters are in them, and tells
 * where the answer says that more is. */
#include <stdio.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

static void PrintNext(const Tnx_Response *response)
{
    const char *location = OVX_Tnx_FindHeader(response->headers, "Content-Location");
    if (location != NULL) {
        char *next = OVX_Tnx_ResolveUrl(response->effectiveUrl, location);
        printf("more at %s\n", next != NULL ? next : location);
        OVX_Tnx_DestroyText(next);
    }
}

static int Call(const char *url)
{
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(NULL, &code);
    Tnx_Request *request = OVX_Tnx_CreateRequest(url);
    Tnx_Response *response = OVX_Tnx_FetchSync(session, request, &code);
    if (code == TNX_OK) {
        printf("%d %s\n", response->statusCode, url);
        PrintNext(response);
        fwrite(response->body, 1, response->bodyLength, stdout);
    } else {
        const char *cause = OVX_Tnx_GetFailureText(response);
        fprintf(stderr, "%s: %s\n", url, cause != NULL ? cause : OVX_Tnx_GetErrorText(code));
    }
    if (response != NULL) {
        response->destroyResponse(response);
    }
    OVX_Tnx_DestroyRequest(request);
    OVX_Tnx_CloseSession(&session);
    return code == TNX_OK ? 0 : 1;
}

int main(int argc, char **argv)
{
    if (argc != 4) {
        fprintf(stderr, "usage: api_call BASE NAME TEXT\n");
        return 2;
    }
    const char *path[] = {"users", argv[2]};
    const Tnx_QueryPair query[] = {{"q", argv[3]}};
    char *url = OVX_Tnx_BuildUrl(argv[1], path, 2, query, 1);
    if (url == NULL) {
        fprintf(stderr, "%s is no URL, or %s no name\n", argv[1], argv[2]);
        return 2;
    }
    const int status = Call(url);
    OVX_Tnx_DestroyText(url);
    return status;
}
