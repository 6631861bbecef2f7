// The cookies that the hops of one fetch set, for its later hops. Nothing outlives the fetch.
#ifndef TNX_ENGINE_HOP_COOKIES_H
#define TNX_ENGINE_HOP_COOKIES_H

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tnx_native/headers.h"
#include "url.h"

namespace OHOS::Pelloria::Tnx
{

class HopCookies
{
public:
    // Keeps what a response from `url` set, unless the rules of RFC 6265 section 5.3 and its
    // revision refuse it. Bounded as browsers are: a longer one is refused, and of a domain that
    // has too many the oldest goes.
    void Store(const ResponseCookie &cookie, const Url &url);

    // The cookies to send to `url`, in order (RFC 6265 section 5.4).
    std::vector<std::pair<std::string, std::string>> For(const Url &url) const;

private:
    struct Stored {
        std::string value;
        bool hostOnly;
        bool secure;
        uint64_t created; // a number that grows
    };
    using NameAndPath = std::pair<std::string, std::string>;
    using OfDomain = std::map<NameAndPath, Stored>;

    std::map<std::string, OfDomain> domains_;
    uint64_t created_ = 0; // so far
};

// Whether `host` is `domain` or below it (RFC 6265 section 5.1.3).
bool DomainMatches(const std::string &host, const std::string &domain);

// Whether a request for `path` falls under a cookie's path (RFC 6265 section 5.1.4).
bool PathMatches(const std::string &path, const std::string &cookiePath);

} // namespace OHOS::Pelloria::Tnx

#endif
