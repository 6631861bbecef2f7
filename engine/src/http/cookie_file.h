// The format in which cookies are kept in files: that of old browsers, a line of seven fields with
// tabs between them for each cookie, as libcurl reads and writes it. What the format has no field
// for, SameSite, stands before the cookie in a line of its own, which others take for a comment.
#ifndef TNX_ENGINE_COOKIE_FILE_H
#define TNX_ENGINE_COOKIE_FILE_H

#include <cstddef>
#include <string>
#include <string_view>

#include "tnx_native/cookie_jar.h"

namespace OHOS::Pelloria::Tnx
{

struct CookieFile {
    KeptCookies cookies;
    size_t damaged = 0; // lines that are neither a cookie nor a comment, and are left out
};

CookieFile ParseCookieFile(std::string_view text);
std::string PrintCookieFile(const KeptCookies &cookies);

} // namespace OHOS::Pelloria::Tnx

#endif
