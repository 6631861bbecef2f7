// From the cookies of an engine response to the list in the response record.
#ifndef TNX_TRANSLATE_TNX_RESPONSE_COOKIES_H
#define TNX_TRANSLATE_TNX_RESPONSE_COOKIES_H

#include "tnx_c/response.h"
#include "tnx_native/headers.h"

namespace OHOS::Pelloria::TnxC
{

// Null when there is no cookie, and when memory runs out for any of them. A text that is empty, or
// that memory does not suffice for, is null.
Tnx_ResponseCookies *TnxToCResponseCookies(const Tnx::ResponseCookies &cookies) noexcept;

// Takes the first cookie of a list.
void TnxDestroyResponseCookies(Tnx_ResponseCookies *cookies) noexcept;

} // namespace OHOS::Pelloria::TnxC

#endif
