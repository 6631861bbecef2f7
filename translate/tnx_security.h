// From the security record of one connection to the engine's.
#ifndef TNX_TRANSLATE_TNX_SECURITY_H
#define TNX_TRANSLATE_TNX_SECURITY_H

#include "tnx_c/configuration.h"
#include "tnx_native/security.h"

namespace OHOS::Pelloria::TnxC
{

// Writes onto `out`; what the record leaves null is cleared, or kept, field by field.
void TnxToCppSecurityConfiguration(Tnx::SecurityConfiguration &out,
                                   const Tnx_SecurityConfiguration &security);

} // namespace OHOS::Pelloria::TnxC

#endif
