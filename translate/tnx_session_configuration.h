// From the record that a session is made of to the engine's session configuration.
#ifndef TNX_TRANSLATE_TNX_SESSION_CONFIGURATION_H
#define TNX_TRANSLATE_TNX_SESSION_CONFIGURATION_H

#include "tnx_c/session.h"
#include "tnx_native/configuration.h"

#include <memory>

namespace OHOS::Pelloria::TnxC
{

// Never empty; a null record gives the engine's defaults.
std::shared_ptr<Tnx::SessionConfiguration>
TnxToCppSessionConfiguration(const Tnx_SessionConfiguration *configuration);

} // namespace OHOS::Pelloria::TnxC

#endif
