// Alerts by their numbers (RFC 8446 section 6.2).
#include "tls_alert.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

// The description of a fatal alert (RFC 8446 section 6); -1 for any other message.
int FatalAlert(std::string_view message)
{
    constexpr char FATAL = 2;
    return message.size() == 2 && message[0] == FATAL ? message[1] : -1;
}

} // namespace

const char *RefusedCertificate(std::string_view message)
{
    switch (FatalAlert(message)) {
    case 42:
    case 43:
    case 46:
        return "bad certificate";
    case 44:
        return "certificate is revoked";
    case 45:
        return "certificate has expired";
    case 48:
        return "unknown issuer";
    default:
        return nullptr;
    }
}

bool RefusesProtocol(std::string_view message)
{
    constexpr int NO_APPLICATION_PROTOCOL = 120; // RFC 7301 section 3.2
    return FatalAlert(message) == NO_APPLICATION_PROTOCOL;
}

} // namespace OHOS::Pelloria::Tnx
