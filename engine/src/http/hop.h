// What one hop of a fetch sends: the first is the request, the others follow redirects.
#ifndef TNX_ENGINE_HOP_H
#define TNX_ENGINE_HOP_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "url.h"

namespace OHOS::Pelloria::Tnx
{

struct Hop {
    std::shared_ptr<const Url> url;
    std::string method;
    bool body = false;      // carries the request's body
    bool sameOrigin = true; // as the request, and never left it: sees its credentials and cookies
    uint64_t redirects = 0; // hops before this one
};

// The method after a redirect (RFC 9110 section 15.4).
constexpr std::string_view MethodAfterRedirect(int32_t status, std::string_view method)
{
    const bool seeOther = status == 303 && method != "HEAD";
    const bool historical = (status == 301 || status == 302) && method == "POST";
    return seeOther || historical ? "GET" : method;
}

} // namespace OHOS::Pelloria::Tnx

#endif
