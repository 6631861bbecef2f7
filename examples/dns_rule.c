/* dns_rule URL ADDRESS: asks the server at an address, under the name that the URL has. Other
 * names are resolved as always. */
#include <stdio.h>
#include <string.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

/* Copies the host of a URL. */
static void CopyHost(char *host, size_t size, const char *url)
{
    const char *begin = strstr(url, "://");
    begin = begin != NULL ? begin + 3 : url;
    snprintf(host, size, "%.*s", (int)strcspn(begin, ":/?#"), begin);
}

int main(int argc, char **argv)
{
    if (argc != 3) {
        fprintf(stderr, "usage: dns_rule URL ADDRESS\n");
        return 2;
    }
    Tnx_IpAddress address = {.next = NULL};
    snprintf(address.ip, sizeof address.ip, "%s", argv[2]);
    Tnx_StaticDnsRule item = {.port = 0, .ipAddresses = &address};
    CopyHost(item.host, sizeof item.host, argv[1]);
    Tnx_DnsRule rule = {.kind = TNX_DNS_STATIC, .rule.staticRules = &item};

    Tnx_Configuration configuration = {.transfer.autoRedirect = true, .dnsRule = &rule};
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(NULL, &code);
    if (session == NULL) {
        fprintf(stderr, "no session: %s\n", OVX_Tnx_GetErrorText(code));
        return 1;
    }
    Tnx_Request *request = OVX_Tnx_CreateRequest(argv[1]);
    request->configuration = &configuration; /* of this request only */
    Tnx_Response *response = OVX_Tnx_FetchSync(session, request, &code);
    if (code == TNX_OK) {
        printf("%d\n%.*s\n", response->statusCode, (int)response->bodyLength, response->body);
    } else {
        fprintf(stderr, "%s: %s\n", argv[1], OVX_Tnx_GetErrorText(code));
    }
    if (response != NULL) {
        response->destroyResponse(response);
    }
    OVX_Tnx_DestroyRequest(request);
    OVX_Tnx_CloseSession(&session);
    return code == TNX_OK ? 0 : 1;
}
