// From the record that says how requests are carried out to the engine's configuration.
#ifndef TNX_TRANSLATE_TNX_CONFIGURATION_H
#define TNX_TRANSLATE_TNX_CONFIGURATION_H

#include "tnx_c/configuration.h"
#include "tnx_native/configuration.h"

namespace OHOS::Pelloria::TnxC
{

// A null record changes nothing.
void TnxToCppConfiguration(Tnx::Configuration &out, const Tnx_Configuration *configuration);

} // namespace OHOS::Pelloria::TnxC

#endif
