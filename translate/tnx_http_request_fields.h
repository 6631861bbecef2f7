// From the header and cookie records to the engine's containers, with a session's defaults merged
// in.
#ifndef TNX_TRANSLATE_TNX_HTTP_REQUEST_FIELDS_H
#define TNX_TRANSLATE_TNX_HTTP_REQUEST_FIELDS_H

#include "tnx_c/headers.h"
#include "tnx_native/headers.h"

namespace OHOS::Pelloria::TnxC
{

// The fields of a request, and of its session each value that its name does not have yet, after the
// values that it has. Either may be null.
Tnx::Headers TnxToCppHeaders(const Tnx_Headers *own, const Tnx_Headers *ofSession);

// Adds the cookies whose names are not there yet.
void TnxToCppRequestCookies(const Tnx_RequestCookies *cookies, Tnx::RequestCookies &out);

} // namespace OHOS::Pelloria::TnxC

#endif
