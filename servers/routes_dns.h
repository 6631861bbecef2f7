// DNS over HTTPS, behind whatever speaks TLS (RFC 8484).
#ifndef TNX_TESTS_SERVERS_ROUTES_DNS_H
#define TNX_TESTS_SERVERS_ROUTES_DNS_H

#include <unordered_map>

#include "routes.h"

namespace OHOS::Pelloria::TnxTest
{

std::unordered_map<std::string, Route> DnsRoutes();

} // namespace OHOS::Pelloria::TnxTest

#endif
