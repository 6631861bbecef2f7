// Routes that misbehave.
#ifndef TNX_TESTS_SERVERS_ROUTES_FAULTS_H
#define TNX_TESTS_SERVERS_ROUTES_FAULTS_H

#include <unordered_map>

#include "routes.h"

namespace OHOS::Pelloria::TnxTest
{

std::unordered_map<std::string, Route> FaultRoutes();

} // namespace OHOS::Pelloria::TnxTest

#endif
