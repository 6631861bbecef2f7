/* limits URL BYTES [HOST:PORT:HOST2:PORT2]: fetches what nobody vouches for: at most so many bytes,
 * few redirects, over TLS 1.3 where it is secure, and only as long as something comes. The last
 * argument sends what goes to one server to another one. */
#include <stdio.h>
#include <stdlib.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

/* Whether all of them were taken. */
static bool SetLimits(Tnx_Request *request, long long bytes, const char *connectTo)
{
    const struct {
        uint32_t which;
        int64_t value;
    } limits[] = {
        {TNX_LIMIT_RESPONSE_SIZE, bytes},    {TNX_LIMIT_REDIRECTS, 3},
        {TNX_LIMIT_FIRST_BYTE, 2000},        {TNX_LIMIT_IDLE_TIME, 5000},
        {TNX_LIMIT_TLS_LOWEST, TNX_TLS_1_3},
    };
    for (size_t i = 0; i < sizeof limits / sizeof *limits; ++i) {
        if (OVX_Tnx_SetRequestLimit(request, limits[i].which, limits[i].value) != TNX_OK) {
            fprintf(stderr, "no such limit: %lld\n", (long long)limits[i].value);
            return false;
        }
    }
    if (OVX_Tnx_SetRequestConnection(request, TNX_CONNECTION_TO, connectTo) != TNX_OK) {
        fprintf(stderr, "not HOST:PORT:HOST2:PORT2: %s\n", connectTo);
        return false;
    }
    return true;
}

static int Fetch(Tnx_Session *session, Tnx_Request *request)
{
    uint32_t code = TNX_OK;
    Tnx_Response *response = OVX_Tnx_FetchSync(session, request, &code);
    const char *why = OVX_Tnx_GetFailureText(response);
    if (code == TNX_OK) {
        printf("%d, %u bytes\n", response->statusCode, response->bodyLength);
    } else {
        printf("%s\n", why != NULL ? why : OVX_Tnx_GetErrorText(code));
    }
    if (response != NULL) {
        response->destroyResponse(response);
    }
    return code == TNX_OK ? 0 : 1;
}

int main(int argc, char **argv)
{
    if (argc != 3 && argc != 4) {
        fprintf(stderr, "usage: limits URL BYTES [HOST:PORT:HOST2:PORT2]\n");
        return 2;
    }
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(NULL, &code);
    if (session == NULL) {
        fprintf(stderr, "no session: %s\n", OVX_Tnx_GetErrorText(code));
        return 1;
    }
    Tnx_Request *request = OVX_Tnx_CreateRequest(argv[1]);
    const bool set = SetLimits(request, atoll(argv[2]), argc == 4 ? argv[3] : NULL);
    const int status = set ? Fetch(session, request) : 2;
    OVX_Tnx_DestroyRequest(request);
    OVX_Tnx_CloseSession(&session);
    return status;
}
