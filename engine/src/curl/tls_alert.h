// What the alerts of TLS tell that libcurl does not.
#ifndef TNX_ENGINE_TLS_ALERT_H
#define TNX_ENGINE_TLS_ALERT_H

#include <string_view>

namespace OHOS::Pelloria::Tnx
{

// Why a certificate was refused, if that is what a TLS message to the peer says. Static, or null.
const char *RefusedCertificate(std::string_view message);

// Whether the message is the alert of a server that speaks no protocol which was offered to it.
bool RefusesProtocol(std::string_view message);

} // namespace OHOS::Pelloria::Tnx

#endif
