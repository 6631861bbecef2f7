// The words for error codes.
#include "tnx_c_ext.h"

#include "tnx_native/version.h"

namespace
{

// Codes of the transfer that have no words of their own here speak with the engine's.
constexpr uint32_t LAST_TRANSFER_CODE = TNX_ERR_TRANSFER_BASE + 99;

const char *TransferText(uint32_t code) noexcept
{
    switch (code) {
    case TNX_ERR_UNSUPPORTED_SCHEME:
        return "The URL's scheme is not http or https";
    case TNX_ERR_INIT_FAILED:
        return "The session could not be set up";
    case TNX_ERR_URL_MALFORMED:
        return "The URL is malformed";
    case TNX_ERR_WEIRD_REPLY:
        return "The answer is not HTTP";
    case TNX_ERR_TRUNCATED_BODY:
        return "The body ended early";
    case TNX_ERR_WRITE:
        return "The body was not taken, or could not be decoded";
    case TNX_ERR_READ:
        return "A file of the body could not be read";
    case TNX_ERR_CALLBACK:
        return "A body callback reported failure";
    case TNX_ERR_BAD_ARGUMENT:
        return "A header field or method must not be sent";
    case TNX_ERR_TOO_MANY_REDIRECTS:
        return "More than 50 redirects";
    case TNX_ERR_EMPTY_REPLY:
        return "The server closed the connection without an answer";
    case TNX_ERR_PEER_VERIFICATION:
        return "The server's certificate was refused";
    case TNX_ERR_BODY_TOO_LARGE:
        return "The body is too large to keep in memory";
    case TNX_ERR_CANNOT_REPLAY:
        return "The body would have to be sent again, but cannot be";
    case TNX_ERR_PIN_MISMATCH:
        return "No public-key pin matched";
    default:
        return OHOS::Pelloria::Tnx::TransferErrorText(code);
    }
}

} // namespace

const char *OVX_Tnx_GetErrorText(uint32_t code) noexcept
{
    switch (code) {
    case TNX_OK:
        return "No error";
    case TNX_ERR_PERMISSION_DENIED:
        return "The application lacks the internet permission";
    case TNX_ERR_PARAMETER:
        return "A null or invalid argument";
    case TNX_ERR_REQUEST_CANCELED:
        return "The request was canceled";
    case TNX_ERR_SESSION_CLOSED:
        return "The session is closed";
    default:
        return code > TNX_ERR_TRANSFER_BASE && code <= LAST_TRANSFER_CODE ? TransferText(code)
                                                                          : "Unknown error";
    }
}
