// Routes that ask for credentials.
#ifndef TNX_TESTS_SERVERS_ROUTES_AUTH_H
#define TNX_TESTS_SERVERS_ROUTES_AUTH_H

#include <unordered_map>

#include "routes.h"

namespace OHOS::Pelloria::TnxTest
{

std::unordered_map<std::string, Route> AuthRoutes();

} // namespace OHOS::Pelloria::TnxTest

#endif
