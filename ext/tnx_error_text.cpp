// The words for error codes. The header, docs/ERRORS.md and the manual page have the same.
#include "tnx_c_ext/errors.h"
#include "tnx_c_ext/transfer.h"

#include <algorithm>
#include <iterator>

#include "tnx_native/version.h"

namespace
{

constexpr uint32_t LAST_TRANSFER_CODE = TNX_ERR_TRANSFER_BASE + 99;

constexpr struct {
    uint32_t code;
    const char *text;
} WORDS[] = {
    {TNX_OK, "No error"},
    {TNX_ERR_PERMISSION_DENIED, "The application lacks the internet permission"},
    {TNX_ERR_PARAMETER, "A null or invalid argument, or an unknown session type"},
    {TNX_ERR_UNSUPPORTED_SCHEME, "The URL's scheme is not http or https"},
    {TNX_ERR_INIT_FAILED, "The session could not be set up"},
    {TNX_ERR_URL_MALFORMED, "The URL is malformed"},
    {TNX_ERR_NOT_BUILT_IN, "The libcurl at hand cannot do this"},
    {TNX_ERR_RESOLVE_PROXY, "The proxy's name has no address"},
    {TNX_ERR_RESOLVE_HOST, "The host's name has no address"},
    {TNX_ERR_CONNECT, "No address accepted a connection"},
    {TNX_ERR_WEIRD_REPLY, "The answer is not HTTP"},
    {TNX_ERR_HTTP2, "The rules of HTTP/2 were broken"},
    {TNX_ERR_TRUNCATED_BODY, "The body ended early"},
    {TNX_ERR_HTTP_STATUS, "The status is 400 or more"},
    {TNX_ERR_WRITE,
     "The data callback took less than it was given, or a file could not be written"},
    {TNX_ERR_READ, "A file could not be read"},
    {TNX_ERR_OUT_OF_MEMORY, "Memory ran out"},
    {TNX_ERR_TIMEOUT, "A time-out, or a time that a limit gives, passed"},
    {TNX_ERR_TLS_CONNECT, "The TLS handshake failed"},
    {TNX_ERR_CALLBACK, "A callback reported failure or threw an exception"},
    {TNX_ERR_BAD_ARGUMENT, "A header field or method must not be sent"},
    {TNX_ERR_TOO_MANY_REDIRECTS, "There are more redirects than are followed"},
    {TNX_ERR_EMPTY_REPLY, "The server closed the connection without an answer"},
    {TNX_ERR_SEND, "Sending failed"},
    {TNX_ERR_RECEIVE, "Receiving failed"},
    {TNX_ERR_CLIENT_CERTIFICATE, "The client certificate or its key is bad"},
    {TNX_ERR_PEER_VERIFICATION, "The server's certificate was refused"},
    {TNX_ERR_CONTENT_ENCODING, "The content coding is unknown, or the content damaged"},
    {TNX_ERR_BODY_TOO_LARGE, "The body is larger than is kept, or than a limit allows"},
    {TNX_ERR_CANNOT_REPLAY, "The body would have to be sent again, but cannot be"},
    {TNX_ERR_TRUST_STORE, "The trusted CAs could not be read"},
    {TNX_ERR_PIN_MISMATCH, "No public-key pin matched"},
    {TNX_ERR_HTTP2_STREAM, "The peer reset the HTTP/2 stream"},
    {TNX_ERR_PROXY, "The proxy refused or failed"},
    {TNX_ERR_REQUEST_CANCELED, "The request was canceled"},
    {TNX_ERR_SESSION_CLOSED, "The session is closed, or there is none"},
    {TNX_WAIT_TIMEOUT, "The wait is over, the transfer goes on"},
};

} // namespace

const char *OVX_Tnx_GetErrorText(uint32_t code) noexcept
{
    const auto *named = std::find_if(std::begin(WORDS), std::end(WORDS),
                                     [code](const auto &words) { return words.code == code; });
    if (named != std::end(WORDS)) {
        return named->text;
    }
    // Codes of the transfer without a name speak with the engine's words.
    const bool ofTransfer = code > TNX_ERR_TRANSFER_BASE && code <= LAST_TRANSFER_CODE;
    return ofTransfer ? OHOS::Pelloria::Tnx::TransferErrorText(code) : "Unknown error";
}
