// From the limits of a request to the engine's.
#ifndef TNX_TRANSLATE_TNX_LIMITS_H
#define TNX_TRANSLATE_TNX_LIMITS_H

#include "objects/request_limits.h"
#include "tnx_native/configuration.h"

namespace OHOS::Pelloria::TnxC
{

void TnxToCppLimits(Tnx::Configuration &out, const RequestLimits &limits);

} // namespace OHOS::Pelloria::TnxC

#endif
