// From the tracing record to the engine's switches and event callbacks.
#ifndef TNX_TRANSLATE_TNX_EVENTS_H
#define TNX_TRANSLATE_TNX_EVENTS_H

#include "tnx_c/configuration.h"
#include "tnx_native/configuration.h"

namespace OHOS::Pelloria::TnxC
{

// The bridges keep the addresses of the record's slots and read them at each call.
void TnxToCppHttpEventsHandler(Tnx::TracingConfiguration &out,
                               const Tnx_TracingConfiguration &tracing);

} // namespace OHOS::Pelloria::TnxC

#endif
