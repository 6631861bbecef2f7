/* connection_info URL: fetches a URL and tells how it was reached. */
#include <stdio.h>
#include <string.h>

#include <tnx_c.h>
#include <tnx_c_ext.h>

static void Print(const Tnx_ConnectionInfo *info)
{
    for (const Tnx_AddressAttempt *tried = info->attempts; tried != NULL; tried = tried->next) {
        printf("tried      %s port %u: %s\n", tried->address, (unsigned)tried->port,
               tried->error == 0 ? "connected" : strerror(tried->error));
    }
    if (info->remoteAddress != NULL) {
        printf("%s %s port %u, from port %u\n", info->reused ? "kept      " : "new       ",
               info->remoteAddress, (unsigned)info->remotePort, (unsigned)info->localPort);
    }
    if (info->proxy != NULL) {
        printf("through    %s\n", info->proxy);
    }
    if (info->tlsVersion != NULL) {
        printf("TLS        %s, %s\n%s", info->tlsVersion, info->cipher, info->peerChain);
    }
    for (const Tnx_HopInfo *hop = info->hops; hop != NULL; hop = hop->next) {
        printf("answer     %d from %s\n", hop->statusCode, hop->url);
    }
    printf("HTTP       %u.%u, %llu bytes up, %llu down\n", (unsigned)(info->httpVersion / 10),
           (unsigned)(info->httpVersion % 10), (unsigned long long)info->bytesSent,
           (unsigned long long)info->bytesReceived);
}

int main(int argc, char **argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: connection_info URL\n");
        return 2;
    }
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(NULL, &code);
    Tnx_Request *request = OVX_Tnx_CreateRequest(argv[1]);
    OVX_Tnx_SetRequestCollectConnectionInfo(request, true);
    Tnx_Response *response = OVX_Tnx_FetchSync(session, request, &code);
    const Tnx_ConnectionInfo *info = OVX_Tnx_GetConnectionInfo(response);
    if (info != NULL) { /* of a fetch that failed too, as far as it came */
        Print(info);
    }
    if (response != NULL) {
        response->destroyResponse(response);
    }
    OVX_Tnx_DestroyRequest(request);
    OVX_Tnx_CloseSession(&session);
    return code == TNX_OK ? 0 : 1;
}
