/* upload URL [FILE]: puts a file, or what comes on the standard input, of which nothing is kept: a
 * redirect or a challenge can have the file again, but not that. */
#include <stdio.h>
#include <unistd.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

static int64_t ReadInput(void *usrCtx, char *buffer, size_t size)
{
    const ssize_t count = read(STDIN_FILENO, buffer, size);
    *(long long *)usrCtx += count > 0 ? count : 0;
    return count;
}

static void Released(void *usrCtx)
{
    fprintf(stderr, "%lld bytes of the input were read\n", *(long long *)usrCtx);
}

static int Put(Tnx_Session *session, Tnx_Request *request)
{
    uint32_t code = TNX_OK;
    request->method = "PUT";
    Tnx_Response *response = OVX_Tnx_FetchSync(session, request, &code);
    const char *why = OVX_Tnx_GetFailureText(response);
    if (code == TNX_OK) {
        printf("%d\n%.*s\n", response->statusCode, (int)response->bodyLength, response->body);
    } else {
        fprintf(stderr, "%s\n", why != NULL ? why : OVX_Tnx_GetErrorText(code));
    }
    if (response != NULL) {
        response->destroyResponse(response);
    }
    return code == TNX_OK ? 0 : 1;
}

int main(int argc, char **argv)
{
    if (argc != 2 && argc != 3) {
        fprintf(stderr, "usage: upload URL [FILE]\n");
        return 2;
    }
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(NULL, &code);
    if (session == NULL) {
        fprintf(stderr, "no session: %s\n", OVX_Tnx_GetErrorText(code));
        return 1;
    }
    long long count = 0;
    Tnx_Request *request = OVX_Tnx_CreateRequest(argv[1]);
    if (argc == 3) {
        code = OVX_Tnx_SetRequestBodyFile(request, argv[2]);
    } else {
        const Tnx_BodySource input = {.read = ReadInput, .release = Released, .usrCtx = &count};
        code = OVX_Tnx_SetRequestBodySource(request, &input);
    }
    if (code != TNX_OK) {
        fprintf(stderr, "%s\n", OVX_Tnx_GetErrorText(code));
    }
    const int status = code == TNX_OK ? Put(session, request) : 1;
    OVX_Tnx_DestroyRequest(request);
    OVX_Tnx_CloseSession(&session);
    return status;
}
