/* post_json URL JSON: posts a JSON text, prints the answer. */
#include <stdio.h>
#include <string.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

int main(int argc, char **argv)
{
    if (argc != 3) {
        fprintf(stderr, "usage: post_json URL JSON\n");
        return 2;
    }
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(NULL, &code);
    if (session == NULL) {
        fprintf(stderr, "no session: %s\n", OVX_Tnx_GetErrorText(code));
        return 1;
    }
    Tnx_Headers *headers = OVX_Tnx_CreateHeaders();
    OVX_Tnx_SetHeaderValue(headers, "content-type", "application/json");
    OVX_Tnx_SetHeaderValue(headers, "accept", "application/json");

    Tnx_RequestContent content = {.type = TNX_CONTENT_STRING};
    content.value.string.data = argv[2];
    content.value.string.length = (uint32_t)strlen(argv[2]);

    Tnx_Request *request = OVX_Tnx_CreateRequest(argv[1]);
    request->method = "POST";
    request->headers = headers;
    request->content = &content;

    Tnx_Response *response = OVX_Tnx_FetchSync(session, request, &code);
    if (code == TNX_OK) {
        printf("%d\n", response->statusCode);
        fwrite(response->body, 1, response->bodyLength, stdout);
    } else {
        fprintf(stderr, "%s: %s\n", argv[1], OVX_Tnx_GetErrorText(code));
    }
    if (response != NULL) {
        response->destroyResponse(response);
    }
    OVX_Tnx_DestroyRequest(request);
    OVX_Tnx_DestroyHeaders(headers);
    OVX_Tnx_CloseSession(&session);
    return code == TNX_OK ? 0 : 1;
}
