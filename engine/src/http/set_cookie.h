// Reads the Set-Cookie field of a response (RFC 6265 section 5.2).
#ifndef TNX_ENGINE_SET_COOKIE_H
#define TNX_ENGINE_SET_COOKIE_H

#include <cstdint>
#include <optional>
#include <string_view>

#include "tnx_native/headers.h"

namespace OHOS::Pelloria::Tnx
{

// Nothing when the line is to be ignored. `now` is in seconds since 1970.
std::optional<ResponseCookie> ParseSetCookie(std::string_view line, int64_t now);

// Reads a date as cookies write them (RFC 6265 section 5.1.1), in seconds since 1970.
std::optional<int64_t> ParseCookieDate(std::string_view text);

} // namespace OHOS::Pelloria::Tnx

#endif
