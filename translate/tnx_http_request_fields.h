// From the header and cookie records to the engine's containers, with a session's defaults merged
// in.
#ifndef TNX_TRANSLATE_TNX_HTTP_REQUEST_FIELDS_H
#define TNX_TRANSLATE_TNX_HTTP_REQUEST_FIELDS_H

#include "tnx_c/headers.h"
#include "tnx_native/headers.h"

#include <memory>

namespace OHOS::Pelloria::TnxC
{

// Never empty.
std::shared_ptr<Tnx::Headers> TnxToCppHeaders(const Tnx_Headers *headers);

// Adds the cookies whose names are not there yet.
void TnxToCppRequestCookies(const Tnx_RequestCookies *cookies, Tnx::RequestCookies &out);

// Adds each value of the session that its name does not have yet, after the values that it has.
void MergeHeaders(Tnx::Headers &out, const Tnx_Headers *ofSession);

} // namespace OHOS::Pelloria::TnxC

#endif
