// The storage model of RFC 6265 section 5.3, for the length of one fetch.
#include "hop_cookies.h"

#include <algorithm>

#include <libpsl.h>

#include "base/text.h"
#include "host_name.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr size_t MOST_BYTES = 4096; // of a name and its value
constexpr size_t MOST_OF_DOMAIN = 180;

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

// A name can promise how its cookie was set; one that breaks the promise is refused.
bool KeepsPromise(const ResponseCookie &cookie)
{
    const std::string name = Lower(std::string_view(cookie.name).substr(0, 9));
    const bool secure = cookie.secure.value_or(false);
    if (name.starts_with("__host-")) {
        return secure && cookie.domain.empty() && cookie.path == "/";
    }
    return secure || !name.starts_with("__secure-");
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
    const bool secure = cookie.secure.value_or(false);
    if (cookie.name.size() + cookie.value.size() > MOST_BYTES || !KeepsPromise(cookie) ||
        (secure && !url.Secure())) {
        return;
    }
    const bool publicSuffix = IsPublicSuffix(cookie.domain);
    const bool hostOnly = cookie.domain.empty() || (publicSuffix && cookie.domain == url.host);
    if (!hostOnly && (publicSuffix || !DomainMatches(url.host, cookie.domain))) {
        return;
    }
    OfDomain &cookies = domains_[hostOnly ? url.host : cookie.domain];
    const NameAndPath key(cookie.name, cookie.path.empty() ? DefaultPath(url.path) : cookie.path);
    if (cookie.expiryTime == 1) {
        cookies.erase(key);
        return;
    }
    const auto [entry, added] = cookies.try_emplace(key);
    entry->second = {.value = cookie.value,
                     .hostOnly = hostOnly,
                     .secure = secure,
                     .created = added ? ++created_ : entry->second.created};
    if (cookies.size() > MOST_OF_DOMAIN) {
        cookies.erase(std::min_element(cookies.begin(), cookies.end(), [](auto &a, auto &b) {
            return a.second.created < b.second.created;
        }));
    }
}

std::vector<std::pair<std::string, std::string>> HopCookies::For(const Url &url) const
{
    std::vector<const OfDomain::value_type *> matching;
    for (const auto &[domain, cookies] : domains_) {
        if (!DomainMatches(url.host, domain)) {
            continue;
        }
        for (const auto &entry : cookies) {
            const auto &[key, cookie] = entry;
            if ((!cookie.hostOnly || url.host == domain) && PathMatches(url.path, key.second) &&
                (!cookie.secure || url.Secure())) {
                matching.push_back(&entry);
            }
        }
    }
    std::sort(matching.begin(), matching.end(), [](auto *a, auto *b) {
        const size_t length = a->first.second.size();
        const size_t other = b->first.second.size();
        return length != other ? length > other : a->second.created < b->second.created;
    });
    std::vector<std::pair<std::string, std::string>> pairs;
    for (const auto *entry : matching) {
        pairs.emplace_back(entry->first.first, entry->second.value);
    }
    return pairs;
}

} // namespace OHOS::Pelloria::Tnx
