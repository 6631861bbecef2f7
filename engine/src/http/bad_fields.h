// What of a request must not be put on the wire.
#ifndef TNX_ENGINE_BAD_FIELDS_H
#define TNX_ENGINE_BAD_FIELDS_H

#include <string>

#include "tnx_native/request.h"

namespace OHOS::Pelloria::Tnx
{

// Names and methods that are no tokens, values with CR, LF or NUL (RFC 9110 sections 5.1, 5.5 and
// 9.1), cookies with control characters, and fields that contradict the framing of the message.
// Returns what is wrong, or nothing.
std::string FindBadField(const Request &request);

} // namespace OHOS::Pelloria::Tnx

#endif
