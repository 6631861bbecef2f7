// The storage model of RFC 6265 section 5.3, for the length of one fetch.
#include "hop_cookies.h"

#include <algorithm>

#include <libpsl.h>

#include "resolver.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

// RFC 6265 section 5.1.4: the path up to, but not including, its last slash.
std::string DefaultPath(const std::string &path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos || slash == 0 ? "/" : path.substr(0, slash);
}

// Whether strangers have names below it, `org` and `co.uk` for instance; they would all get what is
// set for it.
bool IsPublicSuffix(std::string domain)
{
    if (domain.ends_with('.')) {
        domain.pop_back();
    }
    return psl_is_public_suffix(psl_builtin(), domain.c_str()) == 1;
}

} // namespace

bool DomainMatches(const std::string &host, const std::string &domain)
{
    return host == domain || (host.size() > domain.size() && host.ends_with(domain) &&
                              host[host.size() - domain.size() - 1] == '.' && !IsAddress(host));
}

bool PathMatches(const std::string &path, const std::string &cookiePath)
{
    return path.starts_with(cookiePath) &&
           (path.size() == cookiePath.size() || cookiePath.ends_with('/') ||
            path[cookiePath.size()] == '/');
}

void HopCookies::Store(const ResponseCookie &cookie, const Url &url)
{
    const bool publicSuffix = IsPublicSuffix(cookie.domain);
    const bool hostOnly = cookie.domain.empty() || (publicSuffix && cookie.domain == url.host);
    if (!hostOnly && (publicSuffix || !DomainMatches(url.host, cookie.domain))) {
        return;
    }
    Stored stored{.name = cookie.name,
                  .value = cookie.value,
                  .domain = hostOnly ? url.host : cookie.domain,
                  .path = cookie.path.empty() ? DefaultPath(url.path) : cookie.path,
                  .hostOnly = hostOnly,
                  .secure = cookie.secure.value_or(false)};
    const auto same = std::find_if(cookies_.begin(), cookies_.end(), [&](const Stored &other) {
        return other.name == stored.name && other.domain == stored.domain &&
               other.path == stored.path;
    });
    const bool expired = cookie.expiryTime == 1;
    if (same == cookies_.end()) {
        if (!expired) {
            cookies_.push_back(std::move(stored));
        }
    } else if (expired) {
        cookies_.erase(same);
    } else {
        *same = std::move(stored);
    }
}

std::vector<std::pair<std::string, std::string>> HopCookies::For(const Url &url) const
{
    std::vector<const Stored *> matching;
    for (const Stored &cookie : cookies_) {
        const bool domain =
            cookie.hostOnly ? url.host == cookie.domain : DomainMatches(url.host, cookie.domain);
        if (domain && PathMatches(url.path, cookie.path) && (!cookie.secure || url.Secure())) {
            matching.push_back(&cookie);
        }
    }
    std::stable_sort(matching.begin(), matching.end(), [](const Stored *a, const Stored *b) {
        return a->path.size() > b->path.size();
    });
    std::vector<std::pair<std::string, std::string>> pairs;
    for (const Stored *cookie : matching) {
        pairs.emplace_back(cookie->name, cookie->value);
    }
    return pairs;
}

} // namespace OHOS::Pelloria::Tnx
