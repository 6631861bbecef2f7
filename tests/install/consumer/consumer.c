/* A program of somebody else: fetches the URL that it is given. */
#include <stdio.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

int main(int argc, char **argv)
{
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(NULL, &code);
    Tnx_Request *request = OVX_Tnx_CreateRequest(argv[argc - 1]);
    Tnx_Response *response = OVX_Tnx_FetchSync(session, request, &code);
    printf("%s: %d, %s\n", OVX_Tnx_GetVersion(), response != NULL ? response->statusCode : 0,
           OVX_Tnx_GetErrorText(code));
    if (response != NULL) {
        response->destroyResponse(response);
    }
    OVX_Tnx_DestroyRequest(request);
    OVX_Tnx_CloseSession(&session);
    return code == TNX_OK ? 0 : 1;
}
