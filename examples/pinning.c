/* pinning URL CA PIN: accepts one authority and one public key, and nothing else.
 *
 * The pin of a server:
 *   openssl s_client -connect HOST:443 </dev/null | openssl x509 -pubkey -noout |
 *     openssl pkey -pubin -outform DER | openssl dgst -sha256 -binary | base64 */
#include <stdio.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

int main(int argc, char **argv)
{
    if (argc != 4) {
        fprintf(stderr, "usage: pinning URL CA sha256//PIN\n");
        return 2;
    }
    Tnx_Configuration configuration = {
        .transfer.autoRedirect = true,
        .security = {.remoteValidation = TNX_VALIDATION_CUSTOM,
                     .customValidation1 = argv[2],
                     .customValidation3 = argv[3]},
    };
    const Tnx_SessionConfiguration config = {.requestConfiguration = &configuration};
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(&config, &code);
    if (session == NULL) {
        fprintf(stderr, "no session: %s\n", OVX_Tnx_GetErrorText(code));
        return 1;
    }
    Tnx_Request *request = OVX_Tnx_CreateRequest(argv[1]);
    Tnx_Response *response = OVX_Tnx_FetchSync(session, request, &code);
    if (code == TNX_OK) {
        printf("%d from the server that was meant\n", response->statusCode);
    } else {
        const char *cause = OVX_Tnx_GetFailureText(response); /* what happened this time */
        fprintf(stderr, "%s\n%s\n", OVX_Tnx_GetErrorText(code), cause != NULL ? cause : "");
    }
    if (response != NULL) {
        response->destroyResponse(response);
    }
    OVX_Tnx_DestroyRequest(request);
    OVX_Tnx_CloseSession(&session);
    return code == TNX_OK ? 0 : 1;
}
