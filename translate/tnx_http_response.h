// From an engine response to the record that the application receives, and its release.
#ifndef TNX_TRANSLATE_TNX_HTTP_RESPONSE_H
#define TNX_TRANSLATE_TNX_HTTP_RESPONSE_H

#include "tnx_c/response.h"
#include "tnx_native/response.h"

#include <memory>

namespace OHOS::Pelloria::TnxC
{

// Null for an empty response, and when memory runs out. Body and debug texts are not copied: the
// record keeps the engine's response alive. It keeps `callback`, which may be empty, as long.
Tnx_Response *TnxToCResponse(const std::shared_ptr<Tnx::Response> &response, Tnx_Request *request,
                             std::unique_ptr<Tnx_ResponseCallbackObject> callback) noexcept;

// Null when memory runs out. The caller owns the result.
Tnx_Headers *TnxToCHeaders(const Tnx::HeaderFields &headers) noexcept;

void TnxDestroyResponse(Tnx_Response *response) noexcept;

} // namespace OHOS::Pelloria::TnxC

#endif
