// From the body of a request record to the engine's content.
#ifndef TNX_TRANSLATE_TNX_HTTP_REQUEST_CONTENT_H
#define TNX_TRANSLATE_TNX_HTTP_REQUEST_CONTENT_H

#include "objects/request_body.h"
#include "tnx_c/request.h"
#include "tnx_native/content.h"

#include <memory>

namespace OHOS::Pelloria::TnxC
{

// Empty for an unknown kind.
std::shared_ptr<Tnx::RequestContent> TnxToCppRequestContent(const Tnx_RequestContent &content);

// Of one that is given. Keeps the source by value, which the request owns.
std::shared_ptr<Tnx::RequestContent> TnxToCppRequestBody(const RequestBody &body);

// Returns 0, or -1 for an unknown type, which leaves `out` alone.
int TnxToCppFormFieldValue(const Tnx_FormFieldValue *value, Tnx::FormFieldValue &out);

// Keeps the function by value. Its failure, and want of memory, is the empty reference; its end is
// the empty string.
Tnx::GetDataFunction TnxMakeGetDataCallback(Tnx_GetDataCallback callback);

} // namespace OHOS::Pelloria::TnxC

#endif
