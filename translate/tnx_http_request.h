// From a request record, with its session's defaults, to an engine request.
#ifndef TNX_TRANSLATE_TNX_HTTP_REQUEST_H
#define TNX_TRANSLATE_TNX_HTTP_REQUEST_H

#include "tnx_c/session.h"
#include "tnx_native/request.h"

#include <memory>

namespace OHOS::Pelloria::TnxC
{

// Empty for a null request; the session's configuration may be null. Copies the records, but for
// callbacks: the engine request borrows the request, and what it points to, for those.
std::shared_ptr<Tnx::Request> TnxToCppRequest(const Tnx_SessionConfiguration *sessionConfiguration,
                                              const Tnx_Request *request);

// The request's own data callback, in place of the one of the configuration.
void TnxUpdateDataRecvCallback(Tnx::Configuration &configuration, const Tnx_Request *request);

} // namespace OHOS::Pelloria::TnxC

#endif
